// clg/points - pairs of device values and colours as points of a lattice (geometry)
//
// A point has the place floor(65535 (device - lo) / (hi - lo) + 1/2) in each free channel. Places are sorted in Z
// order: by the bits of all coordinates, the upper ones first, so that points next to each other in the order are
// mostly near each other in space. Equal places are one point, with means in the order of adding.

#include "Source/clg/model.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace teska::cloud
{

namespace
{

struct entry {
    std::uint64_t code;  // the bits of the coordinates, interleaved
    int pair;
};

lattice_point place_of(const pair_list &pairs, const double *device)
{
    lattice_point p{};
    for (int j = 0; j < pairs.free; ++j)
        p.x[j] =
            static_cast<std::int32_t>(std::floor(lattice_limit * (device[j] - pairs.lo) / (pairs.hi - pairs.lo) + 0.5));
    return p;
}

std::uint64_t code_of(const lattice_point &p, int dims)
{
    std::uint64_t code = 0;
    for (int bit = 15; bit >= 0; --bit)
        for (int j = 0; j < dims; ++j)
            code = code << 1 | (static_cast<std::uint32_t>(p.x[j]) >> bit & 1U);
    return code;
}

// The means of count pairs.
void add_point(const pair_list &pairs, const entry *group, int count, point_list &points)
{
    const int n = points.count++;
    const std::ptrdiff_t stride = pairs.channels + 3;
    double *const device = points.device.get() + static_cast<std::ptrdiff_t>(n) * pairs.channels;
    vec3 colour{};
    for (int i = 0; i < count; ++i) {
        const double *const values = pairs.values + group[i].pair * stride;
        for (int k = 0; k < pairs.channels; ++k)
            device[k] += values[k];
        colour = colour + vec3_at(values + pairs.channels);
    }
    double ink = 0.0;
    for (int k = 0; k < pairs.channels; ++k) {
        device[k] = std::clamp(device[k] / count, pairs.lo, pairs.hi);
        ink += device[k];
    }
    points.at[n] = place_of(pairs, pairs.values + group[0].pair * stride);
    points.colour[n] = colour / count;
    points.ink[n] = ink;
    for (int j = 0; j < pairs.free; ++j)
        points.share[n * most_free + j] = (device[j] - pairs.lo) / (pairs.hi - pairs.lo);
}

}  // namespace

bool merge_pairs(const pair_list &pairs, point_list &points) noexcept
{
    const auto size = static_cast<std::size_t>(pairs.count);
    const auto entries = zeroed_block<entry>(size);
    if (!entries)
        return false;
    const std::ptrdiff_t stride = pairs.channels + 3;
    for (int i = 0; i < pairs.count; ++i)
        entries[i] = {.code = code_of(place_of(pairs, pairs.values + i * stride), pairs.free), .pair = i};
    const auto sorted = entries.first(pairs.count);
    std::sort(sorted.begin(), sorted.end(),
              [](const entry &a, const entry &b) { return a.code != b.code ? a.code < b.code : a.pair < b.pair; });
    points.at = zeroed_block<lattice_point>(size);
    points.device = zeroed_block<double>(size * static_cast<std::size_t>(pairs.channels));
    points.colour = zeroed_block<vec3>(size);
    points.share = zeroed_block<double>(size * most_free);
    points.ink = zeroed_block<double>(size);
    points.cost = zeroed_block<double>(size);
    if (!points.at || !points.device || !points.colour || !points.share || !points.ink || !points.cost)
        return false;
    for (int first = 0, next = 0; first < pairs.count; first = next) {
        while (next < pairs.count && entries[next].code == entries[first].code)
            ++next;
        add_point(pairs, entries.get() + first, next - first, points);
    }
    return true;
}

}  // namespace teska::cloud
