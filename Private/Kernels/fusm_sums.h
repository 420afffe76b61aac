// fusm_sums - the high-pass of many adjacent samples at a time
//
// Two samples are brought side by side and multiplied by their weights together. There are two ways to pairs:
//
//   Zipped    Two loads from anywhere in the window are zipped: pairs of the lower and of the higher samples.
//   As found  Where neighbours lie side by side in memory a load has pairs already. Even and odd samples are summed
//             apart, each with weights of its own, and zipped once at the end. Example of five weights in a row, with
//             loads from two samples before the middle, from the middle and from two after it:
//
//                 even     a b   c d   e 0
//                 odd      0 a   b c   d e
//
// Bytes give sums of 16 bits. Words are moved down by 32768 to become signed, which sums of weight zero undo.
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
    using vector = typename Isa::vector;

    static vector load(const sample *at) noexcept { return Isa::load(at); }
    static vector weights(int first, int second) noexcept { return Isa::all16((first & 255) | second * 256); }
    static vector products(vector pairs, vector by) noexcept { return Isa::pair_products_u8_s8(pairs, by); }
    static vector add(vector a, vector b) noexcept { return Isa::add16(a, b); }
    static vector zip_low(vector a, vector b) noexcept { return Isa::zip_low8(a, b); }
    static vector zip_high(vector a, vector b) noexcept { return Isa::zip_high8(a, b); }
    static vector zip_low_sums(vector a, vector b) noexcept { return Isa::zip_low16(a, b); }
    static vector zip_high_sums(vector a, vector b) noexcept { return Isa::zip_high16(a, b); }
};

template <class Isa>
struct fusm_word_lanes {
    using isa = Isa;
    using sample = std::uint16_t;
    using vector = typename Isa::vector;

    static vector load(const sample *at) noexcept { return Isa::load(at) ^ Isa::all16(0x8000); }
    static vector weights(int first, int second) noexcept { return Isa::all32((first & 65535) | second * 65536); }
    static vector products(vector pairs, vector by) noexcept { return Isa::pair_products_s16(pairs, by); }
    static vector add(vector a, vector b) noexcept { return Isa::add32(a, b); }
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

    // Those of the samples from i on, the lower and the higher ones of every 16 bytes.
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

}  // namespace

}  // namespace teska

#endif
