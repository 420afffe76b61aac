// ibilin_avx2 - bilinear resampling of lines. Shuffles stay inside 16 bytes, so a vector has two units.

#include "Kernels/avx2.h"
#include "Kernels/ibilin_vector.h"

namespace teska
{

namespace
{

struct ibilin_avx2 : ibilin_units_of_16<avx2> {
    static vector windows(const std::uint8_t *in, const std::ptrdiff_t *offset) noexcept
    {
        return join(v128::load(in + offset[0]), v128::load(in + offset[1]));
    }
};

}  // namespace

void install_avx2(ibilin_kernels &table, bool /*gathers*/) noexcept { ibilin_kernel<ibilin_avx2>::install(table); }

}  // namespace teska
