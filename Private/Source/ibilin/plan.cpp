// ibilin/plan - which bytes of a source line become which samples, prepared for the kernels of one vector length
// (image)
//
// ibilin_plan says how a plan looks. An example, bytes of one component brought to 3/4 with units of 16 bytes and one
// window: the first unit makes samples 0 .. 7 out of bytes 0 .. 10, the next one samples 8 .. 15 from byte 10 on.
//
//     window  0   masks  0 1 2 4 5 7 8 9     nearer samples, at 0, 1 1/3, 2 2/3, 4 ..; each followed by a zero byte
//                        0 2 3 4 6 6 8 10    further ones; the nearer one again where the weight is 0
//
// A window begins with the first byte it serves, or earlier so as not to end after the line. After the last sample the
// vector is filled up with repetitions of it.
//
// Sizes in the ratio of p to q, in lowest terms, repeat their weights every q pixels, p pixels later in the source. So
// a few vectors serve the whole line but its end, and stay in the fastest cache whatever its length. How far the
// weights do repeat is looked up, not concluded: they come from floating-point numbers.

#include "Source/ibilin/plan.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <numeric>

using std::ptrdiff_t;
using std::size_t;
using std::uint16_t;
using std::uint32_t;
using std::uint8_t;

namespace
{

constexpr int most_windows = 4;
constexpr uint8_t zero_byte = 0x80;
constexpr int most_samples = 64;        // of a window
constexpr ptrdiff_t least_vectors = 8;  // that a repetition is worth

// A destination sample: where its two source samples begin, in bytes, and the weight of the further one.
struct sample {
    ptrdiff_t nearer;
    ptrdiff_t further;
    uint32_t weight;
};

// Walks along the samples of a line; stays at the last one.
class walk
{
public:
    // From sample `first` on.
    walk(const teska::ibilin_line &line, int bytes, ptrdiff_t first) noexcept
        : line_(line), bytes_(bytes), step_(static_cast<ptrdiff_t>(line.step) * bytes),
          pixel_(static_cast<int>(std::min<ptrdiff_t>(first / line.together, line.pixels - 1))),
          component_(static_cast<int>(first % line.together))
    {
    }

    [[nodiscard]] sample now() const noexcept
    {
        const teska::ibilin_place &place = line_.places[pixel_];
        const ptrdiff_t first = place.first * step_ + component_ * bytes_;
        const ptrdiff_t second = place.second * step_ + component_ * bytes_;
        if (place.weight == 0)
            return {.nearer = first, .further = first, .weight = 0};
        // The weights of words are not negated, and keep their order.
        if (bytes_ == 2 || place.weight <= 32768)
            return {.nearer = first, .further = second, .weight = place.weight};
        return {.nearer = second, .further = first, .weight = 65536 - place.weight};
    }

    void next() noexcept
    {
        if (component_ + 1 < line_.together)
            ++component_;
        else if (pixel_ + 1 < line_.pixels)
            ++pixel_, component_ = 0;
    }

private:
    const teska::ibilin_line &line_;
    const int bytes_;
    const ptrdiff_t step_;
    int pixel_;
    int component_;
};

// The next samples of a line that a window can reach.
struct window {
    sample at[most_samples];
    int count = 0;
    ptrdiff_t start = 0;

    // Takes the next samples, at most `most`, that a window of `size` bytes reaches. The window lies in the bytes
    // begin .. end - 1; false when it cannot.
    bool take(walk &from, int most, int bytes, ptrdiff_t begin, ptrdiff_t end, int size) noexcept
    {
        ptrdiff_t low = PTRDIFF_MAX;
        ptrdiff_t high = PTRDIFF_MIN;
        for (count = 0; count < most; ++count) {
            at[count] = from.now();
            const ptrdiff_t lower = std::min({low, at[count].nearer, at[count].further});
            const ptrdiff_t upper = std::max({high, at[count].nearer, at[count].further});
            if (upper + bytes - lower > size)
                break;
            low = lower;
            high = upper;
            from.next();
        }
        start = count == 0 ? begin : std::min(low, end - size);
        return start >= begin && start + size <= end;
    }

    // Writes to a mask where the `bytes` bytes of a sample are in the window, plus a shift.
    void write_mask(uint8_t *mask, ptrdiff_t byte, int bytes, int shift = 0) const noexcept
    {
        for (int i = 0; i < bytes; ++i)
            mask[i] = static_cast<uint8_t>(byte - start + i + shift);
    }
};

// For how many pixels the weights repeat with a period.
int repeating_pixels(const teska::ibilin_line &line, int period, int source_period) noexcept
{
    int x = period;
    for (; x < line.pixels; ++x) {
        const teska::ibilin_place &now = line.places[x];
        const teska::ibilin_place &before = line.places[x - period];
        if (now.weight != before.weight || now.first != before.first + source_period ||
            (now.weight != 0 && now.second != before.second + source_period))
            break;
    }
    return std::min(x, line.pixels);
}

}  // namespace

namespace teska
{

// All numbers of a plan but those of the single vectors.
struct ibilin_planner::shape {
    shape(const ibilin_line &of, int depth, int windows_, int unit_bytes, int units_) noexcept
        : line(of), picks(of.picks()), sample_bytes(depth), windows(windows_), unit(unit_bytes), units(units_),
          lane(picks ? depth : 2), share(unit / lane / windows_), masks(picks ? windows_ / 2 : std::max(windows_, 2)),
          vector_bytes(unit * units), blended(depth == 1 && !picks ? 2 : 1), samples(vector_bytes / depth),
          lanes_bytes(vector_bytes * (masks + (picks ? 0 : 1))), table_bytes(blended * lanes_bytes),
          offsets(blended * units * windows_)
    {
        const ptrdiff_t reach = (of.source_pixels - 1) * static_cast<ptrdiff_t>(of.step);
        begin = std::min<ptrdiff_t>(reach, 0) * depth;
        end = (std::max<ptrdiff_t>(reach, 0) + of.together) * depth;
    }

    // Write the offsets and the table of one vector, whose samples are the next ones of a walk. False when a window
    // does not reach its samples.
    [[nodiscard]] bool pick_vector(walk &along, ptrdiff_t *offset, uint8_t *table) const noexcept;
    [[nodiscard]] bool blend_vector(walk &along, ptrdiff_t *offset, uint8_t *table) const noexcept;

    const ibilin_line &line;
    const bool picks;  // samples are only picked
    const int sample_bytes;
    const int windows;
    const int unit;  // bytes
    const int units;
    const int lane;   // bytes
    const int share;  // lanes of a window
    const int masks;  // of a vector of lanes
    const int vector_bytes;
    const int blended;      // vectors of lanes for a vector of samples
    const int samples;      // of a vector
    const int lanes_bytes;  // masks and weights of a vector of lanes
    const int table_bytes;  // of a vector of samples
    const int offsets;      // of a vector of samples
    ptrdiff_t begin;        // the bytes of the line
    ptrdiff_t end;
};

// A pair of windows serves the lanes of a mask: the first one as many as it reaches, the second one the others.
bool ibilin_planner::shape::pick_vector(walk &along, ptrdiff_t *offset, uint8_t *table) const noexcept
{
    const int lanes = 2 * share;
    for (int part = 0; part < units * masks; ++part) {
        const int pair = part % masks;
        const int u = part / masks;
        uint8_t *mask = table + pair * vector_bytes + u * unit;
        int missing = lanes;
        for (int k = 0; k < 2; ++k) {
            window w;
            if (!w.take(along, missing, sample_bytes, begin, end, unit))
                return false;
            offset[(2 * pair + k) * units + u] = w.start;
            for (int i = 0; i < w.count; ++i, mask += lane)
                w.write_mask(mask, w.at[i].nearer, lane, k * unit);
            missing -= w.count;
        }
        if (missing != 0)
            return false;
    }
    return true;
}

// Every window serves the same share of a unit's lanes. The loop meets the parts of a vector in the order of its
// samples: unit by unit, in these the vectors of lanes that are blended into it, and in these the windows.
bool ibilin_planner::shape::blend_vector(walk &along, ptrdiff_t *offset, uint8_t *table) const noexcept
{
    // With one window a lane has the same place in two masks, for nearer and for further samples. With several there is
    // a mask for each window, where further samples follow half a unit after the nearer ones.
    const int further = windows == 1 ? vector_bytes : unit / 2;
    const int mask_lanes = windows == 1 ? unit : unit / 2;
    for (int part = 0; part < offsets; ++part) {
        const int k = part % windows;
        const int vector = part / windows % blended;
        const int u = part / windows / blended;
        window w;
        if (!w.take(along, share, sample_bytes, begin, end, unit) || w.count < share)
            return false;
        offset[(vector * windows + k) * units + u] = w.start;
        uint8_t *const unit_masks = table + vector * lanes_bytes + u * unit;
        uint8_t *const weights = unit_masks + masks * vector_bytes;
        for (int i = 0; i < share; ++i) {
            const sample &from = w.at[i];
            const int at = (k * share + i) * lane;  // of the lane in its unit, in bytes
            uint8_t *const nearer = unit_masks + k * vector_bytes + at % mask_lanes;
            w.write_mask(nearer, from.nearer, sample_bytes);
            w.write_mask(nearer + further, from.further, sample_bytes);
            const auto weight = static_cast<uint16_t>(sample_bytes == 1 ? 0 - from.weight : from.weight);
            std::memcpy(weights + at, &weight, sizeof weight);
        }
    }
    return true;
}

bool ibilin_planner::reserve(const ibilin_kernels &kernels, ptrdiff_t samples) noexcept
{
    unit_ = kernels.unit;
    units_ = kernels.units;
    // Bytes that are blended need most for a vector, words most vectors.
    const auto bytes = static_cast<std::uint64_t>(std::max(unit_ * units_, 16));
    const std::uint64_t vectors = units_ == 0 ? 0 : static_cast<std::uint64_t>(samples) / (bytes / 2) + 2;
    checked_size offsets(vectors, INT_MAX / sizeof(ptrdiff_t));
    offsets *= static_cast<std::uint64_t>(units_ * most_windows);
    checked_size tables(vectors, INT_MAX);
    tables *= bytes * (most_windows + 1);
    if (!offsets.valid() || !tables.valid())
        return false;
    offsets_ = zeroed_block<ptrdiff_t>(offsets.get());
    tables_ = zeroed_block<uint8_t>(tables.get());
    return offsets_ && tables_;
}

// With the fewest windows that reach all samples.
void ibilin_planner::make(const ibilin_line &line, int sample_bytes) noexcept
{
    depth_ = sample_bytes;
    picks_ = line.picks();
    made_ = false;
    for (int windows = picks_ ? 2 : 1; units_ != 0 && windows <= most_windows && !made_; windows *= 2)
        made_ = plan_all(shape(line, sample_bytes, windows, unit_, units_));
}

// `vectors` vectors of samples, the first of them at sample `first`.
bool ibilin_planner::plan_vectors(const shape &form, ptrdiff_t first, ptrdiff_t vectors, ibilin_plan &plan,
                                  ptrdiff_t *offset, uint8_t *table) noexcept
{
    plan = {
        .windows = form.windows, .repeats = 1, .advance = 0, .vectors = vectors, .offsets = offset, .tables = table};
    walk along(form.line, form.sample_bytes, first);
    for (; vectors > 0; --vectors, table += form.table_bytes, offset += form.offsets) {
        std::memset(table, zero_byte, static_cast<size_t>(form.table_bytes));
        if (!(form.picks ? form.pick_vector(along, offset, table) : form.blend_vector(along, offset, table)))
            return false;
    }
    return true;
}

// Plans the first vectors, up to where the pattern of the samples begins again, and how often they serve; none where
// that is not worth it.
bool ibilin_planner::plan_repeated(const shape &form, ptrdiff_t all_vectors) noexcept
{
    const ibilin_line &line = form.line;
    const int divisor = std::gcd(line.pixels, line.source_pixels);
    const int pixels = line.pixels / divisor;
    const int source_pixels = line.source_pixels / divisor;
    repeated_ = {};
    // Every other sample of one component needs no tables.
    if (form.picks && line.together == 1 && line.step == 1 && pixels == 1 && source_pixels == 2) {
        repeated_.windows = 1;
        repeated_.repeats = 1;
        repeated_.vectors = form.end / (2 * form.vector_bytes);
        return true;
    }
    // In samples: the pattern begins again, at the beginning of a vector, after at least least_vectors of them.
    ptrdiff_t period = std::lcm<ptrdiff_t>(static_cast<ptrdiff_t>(pixels) * line.together, form.samples);
    period *= (least_vectors * form.samples + period - 1) / period;
    const ptrdiff_t vectors = period / form.samples;
    if (2 * vectors > all_vectors)
        return true;
    if (!plan_vectors(form, 0, vectors, repeated_, offsets_.get(), tables_.get()))
        return false;
    repeated_.advance =
        period / line.together / pixels * source_pixels * static_cast<ptrdiff_t>(line.step) * form.sample_bytes;
    const auto [low, high] = std::minmax_element(offsets_.get(), offsets_.get() + vectors * form.offsets);
    repeated_.repeats = static_cast<ptrdiff_t>(repeating_pixels(line, pixels, source_pixels)) * line.together / period;
    // The last time all windows still lie inside the line.
    for (; repeated_.repeats > 0; --repeated_.repeats) {
        const ptrdiff_t last = (repeated_.repeats - 1) * repeated_.advance;
        if (*low + last >= form.begin && *high + last + unit_ <= form.end)
            break;
    }
    return true;
}

bool ibilin_planner::plan_all(const shape &form) noexcept
{
    const ptrdiff_t samples = static_cast<ptrdiff_t>(form.line.pixels) * form.line.together;
    const ptrdiff_t vectors = (samples + form.samples - 1) / form.samples;
    if (!plan_repeated(form, vectors))
        return false;
    const ptrdiff_t done = repeated_.repeats * repeated_.vectors;
    const ptrdiff_t used = repeated_.tables != nullptr ? repeated_.vectors : 0;
    rest_at_ = done * form.vector_bytes;
    return plan_vectors(form, done * form.samples, vectors - done, rest_, offsets_.get() + used * form.offsets,
                        tables_.get() + used * form.table_bytes);
}

}  // namespace teska
