// heat - a scale of colours, evenly lighter from dark blue over green to yellow

#ifndef EXAMPLES_HEAT_H
#define EXAMPLES_HEAT_H

#include "support/cie.h"

#include <array>

namespace examples
{

// t from 0 to 1.
inline std::array<unsigned char, 3> heat(double t)
{
    const double red = 0.28 - 1.1 * t + 1.8 * t * t;
    const double green = 0.02 + 1.25 * t - 0.4 * t * t;
    const double blue = 0.34 + 1.2 * t - 1.45 * t * t;
    return {sample_of(red), sample_of(green), sample_of(blue)};
}

}  // namespace examples

#endif
