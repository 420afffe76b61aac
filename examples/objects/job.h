// job - a page whose objects go to the press through tables of their own
//
//     page, tags --(mmd_tetras: photograph, graphic, text)--> plates --> proof
//
// A photograph wants its tones kept (perceptual), a graphic its colours full (pure inks), and text sharp edges: black
// ink alone, so that plates that do not meet exactly leave no coloured rims. The tags say for each pixel which table it
// takes.

#ifndef EXAMPLES_OBJECTS_JOB_H
#define EXAMPLES_OBJECTS_JOB_H

#include "support/colour_engine.h"
#include "support/picture.h"

#include "objects/page.h"
#include "separation/race.h"

#include <array>

namespace examples
{

// Of the pixels of one kind, per cent of one full ink.
struct ink_load {
    double heaviest = 0;  // largest sum of inks in a pixel
    double coloured = 0;  // mean sum of cyan, magenta and yellow
};

// A page in inks, and what it looks like.
struct printed_page {
    picture plates;
    picture proof;
    picture without_black;  // the proof of the coloured inks
    std::array<ink_load, object_kinds> loads;
};

struct objects_results {
    tagged_page page;
    picture tag_colours;
    printed_page by_tag;
    printed_page by_one;  // everything but the paper through the table for photographs
    speed tag_speed;
    speed one_speed;  // the same pixels through one table without tags
};

// The colour in which a kind of objects is shown, sRGB.
std::array<unsigned char, 3> tag_colour(int object);

// rounds  of the speed measurement
objects_results run_objects(const picture &photograph, const profile &press, colour_engine &engine, int rounds);

}  // namespace examples

#endif
