// cells - the smallest cell of the division that places have in common

#include "cells.h"

#include "Support/bits.h"

#include <algorithm>
#include <bit>
#include <climits>
#include <cmath>
#include <cstdint>

namespace teska::quad
{

namespace
{

// Coordinates are below 2^499 in magnitude.
constexpr int plane_level = 501;
constexpr double plane_low = -0x1p500;

// The level of the smallest interval low .. low + 2^L that holds both, 0 <= a < b: twice the highest bit in which they
// differ.
int level_of_positive(double a, double b) noexcept
{
    constexpr int fraction_bits = 52;
    constexpr int bias = 1023;
    const auto a_bits = bits_of(a + 0.0);  // of -0.0 that of 0.0
    const auto b_bits = bits_of(b);
    const int b_exponent = std::max(static_cast<int>(b_bits >> fraction_bits), 1);  // that of denormals is 1
    const std::uint64_t differing = a_bits ^ b_bits;
    const int highest = std::min(63 - std::countl_zero(differing), fraction_bits);
    return b_exponent - bias - fraction_bits + highest + 1;
}

// The same for any a <= b; INT_MIN when they are equal.
int common_level(double a, double b) noexcept
{
    if (a == b)
        return INT_MIN;
    if (a < 0.0 && b >= 0.0)
        return plane_level;
    // Mirrored, an interval has its upper end and not its lower one, so what is next to 0 takes the place of both.
    return a >= 0.0 ? level_of_positive(a, b) : level_of_positive(std::nextafter(-b, 0.0), std::nextafter(-a, 0.0));
}

// The corner of the interval of a level that holds x.
double corner(double x, int level) noexcept
{
    constexpr int digits = 53;
    if (level == plane_level)
        return plane_low;
    if (std::fabs(x) >= std::ldexp(1.0, level + digits))
        return x;
    double index = std::floor(std::ldexp(x, -level));
    // What is so small that scaling made it -0.
    if (x < 0.0 && index == 0.0)
        index = -1.0;
    return std::ldexp(index, level);
}

cell cell_of(place p, int level) noexcept
{
    return {.low = {corner(p.x, level), corner(p.y, level)}, .side = std::ldexp(1.0, level)};
}

}  // namespace

cell common_cell(place low, place high) noexcept
{
    return cell_of(low, std::max(common_level(low.x, high.x), common_level(low.y, high.y)));
}

cell common_cell(const cell &of, place p) noexcept
{
    // All of a cell has its low corner's cell at each level above.
    const int level_x = common_level(std::min(of.low.x, p.x), std::max(of.low.x, p.x));
    const int level_y = common_level(std::min(of.low.y, p.y), std::max(of.low.y, p.y));
    return cell_of(p, std::max({level_x, level_y, std::ilogb(of.side)}));
}

}  // namespace teska::quad
