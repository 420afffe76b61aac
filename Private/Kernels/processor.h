// processor - what the dispatch asks of the processor and of the build
//
// One source answers for each kind of processor, processor_<kind>.cpp; kernels.cmake says which one is built.

#ifndef TESKA_PROCESSOR_H
#define TESKA_PROCESSOR_H

#include "Kernels/kernels.h"

namespace teska
{

// The highest level whose kernels this processor can run.
simd_level detect_level() noexcept;

// Whether reading tables with gathers is faster here than with single loads. Measures the first time it may be asked;
// to be called with the level that was detected.
bool gathers_pay(simd_level detected) noexcept;

// Of the source made from the list of kernels: the highest level that has any, and the table with every operation's
// entries of the levels up to the highest one wanted, in rising order.
extern const simd_level highest_kernel_level;
void install_kernels(kernel_table &table, simd_level highest, bool gathers) noexcept;

}  // namespace teska

#endif
