// mat_pivot - what all ways of finding triangular factors do with a pivot
//
// In an unnamed namespace on purpose: every kernel source gets a copy of its own, built for its instruction set.

#ifndef TESKA_MAT_PIVOT_H
#define TESKA_MAT_PIVOT_H

#include "Kernels/kernels.h"

namespace teska
{

namespace
{

// A pivot nearer to 0 makes way for this. Absolute: it keeps the reciprocal finite, it is no measure of quality.
constexpr double tiny_pivot = 1e-20;

// The row of the largest scaled magnitude so far, the lowest of equals. NaN is never the largest: a column of NaN keeps
// the row it was begun with.
struct pivot_search {
    int row;
    double largest = -1.0;

    void offer(int i, double scale, double element) noexcept
    {
        const double merit = scale * __builtin_fabs(element);
        // A branch, not a choice of values: guessed right, it takes the search out of the way of what follows.
        if (__builtin_expect(merit > largest, 0)) {
            asm("" : "+r"(i));  // nothing, but compilers keep a branch around it
            largest = merit;
            row = i;
        }
    }
};

// Notes that row j and row `pivot` change places. The scale of row j is not needed any more.
inline void note_exchange(const lu_matrix &m, int j, int pivot) noexcept
{
    m.pivots[j] = pivot;
    if (pivot == j)
        return;
    *m.parity = -*m.parity;
    m.scale[pivot] = m.scale[j];
}

inline void exchange(double *a, double *b, std::ptrdiff_t count) noexcept
{
    for (std::ptrdiff_t c = 0; c < count; ++c) {
        const double value = a[c];
        a[c] = b[c];
        b[c] = value;
    }
}

// Returns whether the pivot may stay. NaN may.
inline bool keep_from_zero(double &pivot) noexcept
{
    if (!(__builtin_fabs(pivot) < tiny_pivot))
        return true;
    pivot = tiny_pivot;  // whatever its sign was
    return false;
}

}  // namespace

}  // namespace teska

#endif
