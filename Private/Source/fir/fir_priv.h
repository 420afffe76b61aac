// fir_priv - the kernel of a filter, which the interface cannot set

#ifndef TESKA_FIR_PRIV_H
#define TESKA_FIR_PRIV_H

#include "fir.h"

namespace teska
{

// For tests and benchmarks: size * size coefficients in -32768 <= c < 32768, oldest line and leftmost pixel first, in
// force from the next fir_start.
void fir_set_kernel(fir *record, const double *coefficients) noexcept;

}  // namespace teska

#endif
