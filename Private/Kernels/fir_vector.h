// fir_vector - one filtered line, many pixels at a time
//
// A coefficient is 65536 * high + low with two signed halves, both modulo 2^16. A multiply-add of pairs takes two
// samples of one column, from two lines, times two halves, and adds the products:
//
//     words      | line 1 at x | line 0 at x | line 1 at x + 1 | line 0 at x + 1 | ..
//     factors    |  low of 1   |  low of 0   |    low of 1     |    low of 0     | ..
//     sum        |             x             |              x + 1                | ..
//
// The sums of the high halves are kept apart and shifted up at the end. 32767 is the largest result before it is
// clipped, since the sum is signed.
//
// There is a word for every column of a line, so the next column is the same load one word further on, and a line is
// packed once.

#ifndef TESKA_FIR_VECTOR_H
#define TESKA_FIR_VECTOR_H

#include "Kernels/fir_kernels.h"

namespace teska
{

namespace
{

// How Isa, an instruction set whose narrowing saturates and works in every 16 bytes, stores sums. Isa::in_order_16 and
// Isa::in_order_8 mend the order that comes of it.
template <class Isa>
struct fir_saturating : Isa {
    using vector = typename Isa::vector;

    // The results of two vectors, not below -32768 but not clipped.
    static vector results(const vector *sums) noexcept
    {
        return Isa::narrow_to_s16(Isa::shift_right_s32(sums[0], 16), Isa::shift_right_s32(sums[1], 16));
    }
    static vector clip(vector values, std::uint16_t maximum) noexcept
    {
        return Isa::min_s16(Isa::max_s16(values, Isa::zero()), Isa::all16(maximum));
    }

    static void store_results(std::uint16_t *at, const vector *sums, std::uint16_t maximum) noexcept
    {
        for (int v = 0; v < 4; v += 2)
            Isa::store(at + v * Isa::lanes, Isa::in_order_16(clip(results(sums + v), maximum)));
    }

    static void store_results(std::uint8_t *at, const vector *sums, std::uint16_t maximum) noexcept
    {
        vector low = results(sums);
        vector high = results(sums + 2);
        if (maximum > 255) {
            // The low bytes remain, as of an assignment.
            low = clip(low, maximum) & Isa::all16(255);
            high = clip(high, maximum) & Isa::all16(255);
        }
        const vector bytes = Isa::min_u8(Isa::narrow_to_u8(low, high), Isa::all8(maximum > 255 ? 255 : maximum));
        Isa::store(at, Isa::in_order_8(bytes));
    }
};

// Isa::vector holds Isa::lanes sums.
template <class Isa>
struct fir_kernel {
    using vector = typename Isa::vector;
    static constexpr int lanes = Isa::lanes;
    static constexpr int group = 4;            // vectors that fill one of bytes
    static constexpr int wide = Isa::vectors;  // vectors whose sums grow side by side
    static_assert(wide * lanes <= fir_spare_words);

    template <int Vectors>
    static void add(vector (&sums)[Vectors], const fir_tap *taps, int count, std::ptrdiff_t x) noexcept
    {
        if (count == 0)
            return;
        const fir_tap *tap = taps;
        do {
            const std::uint32_t *words = tap->words + x;
            // One address with fixed distances: the compiler would add a register of its own to each.
            __asm__("" : "+r"(words));
            const vector factors = Isa::all32(tap->factors);
            for (int v = 0; v < Vectors; ++v)
                sums[v] = Isa::add32(sums[v], Isa::pair_products_s16(Isa::load(words + v * lanes), factors));
        } while (++tap != taps + count);
    }

    template <int Vectors>
    static void sum_up(vector (&sums)[Vectors], const fir_taps &taps, std::ptrdiff_t x) noexcept
    {
        for (vector &sum : sums)
            sum = Isa::all32(taps.highs != 0 ? 0 : taps.start);
        if (taps.highs != 0) {
            add(sums, taps.high, taps.highs, x);
            for (vector &sum : sums)
                sum = Isa::add32(Isa::shift_left32(sum, 16), Isa::all32(taps.start));
        }
        add(sums, taps.low, taps.lows, x);
    }

    template <int Vectors, class Sample>
    static void block(const fir_taps &taps, std::ptrdiff_t x, Sample *out) noexcept
    {
        vector sums[Vectors];
        sum_up(sums, taps, x);
        for (int v = 0; v < Vectors; v += group)
            Isa::store_results(out + v * lanes, sums + v, taps.maximum);
    }

    template <class Sample>
    static void filter_words(const fir_taps &taps, int first, int count, Sample *out) noexcept
    {
        const fir_taps local = taps;  // a copy that no sample that is stored could reach
        std::ptrdiff_t x = 0;
        for (; x + wide * lanes <= count; x += wide * lanes)
            block<wide>(local, first + x, out + x);
        for (; x + group * lanes <= count; x += group * lanes)
            block<group>(local, first + x, out + x);
        if (x < count) {
            Sample last[group * lanes];
            block<group>(local, first + x, last);
            for (int i = 0; x < count; ++i, ++x)
                out[x] = last[i];
        }
    }

    template <class Sample>
    static void pack(std::uint32_t *words, const Sample *before, const Sample *line, std::ptrdiff_t step,
                     int count) noexcept
    {
        constexpr std::uint32_t offset = sizeof(Sample) == 1 ? 0 : 0x80008000U;
        for (std::ptrdiff_t x = step == 1 ? Isa::pack(words, before, line, count) : 0; x < count; ++x)
            words[x] = (before[x * step] | std::uint32_t{line[x * step]} << 16) ^ offset;
    }

    template <class Sample>
    static void install(fir_sample_kernels<Sample> &entries) noexcept
    {
        entries.pack = pack<Sample>;
        entries.filter_words = filter_words<Sample>;
    }

    static void install(fir_kernels &table) noexcept
    {
        install(table.bytes);
        install(table.shorts);
    }
};

}  // namespace

}  // namespace teska

#endif
