// md_tetrab_v128 - conversion of bytes over a simplex, four pixels at a time

#include "Kernels/md_tetrab_vector.h"
#include "Kernels/v128.h"

namespace teska
{

namespace
{

struct md_tetrab_v128 : v128 {
    static constexpr bool reads_byte_tables = false;

    static void store_fours(uint32_t *at, vector a) noexcept { store(at, a); }
};

}  // namespace

void install_v128(md_tetrab_kernels &table, bool /*gathers*/) noexcept
{
    md_tetrab_line<md_tetrab_v128>::install(table);
}

}  // namespace teska
