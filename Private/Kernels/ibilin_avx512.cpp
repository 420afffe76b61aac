// ibilin_avx512 - bilinear resampling of lines. A shuffle reaches all 64 bytes of a vector, which is one unit; it does
// not look at the mask's mark of zero bytes, so that constants say which bytes of a result count.

#include "Kernels/avx512.h"
#include "Kernels/ibilin_vector.h"

namespace teska
{

namespace
{

// Where a shuffle leaves zeros: the upper byte of a widened one, and the quarters of the other window.
template <int Bytes, int Part>
constexpr std::uint64_t kept = (Bytes == 1 ? 0x5555555555555555 : ~std::uint64_t{0}) &
                               (Part == 0   ? ~std::uint64_t{0}
                                : Part == 1 ? 0x0000FFFF0000FFFF
                                            : 0xFFFF0000FFFF0000);

struct ibilin_avx512 : avx512 {
    static constexpr int unit = 64;
    static constexpr int units = 1;

    static vector windows(const std::uint8_t *in, const std::ptrdiff_t *offset) noexcept { return load(in + *offset); }
    template <int Bytes, int Part>
    static vector shuffle(vector window, vector mask) noexcept
    {
        if constexpr (kept<Bytes, Part> == ~std::uint64_t{0})
            return pick8(window, mask);
        else
            return pick8(window, mask, kept<Bytes, Part>);
    }
    static vector shuffle_pair(vector first, vector second, vector mask) noexcept
    {
        return pick8_of_two(first, second, mask);
    }
    static vector lower_halves(vector a, vector b) noexcept { return join_lower(a, b); }
    static vector upper_halves(vector a, vector b) noexcept { return join_upper(a, b); }
    static vector narrow_lanes(vector a, vector b) noexcept { return unzip64(narrow_to_u8(a, b)); }

    // One bit a sample.
    template <class T>
    using stripe = std::uint64_t;
    static std::uint64_t stripe_at(const std::uint8_t *pattern) noexcept { return signs8(load(pattern)); }
    static std::uint64_t stripe_at(const std::uint16_t *pattern) noexcept { return signs16(load(pattern)); }
    static void put(std::uint8_t *at, vector a, std::uint64_t chosen) noexcept { store_chosen8(at, a, chosen); }
    static void put(std::uint16_t *at, vector a, std::uint64_t chosen) noexcept
    {
        store_chosen16(at, a, static_cast<std::uint32_t>(chosen));
    }
};

}  // namespace

void install_avx512(ibilin_kernels &table, bool /*gathers*/) noexcept { ibilin_kernel<ibilin_avx512>::install(table); }

}  // namespace teska
