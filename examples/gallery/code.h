// code - the code behind a figure, as a page of its own beside the gallery
//
// A part of a file is what stands between two rulers, "// ---- Name ----"; without a name it is the whole file.

#ifndef EXAMPLES_CODE_H
#define EXAMPLES_CODE_H

#include <filesystem>
#include <string>

namespace examples
{

// A page of so many lines or more is too long to be read beside a figure.
constexpr int least_long_code = 80;

// Writes <output>/code/<name>.html and gives back its address within the gallery. file counts from the root of the
// checkout. Throws failure when the file or the part is not there, when the page is too long or cannot be written.
std::string write_code(const std::filesystem::path &output, const std::string &file, const std::string &part);

}  // namespace examples

#endif
