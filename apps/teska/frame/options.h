// options - what a command takes, described once: parsing, --help, the man page and the completions come from here
//
//     void describe(options &take) override
//     {
//         take.file("IN", "the picture to read", in_);
//         take.output("OUT", "the picture to write", out_);
//         take.flag("--bpc", "compensate the black point", bpc_);
//         take.choice("--intent", "I", {"perceptual", "relative"}, "rendering intent", intent_);
//         take.integer("--depth", "BITS", 8, 16, "bits of a sample", depth_);
//         take.number("--max-error", "E", 1e-6, 1000, "largest difference allowed", max_error_);
//         take.texts("--link", "F", "a device link", links_);
//         take.files("FILE", 1, 1000000, "what to read", files_);
//     }
//
// What a variable holds when it is described is its default, and is shown as such. Variables that are std::optional
// have none. Ranges include both ends. Texts are plain English without markup, begin in lower case and have no point at
// their end.

#ifndef TESKA_TOOL_OPTIONS_H
#define TESKA_TOOL_OPTIONS_H

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tool
{

// What the shell completes.
enum class completes { nothing, files };

struct option {
    std::string name;                               // "--intent"
    std::string value;                              // "I"; empty for a flag
    std::string help;                               // what it does
    std::string standard;                           // its default as text, or empty
    std::vector<std::string> choices;               // the values there are, or empty
    bool repeats;                                   // may be given more than once
    completes completion;                           // for a value
    std::function<void(const std::string &)> take;  // called for each value, or once for a flag, after all were parsed
};

struct operand {
    std::string name;  // "IN"
    std::string help;
    int least;
    int most;
    std::vector<std::string> choices;
    std::function<void(const std::string &)> take;
};

class options
{
public:
    // ---- Operands, in their order; only the last may take more than one or be left out ----
    void file(const std::string &name, const std::string &help, std::string &target);
    void output(const std::string &name, const std::string &help, std::string &target);
    void word(const std::string &name, const std::vector<std::string> &choices, const std::string &help,
              std::string &target);
    void files(const std::string &name, int least, int most, const std::string &help, std::vector<std::string> &target);

    // ---- Options ----
    void flag(const std::string &name, const std::string &help, bool &target);
    void text(const std::string &name, const std::string &value, const std::string &help, std::string &target);
    void path(const std::string &name, const std::string &value, const std::string &help, std::string &target);
    void choice(const std::string &name, const std::string &value, const std::vector<std::string> &choices,
                const std::string &help, std::string &target);
    void integer(const std::string &name, const std::string &value, std::int64_t least, std::int64_t most,
                 const std::string &help, int &target);
    void integer(const std::string &name, const std::string &value, std::int64_t least, std::int64_t most,
                 const std::string &help, std::optional<int> &target);
    void number(const std::string &name, const std::string &value, double least, double most, const std::string &help,
                double &target);
    void number(const std::string &name, const std::string &value, double least, double most, const std::string &help,
                std::optional<double> &target);

    // Two numbers with a comma between.
    void pair(const std::string &name, const std::string &value, const std::string &help,
              std::optional<std::array<double, 2>> &target);

    // Values that add up when the option is repeated; numbers are lists of exactly `count` with commas between.
    void texts(const std::string &name, const std::string &value, const std::string &help,
               std::vector<std::string> &target);
    void paths(const std::string &name, const std::string &value, const std::string &help,
               std::vector<std::string> &target);
    void numbers(const std::string &name, const std::string &value, int count, const std::string &help,
                 std::vector<std::vector<double>> &target);

    // Anything else: fill an option yourself; take() throws usage_failure(name + " " + text, "what is wrong").
    void add(option described) { options_.push_back(std::move(described)); }
    void add(operand described) { operands_.push_back(std::move(described)); }

    [[nodiscard]] const std::vector<option> &all() const { return options_; }
    [[nodiscard]] const std::vector<operand> &operands() const { return operands_; }

private:
    std::vector<option> options_;
    std::vector<operand> operands_;
};

}  // namespace tool

#endif
