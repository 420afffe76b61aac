// fir_avx512 - one filtered line. Vectors of 16 sums.

#include "Kernels/avx512.h"
#include "Kernels/fir_vector.h"

namespace teska
{

namespace
{

struct fir_avx512 : avx512 {
    static constexpr int lanes = 16;
    static constexpr int vectors = 8;

    static vector widen(const std::uint8_t *at) noexcept { return widen_8_to_32(at); }
    static vector widen(const std::uint16_t *at) noexcept
    {
        return widen_16_to_32(avx2::load(at) ^ avx2::all16(0x8000));
    }

    // As many adjacent pixels as fill vectors; returns how many.
    template <class Sample>
    static std::ptrdiff_t pack(std::uint32_t *words, const Sample *before, const Sample *line, int count) noexcept
    {
        std::ptrdiff_t x = 0;
        for (; x + lanes <= count; x += lanes)
            store(words + x, widen(before + x) | shift_left32(widen(line + x), 16));
        return x;
    }

    static vector clip(vector sum, std::uint16_t maximum) noexcept
    {
        return min_s32(shift_right_u32(max_s32(sum, zero()), 16), all32(std::uint32_t{maximum}));
    }

    static void store_results(std::uint16_t *at, const vector *sums, std::uint16_t maximum) noexcept
    {
        for (int v = 0; v < 4; ++v)
            avx2::store(at + v * lanes, low_16_of_32(clip(sums[v], maximum)));
    }

    // A maximum above 255 leaves the low bytes, as an assignment does.
    static void store_results(std::uint8_t *at, const vector *sums, std::uint16_t maximum) noexcept
    {
        for (int v = 0; v < 4; ++v)
            v128::store(at + v * lanes, low_8_of_32(clip(sums[v], maximum)));
    }
};

}  // namespace

void install_avx512(fir_kernels &table, bool /*gathers*/) noexcept { fir_kernel<fir_avx512>::install(table); }

}  // namespace teska
