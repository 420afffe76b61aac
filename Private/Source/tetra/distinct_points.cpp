// tetra/distinct_points - points of which no two are near each other (geometry)

#include "Source/tetra/distinct_points.h"

#include "Source/tetra/tetra_priv.h"

#include <bit>
#include <cmath>
#include <cstring>
#include <utility>

namespace teska::tetra
{

namespace
{

// The numbers are whole: they differ in their upper bits, and a product carries nothing downwards, but the fold does.
std::uint64_t mixed(std::uint64_t hash, double number) noexcept
{
    // Adding 0 makes one of the two zeros.
    const double same_zero = number + 0.0;
    std::uint64_t bits;
    std::memcpy(&bits, &same_zero, sizeof bits);
    const std::uint64_t product = (hash ^ bits) * 0x9e3779b97f4a7c15U;
    return product ^ (product >> 32);
}

// The number of a cube along an axis. With 80 to the unit, points near each other lie in the same cube or in
// neighbours, rounding included.
double cube_of(double x) noexcept { return std::floor(x * 80.0); }

}  // namespace

bool distinct_points::reserve(std::size_t most) noexcept
{
    buckets_ = std::bit_ceil(most + 2);
    entries_ = zeroed_block<entry>(most);
    first_ = zeroed_block<std::int32_t>(buckets_);
    return entries_ && first_;
}

std::size_t distinct_points::bucket(const vec3 &cube) const noexcept
{
    // The uppermost bits depend on all others.
    return static_cast<std::size_t>(mixed(mixed(mixed(0, cube.x), cube.y), cube.z) >>
                                    (64 - std::bit_width(buckets_ - 1)));
}

bool distinct_points::holds_near(std::size_t bucket, const vec3 &p) const noexcept
{
    for (std::int32_t i = first_[bucket]; i != 0; i = entries_[i - 1].next)
        if (are_near(entries_[i - 1].at, p))
            return true;
    return false;
}

bool distinct_points::add(const vec3 &p) noexcept
{
    const vec3 cube{cube_of(p.x), cube_of(p.y), cube_of(p.z)};
    for (int k = 0; k < 27; ++k) {
        const vec3 step{k % 3 - 1.0, k / 3 % 3 - 1.0, k / 9 - 1.0};
        if (holds_near(bucket(cube + step), p))
            return false;
    }
    entry &added = entries_[count_];
    added.at = p;
    added.next = std::exchange(first_[bucket(cube)], ++count_);
    return true;
}

}  // namespace teska::tetra
