// md_tetrab_avx512 - conversion of bytes over a simplex, sixteen pixels at a time

#include "Kernels/avx512.h"
#include "Kernels/md_tetrab_vector.h"

namespace teska
{

namespace
{

struct md_tetrab_avx512 : avx512_gathers {
    static constexpr bool reads_byte_tables = true;

    static void store_fours(uint32_t *at, vector a) noexcept
    {
        v128::store(at, quarter<0>(a));
        v128::store(at + 16, quarter<1>(a));
        v128::store(at + 32, quarter<2>(a));
        v128::store(at + 48, quarter<3>(a));
    }
};

}  // namespace

void install_avx512(md_tetrab_kernels &table, bool /*gathers*/) noexcept
{
    md_tetrab_line<md_tetrab_avx512>::install(table);
}

}  // namespace teska
