// delta_e - the difference of two colours as the eye sees it, CIEDE2000

#ifndef TESKA_TOOL_DELTA_E_H
#define TESKA_TOOL_DELTA_E_H

#include <array>

namespace tool
{

using lab_colour = std::array<double, 3>;  // L 0 .. 100, a, b; of light D50

// Difference of two colours with all weights 1.
// Source: Sharma, Wu and Dalal, The CIEDE2000 color-difference formula: implementation notes, supplementary test data,
// and mathematical observations, Color Research and Application 30(1), 2005, p. 21-30.
double delta_e_2000(const lab_colour &first, const lab_colour &second);

}  // namespace tool

#endif
