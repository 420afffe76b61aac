// md_tetras_scalar - conversion through grids of 16-bit samples: the definition
//
// One pixel: every input sample passes its curve and gives, by exact division, a lower vertex index and a remainder
// inside the cell:
//
//     x = u * (R - 1),   i = [x / 65535],   r = x - 65535 * i        for u = 65535: i = R - 2, r = 65535
//
// The lower indices together are the base vertex. From there a path of N + 1 vertices leads to the far corner, along
// the input of the largest remainder first; vertex k counts with the difference of the remainders k - 1 and k. The
// weights are whole numbers that sum to 65535, so the sum of the products is exact and is rounded once:
//
//     N = 2, remainders 40000 and 10000:   (25535 * P00 + 30000 * P10 + 10000 * P11 + 32767) / 65535
//
// The sum and 32767 are at most 65535^2 + 32767 < 2^32. With sum = 65535 q + r the quotient is q = (sum + (sum >> 16) +
// 1) >> 16, because sum >> 16 is q where r >= q and else q - 1, so that the bracket is 65536 q + r + 1, r + 1 < 65536,
// or 65536 q + r. The same gives the index.
//
// An input is sorted as one number, remainder << 32 | stride. Inputs of equal remainders may come in any order, because
// the vertex between them has weight 0. Four outputs are summed in two words, even and odd samples apart; by the bound
// above the lower sum of a word never carries into the upper one.

#include "Kernels/md_tetras_block.h"
#include "Kernels/md_tetras_path.h"

namespace teska
{

namespace
{

constexpr uint64_t lower_halves = 0x0000FFFF0000FFFF;

struct scalar_steps {
    static constexpr int tables_at_once = 1;

    template <int N>
    class of
    {
    public:
        of(const md_tetras_table &table, const md_tetras_run &run) noexcept : table_(table), run_(run) {}

        void find_paths(ptrdiff_t first, int count, md_tetras_paths<N> &paths) const noexcept
        {
            find_paths_one_by_one(table_, run_, first, count, paths);
        }

        template <unsigned Tables>
        void sum(const uint16_t *const *grids, int count, const md_tetras_paths<N> &paths,
                 md_tetras_results *results) const noexcept
        {
            for (unsigned t = 0; t < Tables; ++t)
                sum_grid(grids[t], count, paths, results[t]);
        }

        void put(ptrdiff_t line, int width, ptrdiff_t first, int count, const uint8_t *chosen,
                 const md_tetras_results &results) const noexcept
        {
            put_lines(run_, line, width, first, count, chosen, results);
        }

    private:
        void sum_grid(const uint16_t *grid, int count, const md_tetras_paths<N> &paths,
                      md_tetras_results &results) const noexcept
        {
            constexpr uint64_t rounding = uint64_t{half_whole} << 32 | half_whole;
            for (int p = 0; p < count; ++p) {
                uint64_t even = rounding;
                uint64_t odd = rounding;
                for (int i = 0; i <= (N != 0 ? N : table_.inputs); ++i) {
                    const uint16_t *const vertex = grid + paths.at[i][p];
                    const uint64_t weight = paths.weight[i][p];
                    const uint64_t samples =
                        vertex[0] | uint64_t{vertex[1]} << 16 | uint64_t{vertex[2]} << 32 | uint64_t{vertex[3]} << 48;
                    even += (samples & lower_halves) * weight;
                    odd += (samples >> 16 & lower_halves) * weight;
                }
                even = divided_pair(even);
                odd = divided_pair(odd);
                results.of[p][0] = static_cast<uint16_t>(even);
                results.of[p][1] = static_cast<uint16_t>(odd);
                results.of[p][2] = static_cast<uint16_t>(even >> 32);
                results.of[p][3] = static_cast<uint16_t>(odd >> 32);
            }
        }

        const md_tetras_table &table_;
        const md_tetras_run &run_;
    };

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
};

}  // namespace

void install_scalar(md_tetras_kernels &table, bool /*gathers*/) noexcept { install_steps<scalar_steps>(table); }

}  // namespace teska
