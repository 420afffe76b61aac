// md_tetrad_scalar - evaluation of doubles over a simplex: the definition
//
// One point: every input gives a lower vertex index and a fraction inside the cell. The lower indices together are the
// base vertex. From there a path of N + 1 vertices leads to the far corner, along the input of the largest fraction
// first; equal fractions keep the order of their inputs. With fractions f0 >= f1 >= .. the weights along the path are
// 1 - f0, f0 - f1, .. f[N-1], and an output is
//
//     ((w0 * P0 + w1 * P1) + w2 * P2) + ..
//
// with every product and sum rounded by itself. A point on a vertex has only fractions 0, so its first weight is 1 and
// all others are 0.

#include "Kernels/kernels.h"
#include "Kernels/simplex.h"

namespace teska
{

namespace
{

struct place {
    int index;
    double fraction;
};

// Quotients miss the grid by a rounding at many vertices, for R = 50 in 0 .. 1 even at the upper end; therefore an
// input that is the product a vertex was filled from counts as that vertex. The index is limited before it becomes an
// integer, in an order by which not-a-number gives 0.
[[gnu::always_inline]] inline place locate(const md_tetrad_table &table, double x) noexcept
{
    const int top = table.resolution - 1;
    if (x == table.high)
        return {top, 0.0};
    const double t = (x - table.low) / table.step;
    const double not_below = t > 0.0 ? t : 0.0;
    const int i = static_cast<int>(not_below < top ? not_below : top);
    if (i * table.step + table.low == x)
        return {i, 0.0};
    if (i < top && (i + 1) * table.step + table.low == x)
        return {i + 1, 0.0};
    return {i, t - i};
}

// ---- The path -------------------------------------------------------------------------------------------------------

// The order of N fractions by the answers to "fraction e < fraction d" for all e < d, one bit each: dimension e comes
// after d where the answer is yes. Answers that contradict each other come from not-a-number; any order will do then,
// as long as no fraction is lost.
template <int N>
struct order_table {
    static constexpr unsigned answers = 1U << (N * (N - 1) / 2);
    std::uint8_t dimension[answers][N];

    constexpr order_table() : dimension{}
    {
        for (unsigned bits = 0; bits < answers; ++bits) {
            unsigned before[N] = {};  // how many come before each dimension
            unsigned places = 0;
            unsigned rest = bits;
            for (unsigned d = 1; d < N; ++d)
                for (unsigned e = 0; e < d; ++e, rest >>= 1)
                    ++before[(rest & 1) != 0 ? e : d];
            for (unsigned d = 0; d < N; ++d)
                places |= 1U << before[d];
            for (unsigned d = 0; d < N; ++d)
                dimension[bits][places + 1 == 1U << N ? before[d] : d] = static_cast<std::uint8_t>(d);
        }
    }
};

template <int N>
constexpr order_table<N> orders;

// Sorts in descending order; equal fractions keep their order. Where N is known there are no branches: on random points
// the processor would guess every second one wrong.
template <int N>
[[gnu::always_inline]] inline void sort(double *fraction, int *stride, int n) noexcept
{
    if constexpr (N == 0) {
        sort_descending(fraction, stride, n);
    } else if constexpr (N > 1) {
        double f[N];
        int s[N];
        for (int d = 0; d < N; ++d) {
            f[d] = fraction[d];
            s[d] = stride[d];
        }
        unsigned answers = 0;
        int bit = 0;
        for (int d = 1; d < N; ++d)
            for (int e = 0; e < d; ++e, ++bit)
                answers |= static_cast<unsigned>(f[e] < f[d]) << bit;
        for (int i = 0; i < N; ++i) {
            fraction[i] = f[orders<N>.dimension[answers][i]];
            stride[i] = s[orders<N>.dimension[answers][i]];
        }
    }
}

// Fills the n + 1 vertices and weights of the path of a point.
template <int N>
[[gnu::always_inline]] inline void find_path(const md_tetrad_table &table, const double *const *in, std::ptrdiff_t at,
                                             double *fraction, int *stride, const double **path,
                                             double *weight) noexcept
{
    const int n = N != 0 ? N : table.inputs;
    const double *vertex = table.data;
    for (int d = 0; d < n; ++d) {
        const place where = locate(table, in[d][at]);
        vertex += table.offsets[d][where.index];
        fraction[d] = where.fraction;
        stride[d] = table.strides[d];
    }
    sort<N>(fraction, stride, n);
    path[n] = vertex + table.far_corner;
    weight[n] = fraction[n - 1];
    path[0] = vertex;
    weight[0] = 1.0 - fraction[0];
    for (int i = 1; i < n; ++i) {
        vertex += stride[i - 1];
        path[i] = vertex;
        weight[i] = fraction[i - 1] - fraction[i];
    }
}

[[gnu::always_inline]] inline double sum(const double *const *path, const double *weight, int vertices,
                                         int channel) noexcept
{
    double value = weight[0] * path[0][channel];
    for (int i = 1; i < vertices; ++i)
        value = value + weight[i] * path[i][channel];
    return value;
}

// ---- Runs -----------------------------------------------------------------------------------------------------------

// N inputs and M outputs, both 1 .. 4, no output null.
template <int N, int M>
void evaluate_few(const md_tetrad_table &shared_table, const md_tetrad_run &shared_run) noexcept
{
    // Copies, because the compiler must assume that a store to an output changes whatever is not local.
    const md_tetrad_table table = shared_table;
    const md_tetrad_run run = shared_run;
    const double *in[N];
    double *out[M];
    for (int d = 0; d < N; ++d)
        in[d] = run.in[d];
    for (int c = 0; c < M; ++c)
        out[c] = run.out[c];

    for (std::ptrdiff_t p = 0; p < run.count; ++p) {
        double fraction[N];
        int stride[N];
        const double *path[N + 1];
        double weight[N + 1];
        find_path<N>(table, in, p * run.in_step, fraction, stride, path, weight);
        double value[M];
        for (int c = 0; c < M; ++c)
            value[c] = sum(path, weight, N + 1, c);
        for (int c = 0; c < M; ++c)
            out[c][p * run.out_step] = value[c];
    }
}

// N inputs, or any number when N is 0; any outputs.
template <int N>
void evaluate_many(const md_tetrad_table &table, const md_tetrad_run &run) noexcept
{
    const int n = N != 0 ? N : table.inputs;
    for (std::ptrdiff_t p = 0; p < run.count; ++p) {
        find_path<N>(table, run.in, p * run.in_step, table.fractions, table.order, table.path, table.weights);
        for (int c = 0; c < table.outputs; ++c)
            if (run.out[c] != nullptr)
                run.out[c][p * run.out_step] = sum(table.path, table.weights, n + 1, c);
    }
}

template <int N>
void evaluate(const md_tetrad_table &table, const md_tetrad_run &run) noexcept
{
    if constexpr (N != 0) {
        constexpr md_tetrad_kernels::evaluate_fn few[] = {evaluate_few<N, 1>, evaluate_few<N, 2>, evaluate_few<N, 3>,
                                                          evaluate_few<N, 4>};
        if (table.outputs <= 4 && all_present(run.out, table.outputs))
            return few[table.outputs - 1](table, run);
    }
    evaluate_many<N>(table, run);
}

}  // namespace

void install_scalar(md_tetrad_kernels &table, bool /*gathers*/) noexcept
{
    constexpr md_tetrad_kernels::evaluate_fn by_inputs[] = {evaluate<1>, evaluate<2>, evaluate<3>, evaluate<4>,
                                                            evaluate<0>};
    for (int k = 0; k < 5; ++k)
        table.evaluate[k] = table.evaluate_long[k] = by_inputs[k];
}

}  // namespace teska
