#include "support/child.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <utility>

#ifdef _WIN32
#    include <process.h>
#    include <windows.h>
#else
#    include <csignal>
#    include <spawn.h>
#    include <sys/wait.h>
#    include <unistd.h>
#endif

namespace teska_test
{

namespace
{

constexpr const char *role_variable = "TESKA_CHILD_ROLE";
constexpr const char *argument_variable = "TESKA_CHILD_ARGUMENT";
constexpr int killed = 137;

#ifdef _WIN32

void set_variable(const char *name, const std::string &value) { _putenv_s(name, value.c_str()); }

std::intptr_t start() { return _spawnl(_P_NOWAIT, _pgmptr, "child", nullptr); }

int end_of(std::intptr_t process)
{
    int code = -1;
    _cwait(&code, process, 0);
    return code;
}

void kill_now(std::intptr_t process) { TerminateProcess(reinterpret_cast<HANDLE>(process), killed); }

#else

void set_variable(const char *name, const std::string &value) { setenv(name, value.c_str(), 1); }

std::intptr_t start()
{
    char name[] = "child";
    char *const arguments[] = {name, nullptr};
    pid_t process = 0;
    return posix_spawn(&process, "/proc/self/exe", nullptr, nullptr, arguments, environ) == 0 ? process : -1;
}

int end_of(std::intptr_t process)
{
    int status = 0;
    if (waitpid(static_cast<pid_t>(process), &status, 0) < 0)
        return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : killed;
}

void kill_now(std::intptr_t process) { ::kill(static_cast<pid_t>(process), SIGKILL); }

#endif

std::string variable(const char *name)
{
    const char *value = std::getenv(name);
    return value != nullptr ? value : "";
}

// Environments are set up when the program has started and before its first test.
class Role : public testing::Environment
{
public:
    Role(std::string name, int (*body)(const std::string &)) : name_(std::move(name)), body_(body) {}

    void SetUp() override
    {
        if (variable(role_variable) == name_)
            std::_Exit(body_(variable(argument_variable)));
    }

private:
    std::string name_;
    int (*body_)(const std::string &);
};

}  // namespace

ChildRole::ChildRole(std::string name, int (*body)(const std::string &argument))
{
    testing::AddGlobalTestEnvironment(new Role(std::move(name), body));
}

Child::Child(const std::string &role, const std::string &argument)
{
    if (!variable(role_variable).empty())
        std::_Exit(1);  // a role that nobody has registered, whose process has come to the tests
    set_variable(role_variable, role);
    set_variable(argument_variable, argument);
    process_ = start();
    set_variable(role_variable, "");
}

Child::~Child()
{
    kill();
    wait();
}

void Child::kill()
{
    if (process_ > 0)
        kill_now(process_);
    wait();
}

int Child::wait()
{
    if (process_ != 0)
        code_ = end_of(process_);
    process_ = 0;
    return code_;
}

}  // namespace teska_test
