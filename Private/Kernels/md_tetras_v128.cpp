// md_tetras_v128 - conversion through grids of 16-bit samples, four pixels of a path and one of a sum at a time

#include "Kernels/md_tetras_vector.h"
#include "Kernels/v128.h"

namespace teska
{

namespace
{

struct md_tetras_v128 : v128 {
    using strides = strides_as_labels<v128>;

    static vector apart(vector a) noexcept { return a; }

    static vector fours(const uint16_t *grid, const uint32_t *at) noexcept
    {
        return zip_low16(load_8_bytes(grid + at[0]), zero());
    }

    template <int First>
    static vector spread(const uint32_t *weights) noexcept
    {
        return all32(weights[First]);
    }
};

}  // namespace

void install_v128(md_tetras_kernels &table, bool /*gathers*/) noexcept
{
    install_steps<md_tetras_steps<md_tetras_v128>>(table);
}

}  // namespace teska
