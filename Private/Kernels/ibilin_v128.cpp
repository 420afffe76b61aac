// ibilin_v128 - bilinear resampling of lines, one unit a vector

#include "Kernels/ibilin_vector.h"
#include "Kernels/v128.h"

namespace teska
{

namespace
{

struct ibilin_v128 : ibilin_units_of_16<v128> {
    static vector windows(const std::uint8_t *in, const std::ptrdiff_t *offset) noexcept { return load(in + *offset); }
};

}  // namespace

void install_v128(ibilin_kernels &table, bool /*gathers*/) noexcept { ibilin_kernel<ibilin_v128>::install(table); }

}  // namespace teska
