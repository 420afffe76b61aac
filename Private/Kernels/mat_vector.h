// mat_vector - triangular factors of a matrix, many columns at a time
//
// The sums of the definition grow side by side: sums(i, c) holds l(i, 0) u(0, c) + l(i, 1) u(1, c) + .. as far as the
// factors are known, every product added in rising k as in the definition, and is subtracted from the element once,
// when its row or column is due. So each element meets the same operations in the same order, and vectors only stand
// across elements.
//
// Columns are taken in panels of 8. Inside a panel every finished column is added to the sums of the panel at once;
// behind the panel its 8 columns are added together, with the sums in registers:
//
//          panel
//         +-----+-------------+
//         | u   |      u      |   rows of the panel: sums, then elements of u
//         +-----+-------------+
//         | l   |  sums +=    |   4 rows and two vectors at a time
//         |     |  l * u      |
//         +-----+-------------+
//
// Vectors start at a multiple of 8 columns; what they compute left of the place that matters, and behind the last
// column, is scratch that nobody reads.

#ifndef TESKA_MAT_VECTOR_H
#define TESKA_MAT_VECTOR_H

#include "Kernels/kernels.h"
#include "Kernels/mat_pivot.h"

namespace teska
{

namespace
{

constexpr int panel_width = 8;

// Isa::vector is a vector of Isa::lanes doubles that may stand at any address of a double.
template <class Isa>
struct lu_kernel {
    using vector = typename Isa::vector;
    static constexpr int lanes = Isa::lanes;

    static vector load(const double *at) noexcept { return *reinterpret_cast<const vector *>(at); }
    static void store(double *at, vector value) noexcept { *reinterpret_cast<vector *>(at) = value; }

    // sums(i .. i + Rows - 1, c .. c + Vectors * lanes - 1) += the products of columns k .. end - 1.
    template <int Rows, int Vectors>
    static void add_block(const lu_matrix &m, int i, int c, int k, int end) noexcept
    {
        double *const sums = m.sums + i * m.stride + c;
        vector sum[Rows][Vectors];
        for (int r = 0; r < Rows; ++r)
            for (int v = 0; v < Vectors; ++v)
                sum[r][v] = load(sums + r * m.stride + v * lanes);
        const double *l = m.lu + i * m.stride + k;
        const double *u = m.lu + k * m.stride + c;
        for (; k < end; ++k, ++l, u += m.stride)
            for (int v = 0; v < Vectors; ++v) {
                const vector factor = load(u + v * lanes);
                for (int r = 0; r < Rows; ++r)
                    sum[r][v] += l[r * m.stride] * factor;
            }
        for (int r = 0; r < Rows; ++r)
            for (int v = 0; v < Vectors; ++v)
                store(sums + r * m.stride + v * lanes, sum[r][v]);
    }

    // The same from column c to the end of the rows.
    template <int Rows>
    static void add_rows(const lu_matrix &m, int i, int c, int k, int end) noexcept
    {
        for (; c + 2 * lanes <= m.stride; c += 2 * lanes)
            add_block<Rows, 2>(m, i, c, k, end);
        for (; c < m.stride; c += lanes)
            add_block<Rows, 1>(m, i, c, k, end);
    }

    // Column j is known, and with it row j: finishes the row up to `end` and adds it to the sums of the rows below.
    static void add_column(const lu_matrix &m, int first, int end, int j) noexcept
    {
        constexpr int vectors = panel_width / lanes;
        double *const row = m.lu + j * m.stride;
        const double *const row_sums = m.sums + j * m.stride;
        vector u[vectors];
        for (int v = 0; v < vectors; ++v)
            u[v] = load(row + first + v * lanes) - load(row_sums + first + v * lanes);
        for (int c = j + 1; c < end; ++c)
            row[c] -= row_sums[c];
        for (int i = j + 1; i < m.n; ++i) {
            double *const sums = m.sums + i * m.stride + first;
            for (int v = 0; v < vectors; ++v)
                store(sums + v * lanes, load(sums + v * lanes) + m.lu[i * m.stride + j] * u[v]);
        }
    }

    static bool factor_panel(const lu_matrix &m, int first, int end) noexcept
    {
        bool regular = true;
        for (int j = first; j < end; ++j) {
            for (int i = j; i < m.n; ++i)
                m.lu[i * m.stride + j] -= m.sums[i * m.stride + j];
            const int pivot = find_pivot(m, j);
            exchange_rows(m, j, pivot);
            if (pivot != j)
                exchange(m.sums + j * m.stride + first, m.sums + pivot * m.stride + first, m.stride - first);
            regular &= keep_from_zero(m, j);
            divide_by_pivot(m, j);
            add_column(m, first, end, j);
        }
        return regular;
    }

    // The rows of the panel behind it: each needs those above it.
    static void finish_rows(const lu_matrix &m, int first, int end) noexcept
    {
        for (int i = first; i < end; ++i) {
            add_rows<1>(m, i, end, first, i);
            for (int c = end; c < m.stride; c += lanes) {
                double *const u = m.lu + i * m.stride + c;
                store(u, load(u) - load(m.sums + i * m.stride + c));
            }
        }
    }

    static bool decompose(const lu_matrix &m) noexcept
    {
        for (std::ptrdiff_t c = 0; c < m.n * m.stride; ++c)
            m.sums[c] = 0.0;
        bool regular = true;
        for (int first = 0; first < m.n; first += panel_width) {
            const int end = m.n - first < panel_width ? m.n : first + panel_width;
            regular &= factor_panel(m, first, end);
            if (end == m.n)
                break;
            finish_rows(m, first, end);
            int i = end;
            for (; i + Isa::rows <= m.n; i += Isa::rows)
                add_rows<Isa::rows>(m, i, end, first, end);
            for (; i < m.n; ++i)
                add_rows<1>(m, i, end, first, end);
        }
        return regular;
    }
};

}  // namespace

}  // namespace teska

#endif
