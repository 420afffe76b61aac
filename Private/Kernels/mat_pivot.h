// mat_pivot - what all ways of finding triangular factors do with a finished column
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

// The row of the largest scaled magnitude in column j, the lowest of equals; j itself for a column of NaN. Without a
// branch, which would be guessed wrong twice in a column.
inline int find_pivot(const lu_matrix &m, int j) noexcept
{
    double largest = -1.0;
    std::int64_t pivot = j;
    for (int i = j; i < m.n; ++i) {
        const double merit = m.scale[i] * __builtin_fabs(m.lu[i * m.stride + j]);
        const std::int64_t larger = -static_cast<std::int64_t>(merit > largest);
        pivot = (pivot & ~larger) | (i & larger);
        largest = merit > largest ? merit : largest;
    }
    return static_cast<int>(pivot);
}

inline void exchange(double *a, double *b, std::ptrdiff_t count) noexcept
{
    for (std::ptrdiff_t c = 0; c < count; ++c) {
        const double value = a[c];
        a[c] = b[c];
        b[c] = value;
    }
}

// Makes row `pivot` row j. The scale of row j is not needed any more; sums, where there are some, stay with their rows.
inline void exchange_rows(const lu_matrix &m, int j, int pivot) noexcept
{
    m.pivots[j] = pivot;
    if (pivot == j)
        return;
    exchange(m.lu + j * m.stride, m.lu + pivot * m.stride, m.n);
    *m.parity = -*m.parity;
    m.scale[pivot] = m.scale[j];
}

// Returns whether the pivot of column j may stay. NaN may.
inline bool keep_from_zero(const lu_matrix &m, int j) noexcept
{
    double &pivot = m.lu[j * m.stride + j];
    if (!(__builtin_fabs(pivot) < tiny_pivot))
        return true;
    pivot = tiny_pivot;  // whatever its sign was
    return false;
}

inline void divide_by_pivot(const lu_matrix &m, int j) noexcept
{
    const double reciprocal = 1.0 / m.lu[j * m.stride + j];
    for (int i = j + 1; i < m.n; ++i)
        m.lu[i * m.stride + j] *= reciprocal;
}

}  // namespace

}  // namespace teska

#endif
