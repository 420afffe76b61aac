// fusm_sums - the high-pass of many adjacent samples at a time
//
// Two samples are brought side by side and multiplied by their weights together. There are two ways to pairs, and for
// radius 2, where whole columns have like weights, a third way to sums:
//
//   Zipped    Two loads from anywhere in the window are zipped: pairs of the lower and of the higher samples.
//   As found  Where neighbours lie side by side in memory a load has pairs already. Even and odd samples are summed
//             apart, each with weights of its own, and zipped once at the end. Example of five weights in a row, with
//             loads from two samples before the middle, from the middle and from two after it:
//
//                 even     a b   c d   e 0
//                 odd      0 a   b c   d e
//
//   Columns   With a the sum of the outermost samples of a column, b that of those next to the middle c, and for every
//             column p = 2 c - a and q = 2 c + b, the high-pass in column x is
//
//                 2 (p[x] + q[x]) + p[x - 1] + p[x + 1] - q[x - 2] - q[x + 2]
//
//             p and q are written down for some hundred columns at a time and read again from five places.
//
// Bytes give sums of 16 bits, words of 32. In pairs words are moved down by 32768 to become signed, which weights that
// sum to zero undo.
//
// In an unnamed namespace on purpose: every kernel source gets a copy of its own, built for its instruction set.

#ifndef TESKA_FUSM_SUMS_H
#define TESKA_FUSM_SUMS_H

#include "Kernels/fusm_window.h"

#include <cstddef>
#include <cstdint>

namespace teska
{

namespace
{

constexpr std::ptrdiff_t fusm_widest_step = 10;

// A stretch of adjacent samples of all components, those of interest `distance` apart.
template <class Sample>
struct fusm_stretch {
    const Sample *rows[5];
    const Sample *samples;
    const Sample *limits;  // null: top
    Sample *out;
    std::ptrdiff_t distance;  // from a sample to its neighbour in the row
    std::ptrdiff_t count;     // at least a vector
};

// What sums do with bytes, and with words.
template <class Isa>
struct fusm_byte_lanes {
    using isa = Isa;
    using sample = std::uint8_t;
    using sum = std::uint16_t;
    using vector = typename Isa::vector;

    static vector load(const sample *at) noexcept { return Isa::load(at); }
    static vector weights(int first, int second) noexcept { return Isa::all16((first & 255) | second * 256); }
    static vector products(vector pairs, vector by) noexcept { return Isa::pair_products_u8_s8(pairs, by); }
    static vector widen(const sample *at) noexcept { return Isa::widen_8_to_16(at); }
    static vector add(vector a, vector b) noexcept { return Isa::add16(a, b); }
    static vector subtract(vector a, vector b) noexcept { return Isa::subtract16(a, b); }
    static vector zip_low(vector a, vector b) noexcept { return Isa::zip_low8(a, b); }
    static vector zip_high(vector a, vector b) noexcept { return Isa::zip_high8(a, b); }
    static vector zip_low_sums(vector a, vector b) noexcept { return Isa::zip_low16(a, b); }
    static vector zip_high_sums(vector a, vector b) noexcept { return Isa::zip_high16(a, b); }
};

template <class Isa>
struct fusm_word_lanes {
    using isa = Isa;
    using sample = std::uint16_t;
    using sum = std::uint32_t;
    using vector = typename Isa::vector;

    static vector load(const sample *at) noexcept { return Isa::load(at) ^ Isa::all16(0x8000); }
    static vector weights(int first, int second) noexcept { return Isa::all32((first & 65535) | second * 65536); }
    static vector products(vector pairs, vector by) noexcept { return Isa::pair_products_s16(pairs, by); }
    static vector widen(const sample *at) noexcept { return Isa::widen_16_to_32(at); }
    static vector add(vector a, vector b) noexcept { return Isa::add32(a, b); }
    static vector subtract(vector a, vector b) noexcept { return Isa::subtract32(a, b); }
    static vector zip_low(vector a, vector b) noexcept { return Isa::zip_low16(a, b); }
    static vector zip_high(vector a, vector b) noexcept { return Isa::zip_high16(a, b); }
    static vector zip_low_sums(vector a, vector b) noexcept { return Isa::zip_low32(a, b); }
    static vector zip_high_sums(vector a, vector b) noexcept { return Isa::zip_high32(a, b); }
};

template <class Lanes>
[[gnu::always_inline]] inline void fusm_add_zipped(typename Lanes::vector (&h)[2], typename Lanes::vector a,
                                                   typename Lanes::vector b, typename Lanes::vector weights) noexcept
{
    h[0] = Lanes::add(h[0], Lanes::products(Lanes::zip_low(a, b), weights));
    h[1] = Lanes::add(h[1], Lanes::products(Lanes::zip_high(a, b), weights));
}

// Neighbours at any distance: all pairs are zipped.
template <class Lanes, int Radius>
class fusm_distant_sums
{
    using vector = typename Lanes::vector;
    using window = fusm_window<Radius>;

public:
    explicit fusm_distant_sums(const fusm_stretch<typename Lanes::sample> &s) noexcept
    {
        for (int t = 0; t < window::count; ++t) {
            const fusm_tap &tap = window::taps[t];
            at_[t] = s.rows[fusm_reach(Radius) + tap.row] + tap.column * s.distance;
        }
        at_[window::count] = at_[0];
    }

    // Called before high_pass, for vectors that begin at samples from `first` to `last`. Returns up to which high_pass
    // may now be called; the rest needs a further call.
    static std::ptrdiff_t prepare(std::ptrdiff_t /*first*/, std::ptrdiff_t last) noexcept { return last; }

    // Sums of the samples from i on, the lower and the higher ones of every 16 bytes.
    [[gnu::always_inline]] void high_pass(std::ptrdiff_t i, vector (&h)[2]) const noexcept
    {
        h[0] = h[1] = Lanes::isa::zero();
#pragma GCC unroll 16
        for (int t = 0; t < window::count; t += 2)
            fusm_add_zipped<Lanes>(h, Lanes::load(at_[t] + i), Lanes::load(at_[t + 1] + i),
                                   Lanes::weights(weight(t), weight(t + 1)));
    }

private:
    // The last tap is paired with one of weight 0.
    static constexpr int weight(int t) noexcept { return t < window::count ? window::taps[t].weight : 0; }

    const typename Lanes::sample *at_[window::count + 1];
};

// Neighbours side by side. Rows that have no weights next to the middle column are zipped with their mirror images, the
// others have pairs.
template <class Lanes, int Radius>
class fusm_adjacent_sums
{
    using vector = typename Lanes::vector;
    using sample = typename Lanes::sample;

public:
    explicit fusm_adjacent_sums(const fusm_stretch<sample> &s) noexcept
    {
        for (int row = -reach; row <= reach; ++row)
            rows_[reach + row] = s.rows[reach + row];
    }

    static std::ptrdiff_t prepare(std::ptrdiff_t /*first*/, std::ptrdiff_t last) noexcept { return last; }

    [[gnu::always_inline]] void high_pass(std::ptrdiff_t i, vector (&h)[2]) const noexcept
    {
        vector even = Lanes::isa::zero();
        vector odd = Lanes::isa::zero();
        add_pairs<-reach>(i, even, odd);
        h[0] = Lanes::zip_low_sums(even, odd);
        h[1] = Lanes::zip_high_sums(even, odd);
#pragma GCC unroll 2
        for (int row = 1; row <= reach; ++row)
#pragma GCC unroll 5
            for (int column = -reach; column <= reach; ++column)
                if (!has_pairs(row) && weight(row, column) != 0)
                    fusm_add_zipped<Lanes>(h, load(-row, column, i), load(row, column, i),
                                           Lanes::weights(weight(row, column), weight(row, column)));
    }

private:
    static constexpr int reach = fusm_reach(Radius);

    static constexpr int weight(int row, int column) noexcept
    {
        for (const fusm_tap &tap : fusm_window<Radius>::taps)
            if (tap.row == row && tap.column == column)
                return tap.weight;
        return 0;
    }
    static constexpr bool has_pairs(int row) noexcept { return weight(row, 1) != 0; }

    vector load(int row, int column, std::ptrdiff_t i) const noexcept
    {
        return Lanes::load(rows_[reach + row] + i + column);
    }

    // The rows from this one on. The outermost samples with weights, an even number of columns apart, begin pairs.
    template <int Row>
    [[gnu::always_inline]] void add_pairs(std::ptrdiff_t i, vector &even, vector &odd) const noexcept
    {
        constexpr int outermost = weight(Row, reach) != 0 ? reach : 1;
        if constexpr (has_pairs(Row))
            add_row<Row, -outermost, outermost>(i, even, odd);
        if constexpr (Row < reach)
            add_pairs<Row + 1>(i, even, odd);
    }

    template <int Row, int Column, int Last>
    [[gnu::always_inline]] void add_row(std::ptrdiff_t i, vector &even, vector &odd) const noexcept
    {
        const vector pairs = load(Row, Column, i);
        even = Lanes::add(even, Lanes::products(pairs, Lanes::weights(weight(Row, Column), weight(Row, Column + 1))));
        odd = Lanes::add(odd, Lanes::products(pairs, Lanes::weights(weight(Row, Column - 1), weight(Row, Column))));
        if constexpr (Column < Last)
            add_row<Row, Column + 2, Last>(i, even, odd);
    }

    const sample *rows_[2 * reach + 1];
};

// Radius 2, neighbours at any distance.
template <class Lanes>
class fusm_column_sums
{
    using vector = typename Lanes::vector;
    using sample = typename Lanes::sample;

public:
    explicit fusm_column_sums(const fusm_stretch<sample> &s) noexcept : distance_(s.distance)
    {
        for (int row = 0; row < 5; ++row)
            rows_[row] = s.rows[row];
    }

    // Writes down the columns of a block, from two distances before its first sample to two after its last one.
    std::ptrdiff_t prepare(std::ptrdiff_t first, std::ptrdiff_t last) noexcept
    {
        const std::ptrdiff_t end = last - first < block - 2 * half ? last : first + block - 2 * half;
        const std::ptrdiff_t begin = first - 2 * distance_;
        const std::ptrdiff_t last_column = end + 2 * half + 2 * distance_ - begin - half;
        for (std::ptrdiff_t column = 0;; column = column + half < last_column ? column + half : last_column) {
            const std::ptrdiff_t i = begin + column;
            const vector middle = Lanes::widen(rows_[2] + i);
            const vector twice = Lanes::add(middle, middle);
            const vector outermost = Lanes::add(Lanes::widen(rows_[0] + i), Lanes::widen(rows_[4] + i));
            const vector next = Lanes::add(Lanes::widen(rows_[1] + i), Lanes::widen(rows_[3] + i));
            Lanes::isa::store(p_ + column, Lanes::subtract(twice, outermost));
            Lanes::isa::store(q_ + column, Lanes::add(twice, next));
            if (column == last_column)
                break;
        }
        begin_ = begin;
        return end;
    }

    [[gnu::always_inline]] void high_pass(std::ptrdiff_t i, vector (&h)[2]) const noexcept
    {
        const vector lower = sum(i - begin_);
        const vector upper = sum(i - begin_ + half);
        h[0] = Lanes::isa::zip_order_low(lower, upper);
        h[1] = Lanes::isa::zip_order_high(lower, upper);
    }

private:
    static constexpr std::ptrdiff_t half = Lanes::isa::size / static_cast<int>(sizeof(typename Lanes::sum));
    static constexpr std::ptrdiff_t block = 512;  // samples

    vector sum(std::ptrdiff_t column) const noexcept
    {
        const auto load = [](const typename Lanes::sum *at) noexcept { return Lanes::isa::load(at); };
        const typename Lanes::sum *p = p_ + column;
        const typename Lanes::sum *q = q_ + column;
        const vector middle = Lanes::add(load(p), load(q));
        const vector inner = Lanes::add(load(p - distance_), load(p + distance_));
        const vector outer = Lanes::add(load(q - 2 * distance_), load(q + 2 * distance_));
        return Lanes::subtract(Lanes::add(Lanes::add(middle, middle), inner), outer);
    }

    const sample *rows_[5];
    std::ptrdiff_t distance_;
    std::ptrdiff_t begin_ = 0;  // the column in p_[0] and q_[0]
    // The samples of a block, and two distances at either end.
    typename Lanes::sum p_[block + 4 * fusm_widest_step];
    typename Lanes::sum q_[block + 4 * fusm_widest_step];
};

}  // namespace

}  // namespace teska

#endif
