// process - the program teska, started as a user starts it: POSIX

#include "support/process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>

namespace tool_test
{

namespace
{

[[noreturn]] void become_teska(const std::vector<std::string> &arguments, const int (&out)[2], const int (&err)[2])
{
    std::vector<char *> argv = {const_cast<char *>("teska")};
    for (const std::string &argument : arguments)
        argv.push_back(const_cast<char *>(argument.c_str()));
    argv.push_back(nullptr);
    dup2(out[1], STDOUT_FILENO);
    dup2(err[1], STDERR_FILENO);
    execv(TESKA_PROGRAM, argv.data());
    _exit(127);
}

// Takes what comes from both pipes until the process has closed them.
void drain(int out, int err, outcome &result)
{
    std::array<pollfd, 2> ends = {{{out, POLLIN, 0}, {err, POLLIN, 0}}};
    std::array<std::string *, 2> texts = {&result.out, &result.err};
    for (int open = 2; open > 0;) {
        poll(ends.data(), ends.size(), -1);
        for (std::size_t i = 0; i < ends.size(); ++i) {
            if (ends[i].fd < 0 || ends[i].revents == 0)
                continue;
            std::array<char, 4096> piece{};
            const ssize_t got = read(ends[i].fd, piece.data(), piece.size());
            if (got > 0) {
                texts[i]->append(piece.data(), static_cast<std::size_t>(got));
            } else {
                close(ends[i].fd);
                ends[i].fd = -1;
                --open;
            }
        }
    }
}

outcome run(const std::vector<std::string> &arguments, int signal, int microseconds)
{
    int out[2];
    int err[2];
    outcome result = {-1, "", ""};
    if (pipe2(out, O_CLOEXEC) != 0 || pipe2(err, O_CLOEXEC) != 0)
        return result;
    const pid_t child = fork();
    if (child == 0)
        become_teska(arguments, out, err);
    close(out[1]);
    close(err[1]);
    if (signal != 0) {
        usleep(static_cast<useconds_t>(microseconds));
        kill(child, signal);
    }
    drain(out[0], err[0], result);
    int status = 0;
    waitpid(child, &status, 0);
    result.code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return result;
}

}  // namespace

outcome run_teska(const std::vector<std::string> &arguments) { return run(arguments, 0, 0); }

outcome run_teska_killed(const std::vector<std::string> &arguments, int signal, int microseconds)
{
    return run(arguments, signal, microseconds);
}

}  // namespace tool_test
