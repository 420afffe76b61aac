// distinct_points - points of which no two are near each other
//
// They are kept in cubes a little larger than near_distance: whatever is near a point lies in its cube or in one of the
// 26 around it. The cubes are found by a hash table of chains.

#ifndef TESKA_TETRA_DISTINCT_POINTS_H
#define TESKA_TETRA_DISTINCT_POINTS_H

#include "Support/memory.h"
#include "Support/vec.h"

#include <cstddef>
#include <cstdint>

namespace teska::tetra
{

class distinct_points
{
public:
    // Room for `most` points; false when memory is short.
    [[nodiscard]] bool reserve(std::size_t most) noexcept;

    // Adds a point unless one near it is there already; whether it did. A point that is not finite is near none.
    bool add(const vec3 &p) noexcept;

private:
    [[nodiscard]] std::size_t bucket(const vec3 &cube) const noexcept;
    [[nodiscard]] bool holds_near(std::size_t bucket, const vec3 &p) const noexcept;

    struct entry {
        vec3 at;
        std::int32_t next;  // of the same bucket, 1 more than its index; 0: none
    };
    heap_block<entry> entries_;
    heap_block<std::int32_t> first_;  // of each bucket, likewise
    std::size_t buckets_ = 0;         // a power of two, at least 2
    std::int32_t count_ = 0;
};

}  // namespace teska::tetra

#endif
