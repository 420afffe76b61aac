// fusm_avx2 - sharpening of image lines. Vectors of 32 bytes; tables of bytes by shuffles, of words with and without
// gathers.

#include "Kernels/avx2.h"
#include "Kernels/fusm_vector.h"

namespace teska
{

void install_avx2(fusm_kernels &table, bool gathers) noexcept
{
    if (gathers)
        fusm_install<avx2, avx2_gathers>(table);
    else
        fusm_install<avx2, avx2_loads>(table);
}

}  // namespace teska
