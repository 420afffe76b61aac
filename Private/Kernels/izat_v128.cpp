// izat_v128 - resampling by weighted sums, a column at a time

#include "Kernels/izat_vector.h"
#include "Kernels/v128.h"

namespace teska
{

namespace
{

struct izat_v128 : v128 {
    static vector every_fourth_column(const std::int16_t *samples, const std::int32_t *first) noexcept
    {
        return load(samples + first[0]);
    }
};

}  // namespace

void install_v128(izat_kernels &table, bool /*gathers*/) noexcept { izat_install<izat_v128>(table); }

}  // namespace teska
