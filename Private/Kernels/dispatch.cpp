// dispatch - fills the kernel table for the processor at hand
//
// Process-wide state: the table, the limits and the measurement of the gather, in one struct.

#include "Kernels/gather.h"
#include "Kernels/kernels.h"

namespace teska
{

namespace
{

simd_level detect() noexcept
{
    __builtin_cpu_init();
    if (__builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512dq") &&
        __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512vbmi"))
        return simd_level::avx512;
    if (__builtin_cpu_supports("avx2"))
        return simd_level::avx2;
    if (__builtin_cpu_supports("sse4.1"))
        return simd_level::sse41;
    return simd_level::scalar;
}

class dispatch_state
{
public:
    dispatch_state() noexcept : available(detect()), gather_pays_(available >= simd_level::avx2 && measure_gather())
    {
        build();
    }

    void build() noexcept
    {
        const simd_level level = limit < available ? limit : available;
        install_scalar(table.clut);
        install_scalar(table.fir);
        install_scalar(table.md_tetrab);
        install_scalar(table.md_tetrad);
        install_scalar(table.hull);
        install_scalar(table.mat);
        install_scalar(table.fusm);
        install_scalar(table.ibilin);
        if (level >= simd_level::sse41) {
            install_sse41(table.clut);
            install_sse41(table.ibilin);
            install_sse41(table.fir);
            install_sse41(table.md_tetrab);
            install_sse41(table.fusm);
        }
        if (level >= simd_level::avx2) {
            install_avx2(table.clut);
            install_avx2(table.ibilin);
            install_avx2(table.fir);
            install_avx2(table.hull);
            install_avx2(table.mat);
            install_avx2(table.md_tetrab, gathers());
            install_avx2(table.md_tetrad);
            install_avx2(table.fusm, gathers());
        }
        if (level >= simd_level::avx512) {
            install_avx512(table.fir);
            install_avx512(table.hull);
            install_avx512(table.mat);
            install_avx512(table.ibilin);
            install_avx512(table.md_tetrab);
            install_avx512(table.md_tetrad);
            install_avx512(table.fusm, gathers());
        }
    }

    // For the entries that exist with and without gathers.
    [[nodiscard]] bool gathers() const noexcept
    {
        return gather == gather_use::always || (gather == gather_use::as_measured && gather_pays_);
    }

    simd_level available;
    simd_level limit = simd_level::avx512;
    gather_use gather = gather_use::as_measured;
    kernel_table table;

private:
    bool gather_pays_;
};

dispatch_state &state() noexcept
{
    static dispatch_state instance;
    return instance;
}

}  // namespace

std::atomic<const kernel_table *> kernels_in_force{nullptr};

const kernel_table &first_kernels() noexcept
{
    const kernel_table &table = state().table;
    kernels_in_force.store(&table, std::memory_order_release);
    return table;
}

simd_level simd_available() noexcept { return state().available; }

simd_level simd_limit(simd_level level) noexcept
{
    dispatch_state &now = state();
    const simd_level previous = now.limit;
    now.limit = level;
    now.build();
    return previous;
}

gather_use gather_limit(gather_use use) noexcept
{
    dispatch_state &now = state();
    const gather_use previous = now.gather;
    now.gather = use;
    now.build();
    return previous;
}

}  // namespace teska
