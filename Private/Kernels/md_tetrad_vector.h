// md_tetrad_vector - evaluation of doubles over a simplex, many points at a time
//
// A batch goes through three stages, each with the operations of the definition in their order:
//
//     gather   inputs of the batch, one row per dimension
//     place    a vector of points at a time: cell, fractions, order, weights; one row per vertex of the path
//     sum      a point at a time: up to four channels of a vertex side by side, one product and one sum per vertex
//
// Sorting exchanges neighbours only where the left fraction is strictly smaller, so equal fractions keep the order of
// their inputs, and blends move bits: neither loses a not-a-number.

#ifndef TESKA_MD_TETRAD_VECTOR_H
#define TESKA_MD_TETRAD_VECTOR_H

#include "Kernels/md_tetrad_kernels.h"
#include "Kernels/simplex.h"

namespace teska
{

namespace
{

constexpr int md_tetrad_batch = 32;
constexpr int md_tetrad_most_inputs = 30;

// The batch between the stages. Steps are strides of the path in its order, in doubles.
template <int Inputs>
struct md_tetrad_places {
    alignas(64) double input[Inputs][md_tetrad_batch];
    alignas(64) double weight[Inputs + 1][md_tetrad_batch];
    alignas(64) std::int64_t step[Inputs][md_tetrad_batch];
    alignas(64) std::int32_t base[md_tetrad_batch];
};

template <int Count>
struct md_tetrad_channels {
    typedef double type __attribute__((vector_size(Count == 2 ? 16 : 32), aligned(8), may_alias));
};
template <>
struct md_tetrad_channels<1> {
    using type = double;
};

// Of doubles; Isa::offsets are as many integers of 32 bits.
template <class Isa>
struct md_tetrad_kernel {
    using vector = typename Isa::vector;
    using mask = typename Isa::mask;
    static constexpr int lanes = Isa::lanes;

    // ---- Gather ----

    // The places after the last point repeat it.
    template <class Places>
    static void gather(const md_tetrad_run &run, std::ptrdiff_t first, int points, int n, Places &places) noexcept
    {
        const int filled = (points + lanes - 1) / lanes * lanes;
        for (int d = 0; d < n; ++d) {
            const double *in = run.in[d] + first * run.in_step;
            for (int p = 0; p < points; ++p, in += run.in_step)
                places.input[d][p] = *in;
            for (int p = points; p < filled; ++p)
                places.input[d][p] = places.input[d][points - 1];
        }
    }

    // ---- Place ----

    struct place {
        vector index;  // whole numbers
        vector fraction;
    };

    [[gnu::always_inline]] static place locate(const md_tetrad_table &table, vector x) noexcept
    {
        const vector zero = Isa::all(0.0);
        const vector top = Isa::all(table.resolution - 1);
        const vector low = Isa::all(table.low);
        const vector step = Isa::all(table.step);
        const vector t = (x - low) / step;
        const vector lower = Isa::truncate(Isa::min(Isa::max(t, zero), top));
        const vector upper = lower + Isa::all(1.0);
        const mask is_high = Isa::equal(x, Isa::all(table.high));
        const mask is_lower = Isa::equal(lower * step + low, x);
        const mask is_upper = Isa::both(Isa::equal(upper * step + low, x), Isa::below(lower, top));
        const mask on_vertex = Isa::either(is_high, Isa::either(is_lower, is_upper));
        const vector index = lower + Isa::zero_unless(Isa::without(is_upper, is_lower), Isa::all(1.0));
        return {Isa::choose(is_high, top, index), Isa::zero_where(on_vertex, t - lower)};
    }

    // The vector of points from p on.
    template <int N, class Places>
    [[gnu::always_inline]] static void find_paths(const md_tetrad_table &table, int p, Places &places) noexcept
    {
        const int n = N != 0 ? N : table.inputs;
        if (n < 1)
            __builtin_unreachable();
        vector fraction[N != 0 ? N : md_tetrad_most_inputs];
        vector step[N != 0 ? N : md_tetrad_most_inputs];  // integers; only moved
        auto base = Isa::offsets::zero();
        for (int d = 0; d < n; ++d) {
            const place where = locate(table, Isa::load(&places.input[d][p]));
            base = Isa::offsets::add32(base, Isa::offsets::multiply_low32(Isa::truncate_to_integers(where.index),
                                                                          Isa::offsets::all32(table.strides[d])));
            fraction[d] = where.fraction;
            step[d] = Isa::all_integer(table.strides[d]);
            for (int k = d; k > 0; --k) {
                const mask smaller = Isa::below(fraction[k - 1], fraction[k]);
                Isa::exchange_where(smaller, fraction[k - 1], fraction[k]);
                Isa::exchange_where(smaller, step[k - 1], step[k]);
            }
        }
        Isa::offsets::store(&places.base[p], base);
        Isa::store(&places.weight[0][p], Isa::all(1.0) - fraction[0]);
        for (int k = 1; k < n; ++k)
            Isa::store(&places.weight[k][p], fraction[k - 1] - fraction[k]);
        Isa::store(&places.weight[n][p], fraction[n - 1]);
        for (int k = 0; k < n; ++k)
            Isa::store_integers(&places.step[k][p], step[k]);
    }

    // ---- Sum ----

    // Three channels are read as four: the data has room after it.
    template <int Count>
    [[gnu::always_inline]] static typename md_tetrad_channels<Count>::type load_channels(const double *from) noexcept
    {
        return *reinterpret_cast<const typename md_tetrad_channels<Count>::type *>(from);
    }

    template <int N, int Count, class Places>
    [[gnu::always_inline]] static typename md_tetrad_channels<Count>::type
    sum(const md_tetrad_table &table, const Places &places, int p, int channel) noexcept
    {
        const int n = N != 0 ? N : table.inputs;
        const double *vertex = table.data + places.base[p] + channel;
        const double *const far = vertex + table.far_corner;
        auto value = places.weight[0][p] * load_channels<Count>(vertex);
        for (int k = 1; k < n; ++k) {
            vertex += places.step[k - 1][p];
            value = value + places.weight[k][p] * load_channels<Count>(vertex);
        }
        return value + places.weight[n][p] * load_channels<Count>(far);
    }

    // Count channels of all points, from `channel` on. A null output is skipped.
    template <int N, int Count, class Places>
    static void sum_channels(const md_tetrad_table &table, const md_tetrad_run &run, std::ptrdiff_t first, int points,
                             int channel, const Places &places) noexcept
    {
        double *out[Count];
        bool adjacent = run.out[channel] != nullptr && (Count == 1 || run.out_step >= Count);
        for (int c = 0; c < Count; ++c) {
            double *const line = run.out[channel + c];
            adjacent = adjacent && line == run.out[channel] + c;
            out[c] = line == nullptr ? nullptr : line + first * run.out_step;
        }
        for (int p = 0; p < points; ++p) {
            const auto value = sum<N, Count>(table, places, p, channel);
            if constexpr (Count == 1) {
                if (out[0] != nullptr)
                    out[0][p * run.out_step] = value;
            } else if (adjacent) {
                double *const to = out[0] + p * run.out_step;
                // What is written after three channels, the next point overwrites.
                if (Count == 3 && run.out_step == 3 && p + 1 < points)
                    __builtin_memcpy(to, &value, sizeof(value));
                else
                    __builtin_memcpy(to, &value, Count * sizeof(double));
            } else {
                for (int c = 0; c < Count; ++c)
                    if (out[c] != nullptr)
                        out[c][p * run.out_step] = value[c];
            }
        }
    }

    template <int N>
    static void evaluate(const md_tetrad_table &shared_table, const md_tetrad_run &shared_run) noexcept
    {
        // Copies, because the compiler must assume that a store to an output changes whatever is not local.
        const md_tetrad_table table = shared_table;
        const md_tetrad_run run = shared_run;
        const int n = N != 0 ? N : table.inputs;
        md_tetrad_places<N != 0 ? N : md_tetrad_most_inputs> places;
        for (std::ptrdiff_t first = 0; first < run.count; first += md_tetrad_batch) {
            const std::ptrdiff_t left = run.count - first;
            const int points = left < md_tetrad_batch ? static_cast<int>(left) : md_tetrad_batch;
            gather(run, first, points, n, places);
            for (int p = 0; p < points; p += lanes)
                find_paths<N>(table, p, places);
            int channel = 0;
            for (; channel + 4 <= table.outputs; channel += 4)
                sum_channels<N, 4>(table, run, first, points, channel, places);
            switch (table.outputs - channel) {
            case 3:
                sum_channels<N, 3>(table, run, first, points, channel, places);
                break;
            case 2:
                sum_channels<N, 2>(table, run, first, points, channel, places);
                break;
            case 1:
                sum_channels<N, 1>(table, run, first, points, channel, places);
                break;
            default:
                break;
            }
        }
    }

    static void evaluate_many(const md_tetrad_table &table, const md_tetrad_run &run) noexcept
    {
        constexpr md_tetrad_kernels::evaluate_fn known[] = {evaluate<5>, evaluate<6>, evaluate<7>, evaluate<8>};
        (table.inputs <= 8 ? known[table.inputs - 5] : evaluate<0>)(table, run);
    }

    static void install(md_tetrad_kernels &table) noexcept
    {
        table.evaluate_long[0] = evaluate<1>;
        table.evaluate_long[1] = evaluate<2>;
        table.evaluate_long[2] = evaluate<3>;
        table.evaluate_long[3] = evaluate<4>;
        table.evaluate_long[4] = evaluate_many;
    }
};

}  // namespace

}  // namespace teska

#endif
