// sections - what the gallery shows, one function per section

#ifndef EXAMPLES_SECTIONS_H
#define EXAMPLES_SECTIONS_H

#include "gallery/page.h"

#include <filesystem>

namespace examples
{

struct gallery_inputs {
    std::filesystem::path photo;
    std::filesystem::path profile;
    std::filesystem::path output;
    std::filesystem::path chart;  // of measured patches; empty: the profile prints one
    std::filesystem::path live;   // folder of teska-live.js and live-page.js; empty when they were not built
};

// A photograph on its way to the press and back: 16-bit tables, and tables of bytes.
section separation_section(const gallery_inputs &inputs);

// A page whose photograph, graphic and text go through tables of their own.
section objects_section(const gallery_inputs &inputs);

// A tone curve, fits through measured tones, the dither cell, two searches for a minimum.
section curves_section(const gallery_inputs &inputs);

// Sharpening, resampling, filling, and one formula in three kinds of tables.
section lines_section(const gallery_inputs &inputs);

// What the press can print, as a solid of colours.
section gamut_section(const gallery_inputs &inputs);

// A press by the patches of a chart: its hollows, the way home of a colour, black by a rule.
section cloud_section(const gallery_inputs &inputs);

// The umbrella of the press and of a printer with six inks.
section topsurface_section(const gallery_inputs &inputs);

// The library in the reader's browser.
section live_section(const gallery_inputs &inputs);

// The pictures of the sections before it in one archive and out again: comes last.
section records_section(const gallery_inputs &inputs);

}  // namespace examples

#endif
