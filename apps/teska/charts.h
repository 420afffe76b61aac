// charts - the colours of measured charts, text files of the CGATS form
//
//     const chart measured = read_chart(work, "press.txt");
//     for (const lab_colour &colour : measured.colours) ..
//     const ink_chart printed = read_ink_chart(work, "press.txt");
//     printed.amounts[4 * i + 1]                        magenta of colour i, 0 .. 1
//
// Taken as they come from the instruments: keywords in any case, columns in any order, blanks or tabs between values,
// quoted texts, comments from "#" on, all three line ends, sets that are broken over lines, bytes that are no UTF-8 in
// texts, decimal commas. Of several tables in a file the first with colours counts, or those of a name.

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

// The same of the tables with a name, in any case: their TABLE_NAME, TABLE_DESCRIPTOR or DESCRIPTOR, or the word that
// their first line is ("CGATS.17"). A number names the first, second, .. table where none is called so.
chart read_chart(job &work, const std::string &path, const std::string &table);

struct ink_chart {
    std::vector<lab_colour> colours;  // of all sets, in their order
    std::vector<std::string> inks;    // names, as Cyan or Ink 5
    std::vector<double> amounts;      // inks.size() for each colour: 0 none, 1 full
    bool additive;                    // red, green and blue: 1 is light in full
};

// The first table with colours and with columns of three to eight inks, CMYK_C .., RGB_R .. or 6CLR_1 .. What they
// reach says what full is: 1, 100 or 255.
ink_chart read_ink_chart(job &work, const std::string &path);

// Names of the channels of a device: Cyan .. Black, Red .. Blue, Ink 1 .. else.
std::vector<std::string> channel_names(int channels, bool additive);

// Colours of a text with "L a b" in each line, or of a chart.
std::vector<lab_colour> read_colours(job &work, const std::string &path);

}  // namespace tool

#endif
