// md_tetras_avx512 - conversion through grids of 16-bit samples, 16 pixels of a path and four of a sum at a time

#include "Kernels/avx512.h"
#include "Kernels/md_tetras_vector.h"

namespace teska
{

namespace
{

// By First: the lanes of four pixels' weights among eight.
alignas(64) constexpr uint32_t weight_lanes[2][16] = {{0, 0, 0, 0, 2, 2, 2, 2, 4, 4, 4, 4, 6, 6, 6, 6},
                                                      {1, 1, 1, 1, 3, 3, 3, 3, 5, 5, 5, 5, 7, 7, 7, 7}};

struct md_tetras_avx512 : avx512 {
    using strides = strides_by_number<avx512>;

    static vector apart(vector a) noexcept { return zip_halves64(a); }

    static vector fours(const uint16_t *grid, const uint32_t *at) noexcept
    {
        return widen_16_to_32(avx2::join(two(grid, at), two(grid, at + 4)));
    }

    template <int First>
    static vector spread(const uint32_t *weights) noexcept
    {
        return pick32(repeat32(weights), load(weight_lanes[First]));
    }

private:
    static v128::vector two(const uint16_t *grid, const uint32_t *at) noexcept
    {
        return v128::zip_low64(v128::load_8_bytes(grid + at[0]), v128::load_8_bytes(grid + at[2]));
    }
};

}  // namespace

void install_avx512(md_tetras_kernels &table, bool /*gathers*/) noexcept
{
    install_steps<md_tetras_steps<md_tetras_avx512>>(table);
}

}  // namespace teska
