// job - a photograph separated for a press, proofed back and compared
//
//     photograph --(RGB to CMYK table)--> plates --(CMYK to RGB table)--> proof
//
// Both tables are filled by Little CMS, one vertex at a time, once with bytes and once with 16 bits in every vertex;
// the pictures are those of 16 bits. Then Little CMS does the same work itself, in two ways: with every pixel taken
// through all stages of the profiles (the truth that everything is compared with), and with the table of its own that
// it optimises a conversion to (the peer in speed and in error).
//
// Towards the press the intent is perceptual, the one meant for photographs. Back it is relative colorimetric: the
// proof then shows the inks as they are, with their weaker black, on a paper white that stands for the white of the
// screen.

#ifndef EXAMPLES_SEPARATION_JOB_H
#define EXAMPLES_SEPARATION_JOB_H

#include "support/colour_engine.h"
#include "support/picture.h"

#include "separation/difference.h"
#include "separation/race.h"

#include <array>
#include <string>
#include <vector>

namespace examples
{

constexpr int inks = 4;  // cyan, magenta, yellow, black: the order of the channels

struct table_figures {
    int inputs;
    int outputs;
    int bits;    // of a sample of a vertex
    int points;  // along each input
    int vertices;
    int bytes;
    double fill_seconds;  // processor time
};

// Results that should be the same, each against the direct evaluation: through the library's 16-bit tables, through its
// byte tables, and as Little CMS optimises the conversion.
struct agreement {
    difference words;
    difference bytes;
    difference peer;
};

struct speeds {
    speed words;
    speed bytes;
    speed peer;
    speed direct;
};

struct ink_figures {
    double mean;  // per cent of full coverage
    double largest;
};

struct separation_results {
    picture photograph;
    picture plates;                         // interleaved, 0 = no ink
    std::array<picture, inks> plate_views;  // each plate as it prints alone, in sRGB
    picture proof;
    picture direct_proof;  // Little CMS alone, from the photograph

    std::array<ink_figures, inks> ink;
    double heaviest;  // largest sum of inks in a pixel, per cent

    std::string press;                      // description of the profile
    std::array<table_figures, 2> to_press;  // 16 bits, bytes
    std::array<table_figures, 2> to_screen;

    agreement separation;    // steps of 255, from the photograph to the plates
    agreement proofing;      // steps of 255, from the same plates to the screen
    agreement chain;         // steps of 255, from the photograph to the screen
    agreement chain_colour;  // the chain as colour difference CIEDE2000

    std::vector<double> proof_distances;  // of the proof from the direct one, CIEDE2000, pixel by pixel

    speeds separation_speed;
    speeds proofing_speed;
    int rounds;
};

// rounds  of the speed measurement
separation_results run_separation(picture photograph, const profile &press, colour_engine &engine, int rounds);

}  // namespace examples

#endif
