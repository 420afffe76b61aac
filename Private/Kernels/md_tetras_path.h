// md_tetras_path - paths through a grid of 16-bit samples, pixel by pixel
//
// Part of the definition in md_tetras_scalar.cpp, where the formulas are; vectors fall back on it for grids that they
// do not take.
//
// In an unnamed namespace on purpose: every kernel source gets a copy of its own, built for its instruction set.

#ifndef TESKA_MD_TETRAS_PATH_H
#define TESKA_MD_TETRAS_PATH_H

#include "Kernels/md_tetras_block.h"
#include "Kernels/simplex.h"

namespace teska
{

namespace
{

// Without branches, because random pixels would mispredict every second one.
inline void order(uint64_t &first, uint64_t &second) noexcept
{
    const uint64_t larger = first < second ? second : first;
    second = first < second ? first : second;
    first = larger;
}

// Adds the offset of the lower vertex to `base` and returns the remainder.
inline uint32_t find_position(const md_tetras_table &table, int d, uint16_t sample, uint32_t &base) noexcept
{
    const uint16_t *const curve = table.in_curves[d];
    const uint32_t x = (curve != nullptr ? curve[sample] : sample) * table.cells;
    const uint32_t i = divided(x);
    const uint32_t top = i == table.cells ? 1 : 0;
    base += (i - top) * table.strides[d];
    return x - whole * (i - top);
}

inline uint32_t find_position(const md_tetras_table &table, int d, uint8_t sample, uint32_t &base) noexcept
{
    const md_tetras_position position = table.bytes[256 * d + sample];
    base += position.offset;
    return position.rest;
}

template <int N, class Sample>
inline void find_paths_one_by_one(const md_tetras_table &table, const Sample *const *lines, ptrdiff_t step,
                                  ptrdiff_t first, int count, md_tetras_paths<N> &paths) noexcept
{
    const int n = N != 0 ? N : table.inputs;
    const Sample *in[room_for<N>];
    for (int d = 0; d < n; ++d)
        in[d] = lines[d] + first * step;
    for (int p = 0; p < count; ++p) {
        uint64_t key[room_for<N>];
        uint32_t at = 0;
        for (int d = 0; d < n; ++d) {
            const uint64_t rest = find_position(table, d, in[d][p * step], at);
            key[d] = rest << 32 | table.strides[d];
        }
        sort_keys<N>(key, n, order);
        paths.at[0][p] = at;
        uint32_t before = whole;
        for (int i = 0; i < n; ++i) {
            const auto rest = static_cast<uint32_t>(key[i] >> 32);
            paths.weight[i][p] = before - rest;
            before = rest;
            at += static_cast<uint32_t>(key[i]);
            paths.at[i + 1][p] = at;
        }
        paths.weight[n][p] = before;
    }
    for (int p = count; p % 16 != 0; ++p)
        for (int i = 0; i <= n; ++i)
            paths.at[i][p] = paths.weight[i][p] = 0;
}

template <int N>
inline void find_paths_one_by_one(const md_tetras_table &table, const md_tetras_run &run, ptrdiff_t first, int count,
                                  md_tetras_paths<N> &paths) noexcept
{
    if (run.in_bytes != nullptr)
        find_paths_one_by_one(table, run.in_bytes, run.in_step, first, count, paths);
    else
        find_paths_one_by_one(table, run.in, run.in_step, first, count, paths);
}

}  // namespace

}  // namespace teska

#endif
