// md_tetras_avx2 - conversion through grids of 16-bit samples, eight pixels of a path and two of a sum at a time

#include "Kernels/avx2.h"
#include "Kernels/md_tetras_vector.h"

namespace teska
{

namespace
{

// By First: the lanes of two pixels' weights among four.
alignas(32) constexpr uint32_t weight_lanes[2][8] = {{0, 0, 0, 0, 2, 2, 2, 2}, {1, 1, 1, 1, 3, 3, 3, 3}};

struct md_tetras_avx2 : avx2 {
    using strides = strides_by_number<avx2>;

    static vector apart(vector a) noexcept { return unzip64(a); }

    static vector fours(const uint16_t *grid, const uint32_t *at) noexcept
    {
        return widen_16_to_32(v128::zip_low64(v128::load_8_bytes(grid + at[0]), v128::load_8_bytes(grid + at[2])));
    }

    template <int First>
    static vector spread(const uint32_t *weights) noexcept
    {
        return pick32(repeat(weights), load(weight_lanes[First]));
    }
};

}  // namespace

void install_avx2(md_tetras_kernels &table, bool /*gathers*/) noexcept
{
    install_steps<md_tetras_steps<md_tetras_avx2>>(table);
}

}  // namespace teska
