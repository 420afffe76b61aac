// mat - dense matrices, their triangular factors and inverses (numerics)
//
// A matrix owns its elements and, once asked for, the factors, the work arrays and the unit column of the inversion;
// two matrices may be each other's inverse, linked both ways, neither owning the other. `decomposed` and `inverted`
// say whether factors and inverse belong to the present elements; every change discards them. Whichever thread asks
// first makes them.
//
// The factors lie row by row with a stride of whole vectors, followed in the same block by as much room for the sums
// from which they are formed (Kernels/mat_vector.h). Finding them is the kernels' work; substitution is done here,
// because the order of its additions leaves nothing for vectors.

#include "mat.h"

#include "Kernels/kernels.h"
#include "Support/checked_size.h"
#include "Support/memory.h"
#include "Support/module_error.h"
#include "Support/on_demand.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <type_traits>
#include <utility>

struct mat {
    teska::heap_block<double> data;
    teska::heap_block<double> lu;
    mat *inverse = nullptr;
    teska::heap_block<double> scale;  // also the column that mat_get_col hands out
    teska::heap_block<std::int32_t> pivots;
    double parity = 1.0;
    teska::heap_block<double> unit;
    std::int32_t rows = 0;
    std::int32_t cols = 0;
    teska::on_demand decomposed;
    teska::on_demand inverted;
    std::atomic<bool> has_lu = false;  // some elements, not always the present ones, have been decomposed
    std::int32_t zero_row = 0;         // the decomposition stopped at a row of zeros: lu holds a copy, pivots nothing
};

namespace
{

// Rows up to which vectors do not pay.
constexpr int small_matrix = 4;

// Whole vectors of every kernel.
std::ptrdiff_t stride_of(const mat &m) { return (static_cast<std::ptrdiff_t>(m.rows) + 7) / 8 * 8; }

std::size_t count_of(const mat &m) { return static_cast<std::size_t>(m.rows); }

double *row_of(const mat &m, int i) { return m.data.get() + static_cast<std::ptrdiff_t>(i) * m.cols; }

void changed(mat &m)
{
    m.decomposed.discard();
    m.inverted.discard();
}

// Elements for a matrix of this shape; mat_get_element reads up to rows - 1 beyond the last one.
teska::heap_block<double> elements(int rows, int cols)
{
    if (rows < 1 || cols < 1)
        return {};
    teska::checked_size count(static_cast<std::uint64_t>(rows), PTRDIFF_MAX / sizeof(double));
    count *= static_cast<std::uint64_t>(cols);
    count += static_cast<std::uint64_t>(std::max(rows - cols, 0));
    return count.valid() ? teska::zeroed_block<double>(count.get()) : nullptr;
}

// The buffers of a decomposition: all or none. Returns whether they are there.
bool make_factors(mat &m)
{
    if (m.lu)
        return true;
    teska::checked_size count(2, PTRDIFF_MAX / sizeof(double));
    count *= count_of(m);
    count += 16;
    count *= static_cast<std::uint64_t>(stride_of(m));
    teska::heap_block<double> lu = count.valid() ? teska::zeroed_block<double>(count.get()) : nullptr;
    teska::heap_block<double> scale;
    if (lu && !m.scale)
        scale = teska::zeroed_block<double>(count_of(m));
    teska::heap_block<std::int32_t> pivots;
    if (lu && (m.scale || scale))
        pivots = teska::zeroed_block<std::int32_t>(count_of(m));
    if (!pivots)
        return false;
    m.lu = std::move(lu);
    m.pivots = std::move(pivots);
    if (scale)
        m.scale = std::move(scale);
    m.has_lu = true;
    return true;
}

// Copies a row. Returns the largest magnitude in it, -1 when all are NaN. In four parts: a single one would wait for
// each of its comparisons.
double copy_row(const double *from, int n, double *__restrict to)
{
    double largest[4] = {-1.0, -1.0, -1.0, -1.0};
    int j = 0;
    for (; j + 4 <= n; j += 4)
        for (int part = 0; part < 4; ++part) {
            to[j + part] = from[j + part];
            largest[part] = std::max(largest[part], std::fabs(from[j + part]));
        }
    for (; j < n; ++j) {
        to[j] = from[j];
        largest[0] = std::max(largest[0], std::fabs(from[j]));
    }
    return std::max(std::max(largest[0], largest[1]), std::max(largest[2], largest[3]));
}

// Copies the elements to the factors and finds the scales. Returns whether no row is zero.
bool start_factors(mat &m)
{
    const std::ptrdiff_t stride = stride_of(m);
    const int copied = std::min(m.rows, m.cols);
    bool regular = true;
    for (int i = 0; i < m.rows; ++i) {
        double *const row = m.lu.get() + i * stride;
        double largest = copy_row(row_of(m, i), copied, row);
        if (copied < m.rows) {
            std::fill(row + copied, row + m.rows, 0.0);
            largest = std::max(largest, 0.0);
        }
        if (largest == 0.0)
            regular = false;
        else
            m.scale[i] = 1.0 / largest;
    }
    return regular;
}

// Returns the flag.
int decompose(mat &m)
{
    m.parity = 1.0;
    m.zero_row = start_factors(m) ? 0 : 1;
    if (m.zero_row != 0)
        return -1;
    const std::ptrdiff_t stride = stride_of(m);
    double *const sums = m.lu.get() + m.rows * stride;
    const teska::lu_matrix factors{.n = m.rows,
                                   .stride = stride,
                                   .lu = m.lu.get(),
                                   .sums = sums,
                                   .columns = sums + m.rows * stride,
                                   .scale = m.scale.get(),
                                   .pivots = m.pivots.get(),
                                   .parity = &m.parity};
    const teska::mat_kernels &kernels = teska::kernels().mat;
    return (m.rows > small_matrix ? kernels.decompose : kernels.decompose_small)(factors) ? 0 : -2;
}

// b[i .. i + Rows - 1] -= products with b[first .. i - 1], one at a time. Rows side by side: a single row would wait
// for each of its subtractions.
template <int Rows>
void eliminate(const double *row, std::ptrdiff_t stride, double *b, int first, int i)
{
    double s[Rows];
    for (int r = 0; r < Rows; ++r)
        s[r] = b[i + r];
    for (int k = first; k < i; ++k)
        for (int r = 0; r < Rows; ++r)
            s[r] -= row[r * stride + k] * b[k];
    for (int r = 0; r < Rows; ++r) {
        for (int k = 0; k < r; ++k)
            s[r] -= row[r * stride + i + k] * s[k];
        b[i + r] = s[r];
    }
}

// Size: an int, or a number known to the compiler.
template <class Size>
void substitute(const double *lu, std::ptrdiff_t stride, const std::int32_t *pivots, double *b, Size n)
{
    // A row takes part in exchanges only until it is reached, so all of them may come first.
    for (int i = 0; i < n; ++i)
        std::swap(b[i], b[pivots[i]]);
    // Leading zeros of the right-hand side stay as they are.
    int first = 0;
    while (first < n && b[first] == 0.0)
        ++first;
    int i = first + 1;
    for (; i + 4 <= n; i += 4)
        eliminate<4>(lu + i * stride, stride, b, first, i);
    for (; i < n; ++i)
        eliminate<1>(lu + i * stride, stride, b, first, i);
    for (i = n - 1; i >= 0; --i) {
        double sum = 0.0;
        for (int k = i + 1; k < n; ++k)
            sum += lu[i * stride + k] * b[k];
        b[i] = (b[i] - sum) / lu[i * stride + i];
    }
}

void substitute(const mat &m, double *b)
{
    const auto with = [&](auto n) { substitute(m.lu.get(), stride_of(m), m.pivots.get(), b, n); };
    switch (m.rows) {
    case 3:
        return with(std::integral_constant<int, 3>());
    case 4:
        return with(std::integral_constant<int, 4>());
    default:
        return with(m.rows);
    }
}

// The inverse to fill, linked or new, and the unit column. Null when memory runs out; m is then unchanged.
mat *inverse_of(mat &m)
{
    teska::heap_block<double> unit;
    if (!m.unit) {
        unit = teska::zeroed_block<double>(count_of(m));
        if (!unit) {
            TESKA_NO_RESOURCES();
            return nullptr;
        }
    }
    mat *inverse = m.inverse != nullptr ? m.inverse : mat_new(nullptr, m.rows);
    if (inverse != nullptr && unit)
        m.unit = std::move(unit);
    return inverse;
}

}  // namespace

// ---- Life ----------------------------------------------------------------------------------------------------------

mat *mat_gen_new(const double *data, int rows, int cols) TESKA_NOTHROW
{
    auto m = teska::make_record<mat>();
    if (m)
        m->data = elements(rows, cols);
    if (!m || !m->data) {
        TESKA_NO_RESOURCES();
        return nullptr;
    }
    m->rows = rows;
    m->cols = cols;
    if (data != nullptr)
        mat_set_mat(m.get(), data);
    return m.release();
}

mat *mat_new(const double *data, int n) TESKA_NOTHROW { return mat_gen_new(data, n, n); }

int mat_kill(mat *m) TESKA_NOTHROW
{
    if (m != nullptr && m->inverse != nullptr) {
        m->inverse->inverse = nullptr;
        m->inverse->inverted.discard();
    }
    teska::kill_record(m);
    return 0;
}

// ---- Change --------------------------------------------------------------------------------------------------------

int mat_set_mat(mat *m, const double *values) TESKA_NOTHROW
{
    std::copy_n(values, count_of(*m) * static_cast<std::size_t>(m->cols), m->data.get());
    changed(*m);
    return 0;
}

int mat_set_row(mat *m, int i, const double *values) TESKA_NOTHROW
{
    std::copy_n(values, m->cols, row_of(*m, i));
    changed(*m);
    return 0;
}

int mat_set_col(mat *m, int j, const double *values) TESKA_NOTHROW
{
    for (int i = 0; i < m->rows; ++i)
        row_of(*m, i)[j] = values[i];
    changed(*m);
    return 0;
}

int mat_set_element(mat *m, int i, int j, double v) TESKA_NOTHROW
{
    row_of(*m, i)[j] = v;
    changed(*m);
    return 0;
}

// ---- Query ---------------------------------------------------------------------------------------------------------

double mat_get_element(const mat *m, int i, int j, int *err) TESKA_NOTHROW
{
    // Kept: the column against the rows.
    *err = i < 0 || j < 0 || i >= m->rows || j >= m->rows ? -1 : 0;
    return *err == 0 ? row_of(*m, i)[j] : 0.0;
}

double *mat_get_row(mat *m, int i) TESKA_NOTHROW { return i >= 0 && i < m->rows ? row_of(*m, i) : nullptr; }

double *mat_get_col(mat *m, int j) TESKA_NOTHROW
{
    if (j < 0 || j >= m->cols)
        return nullptr;
    if (!m->scale)
        m->scale = teska::zeroed_block<double>(count_of(*m));
    if (!m->scale) {
        TESKA_NO_RESOURCES();
        return nullptr;
    }
    for (int i = 0; i < m->rows; ++i)
        m->scale[i] = row_of(*m, i)[j];
    return m->scale.get();
}

// ---- Process -------------------------------------------------------------------------------------------------------

int mat_mulvec(const mat *m, const double *x, double *y) TESKA_NOTHROW
{
    for (int i = 0; i < m->rows; ++i) {
        const double *row = row_of(*m, i);
        double sum = 0.0;
        for (int j = 0; j < m->cols; ++j)
            sum += row[j] * x[j];
        y[i] = sum;
    }
    return 0;
}

int mat_ludcmp(mat *m, int *flag) TESKA_NOTHROW
{
    *flag = 0;
    const bool decomposed = m->decomposed.ensure([m, flag] {
        if (!make_factors(*m)) {
            TESKA_NO_RESOURCES();
            return false;
        }
        *flag = decompose(*m);
        return true;
    });
    return decomposed ? 0 : -1;
}

int mat_solve_set(mat *m, double *b, int *flag) TESKA_NOTHROW
{
    if (mat_ludcmp(m, flag) != 0)
        return -1;
    if (m->zero_row != 0)
        *flag = -1;
    // Kept: a replaced pivot stops only the call that found it.
    if (*flag == 0)
        substitute(*m, b);
    return 0;
}

int mat_det_det(mat *m, double *det) TESKA_NOTHROW
{
    int flag = 0;
    if (mat_ludcmp(m, &flag) != 0)
        return -1;
    double product = m->parity;
    for (int i = 0; i < m->rows; ++i)
        product *= m->lu[i * (stride_of(*m) + 1)];
    *det = product;
    return 0;
}

mat *mat_invert(mat *m, int *flag) TESKA_NOTHROW
{
    *flag = 0;
    const bool inverted = m->inverted.ensure([m, flag] {
        // Kept: asks for factors, not whether they are those of the present elements.
        if (!m->has_lu && (mat_ludcmp(m, flag) != 0 || *flag != 0))
            return false;
        mat *const inverse = inverse_of(*m);
        if (inverse == nullptr)
            return false;
        for (int j = 0; j < m->rows; ++j) {
            std::fill_n(m->unit.get(), m->rows, 0.0);
            m->unit[j] = 1.0;
            mat_solve_set(m, m->unit.get(), flag);
            mat_set_col(inverse, j, m->unit.get());
        }
        m->inverse = inverse;
        inverse->inverse = m;
        return true;
    });
    return inverted ? m->inverse : nullptr;
}
