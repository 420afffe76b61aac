// izat_vector - resampling by weighted sums with vectors of any length; the definition is izat_scalar.cpp
//
// Isa adds an operation to those of an instruction set: every_fourth_column(samples, first) fills a vector with a run
// of eight 16-bit numbers for each of its 16 bytes, those at samples + first[0], samples + first[4] ..

#ifndef TESKA_IZAT_VECTOR_H
#define TESKA_IZAT_VECTOR_H

#include "Kernels/izat_kernels.h"

namespace teska
{

namespace
{

template <class Isa, class Sample>
struct izat_vector {
    using vector = typename Isa::vector;
    static constexpr int lower_bits = sizeof(Sample) == 1 ? 7 : 15;
    static constexpr std::int32_t middle = sizeof(Sample) == 1 ? 128 : 32768;
    static constexpr std::ptrdiff_t words = Isa::size / 4;   // lanes of 32 bits
    static constexpr std::ptrdiff_t shorts = Isa::size / 2;  // lanes of 16 bits

    // Left to the compiler, which makes vectors of the loop over adjacent samples.
    static void centre(const Sample *line, std::ptrdiff_t step, std::ptrdiff_t count, std::int16_t *centred) noexcept
    {
        if (step == 1)
            for (std::ptrdiff_t x = 0; x < count; ++x)
                centred[x] = static_cast<std::int16_t>(line[x] - middle);
        else
            for (std::ptrdiff_t x = 0; x < count; ++x)
                centred[x] = static_cast<std::int16_t>(line[x * step] - middle);
    }

    // ---- Along a line -----------------------------------------------------------------------------------------------

    // Every 16 bytes of a vector serve a column: the columns of `words` results are 4 q + j for quarter q of vector j.
    static vector products(const izat_columns &columns, const std::int16_t *centred, std::ptrdiff_t x) noexcept
    {
        const std::int16_t *weights = columns.weights + izat_first_row(columns.taps, x);
        const std::int32_t *const first = columns.first + x;
        vector sum = Isa::pair_products_s16(Isa::every_fourth_column(centred, first), Isa::load(weights));
        for (std::ptrdiff_t k = izat_row; k < columns.taps; k += izat_row) {
            weights += izat_next_row;
            sum = Isa::add32(sum,
                             Isa::pair_products_s16(Isa::every_fourth_column(centred + k, first), Isa::load(weights)));
        }
        return sum;
    }

    // The sums of columns x .. x + words - 1, in order: a transposition that adds on the way.
    static vector sums(const izat_columns &columns, const std::int16_t *centred, std::ptrdiff_t x) noexcept
    {
        const vector a = products(columns, centred, x), b = products(columns, centred, x + 1);
        const vector c = products(columns, centred, x + 2), d = products(columns, centred, x + 3);
        const vector ab = Isa::add32(Isa::zip_low32(a, b), Isa::zip_high32(a, b));
        const vector cd = Isa::add32(Isa::zip_low32(c, d), Isa::zip_high32(c, d));
        return Isa::add32(Isa::zip_low64(ab, cd), Isa::zip_high64(ab, cd));
    }

    static void across(const izat_columns &columns, const std::int16_t *centred, const izat_halves &out) noexcept
    {
        const vector mask = Isa::all32((std::int32_t{1} << lower_bits) - 1);
        for (std::ptrdiff_t x = 0; x < columns.count; x += shorts) {
            const vector first = sums(columns, centred, x), second = sums(columns, centred, x + words);
            Isa::store(out.upper + x, Isa::unzip64(Isa::narrow_to_s16(Isa::shift_right_s32(first, lower_bits),
                                                                      Isa::shift_right_s32(second, lower_bits))));
            Isa::store(out.lower + x, Isa::unzip64(Isa::narrow_to_s16(first & mask, second & mask)));
        }
    }

    // ---- From line to line ------------------------------------------------------------------------------------------

    // Sums of samples in the order in which zips leave them, which narrowing undoes.
    struct zipped {
        vector low, high;
    };

    static void add_pair(zipped &sum, const void *a, const void *b, vector weights) noexcept
    {
        const vector left = Isa::load(a), right = Isa::load(b);
        sum.low = Isa::add32(sum.low, Isa::pair_products_s16(Isa::zip_low16(left, right), weights));
        sum.high = Isa::add32(sum.high, Isa::pair_products_s16(Isa::zip_high16(left, right), weights));
    }

    static vector joined(vector upper, vector lower) noexcept
    {
        return Isa::shift_right_s32(Isa::add32(upper, Isa::shift_right_s32(lower, lower_bits)), 28 - lower_bits);
    }

    // Samples x .. x + shorts - 1 less the middle, as far as 16 bits reach.
    static vector summed(const izat_halves *lines, const std::int16_t *weights, std::ptrdiff_t taps,
                         std::ptrdiff_t x) noexcept
    {
        zipped upper{Isa::zero(), Isa::zero()};
        zipped lower{Isa::all32(std::int32_t{1} << 27), Isa::all32(std::int32_t{1} << 27)};
        for (std::ptrdiff_t t = 0; t < taps; t += 2) {
            // The last of an odd number is paired with itself, of weight 0.
            const bool pair = t + 1 < taps;
            const izat_halves &a = lines[t], &b = lines[pair ? t + 1 : t];
            const auto second = static_cast<std::uint32_t>(pair ? weights[t + 1] : 0);
            const vector both = Isa::all32(static_cast<std::uint16_t>(weights[t]) | second << 16);
            add_pair(upper, a.upper + x, b.upper + x, both);
            add_pair(lower, a.lower + x, b.lower + x, both);
        }
        return Isa::narrow_to_s16(joined(upper.low, lower.low), joined(upper.high, lower.high));
    }

    static void down(const izat_halves *lines, const std::int16_t *weights, std::ptrdiff_t taps, std::ptrdiff_t count,
                     Sample *out) noexcept
    {
        if constexpr (sizeof(Sample) == 1)
            for (std::ptrdiff_t x = 0; x < count; x += 2 * shorts) {
                const vector a = Isa::add16(summed(lines, weights, taps, x), Isa::all16(middle));
                const vector b = Isa::add16(summed(lines, weights, taps, x + shorts), Isa::all16(middle));
                Isa::store(out + x, Isa::unzip64(Isa::narrow_to_u8(a, b)));
            }
        else
            for (std::ptrdiff_t x = 0; x < count; x += shorts)
                Isa::store(out + x, summed(lines, weights, taps, x) ^ Isa::all16(middle));
    }

    // ---- Halves -----------------------------------------------------------------------------------------------------

    // Sums of the pairs of two vectors, as lanes of twice the width.
    static vector pairs(vector a, vector b) noexcept
    {
        if constexpr (sizeof(Sample) == 1)
            return Isa::add16(Isa::pair_products_u8_s8(a, Isa::all8(1)), Isa::pair_products_u8_s8(b, Isa::all8(1)));
        else {
            const vector even = Isa::all32(0xFFFF);
            return Isa::add32(Isa::add32(a & even, Isa::shift_right_u32(a, 16)),
                              Isa::add32(b & even, Isa::shift_right_u32(b, 16)));
        }
    }

    static vector quarter_sum(const Sample *a, const Sample *b) noexcept
    {
        const vector sum = pairs(Isa::load(a), Isa::load(b));
        if constexpr (sizeof(Sample) == 1)
            return Isa::shift_right_u16(Isa::add16(sum, Isa::all16(2)), 2);
        else
            return Isa::shift_right_u32(Isa::add32(sum, Isa::all32(2)), 2);
    }

    static void halve(const Sample *a, const Sample *b, std::ptrdiff_t count, Sample *out) noexcept
    {
        constexpr std::ptrdiff_t samples = Isa::size / static_cast<int>(sizeof(Sample));
        std::ptrdiff_t x = 0;
        for (; x + samples <= count; x += samples) {
            const vector low = quarter_sum(a + 2 * x, b + 2 * x);
            const vector high = quarter_sum(a + 2 * x + samples, b + 2 * x + samples);
            if constexpr (sizeof(Sample) == 1)
                Isa::store(out + x, Isa::unzip64(Isa::narrow_to_u8(low, high)));
            else
                Isa::store(out + x, Isa::unzip64(Isa::narrow_to_u16(low, high)));
        }
        for (; x < count; ++x)
            out[x] = static_cast<Sample>((std::uint32_t{a[2 * x]} + a[2 * x + 1] + b[2 * x] + b[2 * x + 1] + 2) >> 2);
    }
};

// Columns: the vectors in which columns are summed, which may be shorter than those for everything else.
template <class Isa, class Columns, class Sample>
void izat_install(izat_depth<Sample> &depth) noexcept
{
    using kernels = izat_vector<Isa, Sample>;
    depth = {.centre = kernels::centre,
             .across = izat_vector<Columns, Sample>::across,
             .down = kernels::down,
             .halve = kernels::halve};
}

template <class Isa, class Columns = Isa>
void izat_install(izat_kernels &table) noexcept
{
    izat_install<Isa, Columns>(table.bytes);
    izat_install<Isa, Columns>(table.words);
}

}  // namespace

}  // namespace teska

#endif
