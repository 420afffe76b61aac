// md_tetras_scalar - conversion through grids of 16-bit samples: the definition
//
// One pixel: every input sample passes its curve and gives, by exact division, a lower vertex index and a remainder
// inside the cell:
//
//     x = u * (R - 1),   i = [x / 65535],   r = x - 65535 * i        for u = 65535: i = R - 2, r = 65535
//
// The lower indices together are the base vertex. From there a path of N + 1 vertices leads to the far corner, along the
// input of the largest remainder first; vertex k counts with the difference of the remainders k - 1 and k. The weights are
// whole numbers that sum to 65535, so the sum of the products is exact and is rounded once:
//
//     N = 2, remainders 40000 and 10000:   (25535 * P00 + 30000 * P10 + 10000 * P11 + 32767) / 65535
//
// The sum and 32767 are at most 65535^2 + 32767 < 2^32. With sum = 65535 q + r the quotient is q = (sum + (sum >> 16) + 1)
// >> 16, because sum >> 16 is q where r >= q and else q - 1, so that the bracket is 65536 q + r + 1, r + 1 < 65536, or 65536
// q + r. The same gives the index.
//
// An input is sorted as one number, remainder << 32 | stride. Inputs of equal remainders may come in any order, because the
// vertex between them has weight 0. Four outputs are summed in two words, even and odd samples apart; by the bound above
// the lower sum of a word never carries into the upper one.

#include "Kernels/md_tetras_block.h"
#include "Kernels/simplex.h"

namespace teska
{

namespace
{

constexpr uint64_t lower_halves = 0x0000FFFF0000FFFF;

struct scalar_steps {
    // ---- Paths ------------------------------------------------------------------------------------------------------

    // Adds the offset of the lower vertex to `base` and returns the remainder.
    static uint32_t find_position(const md_tetras_table &table, int d, uint16_t sample, uint32_t &base) noexcept
    {
        const uint16_t *const curve = table.in_curves[d];
        const uint32_t x = (curve != nullptr ? curve[sample] : sample) * table.cells;
        const uint32_t i = divided(x);
        const uint32_t top = i == table.cells ? 1 : 0;
        base += (i - top) * table.strides[d];
        return x - whole * (i - top);
    }

    static uint32_t find_position(const md_tetras_table &table, int d, uint8_t sample, uint32_t &base) noexcept
    {
        const md_tetras_position position = table.bytes[256 * d + sample];
        base += position.offset;
        return position.rest;
    }

    template <int N, class Sample>
    static void find_paths(const md_tetras_table &table, const Sample *const *lines, ptrdiff_t step, ptrdiff_t first,
                           int count, md_tetras_paths<N> &paths) noexcept
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
    }

    // Without branches, because random pixels would mispredict every second one.
    static void order(uint64_t &first, uint64_t &second) noexcept
    {
        const uint64_t larger = first < second ? second : first;
        second = first < second ? first : second;
        first = larger;
    }

    template <int N>
    static void find_paths(const md_tetras_table &table, const md_tetras_run &run, ptrdiff_t first, int count,
                           md_tetras_paths<N> &paths) noexcept
    {
        if (run.in_bytes != nullptr)
            find_paths(table, run.in_bytes, run.in_step, first, count, paths);
        else
            find_paths(table, run.in, run.in_step, first, count, paths);
    }

    // ---- Sums -------------------------------------------------------------------------------------------------------

    template <int N>
    static void sum(const uint16_t *grid, int n, int count, const md_tetras_paths<N> &paths,
                    md_tetras_results &results) noexcept
    {
        constexpr uint64_t rounding = uint64_t{half_whole} << 32 | half_whole;
        for (int p = 0; p < count; ++p) {
            uint64_t even = rounding;
            uint64_t odd = rounding;
            for (int i = 0; i <= (N != 0 ? N : n); ++i) {
                const uint16_t *const vertex = grid + paths.at[i][p];
                const uint64_t weight = paths.weight[i][p];
                even += (vertex[0] | uint64_t{vertex[2]} << 32) * weight;
                odd += (vertex[1] | uint64_t{vertex[3]} << 32) * weight;
            }
            even = divided_pair(even);
            odd = divided_pair(odd);
            results.of[p][0] = static_cast<uint16_t>(even);
            results.of[p][1] = static_cast<uint16_t>(odd);
            results.of[p][2] = static_cast<uint16_t>(even >> 32);
            results.of[p][3] = static_cast<uint16_t>(odd >> 32);
        }
    }

    // `divided` in both halves; neither intermediate exceeds 32 bits.
    static uint64_t divided_pair(uint64_t sums) noexcept
    {
        return (sums + (sums >> 16 & lower_halves) + 0x0000000100000001) >> 16 & lower_halves;
    }

    static void blend(md_tetras_results &first, const md_tetras_results &second, const uint16_t *weights,
                      int count) noexcept
    {
        for (int p = 0; p < count; ++p)
            for (int c = 0; c < 4; ++c)
                first.of[p][c] = static_cast<uint16_t>(divided(first.of[p][c] * (whole - weights[p]) +
                                                               second.of[p][c] * uint32_t{weights[p]} + half_whole));
    }

    // ---- Lines ------------------------------------------------------------------------------------------------------

    static void put(const md_tetras_run &run, ptrdiff_t line, int width, ptrdiff_t first, int count,
                    const uint8_t *chosen, const md_tetras_results &results) noexcept
    {
        put_lines(run, line, width, first, count, chosen, results);
    }
};

}  // namespace

void install_scalar(md_tetras_kernels &table, bool /*gathers*/) noexcept { install_steps<scalar_steps>(table); }

}  // namespace teska
