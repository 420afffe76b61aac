// charts - the colours of measured charts, text files of the CGATS form
//
//     const chart measured = read_chart(work, "press.txt");
//     for (const lab_colour &colour : measured.colours) ..
//
// Taken as they come from the instruments: keywords in any case, columns in any order, blanks or tabs between values,
// quoted texts, comments from "#" on, all three line ends, sets that are broken over lines, bytes that are no UTF-8 in
// texts, decimal commas. Of several tables in a file the first with colours counts.

#ifndef TESKA_TOOL_CHARTS_H
#define TESKA_TOOL_CHARTS_H

#include "delta_e.h"

#include <string>
#include <vector>

namespace tool
{

class job;

struct chart {
    std::vector<lab_colour> colours;  // of all sets, in their order
};

// Lab columns, or XYZ columns of light D50. What is wrong is a failure with its line: counts that differ from what is
// there, colours that are no finite numbers, a table that ends early.
chart read_chart(job &work, const std::string &path);

// Colours of a text with "L a b" in each line, or of a chart.
std::vector<lab_colour> read_colours(job &work, const std::string &path);

}  // namespace tool

#endif
