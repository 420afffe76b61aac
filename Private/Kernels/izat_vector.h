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

    // The sums of columns x .. x + shorts - 1, in order.
    struct ordered {
        vector low, high;
    };

    static vector product_by_pairs(const std::int16_t *centred, const std::int32_t *first, vector picks,
                                   const std::int16_t *weights) noexcept
    {
        return Isa::pair_products_s16(Isa::shuffle8(Isa::every_fourth_column(centred, first), picks),
                                      Isa::load(weights));
    }

    // By pairs every lane of 32 bits serves a column. A number of taps that the compiler knows, or 0.
    template <std::ptrdiff_t Taps>
    static ordered sums_by_pairs(const izat_columns &columns, const std::int16_t *centred, std::ptrdiff_t x) noexcept
    {
        const std::ptrdiff_t taps = Taps != 0 ? Taps : columns.taps;
        const std::int32_t *const first = columns.first + x;
        const std::int16_t *low = columns.weights + izat_first_pair(taps, x);
        const std::int16_t *high = columns.weights + izat_first_pair(taps, x + words);
        const vector low_picks = Isa::load(columns.picks + 4 * x);
        const vector high_picks = Isa::load(columns.picks + 4 * (x + words));
        ordered sum{Isa::zero(), Isa::zero()};
        for (std::ptrdiff_t k = 0; k < taps; k += izat_pair) {
            sum.low = Isa::add32(sum.low, product_by_pairs(centred + k, first, low_picks, low));
            sum.high = Isa::add32(sum.high, product_by_pairs(centred + k, first + words, high_picks, high));
            low += izat_next_pair;
            high += izat_next_pair;
        }
        return sum;
    }

    // By rows every 16 bytes serve a column: the columns of `words` results are 4 q + j for quarter q of vector j.
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

    // Of columns x .. x + words - 1: a transposition that adds on the way.
    static vector transposed(const izat_columns &columns, const std::int16_t *centred, std::ptrdiff_t x) noexcept
    {
        const vector a = products(columns, centred, x), b = products(columns, centred, x + 1);
        const vector c = products(columns, centred, x + 2), d = products(columns, centred, x + 3);
        const vector ab = Isa::add32(Isa::zip_low32(a, b), Isa::zip_high32(a, b));
        const vector cd = Isa::add32(Isa::zip_low32(c, d), Isa::zip_high32(c, d));
        return Isa::add32(Isa::zip_low64(ab, cd), Isa::zip_high64(ab, cd));
    }

    static ordered sums_by_rows(const izat_columns &columns, const std::int16_t *centred, std::ptrdiff_t x) noexcept
    {
        return {transposed(columns, centred, x), transposed(columns, centred, x + words)};
    }

    template <ordered (*Sums)(const izat_columns &columns, const std::int16_t *centred, std::ptrdiff_t x) noexcept>
    static void split_sums(const izat_columns &columns, const std::int16_t *centred, const izat_halves &out) noexcept
    {
        const vector mask = Isa::all32((std::int32_t{1} << lower_bits) - 1);
        for (std::ptrdiff_t x = 0; x < columns.count; x += shorts) {
            const ordered sum = Sums(columns, centred, x);
            Isa::store(out.upper + x, Isa::unzip64(Isa::narrow_to_s16(Isa::shift_right_s32(sum.low, lower_bits),
                                                                      Isa::shift_right_s32(sum.high, lower_bits))));
            Isa::store(out.lower + x, Isa::unzip64(Isa::narrow_to_s16(sum.low & mask, sum.high & mask)));
        }
    }

    // Numbers of taps that are common: of the cubic kernels and Lanczos where they enlarge, of the cubic ones to half.
    static void across(const izat_columns &columns, const std::int16_t *centred, const izat_halves &out) noexcept
    {
        if (columns.picks == nullptr)
            split_sums<sums_by_rows>(columns, centred, out);
        else if (columns.taps == 4)
            split_sums<sums_by_pairs<4>>(columns, centred, out);
        else if (columns.taps == 6)
            split_sums<sums_by_pairs<6>>(columns, centred, out);
        else if (columns.taps == 8)
            split_sums<sums_by_pairs<8>>(columns, centred, out);
        else
            split_sums<sums_by_pairs<0>>(columns, centred, out);
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

    // The weights of lines t and t + 1; after an odd number there is one of 0.
    static vector pair_of_weights(const std::int16_t *weights) noexcept
    {
        std::int32_t both;
        __builtin_memcpy(&both, weights, sizeof(both));
        return Isa::all32(both);
    }

    // Samples x .. x + shorts - 1 less the middle, as far as 16 bits reach.
    static vector rounded(const zipped &upper, const zipped &lower) noexcept
    {
        return Isa::narrow_to_s16(
            Isa::shift_right_s32(Isa::add32(upper.low, Isa::shift_right_s32(lower.low, lower_bits)), 28 - lower_bits),
            Isa::shift_right_s32(Isa::add32(upper.high, Isa::shift_right_s32(lower.high, lower_bits)),
                                 28 - lower_bits));
    }

    // What the sums of lower halves can be, after they have lost their last bits.
    struct bounds {
        std::int32_t least, most;
    };

    static bounds lower_bounds(const std::int16_t *weights, std::ptrdiff_t taps) noexcept
    {
        constexpr std::int32_t largest = (std::int32_t{1} << lower_bits) - 1;
        bounds sum{std::int32_t{1} << 27, std::int32_t{1} << 27};
        for (std::ptrdiff_t t = 0; t < taps; ++t)
            (weights[t] < 0 ? sum.least : sum.most) += weights[t] * largest;
        return {sum.least >> lower_bits, sum.most >> lower_bits};
    }

    // Of bytes the lower halves make a hundredth of the unit at most, and are looked at where that matters.
    static vector summed_bytes(const izat_halves *lines, const std::int16_t *weights, std::ptrdiff_t taps,
                               const bounds &bound, const zipped &upper, std::ptrdiff_t x) noexcept
    {
        const vector least = Isa::all32(bound.least), most = Isa::all32(bound.most);
        const vector low = Isa::add32(upper.low, least), high = Isa::add32(upper.high, least);
        const vector differ = (low ^ Isa::add32(upper.low, most)) | (high ^ Isa::add32(upper.high, most));
        if (Isa::is_zero(Isa::shift_right_u32(differ, 28 - lower_bits)))
            return Isa::narrow_to_s16(Isa::shift_right_s32(low, 28 - lower_bits),
                                      Isa::shift_right_s32(high, 28 - lower_bits));
        zipped lower{Isa::all32(std::int32_t{1} << 27), Isa::all32(std::int32_t{1} << 27)};
        for (std::ptrdiff_t t = 0; t < taps; t += 2)
            add_pair(lower, lines[t].lower + x, lines[t + 1].lower + x, pair_of_weights(weights + t));
        return rounded(upper, lower);
    }

    static void down_bytes(const izat_halves *lines, const std::int16_t *weights, std::ptrdiff_t taps,
                           std::ptrdiff_t count, std::uint8_t *out) noexcept
    {
        const bounds bound = lower_bounds(weights, taps);
        for (std::ptrdiff_t x = 0; x < count; x += 2 * shorts) {
            zipped first{Isa::zero(), Isa::zero()}, second = first;
            for (std::ptrdiff_t t = 0; t < taps; t += 2) {
                const std::int16_t *const a = lines[t].upper + x, *const b = lines[t + 1].upper + x;
                const vector both = pair_of_weights(weights + t);
                add_pair(first, a, b, both);
                add_pair(second, a + shorts, b + shorts, both);
            }
            const vector low = summed_bytes(lines, weights, taps, bound, first, x);
            const vector high = summed_bytes(lines, weights, taps, bound, second, x + shorts);
            Isa::store(out + x, Isa::unzip64(Isa::narrow_to_u8(Isa::add16(low, Isa::all16(middle)),
                                                               Isa::add16(high, Isa::all16(middle)))));
        }
    }

    // Of words they always matter.
    static void down_words(const izat_halves *lines, const std::int16_t *weights, std::ptrdiff_t taps,
                           std::ptrdiff_t count, std::uint16_t *out) noexcept
    {
        for (std::ptrdiff_t x = 0; x < count; x += shorts) {
            zipped upper{Isa::zero(), Isa::zero()};
            zipped lower{Isa::all32(std::int32_t{1} << 27), Isa::all32(std::int32_t{1} << 27)};
            for (std::ptrdiff_t t = 0; t < taps; t += 2) {
                const izat_halves &a = lines[t], &b = lines[t + 1];
                const vector both = pair_of_weights(weights + t);
                add_pair(upper, a.upper + x, b.upper + x, both);
                add_pair(lower, a.lower + x, b.lower + x, both);
            }
            Isa::store(out + x, rounded(upper, lower) ^ Isa::all16(middle));
        }
    }

    static void down(const izat_halves *lines, const std::int16_t *weights, std::ptrdiff_t taps, std::ptrdiff_t count,
                     Sample *out) noexcept
    {
        if constexpr (sizeof(Sample) == 1)
            down_bytes(lines, weights, taps, count, out);
        else
            down_words(lines, weights, taps, count, out);
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
