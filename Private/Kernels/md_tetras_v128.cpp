// md_tetras_v128 - conversion through grids of 16-bit samples, four pixels of a path and one of a sum at a time

#include "Kernels/md_tetras_vector.h"
#include "Kernels/v128.h"

namespace teska
{

namespace
{

// The sums of a pixel, a lane for each sample.
class one_pixel
{
public:
    using lanes32 = v128::lanes32;
    static constexpr int pixels = 1;

    struct weights {
        explicit weights(const uint32_t *at) noexcept : repeated(lanes32{} + *at) {}
        lanes32 repeated;
    };

    void add(const uint16_t *grid, const uint32_t *at, const weights &by) noexcept
    {
        sum_ += reinterpret_cast<lanes32>(v128::widen_16_to_32(grid + *at)) * by.repeated;
    }

    // `divided`
    void store(void *samples) const noexcept
    {
        const lanes32 sum = sum_ + half_whole;
        const auto quotient = reinterpret_cast<v128::vector>((sum + (sum >> 16) + 1) >> 16);
        v128::store_8_bytes(samples, v128::narrow_to_u16(quotient, quotient));
    }

private:
    lanes32 sum_ = {};
};

struct md_tetras_v128 : v128 {
    using strides = strides_as_labels<v128>;
    using sums = one_pixel;

    static constexpr int tables_at_once = 3;

    static vector apart(vector a) noexcept { return a; }
};

}  // namespace

void install_v128(md_tetras_kernels &table, bool /*gathers*/) noexcept
{
    install_steps<md_tetras_steps<md_tetras_v128>>(table);
}

}  // namespace teska
