// md_tetrab_path - where pixels lie in a grid of bytes, and the sums along their paths, many pixels at a time
//
// Every 32-bit lane is a pixel. A dimension of a pixel becomes the number by which the dimensions are sorted:
//
//     key = weight << 24 | stride
//
// Unsigned maxima and minima sort keys, with the strides in tow. Running sums of the strides, added to the offset of
// the base vertex, are the offsets of the path. Dimensions of equal weight may come in any order, because the vertex
// between them has weight 0 and a product with 0 is 0.
//
// Four outputs are the four bytes of a lane: even and odd ones are taken apart as 16-bit halves, and
// round(a * w / 255) = (a * w + 128) * 257 >> 16, the upper half of a product of 16 bits, for all bytes a and w.
//
// In an unnamed namespace on purpose: every kernel source gets a copy of its own, built for its instruction set.

#ifndef TESKA_MD_TETRAB_PATH_H
#define TESKA_MD_TETRAB_PATH_H

#include "Kernels/md_tetrab_kernels.h"
#include "Kernels/simplex.h"
#include "Kernels/v128.h"

namespace teska
{

namespace
{

constexpr int most_inputs = 30;
constexpr std::uint32_t key_stride = 0x00FFFFFFU;
constexpr std::uint32_t key_weight = 0xFF000000U;

// ---- Positions ------------------------------------------------------------------------------------------------------

// By the upper nibble of a byte, below 8 or less 8: the bit of table.late that is its own.
alignas(16) constexpr std::uint8_t late_bits[16] = {1, 2, 4, 8, 16, 32, 64, 128, 1, 2, 4, 8, 16, 32, 64, 128};

// Index of the lower vertex and weight inside the cell, in one dimension, of as many pixels as a vector has bytes.
template <class Isa>
struct md_tetrab_position {
    using vector = typename Isa::vector;
    using lanes8 = typename Isa::lanes8;
    using lanes16 = typename Isa::lanes16;

    vector index;
    vector weight;

    // From the bytes of input d before its curve where Isa reads tables of bytes, else after it.
    static md_tetrab_position find(const md_tetrab_table &table, int d, const std::uint8_t *plane) noexcept
    {
        using byte_table = typename Isa::byte_table;
        const vector bytes = Isa::load(plane);
        if constexpr (Isa::reads_byte_tables)
            return {byte_table(table.indices + 256 * d).look_up(bytes),
                    byte_table(table.weights + 256 * d).look_up(bytes)};
        else
            return divide(table, bytes);
    }

private:
    // Quotient and remainder of u * cells / 255, and what doubles make of the remainder.
    static md_tetrab_position divide(const md_tetrab_table &table, vector u) noexcept
    {
        // With x = u * cells, the quotient q is (x + x / 256 + 1) / 256, and the remainder x - 255 q is x + q
        // in 8 bits.
        vector quotient[2];
        vector rest[2];
        for (int half = 0; half < 2; ++half) {
            const vector wide = half == 0 ? Isa::zip_low8(u, Isa::zero()) : Isa::zip_high8(u, Isa::zero());
            const auto x = Isa::template as<lanes16>(wide) * static_cast<std::uint16_t>(table.cells);
            const lanes16 q = (x + (x >> 8) + 1) >> 8;
            quotient[half] = Isa::template as<vector>(q);
            rest[half] = Isa::template as<vector>(lanes16((x + q) & 0xFF));
        }
        // late is -1 where the weight is one less than the remainder, else 0.
        const vector bit = late_bit(u);
        const auto late = Isa::template as<lanes8>(late_byte(table, u) & bit) == Isa::template as<lanes8>(bit);
        return {Isa::narrow_to_u8(quotient[0], quotient[1]),
                Isa::add8(Isa::narrow_to_u8(rest[0], rest[1]), Isa::template as<vector>(late))};
    }

    // By the lower nibble one of 16 bytes for the upper nibbles below 8, or one of 16 for those from 8 on. A shuffle
    // with the topmost bit set gives 0, so that one of both is 0.
    static vector late_byte(const md_tetrab_table &table, vector u) noexcept
    {
        const vector nibble = Isa::mask8(u, 0x8F);
        return Isa::shuffle8(Isa::repeat(table.late), nibble) |
               Isa::shuffle8(Isa::repeat(table.late + 16), Isa::add8(nibble, Isa::all8(0x80)));
    }

    static vector late_bit(vector u) noexcept
    {
        const vector upper_nibble = Isa::mask8(Isa::shift_right_u16(u, 4), 0x0F);
        return Isa::shuffle8(Isa::repeat(late_bits), upper_nibble);
    }
};

// ---- Paths ----------------------------------------------------------------------------------------------------------

// Puts the weight of four keys into both halves of their words.
alignas(16) constexpr signed char top_bytes[16] = {3, -1, 3, -1, 7, -1, 7, -1, 11, -1, 11, -1, 15, -1, 15, -1};

// The n + 1 vertices of the paths of as many pixels as a vector has words: N inputs, or any number when N is 0.
template <class Isa, int N>
class md_tetrab_path
{
    using vector = typename Isa::vector;
    using lanes16 = typename Isa::lanes16;

public:
    static constexpr int most = N != 0 ? N : most_inputs;

    // From the offsets of the base vertices and n keys each, which are sorted.
    md_tetrab_path(const md_tetrab_table &table, vector base, vector *key, int n) noexcept
    {
        sort_keys<N>(key, n, order);
        at_[0] = base;
        at_[n] = Isa::add32(base, Isa::all32(static_cast<std::uint32_t>(table.far_corner)));
        vector before = Isa::all16(255);
        for (int i = 0; i < n; ++i) {
            if (i + 1 < n)
                at_[i + 1] = Isa::add32(at_[i], Isa::mask32(key[i], key_stride));
            const vector next = Isa::shuffle8(key[i], Isa::repeat(top_bytes));
            weight_[i] = Isa::subtract16(before, next);
            before = next;
        }
        weight_[n] = before;
    }

    // Four outputs from `channel` on, as the bytes of a word.
    [[nodiscard]] vector outputs(const std::uint8_t *data, int channel, int n) const noexcept
    {
        vector even = Isa::zero();
        vector odd = Isa::zero();
        for (int i = 0; i <= n; ++i) {
            const vector vertex = Isa::template words_at<1>(data + channel, at_[i]);
            even = Isa::add16(even, product(Isa::mask16(vertex, 0xFF), weight_[i]));
            odd = Isa::add16(odd, product(Isa::shift_right_u16(vertex, 8), weight_[i]));
        }
        return even | Isa::shift_left16(odd, 8);
    }

private:
    static void order(vector &first, vector &second) noexcept
    {
        const vector larger = Isa::max_u32(first, second);
        second = Isa::min_u32(first, second);
        first = larger;
    }

    static vector product(vector value, vector weight) noexcept
    {
        return Isa::multiply_high_u16(Isa::add16(Isa::multiply_low16(value, weight), Isa::all16(128)), Isa::all16(257));
    }

    vector at_[most + 1];      // offsets
    vector weight_[most + 1];  // in both halves of a word
};

}  // namespace

}  // namespace teska

#endif
