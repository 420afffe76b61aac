// dispatch - keeps the kernel table that is in force
//
// Process-wide state: the table, the limits and the measurement of the gather, in one struct.

#include "Kernels/processor.h"

namespace teska
{

namespace
{

class dispatch_state
{
public:
    dispatch_state() noexcept : available(detect_level()), gather_pays_(gathers_pay(available)) { build(); }

    void build() noexcept { install_kernels(table, limit < available ? limit : available, gathers()); }

    simd_level available;
    simd_level limit = simd_level::avx512;
    gather_use gather = gather_use::as_measured;
    kernel_table table;

private:
    // For the entries that exist with and without gathers.
    [[nodiscard]] bool gathers() const noexcept
    {
        return gather == gather_use::always || (gather == gather_use::as_measured && gather_pays_);
    }

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
