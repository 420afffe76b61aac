// failure - what ends a command: which file, what is wrong with it, what to do

#include "frame/failure.h"

#include "error_mess.h"

#include <string_view>

namespace tool
{

namespace
{

// "ERROR : 'message'" without what is around the message.
std::string_view message_of(std::string_view line)
{
    const std::size_t quote = line.find('\'');
    if (line.starts_with("ERROR") && quote != std::string_view::npos && line.ends_with('\'') && quote + 1 < line.size())
        return line.substr(quote + 1, line.size() - quote - 2);
    return line;
}

}  // namespace

std::string take_report()
{
    std::string text;
    while (const char *line = error_get()) {
        if (!text.empty())
            text += ", ";
        text += message_of(line);
    }
    return text;
}

void throw_report(const std::string &file)
{
    const std::string text = take_report();
    throw failure(file, text.empty() ? "the library failed without a report" : text);
}

}  // namespace tool
