// ibilin_plan - which bytes of a source line become which samples, prepared for the kernels of one vector length (image)
//
// bilin_plan says how a plan looks. An example, bytes of one component brought to 3/4 with units of 16 bytes and one
// window: the first unit makes samples 0 .. 7 out of bytes 0 .. 10, the next one samples 8 .. 15 from byte 10 on.
//
//     window  0   masks  0 1 2 4 5 7 8 9     nearer samples, at 0, 1 1/3, 2 2/3, 4 ..; each followed by a zero byte
//                        0 2 3 4 6 6 8 10    further ones; the nearer one again where the weight is 0
//
// A window begins with its first byte, or earlier so as not to reach behind the line. Behind the last sample the vector
// is filled up with its repetition.

#include "Support/ibilin_plan.h"

#include <algorithm>
#include <climits>
#include <cstring>

using std::ptrdiff_t;
using std::size_t;
using std::uint8_t;

namespace
{

constexpr int most_windows = 4;
constexpr uint8_t zero_byte = 0x80;

// A destination sample: where its two source samples begin, in bytes, and the weight of the further one.
struct sample {
    ptrdiff_t nearer;
    ptrdiff_t further;
    std::uint32_t weight;
};

// Walks along the samples of a line; stays at the last one.
class walk
{
public:
    walk(const teska::bilin_line &line, int bytes) noexcept : line_(line), bytes_(bytes) {}

    [[nodiscard]] sample at() const noexcept
    {
        const teska::bilin_place &place = line_.places[pixel_];
        const ptrdiff_t first = (place.first * static_cast<ptrdiff_t>(line_.step) + component_) * bytes_;
        const ptrdiff_t second = (place.second * static_cast<ptrdiff_t>(line_.step) + component_) * bytes_;
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
    const teska::bilin_line &line_;
    const int bytes_;
    int pixel_ = 0;
    int component_ = 0;
};

// One window after the other, inside the bytes of the line.
class window
{
public:
    window(ptrdiff_t begin, ptrdiff_t end, int size) noexcept : begin_(begin), end_(end), size_(size) {}

    // Places itself over the next `count` samples from `from` on. Returns false when it does not reach them all.
    bool place(walk from, int count, int bytes) noexcept
    {
        ptrdiff_t low = from.at().nearer;
        ptrdiff_t high = low;
        for (int i = 0; i < count; ++i, from.next()) {
            const sample s = from.at();
            low = std::min({low, s.nearer, s.further});
            high = std::max({high, s.nearer, s.further});
        }
        start_ = std::min(low, end_ - size_);
        return start_ >= begin_ && high + bytes - start_ <= size_;
    }

    [[nodiscard]] ptrdiff_t start() const noexcept { return start_; }

    void mark(uint8_t *mask, ptrdiff_t at, int bytes) const noexcept
    {
        for (int i = 0; i < bytes; ++i)
            mask[i] = static_cast<uint8_t>(at - start_ + i);
    }

private:
    ptrdiff_t begin_;
    ptrdiff_t end_;
    int size_;
    ptrdiff_t start_ = 0;
};

}  // namespace

namespace teska
{

bool bilin_planner::reserve(const bilin_kernels &kernels, ptrdiff_t samples) noexcept
{
    unit_ = kernels.unit;
    units_ = kernels.units;
    if (units_ == 0)
        return true;
    // Vectors of lanes of 16 bits need most.
    const auto bytes = static_cast<std::uint64_t>(unit_ * units_);
    const std::uint64_t vectors = (static_cast<std::uint64_t>(samples) + bytes / 2 - 1) / (bytes / 2);
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

void bilin_planner::make(const bilin_line &line, int sample_bytes) noexcept
{
    plan_ = {};
    for (int windows = line.picks ? 2 : 1; units_ != 0 && windows <= most_windows; windows *= 2)
        if (try_windows(line, sample_bytes, windows))
            return;
}

bool bilin_planner::try_windows(const bilin_line &line, int sample_bytes, int windows) noexcept
{
    const ptrdiff_t reach = (line.source_pixels - 1) * static_cast<ptrdiff_t>(line.step);
    window w(std::min<ptrdiff_t>(reach, 0) * sample_bytes,
             (std::max<ptrdiff_t>(reach, 0) + line.together) * sample_bytes, unit_);
    const int lane = line.picks ? sample_bytes : 2;
    const int share = unit_ / lane / windows;
    const int masks = windows == 1 ? 2 : windows;
    const int bytes = unit_ * units_;
    const int stride = bytes * (masks + (line.picks ? 0 : 1));
    const ptrdiff_t samples = static_cast<ptrdiff_t>(line.pixels) * line.together;
    const ptrdiff_t vectors = (samples * lane + bytes - 1) / bytes;

    walk at(line, sample_bytes);
    ptrdiff_t *offset = offsets_.get();
    uint8_t *table = tables_.get();
    for (ptrdiff_t v = 0; v < vectors; ++v, table += stride, offset += units_ * windows) {
        std::memset(table, zero_byte, static_cast<size_t>(bytes * masks));
        for (int u = 0; u < units_; ++u)
            for (int k = 0; k < windows; ++k) {
                if (!w.place(at, share, sample_bytes))
                    return false;
                offset[k * units_ + u] = w.start();
                for (int i = k * share; i < (k + 1) * share; ++i, at.next()) {
                    // With several windows the halves of the masks are those of the samples.
                    const int lane_at = windows == 1 ? i * lane : i * lane % (unit_ / 2);
                    uint8_t *const mask = table + k * bytes + u * unit_ + lane_at;
                    const sample s = at.at();
                    w.mark(mask, s.nearer, sample_bytes);
                    if (line.picks)
                        continue;
                    w.mark(windows == 1 ? mask + bytes : mask + unit_ / 2, s.further, sample_bytes);
                    const auto weight = static_cast<std::uint16_t>(sample_bytes == 1 ? 0 - s.weight : s.weight);
                    std::memcpy(table + masks * bytes + u * unit_ + i * 2, &weight, sizeof weight);
                }
            }
    }
    plan_ = {.windows = windows, .vectors = vectors, .offsets = offsets_.get(), .tables = tables_.get()};
    return true;
}

}  // namespace teska
