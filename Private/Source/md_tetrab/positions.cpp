// md_tetrab/positions - where an input byte lies in the grid: by its value after the curve, and before it (colour)
//
// Kept: quotients are those of doubles. Exact rational numbers would give other bytes for some u (R = 3, u = 129:
// weight 3 in place of 2). Most of them are those of integers, or one less, which kernels calculate faster than they
// look them up: md_tetrab_positions::late says which.

#include "Source/md_tetrab/positions.h"

#include <array>
#include <cmath>
#include <cstring>

using std::size_t;
using std::uint32_t;
using std::uint64_t;
using std::uint8_t;

namespace teska
{

namespace
{

constexpr auto identity = [] {
    std::array<uint8_t, md_tetrab_curve> curve{};
    for (size_t v = 0; v < md_tetrab_curve; ++v)
        curve[v] = static_cast<uint8_t>(v);
    return curve;
}();

struct position {
    int index;
    int weight;
};

// Byte 255 is forced to the top vertex: its quotient comes out below it for R = 14, 27, 32 and many more.
position position_of(int u, int resolution, int low, int high)
{
    const int top = resolution - 1;
    if (u == 255)
        return {.index = top, .weight = low};
    const double t = u / (255.0 / top);
    const int index = static_cast<int>(std::floor(t));
    return {.index = index,
            .weight = index < top ? static_cast<int>(std::floor((t - index) * (high - low) + low)) : low};
}

// Fills a set of rows.
void fill(md_tetrab_rows &rows, const md_tetrab_positions &positions, const uint8_t *curves, int inputs)
{
    std::memcpy(rows.curves.get(), curves, static_cast<size_t>(inputs) * md_tetrab_curve);
    rows.curved = md_tetrab_curved(curves, inputs);
    for (int d = 0; d < inputs; ++d) {
        const size_t first = static_cast<size_t>(d) * md_tetrab_curve;
        for (size_t i = first; i < first + md_tetrab_curve; ++i) {
            const uint8_t u = rows.curves[i];
            rows.indices[i] = positions.indices[u];
            rows.weights[i] = static_cast<uint8_t>(positions.weights[u] >> 32);
            rows.places[i] = uint32_t{rows.weights[i]} << 24 | positions.offsets[first + u];
        }
    }
}

}  // namespace

bool md_tetrab_positions::make(const grid_shape &shape, const uint64_t *strides, int low, int high) noexcept
{
    offsets = zeroed_block<uint32_t>(static_cast<size_t>(shape.inputs) * md_tetrab_curve);
    if (!offsets)
        return false;
    calculable = true;
    for (int u = 0; u < 256; ++u) {
        const auto [index, weight] = position_of(u, shape.resolution, low, high);
        const std::int64_t product = std::int64_t{u} * (shape.resolution - 1);
        const bool is_late = weight + 1 == product % 255;
        calculable = calculable && index == product / 255 && (is_late || weight == product % 255);
        if (is_late)
            late[u / 128 * 16 + u % 16] |= static_cast<uint8_t>(1 << u / 16 % 8);
        indices[u] = static_cast<uint8_t>(index);
        weights[u] = static_cast<uint64_t>(weight) << 32;
        for (int d = 0; d < shape.inputs; ++d)
            offsets[d * 256 + u] = static_cast<uint32_t>(static_cast<uint64_t>(index) * strides[d]);
    }
    return true;
}

const uint8_t *md_tetrab_identity() noexcept { return identity.data(); }

bool md_tetrab_curved(const uint8_t *curves, int count) noexcept
{
    for (int i = 0; i < count; ++i, curves += md_tetrab_curve)
        if (std::memcmp(curves, identity.data(), md_tetrab_curve) != 0)
            return true;
    return false;
}

bool md_tetrab_row_sets::reserve(int inputs) noexcept
{
    inputs_ = inputs;
    const size_t entries = static_cast<size_t>(inputs) * md_tetrab_curve;
    for (md_tetrab_rows &set : sets_) {
        set.curves = zeroed_block<uint8_t>(entries);
        set.indices = zeroed_block<uint8_t>(entries);
        set.weights = zeroed_block<uint8_t>(entries);
        set.places = zeroed_block<uint32_t>(entries);
        if (!set.curves || !set.indices || !set.weights || !set.places)
            return false;
    }
    return true;
}

const md_tetrab_rows *md_tetrab_row_sets::rows(const md_tetrab_positions &positions,
                                               const uint8_t *curves) const noexcept
{
    const size_t bytes = static_cast<size_t>(inputs_) * md_tetrab_curve;
    const auto up_to_date = [&](const md_tetrab_rows *set) {
        return set != nullptr && std::memcmp(set->curves.get(), curves, bytes) == 0;
    };
    const md_tetrab_rows *set = in_force_.load(std::memory_order_acquire);
    if (up_to_date(set))
        return set;
    if (busy_.exchange(true, std::memory_order_acquire))
        return nullptr;
    // Another thread may have been here since the comparison.
    set = in_force_.load(std::memory_order_acquire);
    if (!up_to_date(set)) {
        md_tetrab_rows &spare = sets_[set == &sets_[0] ? 1 : 0];
        fill(spare, positions, curves, inputs_);
        set = &spare;
        in_force_.store(set, std::memory_order_release);
    }
    busy_.store(false, std::memory_order_release);
    return set;
}

}  // namespace teska
