// kernels - the inner loops and the table through which the modules call them
//
// For every operation <op>_scalar.cpp is the definition; a variant <op>_<isa>.cpp is a faster copy that gives the same
// bits. The table starts with all scalar entries; every instruction set the processor has overrides what it offers, in
// rising order. It is filled once, at the first use.
//
// Kernel sources are islands: intrinsics, <cstdint>, <cstddef> and this header, no other; everything else stands in
// unnamed namespaces. A function that a kernel source shared with others by an inline definition would be merged by the
// linker, possibly to the copy built for a newer processor.

#ifndef TESKA_KERNELS_H
#define TESKA_KERNELS_H

#include <cstddef>
#include <cstdint>

namespace teska
{

// In rising order; each includes those before it.
enum class simd_level : int { scalar = 0, sse41 = 1, avx2 = 2, avx512 = 3 };

struct clut_kernels {
};

struct tetrab_kernels {
};

struct tetrad_kernels {
};

struct kernel_table {
    clut_kernels clut;
    tetrab_kernels tetrab;
    tetrad_kernels tetrad;
};

// The table in force; filled at the first call, which may come from any thread.
const kernel_table &kernels() noexcept;

// Test switch: no instruction set above the given level is used from now on. Returns the previous limit. Not locked.
simd_level simd_limit(simd_level level) noexcept;

// What this processor has, whatever the limit.
simd_level simd_available() noexcept;

void install_scalar(clut_kernels &table) noexcept;
void install_scalar(tetrab_kernels &table) noexcept;
void install_scalar(tetrad_kernels &table) noexcept;

}  // namespace teska

#endif
