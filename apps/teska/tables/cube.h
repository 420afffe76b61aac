// cube - tables of three colours as text, .cube files
//
// A sample v, 0 .. 1, passes x = (v - least) / (most - least) of the domain, cut to 0 .. 1, then the 1D table with
// straight lines, cut to the range of the 3D table, then its grid by tetrahedra, and is cut to 0 .. 1. Rows may hold
// values beyond 0 .. 1; they are kept until after the interpolation.

#ifndef TESKA_TOOL_TABLES_CUBE_H
#define TESKA_TOOL_TABLES_CUBE_H

#include "tables/colour_table.h"

#include <cstdint>
#include <functional>
#include <string>

namespace tool
{

class job;

colour_table read_cube(job &work, const std::string &path);

// Evaluates RGB pixels of 16 bits.
using evaluator = std::function<void(const std::uint16_t *in, std::uint16_t *out, std::size_t pixels)>;

// The text of a cube with so many points a side.
std::string cube_text(const std::string &title, int points, const evaluator &evaluate);

}  // namespace tool

#endif
