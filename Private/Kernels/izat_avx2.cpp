// izat_avx2 - resampling by weighted sums, two columns at a time

#include "Kernels/izat_pairs.h"

namespace teska
{

void install_avx2(izat_kernels &table, bool /*gathers*/) noexcept { izat_install<izat_avx2>(table); }

}  // namespace teska
