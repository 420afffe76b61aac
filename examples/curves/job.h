// job - one-dimensional tools at work: a tone curve, fits through measured tones, a dither cell, two searches downhill
//
//     photograph --(grad_tab)--> toned photograph         histograms of both (hist)
//     ink steps --(press profile)--> tone points --(bezier_fit)--> curves
//     photograph --(rdither)--> four levels a channel       photograph --(vect_lobe)--> one colour corrected
//     points of an outline --(poly_bezier_fit)--> a chain of cubics
//     Rosenbrock's function --(dhsm, condirmin)--> every point it was asked for

#ifndef EXAMPLES_CURVES_JOB_H
#define EXAMPLES_CURVES_JOB_H

#include "support/colour_engine.h"
#include "support/picture.h"

#include <array>
#include <filesystem>
#include <vector>

namespace examples
{

struct xy {
    double x, y;
};

// Brightness of a picture's pixels, 0 .. 255.
struct levels {
    std::vector<int> counts;
    double mean;
    double deviation;
    int median;
};

struct tone_results {
    std::vector<xy> points;   // as the table file gives them back
    std::vector<xy> curve;    // at 0 .. 255
    std::vector<xy> inverse;  // likewise
    picture toned;
    levels before;
    levels after;
};

// Makes a table of the given curve, 0 .. 255, in a file, opens it again and takes the photograph through it. Throws
// failure when a level does not come back to itself, to a billionth, through curve and inverse.
tone_results run_tone(const picture &photograph, const std::vector<xy> &points, const std::filesystem::path &file);

struct tone_fit {
    std::vector<xy> points;  // ink on the plate and tone on paper, per cent
    std::array<xy, 4> controls;
    std::vector<xy> curve;
    double largest_error;
    double gain;  // of tone at half ink, per cent
};

// Steps of each ink alone, printed by the profile. The tone is that of Murray and Davies, from the light that the ink
// holds back: cyan red, magenta green, yellow blue.
std::array<tone_fit, 4> run_tone_fits(const profile &press, colour_engine &engine);

struct fitted_outline {
    std::vector<std::vector<xy>> segments;  // control points
    std::vector<xy> curve;
    double farthest;  // point from the curve
    double length;
    double area;
};

// A closed row of points as cubics that pass all of them within the bound, with corners where the row turns by more
// than so many degrees.
fitted_outline fit_outline(const std::vector<xy> &points, double bound, double corner);

struct selective_results {
    picture corrected;
    long moved;    // pixels
    double limit;  // the multiple of the shift from which on colours would fold
};

// Orange becomes redder, and nothing else changes.
selective_results correct_selectively(const picture &photograph);

struct dither_results {
    std::vector<std::array<int, 16>> cells;  // of level 0 .. 16, which of the pixels are set
    picture before;                          // a part of the photograph, its pixels enlarged
    picture after;                           // the same with four levels for each channel
};

dither_results run_dither(const picture &photograph);

struct question {
    xy at;
    double value;
};

struct descent {
    std::vector<question> asked;  // in order
    xy found;
    double least;
};

// The valley is 100 (y - x^2)^2 + (1 - x)^2; both searches start at (-1.2, 1).
descent descend_by_simplex();
descent descend_by_directions();

}  // namespace examples

#endif
