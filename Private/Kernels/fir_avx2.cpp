// fir_avx2 - one filtered line. Eight vectors of 8 sums leave registers for the factors and the products.

#include "Kernels/avx2.h"
#include "Kernels/fir_vector.h"

namespace teska
{

namespace
{

struct fir_avx2 : avx2 {
    static constexpr int lanes = 8;
    static constexpr int vectors = 8;

    // Quarters are in the order 0 2 1 3.
    static vector in_order_16(vector a) noexcept { return unzip64(a); }
    // Eighths are in the order 0 2 4 6 1 3 5 7.
    static vector in_order_8(vector a) noexcept { return pick32(a, as<vector>(lanes32{0, 4, 1, 5, 2, 6, 3, 7})); }

    // As many adjacent pixels as fill vectors; returns how many.
    static std::ptrdiff_t pack(std::uint32_t *words, const std::uint8_t *before, const std::uint8_t *line,
                               int count) noexcept
    {
        std::ptrdiff_t x = 0;
        for (; x + 16 <= count; x += 16) {
            const v128::vector a = v128::load(before + x);
            const v128::vector b = v128::load(line + x);
            store(words + x, widen_8_to_16(v128::zip_low8(a, b)));
            store(words + x + lanes, widen_8_to_16(v128::zip_high8(a, b)));
        }
        return x;
    }
    static std::ptrdiff_t pack(std::uint32_t *words, const std::uint16_t *before, const std::uint16_t *line,
                               int count) noexcept
    {
        std::ptrdiff_t x = 0;
        for (; x + 16 <= count; x += 16) {
            const vector a = load(before + x) ^ all16(0x8000);
            const vector b = load(line + x) ^ all16(0x8000);
            const vector low = zip_low16(a, b);
            const vector high = zip_high16(a, b);
            store(words + x, join_lower(low, high));
            store(words + x + lanes, join_upper(low, high));
        }
        return x;
    }
};

}  // namespace

void install_avx2(fir_kernels &table, bool /*gathers*/) noexcept
{
    fir_kernel<fir_saturating<fir_avx2>>::install(table);
}

}  // namespace teska
