// md_tetras_avx512 - conversion through grids of 16-bit samples, 16 pixels of a path and eight of a sum at a time

#include "Kernels/avx512.h"
#include "Kernels/md_tetras_vector.h"

namespace teska
{

namespace
{

// Lanes of eight weights, each weight twice.
alignas(64) constexpr uint32_t twice_of_eight[16] = {0, 0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7};

struct eight_pixels : avx512 {
    static vector fours(const uint16_t *grid, const uint32_t *at) noexcept
    {
        return join(four(grid, at), four(grid, at + 4));
    }
    static vector twice(const uint32_t *weights) noexcept { return pick32(repeat32(weights), load(twice_of_eight)); }

private:
    static avx2::vector four(const uint16_t *grid, const uint32_t *at) noexcept
    {
        return avx2::join(v128::load_8_bytes_each(grid + at[0], grid + at[1]),
                          v128::load_8_bytes_each(grid + at[2], grid + at[3]));
    }
};

struct md_tetras_avx512 : avx512 {
    using strides = strides_by_number<avx512>;
    using sums = md_tetras_sums<eight_pixels>;

    static constexpr int tables_at_once = 1;

    static vector apart(vector a) noexcept { return zip_halves64(a); }
};

}  // namespace

void install_avx512(md_tetras_kernels &table, bool /*gathers*/) noexcept
{
    install_steps<md_tetras_steps<md_tetras_avx512>>(table);
}

}  // namespace teska
