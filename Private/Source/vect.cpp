// vect - vectors of doubles, positions in sorted arrays, subsets (numerics)

#include "vect.h"

#include "Support/memory.h"

#include "mat.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace
{

using matrix = teska::handle<mat, mat_kill>;

// n - 1 vectors of n components, after n itself: a limit far above any use, where the matrix is 128 MiB.
constexpr double max_dimension = 4096.0;

template <class Value>
unsigned locate(const Value *a, Value x, unsigned n)
{
    if (n == 0 || a[0] >= x)
        return 0;
    if (x > a[n - 1])
        return n;
    unsigned low = 0;
    unsigned high = n - 1;
    while (high - low > 1) {
        const unsigned middle = low + (high - low) / 2;
        if (a[middle] >= x)
            high = middle;
        else
            low = middle;
    }
    return high;
}

template <class Value>
int insert(Value *a, Value x, int *count_pos)
{
    const int held = std::max(*count_pos, 1) - 1;
    const unsigned index = locate(a, x, static_cast<unsigned>(held));
    std::copy_backward(a + index, a + held, a + held + 1);
    a[index] = x;
    *count_pos = static_cast<int>(index);
    return 0;
}

}  // namespace

// ---- Vectors -------------------------------------------------------------------------------------------------------

double vect_Min(const double *v, unsigned int n) TESKA_NOTHROW { return n > 0 ? *std::min_element(v, v + n) : 0.0; }
double vect_Max(const double *v, unsigned int n) TESKA_NOTHROW { return n > 0 ? *std::max_element(v, v + n) : 0.0; }

double vect_calc_norm(const double *v, int n) TESKA_NOTHROW { return std::sqrt(vect_scalar_product(v, v, n)); }

double vect_scalar_product(const double *a, const double *b, int n) TESKA_NOTHROW
{
    double sum = 0.0;
    for (int i = 0; i < n; ++i)
        sum += a[i] * b[i];
    return sum;
}

double vect_square_distance(const double *a, const double *b, int n) TESKA_NOTHROW
{
    double sum = 0.0;
    for (int i = 0; i < n; ++i) {
        const double d = b[i] - a[i];
        sum += d * d;
    }
    return sum;
}

double vect_distance(const double *a, const double *b, int n) TESKA_NOTHROW
{
    return std::sqrt(vect_square_distance(a, b, n));
}

int vect_vector_product(const double *in, double *out) TESKA_NOTHROW
{
    // Negated, so that NaN is refused.
    if (!(in[0] >= 1.0 && in[0] < max_dimension + 1.0))
        return -1;
    const int n = static_cast<int>(in[0]);
    const matrix m(mat_new(nullptr, n));
    double determinant = 0.0;
    // The first determinant makes all the memory there is to make: out is written only when that worked.
    if (!m || mat_det_det(m.get(), &determinant) != 0)
        return -1;
    for (int i = 1; i < n; ++i)
        mat_set_row(m.get(), i, in + 1 + static_cast<std::ptrdiff_t>(i - 1) * n);
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < n; ++j)
            mat_set_element(m.get(), 0, j, i == j ? 1.0 : 0.0);
        mat_det_det(m.get(), &out[i]);
    }
    return 0;
}

// ---- Positions in sorted arrays -------------------------------------------------------------------------------------

int vect_locate_in_sh_array(const short *a, short x, unsigned short n, short *pos) TESKA_NOTHROW
{
    *pos = static_cast<short>(locate(a, x, n));
    return 0;
}

int vect_locate_in_array(const int *a, int x, unsigned int n, unsigned int *pos) TESKA_NOTHROW
{
    *pos = locate(a, x, n);
    return 0;
}

int vect_locate_in_double_array(const double *a, double x, unsigned int n, unsigned int *pos) TESKA_NOTHROW
{
    *pos = locate(a, x, n);
    return 0;
}

int vect_insert_in_sh_array(short *a, short x, int *count_pos) TESKA_NOTHROW { return insert(a, x, count_pos); }
int vect_insert_in_array(int *a, int x, int *count_pos) TESKA_NOTHROW { return insert(a, x, count_pos); }

int vect_shift_right_0(int *a, unsigned int n, int k) TESKA_NOTHROW
{
    if (k < 1)
        return 0;
    const unsigned shift = std::min(static_cast<unsigned>(k), n);
    std::copy_backward(a, a + (n - shift), a + n);
    std::fill_n(a, shift, 0);
    return 0;
}

// ---- Subsets -------------------------------------------------------------------------------------------------------

namespace
{

// Moves the mask on to the next subset of its kind. Returns whether there is one; if not the mask is cleared.
bool advance(int *mask, int n)
{
    int ones = 0;
    bool zero_seen = false;  // to the right of i
    for (int i = n - 1; i >= 0; --i) {
        if (mask[i] == 0) {
            zero_seen = true;
            continue;
        }
        mask[i] = 0;
        ++ones;
        if (zero_seen) {
            std::fill_n(mask + i + 1, ones, 1);
            return true;
        }
    }
    return false;
}

}  // namespace

int vect_next_point_selection(int m, int n, unsigned int first, int *selection, int *mask) TESKA_NOTHROW
{
    if (m < 0 || m > n)
        return -2;
    if (first != 0) {
        std::fill_n(mask, m, 1);
        std::fill_n(mask + m, n - m, 0);
    } else if (!advance(mask, n)) {
        return -2;
    }
    for (int i = 0, next = 0; i < n && next < m; ++i)
        if (mask[i] != 0)
            selection[next++] = i;
    return 0;
}
