// command - what a sub-command is to the frame
//
//     class resize : public action { ... };
//     const command resize_command = {"resize", "give pictures another size", "Longer text.",
//                                     {{"teska resize in.tif out.tif --width 800", "800 pixels wide"}},
//                                     make_action<resize>};
//
// CMakeLists.txt names the commands of each source; the table of all of them is made from that.

#ifndef TESKA_TOOL_COMMAND_H
#define TESKA_TOOL_COMMAND_H

#include <memory>
#include <span>
#include <string>
#include <vector>

namespace tool
{

class job;
class options;

// One run of a command. Options are described first, with their defaults; then they have been parsed, and it runs.
class action
{
public:
    action() = default;
    action(const action &) = delete;
    action &operator=(const action &) = delete;
    virtual ~action() = default;

    virtual void describe(options &take) = 0;

    // Whatever goes wrong is thrown as a failure. Nothing may be read before the command line was checked as a whole.
    virtual void run(job &work) = 0;
};

template <class Action>
std::unique_ptr<action> make_action()
{
    return std::make_unique<Action>();
}

struct example {
    std::string line;  // as typed
    std::string says;  // what it does, a few words
};

struct command {
    std::string name;
    std::string summary;  // a few words, lower case, no point
    std::string text;     // one or more paragraphs with a line end between them
    std::vector<example> examples;
    std::unique_ptr<action> (*make)();
};

// All commands, in the order they are listed in.
std::span<const command *const> all_commands();

// The command of a name; null when there is none.
const command *find_command(const std::string &name);

}  // namespace tool

#endif
