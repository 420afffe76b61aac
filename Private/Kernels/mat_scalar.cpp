// mat_scalar - triangular factors of a matrix: the definition
//
// Crout's method, column by column. The element in row i and column j of either factor is
//
//     a(i, j) - sum over k = 0 .. min(i, j) - 1 of l(i, k) * u(k, j)      below the diagonal times 1 / u(j, j)
//
// with the whole sum formed first, from 0.0 in rising k, and subtracted once. That decides which matrices count as
// singular: of ((1, 2, 3), (4, 5, 6), (7, 8, 9)) the last pivot is exactly 0, while subtracting term by term leaves
// 1.1e-16. The sums of four rows are formed side by side, because each alone would wait for its own additions.
//
// Built without the compiler's vectors: the columns are written element by element, and a vector that is read across
// elements just written waits for them. That makes small matrices up to twice as slow.

#include "Kernels/kernels.h"
#include "Kernels/mat_pivot.h"

namespace teska
{

namespace
{

// The elements of column j in rows i .. i + Rows - 1, of which the first `terms` terms of the sums are known.
template <int Rows>
void subtract_sums(const lu_matrix &m, int i, int j, int terms) noexcept
{
    const double *const row = m.lu + i * m.stride;
    const double *const column = m.lu + j;
    double sum[Rows] = {};
    for (int k = 0; k < terms; ++k)
        for (int r = 0; r < Rows; ++r)
            sum[r] += row[r * m.stride + k] * column[k * m.stride];
    // Above the diagonal the rows need each other.
    for (int r = 0; r < Rows; ++r) {
        for (int k = terms; k < (i < j ? i + r : j); ++k)
            sum[r] += row[r * m.stride + k] * column[k * m.stride];
        m.lu[(i + r) * m.stride + j] -= sum[r];
    }
}

void compute_column(const lu_matrix &m, int j) noexcept
{
    int i = 0;
    for (; i + 4 <= j; i += 4)
        subtract_sums<4>(m, i, j, i);
    for (; i < j; ++i)
        subtract_sums<1>(m, i, j, i);
    for (; i + 4 <= m.n; i += 4)
        subtract_sums<4>(m, i, j, j);
    for (; i < m.n; ++i)
        subtract_sums<1>(m, i, j, j);
}

bool decompose(const lu_matrix &m) noexcept
{
    bool regular = true;
    for (int j = 0; j < m.n; ++j) {
        compute_column(m, j);
        exchange_rows(m, j, find_pivot(m, j));
        regular &= keep_from_zero(m, j);
        divide_by_pivot(m, j);
    }
    return regular;
}

}  // namespace

void install_scalar(mat_kernels &table) noexcept { table = {decompose, decompose}; }

}  // namespace teska
