// fusm_vector - sharpening of image lines, many samples at a time
//
// Vectors hold adjacent samples; what is between them is that of the definition. Samples are taken as they lie in
// memory: with a step of 3 those of the other components are sharpened too, and left out when the results are handed
// on. Only the columns at both ends, and what is less than a vector, are left to the definition.
//
//   High-pass  fusm_sums.h.
//   Levels     factor * h >> 8 is factor * (h >> 8) + (factor * (h & 255) >> 8): 32 bits suffice for words, and bytes
//              need them only up to the shift, or not at all when factors are small. Between the points of a curve
//              factors of bytes lie on lines, one multiplication for all.
//   Ramp       One multiplication in place of the table, where the table allows it. Of bytes it may be wrong in the
//              first rows of 16, which are then repaired, a shuffle each.
//   Bytes      Magnitudes above 255 count as 255, no table being longer, and corrections stop at 255: both are bytes,
//              and adding and subtracting cuts the results.
//
// Halves of vectors are widened and narrowed again in the same order, whatever it is.

#ifndef TESKA_FUSM_VECTOR_H
#define TESKA_FUSM_VECTOR_H

#include "Kernels/fusm_sums.h"
#include "Kernels/kernels.h"

namespace teska
{

namespace
{

// Where corrections of bytes come from.
enum class fusm_source { table, ramp, repaired_ramp };

// Where level factors of bytes come from, if there are any.
enum class fusm_levels { none, rows, tables };

template <class Isa, fusm_source Source, fusm_levels Levels>
class fusm_byte_kernel
{
    using vector = typename Isa::vector;

public:
    using sample = std::uint8_t;
    static constexpr int lanes = Isa::size;
    using sums_lanes = fusm_byte_lanes<Isa>;

    explicit fusm_byte_kernel(const fusm_curve &curve) noexcept
        : rows_(&curve.factor_rows), repairs_(curve.byte_repairs), repair_rows_(curve.repairs),
          shift_(16 - curve.byte_ramp.shift), multiplier_(Isa::all16(static_cast<int>(curve.byte_ramp.multiplier))),
          last_(Isa::all16(curve.last)), top_(Isa::all8(curve.top)),
          corrections_(curve.bytes, Source == fusm_source::table),
          low_(curve.factor_bytes[0], Levels == fusm_levels::tables),
          high_(curve.factor_bytes[1], Levels == fusm_levels::tables)
    {
    }

    // The vector of samples from i on.
    template <class Sums>
    [[gnu::always_inline]] void sharpen_vector(const fusm_stretch<sample> &s, const Sums &sums,
                                               std::ptrdiff_t i) const noexcept
    {
        const vector samples = Isa::load(s.samples + i);
        vector h[2];
        sums.high_pass(i, h);
        if constexpr (Levels == fusm_levels::rows)
            reduce_by_rows(samples, h);
        else if constexpr (Levels == fusm_levels::tables)
            reduce_by_tables(samples, h);
        const vector sign = Isa::narrow_to_s8(h[0], h[1]);
        for (vector &half : h)
            half = Isa::min_u16(Isa::abs16(half), last_);
        const vector correction =
            Source == fusm_source::table ? corrections_.look_up(Isa::narrow_to_u8(h[0], h[1])) : on_ramp(h);
        const vector result = Isa::choose8(sign, Isa::subtract_saturated_u8(samples, correction),
                                           Isa::add_saturated_u8(samples, correction));
        Isa::store(s.out + i, Isa::min_u8(result, s.limits != nullptr ? Isa::load(s.limits + i) : top_));
    }

private:
    vector on_ramp(const vector (&magnitudes)[2]) const noexcept
    {
        vector corrections[2];
        for (int half = 0; half < 2; ++half)
            corrections[half] = Isa::multiply_high_u16(Isa::shift_left16_by(magnitudes[half], shift_), multiplier_);
        vector correction = Isa::narrow_to_u8(corrections[0], corrections[1]);
        if (Source == fusm_source::repaired_ramp) {
            // Magnitudes after a row are moved to 128 and above, where a shuffle gives 0.
            static_assert(fusm_most_repairs * fusm_row <= 128);
            const vector bytes = Isa::narrow_to_u8(magnitudes[0], magnitudes[1]);
            for (int row = 0; row < repairs_; ++row)
                correction ^= Isa::shuffle8(Isa::repeat(repair_rows_ + fusm_row * row),
                                            Isa::add_saturated_u8(bytes, Isa::all8(128 - fusm_row * (row + 1))));
        }
        return correction;
    }

    // Numbers of all samples in lanes of 16 bits, in the order of the high-pass, from their low and high bytes.
    struct wide_numbers {
        vector half[2];
    };
    static wide_numbers zip(vector low, vector high) noexcept
    {
        return {{Isa::zip_low8(low, high), Isa::zip_high8(low, high)}};
    }

    // The products of factors * 32 and h * 8, which both fit, lose 16 bits.
    void reduce_by_rows(vector samples, vector (&h)[2]) const noexcept
    {
        constexpr int unit = 1 << fusm_factor_shift;
        constexpr int spare_bits = 8 - fusm_factor_shift;
        const vector row = Isa::mask8(Isa::shift_right_u16(samples, 4), 15);
        const auto of_row = [row](const std::uint8_t *numbers) noexcept {
            return Isa::shuffle8(Isa::repeat(numbers), row);
        };
        const wide_numbers start = zip(of_row(rows_->start[0]), of_row(rows_->start[1]));
        const wide_numbers slope = zip(of_row(rows_->slope[0]), of_row(rows_->slope[1]));
        const wide_numbers offset = zip(of_row(rows_->offset), Isa::zero());
        const wide_numbers column = zip(Isa::mask8(samples, 15), Isa::zero());
        vector changes[2] = {Isa::zero(), Isa::zero()};
        for (int r = 0; r < rows_->repairs; ++r) {
            // Samples of other rows are moved to 128 and above, where a shuffle gives 0.
            const vector entry = Isa::add_saturated_u8(Isa::subtract8(samples, Isa::all8(rows_->repaired[r])),
                                                       Isa::all8(128 - fusm_row));
            for (int byte = 0; byte < 2; ++byte)
                changes[byte] ^= Isa::shuffle8(Isa::repeat(rows_->repair[r][byte]), entry);
        }
        const wide_numbers change = zip(changes[0], changes[1]);
        for (int i = 0; i < 2; ++i) {
            const vector on_line = Isa::add16(Isa::multiply_low16(column.half[i], slope.half[i]), offset.half[i]);
            const vector rise = Isa::mask16(Isa::shift_right_s16(on_line, spare_bits), 0x10000 - unit);
            const vector factor = Isa::add16(start.half[i], rise) ^ change.half[i];
            h[i] = Isa::multiply_high_s16(Isa::shift_left16(h[i], spare_bits), factor);
        }
    }

    void reduce_by_tables(vector samples, vector (&h)[2]) const noexcept
    {
        const wide_numbers factors = zip(low_.look_up(samples), high_.look_up(samples));
        for (int i = 0; i < 2; ++i) {
            const vector product_low = Isa::multiply_low16(factors.half[i], h[i]);
            const vector product_high = Isa::multiply_high_s16(factors.half[i], h[i]);
            h[i] = Isa::narrow_to_s16(Isa::shift_right_s32(Isa::zip_low16(product_low, product_high), 8),
                                      Isa::shift_right_s32(Isa::zip_high16(product_low, product_high), 8));
        }
    }

    const fusm_factor_rows *rows_;
    int repairs_;
    const std::uint8_t *repair_rows_;
    int shift_;
    vector multiplier_;
    vector last_;
    vector top_;
    typename Isa::byte_table corrections_;
    typename Isa::byte_table low_;
    typename Isa::byte_table high_;
};

// Plain: without level factors, and with a ramp.
template <class Isa, bool Plain>
class fusm_word_kernel
{
    using vector = typename Isa::vector;

public:
    using sample = std::uint16_t;
    static constexpr int lanes = Isa::size / 2;
    using sums_lanes = fusm_word_lanes<Isa>;

    explicit fusm_word_kernel(const fusm_curve &curve) noexcept
        : curve_(curve), shift_(curve.ramp.shift), multiplier_(Isa::all32(curve.ramp.multiplier)),
          last_(Isa::all32(curve.last)), top_(Isa::all16(curve.top < 65535 ? curve.top : 65535))
    {
    }

    // The vector of samples from i on.
    template <class Sums>
    [[gnu::always_inline]] void sharpen_vector(const fusm_stretch<sample> &s, const Sums &sums,
                                               std::ptrdiff_t i) const noexcept
    {
        const vector samples = Isa::load(s.samples + i);
        vector h[2];
        sums.high_pass(i, h);
        const vector wide[2] = {Isa::zip_low16(samples, Isa::zero()), Isa::zip_high16(samples, Isa::zero())};
        for (int half = 0; half < 2; ++half) {
            if (!Plain && curve_.factors != nullptr)
                h[half] = reduce(wide[half], h[half]);
            const vector sign = Isa::shift_right_s32(h[half], 31);
            const vector size = Isa::min_s32(Isa::abs32(h[half]), last_);
            const vector correction = Plain || curve_.ramp.fits ? multiply_wide(size, multiplier_, shift_)
                                                                : Isa::shorts_at(curve_.table, size);
            h[half] = Isa::add32(wide[half], Isa::subtract32(correction ^ sign, sign));
        }
        const vector result = Isa::narrow_to_u16(h[0], h[1]);
        Isa::store(s.out + i, Isa::min_u16(result, s.limits != nullptr ? Isa::load(s.limits + i) : top_));
    }

private:
    // a * b >> by in 64 bits; the results fit 32.
    static vector multiply_wide(vector a, vector b, int by) noexcept
    {
        const vector even = Isa::shift_right_u64_by(Isa::multiply_even_u32(a, b), by);
        const vector odd = Isa::shift_right_u64_by(Isa::multiply_even_u32(Isa::shift_right_u64(a, 32), b), by);
        return even | Isa::shift_left64(odd, 32);
    }

    vector reduce(vector samples, vector h) const noexcept
    {
        const vector entry = Isa::min_s32(samples, Isa::all32(curve_.top));
        const vector bits = Isa::shorts_at(reinterpret_cast<const std::uint16_t *>(curve_.factors), entry);
        const vector factors = Isa::shift_right_s32(Isa::shift_left32(bits, 16), 16);
        const vector rest = Isa::multiply_low32(factors, h & Isa::all32(255));
        return Isa::add32(Isa::multiply_low32(factors, Isa::shift_right_s32(h, 8)), Isa::shift_right_s32(rest, 8));
    }

    const fusm_curve &curve_;
    int shift_;
    vector multiplier_;
    vector last_;
    vector top_;
};

// A whole stretch of at least a vector: what is less than one at its end is computed together with samples before it.
// Kernel and stretch are this function's own, so that storing results changes neither: their vectors stay in registers,
// a quarter of the time of small windows.
template <class Sums, class Kernel>
void fusm_sharpen_stretch(const fusm_curve &curve, const fusm_stretch<typename Kernel::sample> s) noexcept
{
    const Kernel kernel(curve);
    Sums sums(s);
    const std::ptrdiff_t last = s.count - Kernel::lanes;
    const auto next = [](std::ptrdiff_t i, std::ptrdiff_t end) noexcept {
        return i + Kernel::lanes < end ? i + Kernel::lanes : end;
    };
    for (std::ptrdiff_t i = 0;; i = next(i, last)) {
        const std::ptrdiff_t end = sums.prepare(i, last);
        for (;; i = next(i, end)) {
            kernel.sharpen_vector(s, sums, i);
            if (i == end)
                break;
        }
        if (end == last)
            break;
    }
}

// What a kernel does with stretches whose neighbours lie side by side, and with all others.
template <class Sample>
struct fusm_loops {
    void (*adjacent)(const fusm_curve &curve, fusm_stretch<Sample> s) noexcept;
    void (*distant)(const fusm_curve &curve, fusm_stretch<Sample> s) noexcept;
    int lanes;
};

template <class Kernel, int Radius>
fusm_loops<typename Kernel::sample> fusm_loops_of() noexcept
{
    using lanes = typename Kernel::sums_lanes;
    // Vectors of 64 bytes, most of whose loads cross lines of the cache, are faster with fewer of them.
    if constexpr (Radius == 2 && lanes::isa::size < 64)
        return {fusm_sharpen_stretch<fusm_column_sums<lanes>, Kernel>,
                fusm_sharpen_stretch<fusm_column_sums<lanes>, Kernel>, Kernel::lanes};
    else
        return {fusm_sharpen_stretch<fusm_adjacent_sums<lanes, Radius>, Kernel>,
                fusm_sharpen_stretch<fusm_distant_sums<lanes, Radius>, Kernel>, Kernel::lanes};
}

constexpr std::ptrdiff_t fusm_stage = 1024;  // samples of a piece, those between the ones of interest counted

// Every step-th sample of a line to every distance-th place.
template <class Sample>
void fusm_move(const Sample *from, std::ptrdiff_t step, Sample *to, std::ptrdiff_t distance,
               std::ptrdiff_t count) noexcept
{
#pragma GCC unroll 8
    for (std::ptrdiff_t i = 0; i < count; ++i)
        to[i * distance] = from[i * step];
}

// The pixels first .. end - 1, which the window reaches, in pieces: results go through a buffer, and so does what does
// not lie as the rows do. Returns the first pixel not done: the last piece may be less than a vector.
template <int Radius, class Sample>
std::ptrdiff_t fusm_pieces(const fusm_loops<Sample> &loops, const fusm_curve &curve, const fusm_line<Sample> &line,
                           std::ptrdiff_t first, std::ptrdiff_t end) noexcept
{
    Sample samples[fusm_stage] = {};
    Sample limits[fusm_stage] = {};
    Sample results[fusm_stage];
    const std::ptrdiff_t distance = line.distance;  // the step of the rows too: components side by side come whole
    const std::ptrdiff_t pixels = (fusm_stage - 1) / distance + 1;
    fusm_stretch<Sample> piece{{}, samples, line.limits != nullptr ? limits : nullptr, results, distance, 0};
    while (first < end) {
        const std::ptrdiff_t count = end - first < pixels ? end - first : pixels;
        piece.count = (count - 1) * distance + 1;
        if (piece.count < loops.lanes)
            break;
        for (int row = 0; row < 2 * fusm_reach(Radius) + 1; ++row)
            piece.rows[row] = line.rows[row] + first * distance;
        if (line.step == distance)
            piece.samples = line.samples + first * distance;
        else
            fusm_move(line.samples + first * line.step, line.step, samples, distance, count);
        if (line.limits != nullptr)
            fusm_move(line.limits + first * line.limit_step, line.limit_step, limits, distance, count);
        loops.distant(curve, piece);
        fusm_move(static_cast<const Sample *>(results), distance, line.out + first * line.out_step, line.out_step,
                  count);
        first += count;
    }
    return first;
}

template <int Radius, class Sample>
void fusm_sharpen(const fusm_loops<Sample> &loops, const fusm_curve &curve, const fusm_line<Sample> &line) noexcept
{
    const std::ptrdiff_t border = line.border;
    const std::ptrdiff_t inner = line.width - 2 * border;
    if (line.row_step < 1 || line.distance > fusm_widest_step || (inner - 1) * line.row_step + 1 < loops.lanes) {
        fusm_pixels(Radius, curve, line, 0, line.width);
        return;
    }
    std::ptrdiff_t done = border + inner;
    if (line.row_step == 1 && line.step == 1 && line.out_step == 1 &&
        (line.limits == nullptr || line.limit_step == 1)) {
        fusm_stretch<Sample> whole{{}, line.samples + border, nullptr, line.out + border, line.distance, inner};
        for (int row = 0; row < 2 * fusm_reach(Radius) + 1; ++row)
            whole.rows[row] = line.rows[row] + border;
        if (line.limits != nullptr)
            whole.limits = line.limits + border;
        (line.distance == 1 ? loops.adjacent : loops.distant)(curve, whole);
    } else
        done = fusm_pieces<Radius>(loops, curve, line, border, border + inner);
    fusm_pixels(Radius, curve, line, 0, border);
    fusm_pixels(Radius, curve, line, done, line.width);
}

// Each way to corrections and to level factors has loops of its own: choices within a loop, and what they keep in
// registers, would cost up to a third. Vectors of 64 bytes read a table by two permutations, which takes less than
// anything else.
template <class Isa, int Radius, fusm_levels Levels>
fusm_loops<std::uint8_t> fusm_leveled_loops(const fusm_curve &curve) noexcept
{
    if constexpr (Isa::size < 64)
        if (curve.byte_ramp.fits)
            return curve.byte_repairs == 0
                       ? fusm_loops_of<fusm_byte_kernel<Isa, fusm_source::ramp, Levels>, Radius>()
                       : fusm_loops_of<fusm_byte_kernel<Isa, fusm_source::repaired_ramp, Levels>, Radius>();
    return fusm_loops_of<fusm_byte_kernel<Isa, fusm_source::table, Levels>, Radius>();
}

template <class Isa, int Radius>
fusm_loops<std::uint8_t> fusm_byte_loops(const fusm_curve &curve) noexcept
{
    if (curve.factors == nullptr)
        return fusm_leveled_loops<Isa, Radius, fusm_levels::none>(curve);
    if constexpr (Isa::size < 64)
        if (curve.factor_rows.fits)
            return fusm_leveled_loops<Isa, Radius, fusm_levels::rows>(curve);
    return fusm_leveled_loops<Isa, Radius, fusm_levels::tables>(curve);
}

template <class Isa, int Radius>
void fusm_sharpen_bytes(const fusm_curve &curve, const fusm_bytes &line) noexcept
{
    if (curve.top > 255)
        fusm_pixels(Radius, curve, line, 0, line.width);
    else
        fusm_sharpen<Radius>(fusm_byte_loops<Isa, Radius>(curve), curve, line);
}

template <class Isa, int Radius>
void fusm_sharpen_words(const fusm_curve &curve, const fusm_words &line) noexcept
{
    const bool plain = curve.ramp.fits && curve.factors == nullptr;
    fusm_sharpen<Radius>(plain ? fusm_loops_of<fusm_word_kernel<Isa, true>, Radius>()
                               : fusm_loops_of<fusm_word_kernel<Isa, false>, Radius>(),
                         curve, line);
}

template <class ForBytes, class ForWords>
void fusm_install(fusm_kernels &table) noexcept
{
    table = {{fusm_sharpen_bytes<ForBytes, 0>, fusm_sharpen_bytes<ForBytes, 1>, fusm_sharpen_bytes<ForBytes, 2>},
             {fusm_sharpen_words<ForWords, 0>, fusm_sharpen_words<ForWords, 1>, fusm_sharpen_words<ForWords, 2>}};
}

}  // namespace

}  // namespace teska

#endif
