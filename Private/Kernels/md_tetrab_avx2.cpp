// md_tetrab_avx2 - conversion of bytes over a simplex, eight pixels at a time, with gathers or without

#include "Kernels/avx2.h"
#include "Kernels/md_tetrab_vector.h"

namespace teska
{

namespace
{

template <class Reader>
struct md_tetrab_avx2 : Reader {
    using typename Reader::vector;
    static constexpr bool reads_byte_tables = false;

    static void store_fours(uint32_t *at, vector a) noexcept
    {
        v128::store(at, avx2::lower(a));
        v128::store(at + 16, avx2::upper(a));
    }
};

}  // namespace

void install_avx2(md_tetrab_kernels &table, bool gathers) noexcept
{
    if (gathers)
        md_tetrab_line<md_tetrab_avx2<avx2_gathers>>::install(table);
    else
        md_tetrab_line<md_tetrab_avx2<avx2_loads>>::install(table);
}

}  // namespace teska
