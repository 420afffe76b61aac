// cube - tables of three colours as text, .cube files
//
// A sample v, 0 .. 1, passes x = (v - least) / (most - least) of the domain, cut to 0 .. 1, then the 1D table with
// straight lines, cut to the range of the 3D table, then its grid by tetrahedra, and is cut to 0 .. 1. Rows may hold
// values beyond 0 .. 1; they are kept until after the interpolation.

#ifndef TESKA_TOOL_TABLES_CUBE_H
#define TESKA_TOOL_TABLES_CUBE_H

#include "tables/colour_table.h"

#include <string>

namespace tool
{

class job;

colour_table read_cube(job &work, const std::string &path);

// The text of a cube with the vertices of a table from RGB to RGB without curves.
std::string cube_text(const std::string &title, const colour_table &table);

}  // namespace tool

#endif
