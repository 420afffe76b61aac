// fir_v128 - one filtered line. Vectors of 4 sums.

#include "Kernels/fir_vector.h"
#include "Kernels/v128.h"

namespace teska
{

namespace
{

struct fir_v128 : v128 {
    static constexpr int lanes = 4;
    static constexpr int vectors = 8;

    static vector in_order_16(vector a) noexcept { return a; }
    static vector in_order_8(vector a) noexcept { return a; }

    // As many adjacent pixels as fill vectors; returns how many.
    static std::ptrdiff_t pack(std::uint32_t *words, const std::uint8_t *before, const std::uint8_t *line,
                               int count) noexcept
    {
        std::ptrdiff_t x = 0;
        for (; x + 8 <= count; x += 8) {
            const vector pairs = zip_low8(load_8_bytes(before + x), load_8_bytes(line + x));
            store(words + x, zip_low8(pairs, zero()));
            store(words + x + lanes, zip_high8(pairs, zero()));
        }
        return x;
    }
    static std::ptrdiff_t pack(std::uint32_t *words, const std::uint16_t *before, const std::uint16_t *line,
                               int count) noexcept
    {
        std::ptrdiff_t x = 0;
        for (; x + 8 <= count; x += 8) {
            const vector a = load(before + x) ^ all16(0x8000);
            const vector b = load(line + x) ^ all16(0x8000);
            store(words + x, zip_low16(a, b));
            store(words + x + lanes, zip_high16(a, b));
        }
        return x;
    }
};

}  // namespace

void install_v128(fir_kernels &table, bool /*gathers*/) noexcept
{
    fir_kernel<fir_saturating<fir_v128>>::install(table);
}

}  // namespace teska
