// fusm_avx512 - sharpening of image lines. Vectors of 64 bytes; a table of 256 bytes fills four of them, tables of
// words are read with and without gathers.

#include "Kernels/avx512.h"
#include "Kernels/fusm_vector.h"

namespace teska
{

void install_avx512(fusm_kernels &table, bool gathers) noexcept
{
    if (gathers)
        fusm_install<avx512, avx512_gathers>(table);
    else
        fusm_install<avx512, avx512_loads>(table);
}

}  // namespace teska
