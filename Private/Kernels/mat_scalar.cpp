// mat_scalar - triangular factors of a matrix: the definition
//
// Crout's method. The element in row i and column j of either factor is
//
//     a(i, j) - sum over k = 0 .. min(i, j) - 1 of l(i, k) * u(k, j)      below the diagonal times 1 / u(j, j)
//
// with the whole sum formed first, from 0.0 in rising k, and subtracted once. That decides which matrices count as
// singular: of ((1, 2, 3), (4, 5, 6), (7, 8, 9)) the last pivot is exactly 0, while subtracting term by term leaves
// 1.1e-16.
//
// The sums grow side by side in a matrix of their own: once column j and row j are known, l(i, j) * u(j, c) is added to
// the sums of all elements below and to the right. A sum formed on its own would wait for each of its additions.
//
// Built without the compiler's vectors: columns are written element by element, and a vector that is read across
// elements just written waits for them.

#include "Kernels/kernels.h"
#include "Kernels/mat_pivot.h"

namespace teska
{

namespace
{

bool decompose(const lu_matrix &m) noexcept
{
    const int n = m.n;
    const auto lu = [&m](int i) noexcept { return m.lu + i * m.stride; };
    const auto sums = [&m](int i) noexcept { return m.sums + i * m.stride; };
    for (int i = 0; i < n; ++i)
        for (int c = 0; c < n; ++c)
            sums(i)[c] = 0.0;
    bool regular = true;
    for (int j = 0; j < n; ++j) {
        pivot_search search{j};
        for (int i = j; i < n; ++i)
            search.offer(i, m.scale[i], lu(i)[j] -= sums(i)[j]);
        note_exchange(m, j, search.row);
        if (search.row != j) {
            exchange(lu(j), lu(search.row), n);
            exchange(sums(j), sums(search.row), n);
        }
        regular &= keep_from_zero(lu(j)[j]);
        const double reciprocal = 1.0 / lu(j)[j];
        for (int c = j + 1; c < n; ++c)
            lu(j)[c] -= sums(j)[c];
        for (int i = j + 1; i < n; ++i) {
            const double l = lu(i)[j] *= reciprocal;
            for (int c = j + 1; c < n; ++c)
                sums(i)[c] += l * lu(j)[c];
        }
    }
    return regular;
}

// A matrix of so few rows that it fits into registers, once every index is known to the compiler. Steps as above.
template <int N>
struct straight {
    double lu[N][N];
    double sums[N][N];
    double scale[N];

    void exchange_rows(int j, int p) noexcept
    {
        scale[p] = scale[j];
        exchange(lu[j], lu[p], N);
        exchange(sums[j], sums[p], N);
    }

    template <int J>
    [[gnu::always_inline]] bool step(const lu_matrix &m) noexcept
    {
        pivot_search search{J};
        for (int i = J; i < N; ++i)
            search.offer(i, scale[i], lu[i][J] -= sums[i][J]);
        note_exchange(m, J, search.row);
        for (int p = J + 1; p < N; ++p)
            if (p == search.row)
                exchange_rows(J, p);
        const bool regular = keep_from_zero(lu[J][J]);
        const double reciprocal = 1.0 / lu[J][J];
        for (int c = J + 1; c < N; ++c)
            lu[J][c] -= sums[J][c];
        for (int i = J + 1; i < N; ++i) {
            lu[i][J] *= reciprocal;
            for (int c = J + 1; c < N; ++c)
                sums[i][c] += lu[i][J] * lu[J][c];
        }
        if constexpr (J + 1 < N)
            return step<J + 1>(m) && regular;
        return regular;
    }
};

template <int N>
bool decompose_straight(const lu_matrix &m) noexcept
{
    straight<N> s;
    for (int i = 0; i < N; ++i) {
        s.scale[i] = m.scale[i];
        for (int c = 0; c < N; ++c) {
            s.lu[i][c] = m.lu[i * m.stride + c];
            s.sums[i][c] = 0.0;
        }
    }
    const bool regular = s.template step<0>(m);
    for (int i = 0; i < N; ++i)
        for (int c = 0; c < N; ++c)
            m.lu[i * m.stride + c] = s.lu[i][c];
    return regular;
}

bool decompose_small(const lu_matrix &m) noexcept
{
    switch (m.n) {
    case 2:
        return decompose_straight<2>(m);
    case 3:
        return decompose_straight<3>(m);
    case 4:
        return decompose_straight<4>(m);
    default:
        return decompose(m);
    }
}

}  // namespace

void install_scalar(mat_kernels &table, bool /*gathers*/) noexcept { table = {decompose, decompose_small}; }

}  // namespace teska
