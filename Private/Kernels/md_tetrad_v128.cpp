// md_tetrad_v128 - evaluation of doubles over a simplex, two points at a time

#include "Kernels/md_tetrad_vector.h"
#include "Kernels/v128.h"

namespace teska
{

namespace
{

// Two integers are half a vector.
struct two_offsets : v128 {
    static void store(void *at, vector a) noexcept { store_8_bytes(at, a); }
};

struct md_tetrad_v128 : v128_doubles {
    using offsets = two_offsets;
};

}  // namespace

void install_v128(md_tetrad_kernels &table, bool /*gathers*/) noexcept
{
    md_tetrad_kernel<md_tetrad_v128>::install(table);
}

}  // namespace teska
