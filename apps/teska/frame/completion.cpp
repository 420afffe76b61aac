// completion - what the shells complete, made from the description of the commands

#include "frame/pages.h"

#include <string>

namespace tool
{

namespace
{

std::string joined(const std::vector<std::string> &words)
{
    std::string line;
    for (const std::string &word : words)
        line += (line.empty() ? "" : " ") + word;
    return line;
}

std::string replaced(const std::string &text, char what, const std::string &by)
{
    std::string result;
    for (const char c : text)
        result += c == what ? by : std::string(1, c);
    return result;
}

// Text between apostrophes, as bash and zsh read it.
std::string in_quotes(const std::string &text) { return "'" + replaced(text, '\'', "'\\''") + "'"; }

std::string bash_completion()
{
    std::string commands;
    std::string options_of;
    std::string values_of;
    for (const command *known : all_commands()) {
        const options take = described(*known);
        commands += (commands.empty() ? "" : " ") + known->name;
        std::string names;
        for (const option &shown : take.all()) {
            names += (names.empty() ? "" : " ") + shown.name;
            if (!shown.choices.empty())
                values_of +=
                    "        " + known->name + " " + shown.name + ") words='" + joined(shown.choices) + "' ;;\n";
            else if (!shown.value.empty() && shown.completion == completes::nothing)
                values_of += "        " + known->name + " " + shown.name + ") return ;;\n";
        }
        std::string words;
        for (const operand &shown : take.operands())
            words += (words.empty() || shown.choices.empty() ? "" : " ") + joined(shown.choices);
        options_of += "        " + known->name + ") options='" + names + "' operands='" + words + "' ;;\n";
    }
    // Spaces of the patterns between command and option are quoted there.
    std::string quoted_values;
    for (std::size_t i = 0; i < values_of.size();) {
        const std::size_t end = values_of.find('\n', i) + 1;
        std::string line = values_of.substr(i, end - i);
        const std::size_t close = line.find(')');
        quoted_values += "        '" + line.substr(8, close - 8) + "'" + line.substr(close);
        i = end;
    }
    return "# bash completion for teska\n"
           "_teska()\n{\n"
           "    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]} name=${COMP_WORDS[1]}\n"
           "    local options= operands= words=\n"
           "    if ((COMP_CWORD == 1)); then\n"
           "        COMPREPLY=($(compgen -W '" +
           commands +
           " --version --help --man --completion' -- \"$current\"))\n        return\n    fi\n"
           "    case $name in\n" +
           options_of + "    esac\n    case \"$name $previous\" in\n" + quoted_values +
           "    esac\n"
           "    if [[ $words ]]; then\n"
           "        COMPREPLY=($(compgen -W \"$words\" -- \"$current\"))\n"
           "    elif [[ $current == -* ]]; then\n"
           "        COMPREPLY=($(compgen -W \"$options\" -- \"$current\"))\n"
           "    else\n"
           "        compopt -o filenames 2>/dev/null\n"
           "        local IFS=$'\\n'\n"
           "        COMPREPLY=($(compgen -f -- \"$current\"))\n"
           "        IFS=' '\n"
           "        COMPREPLY+=($(compgen -W \"$operands\" -- \"$current\"))\n"
           "    fi\n}\n"
           "complete -F _teska teska\n";
}

std::string zsh_text(const std::string &text)
{
    std::string escaped;
    for (const char c : text)
        escaped += c == '[' || c == ']' || c == ':' || c == '\\' ? std::string("\\") + c : std::string(1, c);
    return escaped;
}

std::string zsh_completion()
{
    std::string commands;
    std::string cases;
    for (const command *known : all_commands()) {
        commands += "        " + in_quotes(known->name + ":" + replaced(known->summary, ':', "\\:")) + "\n";
        cases += "    " + known->name + ")\n        _arguments -S";
        const options take = described(*known);
        for (const option &shown : take.all()) {
            std::string line = (shown.repeats ? "*" : "") + shown.name + (shown.value.empty() ? "" : "=") + "[" +
                               zsh_text(shown.help) + "]";
            if (!shown.value.empty()) {
                line += ":" + zsh_text(shown.value) + ":";
                if (!shown.choices.empty())
                    line += "(" + joined(shown.choices) + ")";
                else if (shown.completion == completes::files)
                    line += "_files";
            }
            cases += " \\\n            " + in_quotes(line);
        }
        int place = 0;
        for (const operand &shown : take.operands()) {
            ++place;
            const std::string where = shown.most > 1 ? "*" : std::to_string(place);
            const std::string what = shown.choices.empty() ? "_files" : "(" + joined(shown.choices) + ")";
            cases += " \\\n            " + in_quotes(where + ":" + zsh_text(shown.name) + ":" + what);
        }
        cases += "\n        ;;\n";
    }
    return "#compdef teska\n"
           "_teska() {\n"
           "    local -a commands\n    commands=(\n" +
           commands +
           "    )\n"
           "    if ((CURRENT == 2)); then\n"
           "        _describe command commands\n"
           "        return\n    fi\n"
           "    local name=$words[2]\n"
           "    shift words\n    ((CURRENT--))\n"
           "    case $name in\n" +
           cases + "    esac\n}\n_teska \"$@\"\n";
}

std::string fish_completion()
{
    const auto text = [](const std::string &plain) {
        return "'" + replaced(replaced(plain, '\\', "\\\\"), '\'', "\\'") + "'";
    };
    std::string script = "# fish completion for teska\n";
    for (const command *known : all_commands())
        script +=
            "complete -c teska -n __fish_use_subcommand -f -a " + known->name + " -d " + text(known->summary) + "\n";
    for (const command *known : all_commands()) {
        const std::string start = "complete -c teska -n '__fish_seen_subcommand_from " + known->name + "'";
        const options take = described(*known);
        for (const option &shown : take.all()) {
            script += start + " -l " + shown.name.substr(2);
            if (!shown.choices.empty())
                script += " -x -a " + text(joined(shown.choices));
            else if (!shown.value.empty())
                script += shown.completion == completes::files ? " -r -F" : " -x";
            script += " -d " + text(shown.help) + "\n";
        }
        for (const operand &shown : take.operands())
            if (!shown.choices.empty())
                script += start + " -a " + text(joined(shown.choices)) + "\n";
    }
    return script;
}

}  // namespace

std::string completion(const std::string &shell)
{
    if (shell == "bash")
        return bash_completion();
    return shell == "zsh" ? zsh_completion() : fish_completion();
}

}  // namespace tool
