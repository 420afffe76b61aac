// dispatch - fills the kernel table for the processor at hand
//
// Process-wide state: the table and the limit, in one struct.

#include "Kernels/kernels.h"

namespace teska
{

namespace
{

simd_level detect() noexcept
{
    __builtin_cpu_init();
    if (__builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl") &&
        __builtin_cpu_supports("avx512vbmi"))
        return simd_level::avx512;
    if (__builtin_cpu_supports("avx2"))
        return simd_level::avx2;
    if (__builtin_cpu_supports("sse4.1"))
        return simd_level::sse41;
    return simd_level::scalar;
}

kernel_table build(simd_level level) noexcept
{
    kernel_table table;
    install_scalar(table.clut);
    install_scalar(table.tetrab);
    install_scalar(table.tetrad);
    install_scalar(table.mat);
    if (level >= simd_level::avx2)
        install_avx2(table.mat);
    if (level >= simd_level::avx512)
        install_avx512(table.mat);
    return table;
}

struct dispatch_state {
    simd_level limit = simd_level::avx512;
    kernel_table table = build(detect());
};

dispatch_state &state() noexcept
{
    static dispatch_state instance;
    return instance;
}

}  // namespace

const kernel_table &kernels() noexcept { return state().table; }

simd_level simd_available() noexcept { return detect(); }

simd_level simd_limit(simd_level level) noexcept
{
    dispatch_state &now = state();
    const simd_level previous = now.limit;
    const simd_level available = detect();
    now.limit = level;
    now.table = build(level < available ? level : available);
    return previous;
}

}  // namespace teska
