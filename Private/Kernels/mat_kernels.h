// mat_kernels - triangular factors of a matrix: what the inner loops see, and their entries of the table

#ifndef TESKA_MAT_KERNELS_H
#define TESKA_MAT_KERNELS_H

#include <cstddef>
#include <cstdint>

namespace teska
{

// A matrix on its way to its triangular factors: the lower one without its diagonal of ones below the upper one.
struct lu_matrix {
    int n;                  // rows and columns
    std::ptrdiff_t stride;  // doubles from row to row, a multiple of 8 not below n; what follows column n is scratch
    double *lu;             // the matrix, then its factors
    double *sums;           // scratch of the same shape
    double *columns;        // scratch, 16 rows of the same stride
    double *scale;          // n, by row; those of pivots move with their rows
    std::int32_t *pivots;   // n: the row that was exchanged with this one
    double *parity;         // negated with every exchange
};

struct mat_kernels {
    // Return whether no pivot had to be replaced.
    bool (*decompose)(const lu_matrix &m) noexcept;
    bool (*decompose_small)(const lu_matrix &m) noexcept;  // where vectors do not pay
};

}  // namespace teska

#endif
