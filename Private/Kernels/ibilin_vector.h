// ibilin_vector - bilinear resampling of lines, many samples at a time
//
// Samples are picked out of the line by shuffles that a plan prescribes, and blended in 16-bit lanes. With d = b - a,
// and mulhi the upper half of a product of 16 bits each:
//
//     bytes           a + mulhi(-d, -w)                 signed; w is at most 32768, because a and b change places
//                                                       where the weight of b would be larger
//     16-bit samples  min(a, b) + mulhi(max(d, 0), w) + mulhi(max(-d, 0), 65536 - w)
//                                                       unsigned; one of the products is 0
//
// Both are exact. 65536 - 0 does not fit: a weight of 0 comes with b = a, or the line is copied.

#ifndef TESKA_IBILIN_VECTOR_H
#define TESKA_IBILIN_VECTOR_H

#include "Kernels/ibilin_kernels.h"

namespace teska
{

namespace
{

// The pattern "first of n" for the samples of interleaved lines; it starts anywhere in the first n samples and is as
// long as n vectors after that.
template <class T, int N>
struct stripes {
    constexpr stripes() noexcept
    {
        for (int i = 0; i < length; i += N)
            at[i] = static_cast<T>(~T{0});
    }
    static constexpr int length = N + N * 64 / static_cast<int>(sizeof(T));
    T at[length]{};
};

template <class T, int N>
constexpr stripes<T, N> striped;

// An instruction set whose shuffles reach 16 bytes.
template <class Isa>
struct ibilin_units_of_16 : Isa {
    using vector = typename Isa::vector;
    static constexpr int unit = 16;
    static constexpr int units = Isa::size / unit;

    template <int Bytes, int Part>
    static vector shuffle(vector window, vector mask) noexcept
    {
        return Isa::shuffle8(window, mask);
    }
    // The mask with the places of either window below 0x80, those of the other one not.
    static vector shuffle_pair(vector first, vector second, vector mask) noexcept
    {
        return Isa::shuffle8(first, Isa::add8(mask, Isa::all8(0x70))) |
               Isa::shuffle8(second, Isa::subtract8(mask, Isa::all8(0x10)));
    }
    static vector lower_halves(vector a, vector b) noexcept { return Isa::zip_low64(a, b); }
    static vector upper_halves(vector a, vector b) noexcept { return Isa::zip_high64(a, b); }
    static vector narrow_lanes(vector a, vector b) noexcept { return Isa::narrow_to_u8(a, b); }

    template <class T>
    using stripe = vector;
    static vector stripe_at(const void *pattern) noexcept { return Isa::load(pattern); }
    static void put(void *at, vector a, vector chosen) noexcept
    {
        Isa::store(at, Isa::choose8(chosen, a, Isa::load(at)));
    }
};

template <class Isa>
struct ibilin_kernel {
    using vector = typename Isa::vector;
    static constexpr std::ptrdiff_t bytes = Isa::unit * Isa::units;
    template <class T>
    static constexpr std::ptrdiff_t samples = bytes / static_cast<std::ptrdiff_t>(sizeof(T));

    static vector blend_bytes(vector a, vector b, vector negative_weight) noexcept
    {
        return Isa::add16(a, Isa::multiply_high_s16(Isa::subtract16(a, b), negative_weight));
    }

    static vector blend_words(vector a, vector b, vector weight, vector rest) noexcept
    {
        const vector rise = Isa::subtract_saturated_u16(b, a);
        const vector fall = Isa::subtract_saturated_u16(a, b);
        const vector least = Isa::subtract16(a, fall);
        return Isa::add16(least, Isa::add16(Isa::multiply_high_u16(rise, weight), Isa::multiply_high_u16(fall, rest)));
    }

    // Windows 0 and 1 of a half, or the only one.
    template <int Bytes, int Windows>
    static vector shuffled(const std::uint8_t *in, const std::ptrdiff_t *offset, const std::uint8_t *mask) noexcept
    {
        if constexpr (Windows == 1)
            return Isa::template shuffle<Bytes, 0>(Isa::windows(in, offset), Isa::load(mask));
        else
            return Isa::template shuffle<Bytes, 1>(Isa::windows(in, offset), Isa::load(mask)) |
                   Isa::template shuffle<Bytes, 2>(Isa::windows(in, offset + Isa::units), Isa::load(mask + bytes));
    }

    // A vector of lanes; offset and table go on to the next one.
    template <int Bytes, int Windows>
    static vector blended(const std::uint8_t *in, const std::ptrdiff_t *&offset, const std::uint8_t *&table) noexcept
    {
        constexpr int masks = Windows == 1 ? 2 : Windows;
        constexpr int half = Windows / 2;
        vector a, b;
        if constexpr (Windows == 1) {
            const vector window = Isa::windows(in, offset);
            a = Isa::template shuffle<Bytes, 0>(window, Isa::load(table));
            b = Isa::template shuffle<Bytes, 0>(window, Isa::load(table + bytes));
        } else {
            const vector lower = shuffled<Bytes, half>(in, offset, table);
            const vector upper = shuffled<Bytes, half>(in, offset + half * Isa::units, table + half * bytes);
            a = Isa::lower_halves(lower, upper);
            b = Isa::upper_halves(lower, upper);
        }
        const vector weight = Isa::load(table + masks * bytes);
        offset += Windows * Isa::units;
        table += (masks + 1) * bytes;
        if constexpr (Bytes == 1)
            return blend_bytes(a, b, weight);
        else
            return blend_words(a, b, weight, Isa::subtract16(Isa::zero(), weight));
    }

    template <int Windows, class T>
    static void across_windows(const ibilin_plan &plan, const std::uint8_t *in, T *out) noexcept
    {
        for (std::ptrdiff_t r = 0; r < plan.repeats; ++r, in += plan.advance) {
            const std::ptrdiff_t *offset = plan.offsets;
            const std::uint8_t *table = plan.tables;
            for (std::ptrdiff_t v = 0; v < plan.vectors; ++v, out += samples<T>) {
                const vector first = blended<sizeof(T), Windows>(in, offset, table);
                if constexpr (sizeof(T) == 1)
                    Isa::store(out, Isa::narrow_lanes(first, blended<1, Windows>(in, offset, table)));
                else
                    Isa::store(out, first);
            }
        }
    }

    template <class T>
    static void across(const ibilin_plan &plan, const T *in, T *out) noexcept
    {
        const auto *const line = reinterpret_cast<const std::uint8_t *>(in);
        if (plan.windows == 1)
            across_windows<1>(plan, line, out);
        else if (plan.windows == 2)
            across_windows<2>(plan, line, out);
        else
            across_windows<4>(plan, line, out);
    }

    // What one mask picks out of a pair of windows; offset and table go on to the next pair.
    static vector pair(const std::uint8_t *in, const std::ptrdiff_t *&offset, const std::uint8_t *&table) noexcept
    {
        const vector picked =
            Isa::shuffle_pair(Isa::windows(in, offset), Isa::windows(in, offset + Isa::units), Isa::load(table));
        offset += 2 * Isa::units;
        table += bytes;
        return picked;
    }

    template <int Windows>
    static void pick_windows(const ibilin_plan &plan, const std::uint8_t *in, std::uint8_t *out) noexcept
    {
        for (std::ptrdiff_t r = 0; r < plan.repeats; ++r, in += plan.advance) {
            const std::ptrdiff_t *offset = plan.offsets;
            const std::uint8_t *table = plan.tables;
            for (std::ptrdiff_t v = 0; v < plan.vectors; ++v, out += bytes) {
                vector picked = pair(in, offset, table);
                if constexpr (Windows == 4)
                    picked = Isa::lower_halves(picked, pair(in, offset, table));
                Isa::store(out, picked);
            }
        }
    }

    template <class T>
    static void pick_every_other(const ibilin_plan &plan, const T *in, T *out) noexcept
    {
        const vector even = sizeof(T) == 1 ? Isa::all16(0xFF) : Isa::all32(0xFFFF);
        for (std::ptrdiff_t v = 0; v < plan.vectors; ++v, in += 2 * samples<T>, out += samples<T>) {
            const vector a = Isa::load(in) & even;
            const vector b = Isa::load(in + samples<T>) & even;
            Isa::store(out, Isa::unzip64(sizeof(T) == 1 ? Isa::narrow_to_u8(a, b) : Isa::narrow_to_u16(a, b)));
        }
    }

    template <class T>
    static void pick(const ibilin_plan &plan, const T *in, T *out) noexcept
    {
        const auto *const line = reinterpret_cast<const std::uint8_t *>(in);
        if (plan.windows == 1)
            pick_every_other(plan, in, out);
        else if (plan.windows == 2)
            pick_windows<2>(plan, line, reinterpret_cast<std::uint8_t *>(out));
        else
            pick_windows<4>(plan, line, reinterpret_cast<std::uint8_t *>(out));
    }

    // make(i) gives the vector of output from sample i on. What is after `count` is not written.
    template <class T, class Make>
    static void write(std::ptrdiff_t count, T *out, Make make) noexcept
    {
        std::ptrdiff_t i = 0;
        for (; i + samples<T> <= count; i += samples<T>)
            Isa::store(out + i, make(i));
        if (i < count) {
            T rest[samples<T>];
            Isa::store(rest, make(i));
            for (const T *from = rest; i < count; ++i, ++from)
                out[i] = *from;
        }
    }

    static void down_bytes(const std::uint8_t *upper, const std::uint8_t *lower, std::uint32_t weight,
                           std::ptrdiff_t count, std::uint8_t *out) noexcept
    {
        const bool lower_is_nearer = weight > 32768;
        const std::uint8_t *const nearer = lower_is_nearer ? lower : upper;
        const std::uint8_t *const further = lower_is_nearer ? upper : lower;
        const vector w = Isa::all16(static_cast<int>(lower_is_nearer ? weight - 65536 : 0 - weight));
        write(count, out, [=](std::ptrdiff_t i) {
            const vector a = Isa::load(nearer + i);
            const vector b = Isa::load(further + i);
            return Isa::narrow_to_u8(blend_bytes(Isa::zip_low8(a, Isa::zero()), Isa::zip_low8(b, Isa::zero()), w),
                                     blend_bytes(Isa::zip_high8(a, Isa::zero()), Isa::zip_high8(b, Isa::zero()), w));
        });
    }

    static void down_words(const std::uint16_t *upper, const std::uint16_t *lower, std::uint32_t weight,
                           std::ptrdiff_t count, std::uint16_t *out) noexcept
    {
        const vector w = Isa::all16(static_cast<int>(weight));
        const vector rest = Isa::all16(static_cast<int>(0 - weight));
        write(count, out,
              [=](std::ptrdiff_t i) { return blend_words(Isa::load(upper + i), Isa::load(lower + i), w, rest); });
    }

    template <class T>
    static void down(const T *upper, const T *lower, std::uint32_t weight, std::ptrdiff_t count, T *out) noexcept
    {
        if (weight == 0)
            write(count, out, [=](std::ptrdiff_t i) { return Isa::load(upper + i); });
        else if constexpr (sizeof(T) == 1)
            down_bytes(upper, lower, weight, count, out);
        else
            down_words(upper, lower, weight, count, out);
    }

    template <int N, class T>
    static void spread_of(const T *in, int c, std::ptrdiff_t count, T *out) noexcept
    {
        constexpr std::ptrdiff_t step = samples<T>;
        typename Isa::template stripe<T> chosen[N];
        for (int k = 0; k < N; ++k)
            chosen[k] = Isa::stripe_at(striped<T, N>.at + (N - c) % N + k * step % N);
        std::ptrdiff_t i = 0;
        for (; i + N * step <= count; i += N * step)
            for (int k = 0; k < N; ++k)
                Isa::put(out + i + k * step, Isa::load(in + i + k * step), chosen[k]);
        for (int k = 0; i + step <= count; i += step, ++k)
            Isa::put(out + i, Isa::load(in + i), chosen[k]);
        for (i += (c + N - i % N) % N; i < count; i += N)
            out[i] = in[i];
    }

    template <class T>
    static void spread(const T *in, int c, int n, std::ptrdiff_t count, T *out) noexcept
    {
        if (n == 2)
            spread_of<2>(in, c, count, out);
        else if (n == 3)
            spread_of<3>(in, c, count, out);
        else
            spread_of<4>(in, c, count, out);
    }

    template <class T>
    static void install(ibilin_depth<T> &table) noexcept
    {
        table.across = across<T>;
        table.pick = pick<T>;
        table.down = down<T>;
        table.spread = spread<T>;
    }

    static void install(ibilin_kernels &table) noexcept
    {
        table.unit = Isa::unit;
        table.units = Isa::units;
        install(table.bytes);
        install(table.words);
    }
};

}  // namespace

}  // namespace teska

#endif
