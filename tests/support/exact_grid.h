// exact_grid - the exact value of the interpolation over a simplex, in integers, for tables of 16-bit samples

#ifndef TESKA_TESTS_EXACT_GRID_H
#define TESKA_TESTS_EXACT_GRID_H

#include "support/test.h"

namespace teska_test
{

using Words = std::vector<unsigned short>;

// 65535 times output c at the point u, through a dense grid with R points per input; dimension 0 slowest. Walks from
// the lower vertex of the cell and adds, for each input in turn, its fraction of the change along it.
inline std::int64_t exact_65535ths(const unsigned short *grid, int outputs, int resolution, const Words &u, int c)
{
    std::vector<std::pair<std::int64_t, std::int64_t>> steps;  // fraction and stride
    std::int64_t at = c;
    std::int64_t stride = outputs;
    for (std::size_t d = u.size(); d-- > 0; stride *= resolution) {
        const std::int64_t x = std::int64_t{u[d]} * (resolution - 1);
        const std::int64_t cell = std::min<std::int64_t>(x / 65535, resolution - 2);
        steps.emplace_back(x - 65535 * cell, stride);
        at += cell * stride;
    }
    std::sort(steps.rbegin(), steps.rend());
    std::int64_t value = std::int64_t{grid[at]} * 65535;
    for (const auto &[fraction, step] : steps) {
        value += fraction * (grid[at + step] - std::int64_t{grid[at]});
        at += step;
    }
    return value;
}

// Sample v of a curve of evenly spaced entries, rounded.
inline unsigned short on_curve(const Words &entries, unsigned short v)
{
    const std::int64_t value = exact_65535ths(entries.data(), 1, static_cast<int>(entries.size()), {v}, 0);
    return static_cast<unsigned short>((2 * value + 65535) / (2 * 65535));
}

}  // namespace teska_test

#endif
