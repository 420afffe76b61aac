// izat_pairs - resampling by weighted sums, two columns at a time with vectors of 32 bytes

#ifndef TESKA_IZAT_PAIRS_H
#define TESKA_IZAT_PAIRS_H

#include "Kernels/avx2.h"
#include "Kernels/izat_vector.h"

namespace teska
{

namespace
{

struct izat_avx2 : avx2 {
    static vector every_fourth_column(const std::int16_t *samples, const std::int32_t *first) noexcept
    {
        return join(v128::load(samples + first[0]), v128::load(samples + first[4]));
    }
};

}  // namespace

}  // namespace teska

#endif
