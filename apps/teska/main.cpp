// teska - one program with a command for each job
//
// Exit code 0: done; 1: a file, its contents or a bound failed; 2: the command line is wrong, and nothing was read.

#include "error_mess.h"
#include "frame/command.h"
#include "frame/command_line.h"
#include "frame/failure.h"
#include "frame/job.h"
#include "frame/pages.h"
#include "frame/platform.h"

#include <cstdio>
#include <new>
#include <system_error>

namespace
{

using namespace tool;

constexpr int queue_reports = 2;

const command &command_named(const std::string &name)
{
    const command *found = find_command(name);
    if (found == nullptr)
        throw usage_failure(name, "no such command", "teska --help lists them");
    return *found;
}

// What stands where the name of a command does.
std::string page_of(const std::vector<std::string> &arguments)
{
    const std::string &first = arguments.front();
    const std::string second = arguments.size() > 1 ? arguments[1] : "";
    if (arguments.size() > (first == "--man" || first == "--completion" ? 2U : 1U))
        throw usage_failure(first, "stands alone");
    if (first == "--version")
        return "teska " TESKA_TOOL_VERSION "\n";
    if (first == "--help")
        return help_page();
    if (first == "--completion") {
        if (second != "bash" && second != "zsh" && second != "fish")
            throw usage_failure("--completion " + second, "bash, zsh or fish wanted");
        return completion(second);
    }
    if (first != "--man")
        throw usage_failure(first, "unknown option", "teska --help lists them");
    if (second.empty())
        return man_page();
    const command &shown = command_named(second);
    return man_page(shown, described(shown));
}

void run_command(job &work, const command &called, const std::vector<std::string> &arguments)
{
    const std::unique_ptr<action> made = called.make();
    common_options common = {};
    common.threads = work.threads;
    options take;
    made->describe(take);
    describe_common(take, common);
    // Said as the user wants it, even when the rest of the line is wrong.
    work.json_wanted = has_flag(arguments, "--json");
    if (has_flag(arguments, "--help")) {
        work.json_wanted = false;
        std::fputs(help_page(called, take).c_str(), stdout);
        return;
    }
    parse_arguments(called, take, arguments);
    work.threads = common.threads;
    work.force = common.force;
    work.quiet = common.quiet;
    made->run(work);
}

void run(job &work, const std::vector<std::string> &arguments)
{
    if (arguments.empty())
        throw usage_failure("", "a command is missing", "teska --help lists them");
    if (arguments.front().starts_with("-")) {
        std::fputs(page_of(arguments).c_str(), stdout);
        return;
    }
    run_command(work, command_named(arguments.front()), {arguments.begin() + 1, arguments.end()});
}

// Ends what throws as a line for the user.
void run_guarded(job &work, const std::vector<std::string> &arguments)
{
    try {
        run(work, arguments);
    } catch (const failure &problem) {
        work.failed(problem);
    } catch (const std::bad_alloc &) {
        work.failed(failure("", "there is not enough memory"));
    } catch (const std::system_error &problem) {
        work.failed(failure("", problem.what()));
    }
}

}  // namespace

int main(int argc, char **argv)
{
    prepare_output();
    catch_signals();
    error_set(queue_reports);
    const std::vector<std::string> arguments = program_arguments(argc, argv);
    const bool named = !arguments.empty() && find_command(arguments.front()) != nullptr;
    job work(named ? arguments.front() : "");
    run_guarded(work, arguments);
    return work.finish();
}
