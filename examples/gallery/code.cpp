// code - the code behind a figure, as a page of its own beside the gallery

#include "gallery/code.h"

#include "support/failure.h"

#include "gallery/html.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <fstream>

namespace examples
{

namespace
{

// As long in C++ as in C.
constexpr std::array<std::string_view, 2> rulers = {"// ---- ", "/* ---- "};

constexpr const char *page_text =
    R"(<!DOCTYPE html><html lang="en"><meta charset="utf-8"><title>{file}</title><link rel="icon" href="data:,">)"
    R"(<style>:root{color-scheme:light dark}body{margin:1.5rem;font:1rem/1.5 monospace}h1{font-size:1rem}</style>)"
    R"(<h1>{file}</h1><pre>
{text}</pre></html>
)";

// Blank lines at either end say nothing.
std::string trimmed(const std::string &text)
{
    const auto first = text.find_first_not_of('\n');
    return first == text.npos ? "" : text.substr(first, text.find_last_not_of('\n') - first + 1) + "\n";
}

std::string part_of(const std::string &file, const std::string &part)
{
    std::ifstream stream(std::filesystem::path(EXAMPLES_CHECKOUT) / file);
    if (!stream)
        throw failure("cannot read the code in " + file);
    std::string text;
    bool within = part.empty(), found = within;
    for (std::string line; std::getline(stream, line);) {
        if (!part.empty() && (line.starts_with(rulers[0]) || line.starts_with(rulers[1]))) {
            within = std::string_view(line).substr(rulers[0].size()).starts_with(part + " -");
            found = found || within;
        }
        if (within)
            text += line + "\n";
    }
    if (!found)
        throw failure("no part " + part + " in " + file);
    return trimmed(text);
}

std::string name_of(const std::string &file, const std::string &part)
{
    std::string name = file + (part.empty() ? "" : "-" + part);
    std::replace_if(
        name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) == 0; }, '-');
    return name;
}

}  // namespace

std::string write_code(const std::filesystem::path &output, const std::string &file, const std::string &part)
{
    const std::string text = part_of(file, part);
    if (std::count(text.begin(), text.end(), '\n') + 2 >= least_long_code)
        throw failure("too much code for a figure: " + file + " " + part);
    const std::string address = "code/" + name_of(file, part) + ".html";
    std::filesystem::create_directories(output / "code");
    std::ofstream stream(output / address, std::ios::binary);
    stream << expanded(page_text, {{"file", escaped(file)}, {"text", escaped(text)}});
    stream.close();
    if (!stream)
        throw failure("cannot write " + (output / address).string());
    return address;
}

}  // namespace examples
