#include "support/child.h"

#include "support/test.h"

#ifdef _WIN32
#    include <process.h>
#    include <windows.h>
#else
#    include <spawn.h>
#    include <sys/wait.h>
#    include <unistd.h>

#    include <csignal>
#endif

namespace teska_test
{

namespace
{

constexpr int killed = 137;

#ifdef _WIN32
void set_role(std::string role) { _putenv_s("TESKA_CHILD", role.c_str()); }

std::intptr_t start() { return _spawnl(_P_NOWAIT, _pgmptr, "child", nullptr); }

void end(std::intptr_t process) { TerminateProcess(reinterpret_cast<HANDLE>(process), killed); }

int code_of(std::intptr_t process)
{
    int code = -1;
    _cwait(&code, process, 0);
    return code;
}
#else
void set_role(std::string role) { setenv("TESKA_CHILD", role.c_str(), 1); }

std::intptr_t start()
{
    const char *emulator = std::getenv("TESKA_EMULATOR");
    std::istringstream command(emulator != nullptr ? emulator : "");
    std::vector<std::string> words{std::istream_iterator<std::string>(command), {}};
    // For a program that an emulator or another loader starts, the name in /proc may be theirs.
    words.push_back(words.empty() ? "/proc/self/exe" : program_invocation_name);
    std::vector<char *> arguments;
    for (std::string &word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    pid_t process = 0;
    return posix_spawnp(&process, arguments[0], nullptr, nullptr, arguments.data(), environ) == 0 ? process : 0;
}

void end(std::intptr_t process) { ::kill(static_cast<pid_t>(process), SIGKILL); }

int code_of(std::intptr_t process)
{
    int status = 0;
    waitpid(static_cast<pid_t>(process), &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : killed;
}
#endif

std::string role_and_argument()
{
    const char *value = std::getenv("TESKA_CHILD");
    return value != nullptr ? value : "";
}

// Environments are set up when the program has started and before its first test.
struct Role : testing::Environment {
    Role(std::string name, int (*b)(const std::string &)) : start_of_value(std::move(name) + ":"), body(b) {}
    void SetUp() override
    {
        const std::string value = role_and_argument();
        if (value.starts_with(start_of_value))
            std::_Exit(body(value.substr(start_of_value.size())));
    }
    std::string start_of_value;
    int (*body)(const std::string &);
};

}  // namespace

ChildRole::ChildRole(std::string name, int (*body)(const std::string &argument))
{
    testing::AddGlobalTestEnvironment(new Role(std::move(name), body));
}

Child::Child(const std::string &role, const std::string &argument)
{
    if (!role_and_argument().empty())
        std::_Exit(1);  // in a role that nobody has registered
    set_role(role + ":" + argument);
    process_ = start();
    set_role("");
    EXPECT_GT(process_, 0) << "no child";
}

void Child::kill()
{
    if (process_ > 0)
        end(process_);
    wait();
}

int Child::wait()
{
    if (process_ > 0)
        code_ = code_of(process_);
    process_ = 0;
    return code_;
}

}  // namespace teska_test
