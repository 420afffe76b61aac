// mat_vector - triangular factors of a matrix, many columns at a time
//
// The sums of the definition grow side by side: sums(i, c) holds l(i, 0) u(0, c) + l(i, 1) u(1, c) + .. as far as the
// factors are known, every product added in rising k as in the definition, and is subtracted from the element once,
// when its row or column is due. So each element meets the same operations in the same order, and vectors only reach
// across elements.
//
// Columns are taken in panels of 8. Inside a panel every finished column is added to the sums of the panel at once;
// after the panel its columns are added together, with the sums in registers:
//
//          panel
//         +-----+-------------+
//         | u   |      u      |   rows of the panel: sums, then elements of u
//         +-----+-------------+
//         | l   |  sums +=    |   4 rows and two vectors at a time
//         |     |  l * u      |
//         +-----+-------------+
//
// Vectors start at a multiple of 8 columns; what they compute left of the place that matters, and after the last
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

// Of doubles, with Isa::rows rows at a time.
template <class Isa>
struct lu_kernel {
    using vector = typename Isa::vector;
    static constexpr int lanes = Isa::lanes;

    // sums(i .. i + Rows - 1, c .. c + Vectors * lanes - 1) += the products of columns k .. end - 1.
    template <int Rows, int Vectors>
    static void add_block(const lu_matrix &m, int i, int c, int k, int end) noexcept
    {
        double *const sums = m.sums + i * m.stride + c;
        vector sum[Rows][Vectors];
        for (int r = 0; r < Rows; ++r)
            for (int v = 0; v < Vectors; ++v)
                sum[r][v] = Isa::load(sums + r * m.stride + v * lanes);
        const double *l = m.lu + i * m.stride + k;
        const double *u = m.lu + k * m.stride + c;
        for (; k < end; ++k, ++l, u += m.stride)
            for (int v = 0; v < Vectors; ++v) {
                const vector factor = Isa::load(u + v * lanes);
                for (int r = 0; r < Rows; ++r)
                    sum[r][v] += l[r * m.stride] * factor;
            }
        for (int r = 0; r < Rows; ++r)
            for (int v = 0; v < Vectors; ++v)
                Isa::store(sums + r * m.stride + v * lanes, sum[r][v]);
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

    // The panel of Vectors * lanes columns from `first` on, and the rows of its diagonal as far as the panel goes. The
    // columns stay in m.columns until all are done: elements written one by one into rows that are read as vectors
    // would stall the reading.
    template <int Vectors>
    static bool factor_panel(const lu_matrix &matrix, int first, int end) noexcept
    {
        const lu_matrix m = matrix;  // a copy that no vector that is stored could reach
        bool regular = true;
        double *l = m.columns;
        for (int j = first; j < end; ++j, l += m.stride) {
            pivot_search search{j};
            for (int i = j; i < m.n; ++i)
                search.offer(i, m.scale[i], l[i] = m.lu[i * m.stride + j] - m.sums[i * m.stride + j]);
            note_exchange(m, j, search.row);
            if (search.row != j) {
                exchange(m.lu + j * m.stride, m.lu + search.row * m.stride, m.stride);
                exchange(m.sums + j * m.stride + first, m.sums + search.row * m.stride + first, m.stride - first);
                for (double *column = m.columns; column <= l; column += m.stride)
                    exchange(column + j, column + search.row, 1);
            }
            regular &= keep_from_zero(l[j]);
            const double reciprocal = 1.0 / l[j];
            vector u[Vectors];
            for (int v = 0; v < Vectors; ++v) {
                double *const row = m.lu + j * m.stride + first + v * lanes;
                u[v] = Isa::load(row) - Isa::load(m.sums + j * m.stride + first + v * lanes);
                Isa::store(row, u[v]);
            }
            for (int i = j + 1; i < m.n; ++i) {
                l[i] *= reciprocal;
                double *const sums = m.sums + i * m.stride + first;
                for (int v = 0; v < Vectors; ++v)
                    Isa::store(sums + v * lanes, Isa::load(sums + v * lanes) + l[i] * u[v]);
            }
        }
        l = m.columns;
        for (int j = first; j < end; ++j, l += m.stride)
            for (int i = j; i < m.n; ++i)
                m.lu[i * m.stride + j] = l[i];
        return regular;
    }

    // The rows of the panel to its right: each needs those above it.
    static void finish_rows(const lu_matrix &m, int first, int end) noexcept
    {
        for (int i = first; i < end; ++i) {
            add_rows<1>(m, i, end, first, i);
            for (int c = end; c < m.stride; c += lanes) {
                double *const u = m.lu + i * m.stride + c;
                Isa::store(u, Isa::load(u) - Isa::load(m.sums + i * m.stride + c));
            }
        }
    }

    static bool decompose_panels(const lu_matrix &m) noexcept
    {
        bool regular = true;
        for (int first = 0; first < m.n; first += panel_width) {
            const int end = m.n - first < panel_width ? m.n : first + panel_width;
            regular &= factor_panel<panel_width / lanes>(m, first, end);
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

    static bool decompose(const lu_matrix &m) noexcept
    {
        for (std::ptrdiff_t c = 0; c < m.n * m.stride; ++c)
            m.sums[c] = 0.0;
        // Two panels at once: there is nothing after them.
        if (m.n > panel_width && m.n <= 2 * panel_width)
            return factor_panel<2 * panel_width / lanes>(m, 0, m.n);
        return decompose_panels(m);
    }
};

}  // namespace

}  // namespace teska

#endif
