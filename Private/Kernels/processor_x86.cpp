// processor_x86 - what an x86 processor has, of 32 or 64 bits

#include "Kernels/gather.h"
#include "Kernels/processor.h"

namespace teska
{

simd_level detect_level() noexcept
{
    __builtin_cpu_init();
    if (__builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512dq") &&
        __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512vbmi"))
        return simd_level::avx512;
    if (__builtin_cpu_supports("avx2"))
        return simd_level::avx2;
    if (__builtin_cpu_supports("sse4.1"))
        return simd_level::v128;
    return simd_level::scalar;
}

bool gathers_pay(simd_level detected) noexcept { return detected >= simd_level::avx2 && measure_gather(); }

}  // namespace teska
