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
// long as n vectors behind that.
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

template <class Isa>
struct bilin_kernel {
    using vector = typename Isa::vector;
    static constexpr std::ptrdiff_t bytes = Isa::unit * Isa::units;
    static constexpr std::ptrdiff_t lanes = bytes / 2;

    static vector blend_bytes(vector a, vector b, vector negative_weight) noexcept
    {
        return Isa::add(a, Isa::multiply_signed(Isa::subtract(a, b), negative_weight));
    }

    static vector blend_words(vector a, vector b, vector weight, vector rest) noexcept
    {
        const vector rise = Isa::subtract_saturated(b, a);
        const vector fall = Isa::subtract_saturated(a, b);
        const vector least = Isa::subtract(a, fall);
        return Isa::add(least, Isa::add(Isa::multiply(rise, weight), Isa::multiply(fall, rest)));
    }

    // Windows 0 and 1 of a half, or the only one.
    template <int Bytes, int Windows>
    static vector shuffled(const std::uint8_t *in, const std::ptrdiff_t *offset, const std::uint8_t *mask) noexcept
    {
        if constexpr (Windows == 1)
            return Isa::template shuffle<Bytes, 0>(Isa::windows(in, offset), Isa::load(mask));
        else
            return Isa::either(
                Isa::template shuffle<Bytes, 1>(Isa::windows(in, offset), Isa::load(mask)),
                Isa::template shuffle<Bytes, 2>(Isa::windows(in, offset + Isa::units), Isa::load(mask + bytes)));
    }

    template <int Bytes, int Windows>
    static void across_windows(const bilin_plan &plan, const std::uint8_t *in, std::uint16_t *out) noexcept
    {
        constexpr int masks = Windows == 1 ? 2 : Windows;
        const std::ptrdiff_t *offset = plan.offsets;
        const std::uint8_t *table = plan.tables;
        const vector zero = Isa::same(0);
        for (std::ptrdiff_t v = 0; v < plan.vectors; ++v) {
            vector a, b;
            if constexpr (Windows == 1) {
                const vector window = Isa::windows(in, offset);
                a = Isa::template shuffle<Bytes, 0>(window, Isa::load(table));
                b = Isa::template shuffle<Bytes, 0>(window, Isa::load(table + bytes));
            } else {
                const vector lower = shuffled<Bytes, Windows / 2>(in, offset, table);
                const vector upper =
                    shuffled<Bytes, Windows / 2>(in, offset + Windows / 2 * Isa::units, table + Windows / 2 * bytes);
                a = Isa::join_lower(lower, upper);
                b = Isa::join_upper(lower, upper);
            }
            const vector weight = Isa::load(table + masks * bytes);
            if constexpr (Bytes == 1)
                Isa::store(out, blend_bytes(a, b, weight));
            else
                Isa::store(out, blend_words(a, b, weight, Isa::subtract(zero, weight)));
            out += lanes;
            offset += Windows * Isa::units;
            table += (masks + 1) * bytes;
        }
    }

    template <int Bytes, class T>
    static void across(const bilin_plan &plan, const T *in, std::uint16_t *out) noexcept
    {
        const auto *const line = reinterpret_cast<const std::uint8_t *>(in);
        switch (plan.windows) {
        case 1:
            return across_windows<Bytes, 1>(plan, line, out);
        case 2:
            return across_windows<Bytes, 2>(plan, line, out);
        default:
            return across_windows<Bytes, 4>(plan, line, out);
        }
    }

    template <int Windows>
    static void pick_windows(const bilin_plan &plan, const std::uint8_t *in, std::uint8_t *out) noexcept
    {
        const std::ptrdiff_t *offset = plan.offsets;
        const std::uint8_t *table = plan.tables;
        for (std::ptrdiff_t v = 0; v < plan.vectors; ++v) {
            const vector lower = shuffled<2, Windows / 2>(in, offset, table);
            const vector upper =
                shuffled<2, Windows / 2>(in, offset + Windows / 2 * Isa::units, table + Windows / 2 * bytes);
            Isa::store(out, Isa::join_lower(lower, upper));
            out += bytes;
            offset += Windows * Isa::units;
            table += Windows * bytes;
        }
    }

    static void pick(const bilin_plan &plan, const void *in, void *out) noexcept
    {
        const auto *const line = static_cast<const std::uint8_t *>(in);
        if (plan.windows == 2)
            pick_windows<2>(plan, line, static_cast<std::uint8_t *>(out));
        else
            pick_windows<4>(plan, line, static_cast<std::uint8_t *>(out));
    }

    // make(i) gives the vector of output from sample i on; Step samples each. What is behind `count` is not written.
    template <std::ptrdiff_t Step, class T, class Make>
    static void write(std::ptrdiff_t count, T *out, Make make) noexcept
    {
        std::ptrdiff_t i = 0;
        for (; i + Step <= count; i += Step)
            Isa::store(out + i, make(i));
        if (i < count) {
            T rest[Step];
            Isa::store(rest, make(i));
            for (const T *from = rest; i < count; ++i, ++from)
                out[i] = *from;
        }
    }

    static void down_b(const std::uint16_t *upper, const std::uint16_t *lower, std::uint32_t weight,
                       std::ptrdiff_t count, std::uint8_t *out) noexcept
    {
        if (weight == 0)
            return write<bytes>(count, out, [=](std::ptrdiff_t i) {
                return Isa::narrow(Isa::load(upper + i), Isa::load(upper + i + lanes));
            });
        const bool lower_is_nearer = weight > 32768;
        const std::uint16_t *const a = lower_is_nearer ? lower : upper;
        const std::uint16_t *const b = lower_is_nearer ? upper : lower;
        const vector w = Isa::same(static_cast<int>(lower_is_nearer ? weight - 65536 : 0 - weight));
        write<bytes>(count, out, [=](std::ptrdiff_t i) {
            return Isa::narrow(blend_bytes(Isa::load(a + i), Isa::load(b + i), w),
                               blend_bytes(Isa::load(a + i + lanes), Isa::load(b + i + lanes), w));
        });
    }

    static void down(const std::uint16_t *upper, const std::uint16_t *lower, std::uint32_t weight, std::ptrdiff_t count,
                     std::uint16_t *out) noexcept
    {
        if (weight == 0)
            return write<lanes>(count, out, [=](std::ptrdiff_t i) { return Isa::load(upper + i); });
        const vector w = Isa::same(static_cast<int>(weight));
        const vector rest = Isa::same(static_cast<int>(0 - weight));
        write<lanes>(count, out, [=](std::ptrdiff_t i) {
            return blend_words(Isa::load(upper + i), Isa::load(lower + i), w, rest);
        });
    }

    template <int N, class T>
    static void spread_of(const T *in, int c, std::ptrdiff_t count, T *out) noexcept
    {
        constexpr std::ptrdiff_t step = bytes / static_cast<std::ptrdiff_t>(sizeof(T));
        typename Isa::template stripe<T> chosen[N];
        for (int k = 0; k < N; ++k)
            chosen[k] = Isa::template stripe_at<T>(striped<T, N>.at + (N - c) % N + k * step % N);
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

    static void install(bilin_kernels &table) noexcept
    {
        table.unit = Isa::unit;
        table.units = Isa::units;
        table.across_b = across<1, std::uint8_t>;
        table.across = across<2, std::uint16_t>;
        table.pick = pick;
        table.down_b = down_b;
        table.down = down;
        table.spread_b = spread<std::uint8_t>;
        table.spread = spread<std::uint16_t>;
    }
};

}  // namespace

}  // namespace teska

#endif
