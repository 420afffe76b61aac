// md_tetrad_avx512 - evaluation of doubles over a simplex, eight points at a time

#include "Kernels/avx512.h"
#include "Kernels/md_tetrad_vector.h"

namespace teska
{

namespace
{

struct md_tetrad_avx512 : avx512_doubles {
    using offsets = avx2;
};

}  // namespace

void install_avx512(md_tetrad_kernels &table, bool /*gathers*/) noexcept
{
    md_tetrad_kernel<md_tetrad_avx512>::install(table);
}

}  // namespace teska
