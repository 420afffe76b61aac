// linear_light - samples of RGB and gray pictures through the curves of their profile, and back

#ifndef TESKA_TOOL_LINEAR_LIGHT_H
#define TESKA_TOOL_LINEAR_LIGHT_H

#include "pictures/picture.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tool
{

class job;

// Tables of 65536 samples for each channel of colour.
struct light_curves {
    std::vector<std::vector<std::uint16_t>> to_linear;
    std::vector<std::vector<std::uint16_t>> from_linear;  // the sample whose light is nearest
};

// By the profile in the picture, else what its format says, else the curve of sRGB. Throws when there are no curves.
light_curves curves_of(job &work, const std::string &file, const page_facts &page);

}  // namespace tool

#endif
