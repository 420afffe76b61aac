// gamut_slices - pictures of the planes L = 10 .. 90 through a body of colours

#ifndef TESKA_TOOL_GAMUT_SLICES_H
#define TESKA_TOOL_GAMUT_SLICES_H

#include "gamut_body.h"

namespace tool
{

class colour_engine;
class job;
class output_file;

// Writes a PNG of three by three slices of 256 x 256 pixels each, a to the right and b upwards, -128 .. 128, in the
// colours of sRGB that are nearest, with axes and their numbers.
void write_slices(job &work, colour_engine &engine, const gamut_body &body, output_file &file);

}  // namespace tool

#endif
