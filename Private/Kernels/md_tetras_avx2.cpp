// md_tetras_avx2 - conversion through grids of 16-bit samples, eight pixels of a path and four of a sum at a time

#include "Kernels/avx2.h"
#include "Kernels/md_tetras_vector.h"

namespace teska
{

namespace
{

// Bytes of four weights, each weight twice.
alignas(32) constexpr signed char twice_of_four[32] = {0, 1, 2,  3,  0, 1, 2,  3,  4,  5,  6,  7,  4,  5,  6,  7,
                                                       8, 9, 10, 11, 8, 9, 10, 11, 12, 13, 14, 15, 12, 13, 14, 15};

struct four_pixels : avx2 {
    static vector fours(const uint16_t *grid, const uint32_t *at) noexcept
    {
        return join(v128::load_8_bytes_each(grid + at[0], grid + at[1]),
                    v128::load_8_bytes_each(grid + at[2], grid + at[3]));
    }
    static vector twice(const uint32_t *weights) noexcept { return shuffle8(repeat(weights), load(twice_of_four)); }
};

struct md_tetras_avx2 : avx2 {
    using strides = strides_by_number<avx2>;
    using sums = md_tetras_sums<four_pixels>;

    static constexpr int tables_at_once = 3;

    static vector apart(vector a) noexcept { return unzip64(a); }
};

}  // namespace

void install_avx2(md_tetras_kernels &table, bool /*gathers*/) noexcept
{
    install_steps<md_tetras_steps<md_tetras_avx2>>(table);
}

}  // namespace teska
