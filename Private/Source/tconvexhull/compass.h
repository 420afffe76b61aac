// compass - the vertices of a hull by the direction in which they lie from a point inside, the eye
//
// Where a walk to the face in some direction begins. Directions meet the sides of a cube, which are divided into
// squares, coarse ones to fine ones; each square knows the last vertex in it.

#ifndef TESKA_TCONVEXHULL_COMPASS_H
#define TESKA_TCONVEXHULL_COMPASS_H

#include "Source/tconvexhull/records.h"
#include "Support/memory.h"
#include "Support/vec.h"

#include <cstddef>

namespace teska
{

class compass
{
public:
    // For so many vertices; there is no eye yet. False: memory is short.
    bool reserve(int vertices) noexcept;
    void release() noexcept;
    // half: half the extent of the cloud; distances along each axis count relative to it.
    void look_from(const vec3 &eye, const vec3 &half) noexcept;
    [[nodiscard]] bool has_eye() const noexcept { return has_eye_; }
    [[nodiscard]] const vec3 &eye() const noexcept { return eye_; }

    void add(hull_vertex *v) noexcept;
    // A vertex of the hull in about the same direction; null when none is known.
    [[nodiscard]] const hull_vertex *nearest(const vec3 &point) const noexcept;

private:
    struct square {
        std::size_t side;  // of the cube, 0 .. 5
        std::size_t x;
        std::size_t y;
    };
    [[nodiscard]] square finest_square(const vec3 &point) const noexcept;
    [[nodiscard]] std::size_t index_of(const square &finest, int level) const noexcept;

    heap_block<hull_vertex *> last_;
    int levels_ = 0;  // level k divides every side into 2^k by 2^k squares
    bool has_eye_ = false;
    vec3 eye_ = {};
    vec3 half_ = {};
};

}  // namespace teska

#endif
