// izat_avx512 - resampling by weighted sums, four columns at a time

#include "Kernels/avx512.h"
#include "Kernels/izat_vector.h"

namespace teska
{

namespace
{

struct izat_avx512 : avx512 {
    static vector every_fourth_column(const std::int16_t *samples, const std::int32_t *first) noexcept
    {
        return join(avx2::join(v128::load(samples + first[0]), v128::load(samples + first[4])),
                    avx2::join(v128::load(samples + first[8]), v128::load(samples + first[12])));
    }
};

}  // namespace

void install_avx512(izat_kernels &table, bool /*gathers*/) noexcept { izat_install<izat_avx512>(table); }

}  // namespace teska
