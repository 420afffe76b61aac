// job - pictures that pass by line by line: sharpened, resampled, filtered, filled, and taken through tables
//
//     photograph --(fusm)--> sharper photographs          photograph --(fir)--> what a filter leaves at the borders
//     zone plate --(ibilin, izat)--> smaller, larger
//     maze --(flood)--> each pixel's place in the order of filling
//     gradient --(CLUT, md_tetrab, md_tetrad)--> three answers, and how far they are from the formula

#ifndef EXAMPLES_LINES_JOB_H
#define EXAMPLES_LINES_JOB_H

#include "support/picture.h"

#include <string>
#include <vector>

namespace examples
{

// ---- Filters --------------------------------------------------------------------------------------------------------

// Unsharp masking of all channels alike. radius 0 .. 2; noise is the part of 255 up to which differences are cored.
picture sharpened(const picture &source, int radius, double strength, double noise);

// The filter of the given radius as it is made, with all coefficients 0: only what it passes through is left.
picture borders_of_filter(const picture &source, int radius);

// Bilinear; one or three channels.
picture resampled(const picture &source, int width, int height);

// Averaged by area and taps; kernel: IZAT_AREA .. IZAT_LANCZOS3.
picture averaged(const picture &source, int width, int height, int kernel);

// ---- Pictures -------------------------------------------------------------------------------------------------------

// Rings that become finer outwards, up to half a period a pixel at the edges. One channel.
picture zone_plate(int size);

picture cropped(const picture &source, int x, int y, int width, int height);

// Every pixel as a square of pixels.
picture magnified(const picture &source, int factor);

// |a - b| times a factor, cut at 255.
picture distance(const picture &a, const picture &b, int factor);

// ---- Reducing -------------------------------------------------------------------------------------------------------

struct reduction {
    std::string name;
    std::string function;  // of the library
    picture half;
    double kept;  // contrast where the rings are coarse enough for the new pixels, per cent of the plate's own there
    double false_rings;  // the same where they are too fine: nothing should be left
};

struct reductions {
    picture plate;
    std::vector<reduction> made;
};

// A zone plate brought to half its size. Coarse enough is up to 0.8 of the frequency that the new pixels can show,
// across and down, too fine is 1.2 times that and more.
reductions reduce_zone_plate(int size);

// ---- Filling --------------------------------------------------------------------------------------------------------

struct filled_maze {
    picture coloured;  // the order of filling as a colour, walls dark
    long pixels = 0;
    long runs = 0;
    long tests = 0;  // calls of the inside test
};

// A maze of the given number of cells, every cell of 4 x 4 pixels, filled from its centre; always the same maze.
filled_maze fill_maze(int columns, int rows);

// ---- Tables ---------------------------------------------------------------------------------------------------------

struct table_answer {
    std::string name;
    picture colours;
    picture errors;      // distance from the formula, one step of 255 as 64
    double mean = 0;     // in steps of 255
    double largest = 0;  // in steps of 255
};

struct table_comparison {
    int points;
    picture exact;
    std::vector<table_answer> answers;
};

// A plane of colours through CIELAB and back with twice the chroma: one formula, and three tables of it.
table_comparison compare_tables();

}  // namespace examples

#endif
