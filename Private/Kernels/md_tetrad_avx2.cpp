// md_tetrad_avx2 - evaluation of doubles over a simplex, four points at a time

#include "Kernels/avx2.h"
#include "Kernels/md_tetrad_vector.h"

namespace teska
{

namespace
{

struct md_tetrad_avx2 : avx2_doubles {
    using offsets = v128;
};

}  // namespace

void install_avx2(md_tetrad_kernels &table, bool /*gathers*/) noexcept
{
    md_tetrad_kernel<md_tetrad_avx2>::install(table);
}

}  // namespace teska
