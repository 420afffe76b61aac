// pages - help and man pages, made from the description of the commands

#include "frame/pages.h"

#include "frame/command_line.h"

#include <algorithm>
#include <sstream>

namespace tool
{

namespace
{

constexpr std::size_t width = 79;  // columns of a help page

// Words from a left margin on; the first line is already filled up to `column`.
std::string wrapped(const std::string &text, std::size_t margin, std::size_t column)
{
    std::string page;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        if (column > margin && column + 1 + word.size() > width) {
            page += "\n" + std::string(margin, ' ');
            column = margin;
        } else if (column > margin) {
            page += ' ';
            ++column;
        }
        page += word;
        column += word.size();
    }
    return page + "\n";
}

// An entry with its explanation beside it, or below when it is long.
std::string entry(const std::string &name, const std::string &help)
{
    constexpr std::size_t margin = 20;
    std::string line = "  " + name;
    if (line.size() + 2 > margin)
        line += "\n" + std::string(margin, ' ');
    else
        line += std::string(margin - line.size(), ' ');
    return line + wrapped(help, margin, margin);
}

// The explanation of an option with its choices and default.
std::string help_of(const option &shown)
{
    std::string text = shown.help;
    const char *separator = ": ";
    for (const std::string &choice : shown.choices) {
        text += separator + choice;
        separator = ", ";
    }
    if (!shown.standard.empty())
        text += " (default " + shown.standard + ")";
    if (shown.repeats)
        text += "; may be repeated";
    return text;
}

std::string help_of(const operand &shown)
{
    std::string text = shown.help;
    const char *separator = ": ";
    for (const std::string &choice : shown.choices) {
        text += separator + choice;
        separator = ", ";
    }
    return text;
}

std::string shown_name(const operand &shown)
{
    const std::string name = shown.most > 1 ? shown.name + ".." : shown.name;
    return shown.least == 0 ? "[" + name + "]" : name;
}

std::string synopsis(const command &shown, const options &take)
{
    std::string line = "teska " + shown.name + " [options]";
    for (const operand &file : take.operands())
        line += " " + shown_name(file);
    return line;
}

std::string spelled(const option &shown) { return shown.value.empty() ? shown.name : shown.name + " " + shown.value; }

std::vector<std::string> paragraphs(const std::string &text)
{
    std::vector<std::string> parts;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        parts.push_back(line);
    return parts;
}

// Text as troff shows it word for word.
std::string troff(const std::string &text)
{
    std::string escaped;
    for (const char c : text) {
        if (c == '\\')
            escaped += "\\e";
        else if (c == '-')
            escaped += "\\-";
        else if ((c == '.' || c == '\'') && escaped.empty())
            escaped += std::string("\\&") + c;
        else
            escaped += c;
    }
    return escaped;
}

std::string man_title(const std::string &name, const std::string &summary)
{
    return ".TH " + name + " 1 \"\" \"teska " TESKA_TOOL_VERSION "\"\n.SH NAME\n" + troff(name) + " \\- " +
           troff(summary) + "\n";
}

constexpr const char *program_summary = "colour conversion, pictures, gamuts, curves, archives and records";

}  // namespace

options described(const command &shown)
{
    // Only the texts are used: what the variables were bound to is gone with the action.
    const std::unique_ptr<action> made = shown.make();
    options take;
    made->describe(take);
    common_options common = {};
    common.threads = 1;
    describe_common(take, common);
    return take;
}

std::string help_page(const command &shown, const options &take)
{
    std::string page = "teska " + shown.name + " - " + shown.summary + "\n\n  " + synopsis(shown, take) + "\n";
    for (const std::string &text : paragraphs(shown.text))
        page += "\n" + wrapped(text, 0, 0);
    page += "\nFiles and words:\n";
    for (const operand &file : take.operands())
        page += entry(shown_name(file), help_of(file));
    page += "\nOptions:\n";
    for (const option &known : take.all())
        page += entry(spelled(known), help_of(known));
    page += shown.examples.size() > 1 ? "\nExamples:\n" : "\nExample:\n";
    for (const example &shown_example : shown.examples)
        page += "  " + shown_example.line + "\n      " + wrapped(shown_example.says, 6, 6);
    return page;
}

std::string help_page()
{
    std::string page = std::string("teska - ") + program_summary +
                       "\n\n  teska COMMAND [options] FILES\n  teska [--version | --help]\n\nCommands:\n";
    for (const command *known : all_commands())
        page += entry(known->name, known->summary);
    page += "\nOptions:\n" + entry("--version", "show the version") + entry("--help", "show this text") +
            entry("--man [COMMAND]", "write a man page") +
            entry("--completion SHELL", "write the completions for a shell: bash, zsh, fish") +
            "\nteska COMMAND --help shows the options of a command and an example.\n";
    return page;
}

std::string man_page(const command &shown, const options &take)
{
    std::string page = man_title("teska-" + shown.name, shown.summary);
    page += ".SH SYNOPSIS\n" + troff(synopsis(shown, take)) + "\n.SH DESCRIPTION\n";
    for (const std::string &text : paragraphs(shown.text))
        page += ".PP\n" + troff(text) + "\n";
    for (const operand &file : take.operands())
        page += ".TP\n.I " + troff(shown_name(file)) + "\n" + troff(help_of(file)) + "\n";
    page += ".SH OPTIONS\n";
    for (const option &known : take.all()) {
        page += ".TP\n.B " + troff(known.name) + (known.value.empty() ? "" : " \\fI" + troff(known.value) + "\\fR");
        page += "\n" + troff(help_of(known)) + "\n";
    }
    page +=
        ".SH EXIT STATUS\n0: done. 1: a file, its contents or a bound failed. 2: the command line is wrong; nothing "
        "was read.\n.SH EXAMPLES\n";
    for (const example &shown_example : shown.examples)
        page += ".TP\n.B " + troff(shown_example.line) + "\n" + troff(shown_example.says) + "\n";
    page += ".SH SEE ALSO\n.BR teska (1)\n";
    return page;
}

std::string man_page()
{
    std::string page = man_title("teska", program_summary);
    page += ".SH SYNOPSIS\nteska \\fICOMMAND\\fR [options] \\fIFILES\\fR\n.br\nteska [\\-\\-version | \\-\\-help]\n"
            ".SH COMMANDS\n";
    for (const command *known : all_commands())
        page += ".TP\n.BR teska\\-" + known->name + " (1)\n" + troff(known->summary) + "\n";
    page += ".SH OPTIONS\n.TP\n.B \\-\\-version\nshow the version\n.TP\n.B \\-\\-help\nshow the commands\n"
            ".TP\n.B \\-\\-man \\fR[\\fICOMMAND\\fR]\nwrite a man page\n"
            ".TP\n.B \\-\\-completion \\fISHELL\\fR\nwrite the completions for bash, zsh or fish\n";
    return page;
}

}  // namespace tool
