// fusm_v128 - sharpening of image lines. Vectors of 16 bytes; tables of bytes by shuffles.

#include "Kernels/fusm_vector.h"
#include "Kernels/v128.h"

namespace teska
{

void install_v128(fusm_kernels &table, bool /*gathers*/) noexcept { fusm_install<v128, v128>(table); }

}  // namespace teska
