// kernels - the table through which the modules call their inner loops
//
// For every operation <op>_kernels.h holds what its loops see; <op>_scalar.cpp is the definition; a variant
// <op>_<isa>.cpp is a faster copy that gives the same bits. The table starts with all scalar entries; every instruction
// set the processor has overrides what it offers, in rising order. It is filled once, at the first use.
//
// Kernel sources are islands: intrinsics, <cstdint>, <cstddef> and the headers of operations, no other; everything but
// the installing functions is in unnamed namespaces. A function that a kernel source shared with others by an
// inline definition would be merged by the linker, possibly to the copy built for a newer processor.

#ifndef TESKA_KERNELS_H
#define TESKA_KERNELS_H

#include "Kernels/clut_kernels.h"
#include "Kernels/fir_kernels.h"
#include "Kernels/fusm_kernels.h"
#include "Kernels/hull_kernels.h"
#include "Kernels/ibilin_kernels.h"
#include "Kernels/izat_kernels.h"
#include "Kernels/mat_kernels.h"
#include "Kernels/md_tetrab_kernels.h"
#include "Kernels/md_tetrad_kernels.h"
#include "Kernels/md_tetras_kernels.h"
#include "Kernels/nearest_kernels.h"

#include <atomic>

namespace teska
{

// In rising order; each includes those before it. v128 is SSE4.1 or what another processor has of 128 bits; avx512 is
// the parts F, BW, DQ, VL and VBMI together.
enum class simd_level : int { scalar = 0, v128 = 1, avx2 = 2, avx512 = 3 };

// Whether tables are read with gather instructions, where a variant has both ways: they are slow on some processors.
enum class gather_use : int { as_measured = 0, never = 1, always = 2 };

struct kernel_table {
    clut_kernels clut;
    md_tetrab_kernels md_tetrab;
    md_tetrad_kernels md_tetrad;
    md_tetras_kernels md_tetras;
    fusm_kernels fusm;
    hull_kernels hull;
    nearest_kernels nearest;
    fir_kernels fir;
    mat_kernels mat;
    ibilin_kernels ibilin;
    izat_kernels izat;
};

// Null until the first use.
extern std::atomic<const kernel_table *> kernels_in_force;
const kernel_table &first_kernels() noexcept;

// The table in force; filled at the first call, which may come from any thread.
inline const kernel_table &kernels() noexcept
{
    const kernel_table *table = kernels_in_force.load(std::memory_order_acquire);
    return table != nullptr ? *table : first_kernels();
}

// Test switches: no instruction set above the given level is used from now on; gathers are used as said. Return what
// was in force before. Not locked.
simd_level simd_limit(simd_level level) noexcept;
gather_use gather_limit(gather_use use) noexcept;

// What this processor has, whatever the limit.
simd_level simd_available() noexcept;

}  // namespace teska

#endif
