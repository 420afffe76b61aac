// izat_avx512 - resampling by weighted sums with vectors of 64 bytes
//
// Columns are summed two at a time in vectors of 32 bytes: putting four runs of samples into one vector costs more than
// it saves.

#include "Kernels/avx512.h"
#include "Kernels/izat_pairs.h"

namespace teska
{

void install_avx512(izat_kernels &table, bool /*gathers*/) noexcept { izat_install<avx512, izat_avx2>(table); }

}  // namespace teska
