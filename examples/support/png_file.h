// png_file - pictures from and to PNG files, through libpng

#ifndef EXAMPLES_PNG_FILE_H
#define EXAMPLES_PNG_FILE_H

#include "support/picture.h"

#include <filesystem>

namespace examples
{

// Any PNG as three channels of sRGB: grey and palettes are expanded, 16-bit samples rounded, transparency laid on
// white.
// Throws failure, with the file's name in the text, when the file is missing, broken or too large.
picture read_png(const std::filesystem::path &file);

// Writes one channel as grey, three as sRGB. Throws failure when the file cannot be written whole.
void write_png(const std::filesystem::path &file, const picture &image);

}  // namespace examples

#endif
