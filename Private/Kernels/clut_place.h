// clut_place - where a point lies in a grid of floats, for the kernels and for the module
//
// In an unnamed namespace on purpose: every kernel source gets a copy of its own, built for its instruction set.

#ifndef TESKA_CLUT_PLACE_H
#define TESKA_CLUT_PLACE_H

#include <cstddef>
#include <cstdint>

namespace teska
{

namespace
{

// Where an input lies: the index of the lower grid point of its cell and the fraction after it.
struct location {
    float scaled;
    int index;
    float fraction;
};

// Clamps first: 0 and 1 stay what they are, so inputs that are clamped already come to no harm, and the callers need no
// clamped copy. A NaN takes index 0 and stays in the fraction.
inline location locate(unsigned char max_index, double in)
{
    const double not_below = in < 0.0 ? 0.0 : in;
    const double clamped = not_below > 1.0 ? 1.0 : not_below;
    const auto x = static_cast<float>(static_cast<double>(max_index) * clamped);
    const int i = static_cast<int>(x > 0.0F ? x : 0.0F);
    // The top grid point is the far end of the last cell.
    if (i == max_index)
        return {x, i - 1, 1.0F};
    return {x, i, x - static_cast<float>(i)};
}

// A path through the cell of a point with three inputs: its two corners between 0 and 7, and the inputs along its three
// edges.
struct path_rule {
    std::uint8_t corner[2];
    std::uint8_t input[3];
};

// By the answers to fz < fy, "z over x" and fy < fx, the first one in the highest bit; a table, because on a noisy
// image the branches would be guessed wrong half of the time.
constexpr path_rule path_rules[8] = {
    {{1, 5}, {0, 2, 1}},  // x, z, y
    {{1, 5}, {0, 2, 1}},
    // Kept: the middle corners of these two are exchanged against the order of the fractions.
    {{4, 5}, {2, 0, 1}},
    {{4, 6}, {2, 1, 0}},
    {{2, 3}, {1, 0, 2}},  // y, x, z
    {{1, 3}, {0, 1, 2}},  // x, y, z
    {{2, 6}, {1, 2, 0}},  // y, z, x
    {{2, 6}, {1, 2, 0}},
};

}  // namespace

}  // namespace teska

#endif
