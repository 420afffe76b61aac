// levels - a check under every set of inner loops that this processor can run

#ifndef TESTS_LEVELS_H
#define TESTS_LEVELS_H

#include "Kernels/kernels.h"
#include "support/test.h"

namespace teska_test
{

// Leaves bytes 255 below, where the calls that follow have their local variables.
[[gnu::noinline]] inline void leave_ones_on_the_stack()
{
    unsigned char bytes[100000];
    std::memset(bytes, 255, sizeof bytes);
    asm volatile("" : : "r"(bytes) : "memory");  // so that they are written
}

// Calls check(level) under every cap from scalar up to what the processor has; the cap of before is back afterwards.
template <class Check>
void at_every_level(const Check &check)
{
    static const char *const names[] = {"scalar", "v128", "AVX2", "AVX-512"};
    const teska::simd_level before = teska::simd_limit(teska::simd_level::scalar);
    for (int level = 0; level <= static_cast<int>(teska::simd_available()); ++level) {
        SCOPED_TRACE(names[level]);
        teska::simd_limit(static_cast<teska::simd_level>(level));
        leave_ones_on_the_stack();
        check(static_cast<teska::simd_level>(level));
    }
    teska::simd_limit(before);
}

}  // namespace teska_test

#endif
