// planes - the planes of all faces of a hull side by side, and the core in which no face can be visible
//
// Every face has a slot in four arrays of plane coefficients, and the value of slot i at a point is the face's volume
// but for rounding: at most `band` away from the promised expression, for points within `extent` of the centre
// (store.h). A search through the arrays finds all faces that may be visible; the expression itself decides on those.
//
// The bound. With all coordinates relative to the centre at most s, and u = 2^-53, differences of coordinates are at
// most 2 s, off by 2 u s; products of two of them make minors of at most 8 s^2, off by 32 u s^2. The three terms of the
// expression are then off by 64 u s^3 each and their sum, at most 48 s^3, by less than 400 u s^3. A plane's value sums
// three products of at most 8 s^3 and as much for d, likewise off by less than 400 u s^3. band = 2048 u s^3 leaves more
// than twice that: 4.8e-7 for s = 128.

#ifndef TESKA_TCONVEXHULL_PLANES_H
#define TESKA_TCONVEXHULL_PLANES_H

#include "Source/tconvexhull/records.h"
#include "Support/memory.h"
#include "Support/vec.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace teska
{

// A box and an ellipsoid about the centre in the proportions of the cloud, both so small that no face of the hull is
// visible from a point in either: most points of most clouds need no search.
class core
{
public:
    // half: half the extent of the cloud in each direction. The core is empty at first.
    void start(const vec3 &half) noexcept;
    // Makes box and ellipsoid as large as the cloud, to be cut by every face.
    void fill() noexcept { box_ = ball_ = 1.0; }
    // Shrinks both until a face, with the normal n and the value d at the centre, has no value below the limit in them.
    void cut(const vec3 &n, double d, double limit) noexcept;
    [[nodiscard]] bool holds(const vec3 &point) const noexcept
    {
        const double x = point.x * per_half_.x, y = point.y * per_half_.y, z = point.z * per_half_.z;
        const double largest = std::max(std::max(std::fabs(x), std::fabs(y)), std::fabs(z));
        return largest < box_ || x * x + y * y + z * z < ball_ * ball_;
    }

private:
    vec3 half_ = {};
    vec3 per_half_ = {};
    double box_ = 0.0;  // 1: as large as the cloud
    double ball_ = 0.0;
};

// The planes of all faces.
class face_planes
{
public:
    // A new hull about a centre. In the core no plane's value is below `limit`, which includes room for rounding.
    void start(const vec3 &centre, const vec3 &half, double limit) noexcept;
    // Adds a face and makes it the face of its corners; false: memory is short.
    bool add(hull_face *face) noexcept;
    void remove(hull_face *face) noexcept;
    void clear() noexcept;

    // The first slot, from `from` on, whose face may have less volume than the limit; faces() when there is none.
    [[nodiscard]] std::ptrdiff_t first_below(std::ptrdiff_t from, const vec3 &point, double limit) const noexcept;
    [[nodiscard]] std::ptrdiff_t faces() const noexcept { return count_; }
    [[nodiscard]] hull_face *face(std::ptrdiff_t slot) const noexcept { return owners_[slot]; }

    // Makes the core as large as the faces allow. O(faces).
    void fit_core() noexcept;
    [[nodiscard]] bool in_core(const vec3 &point) const noexcept { return core_.holds(point); }

private:
    bool grow() noexcept;
    void set(std::ptrdiff_t slot, const vec3 &normal, double d) noexcept;
    void blank(std::ptrdiff_t slot) noexcept;
    void cut_core(std::ptrdiff_t slot) noexcept;

    heap_block<double> block_;
    double *values_ = nullptr;  // x, y, z and d of the planes in four runs of room_, from a cache line of block_ on
    heap_block<hull_face *> owners_;
    std::ptrdiff_t count_ = 0;
    std::ptrdiff_t room_ = 0;  // a multiple of the group of the kernels
    vec3 centre_ = {};
    double core_limit_ = 0.0;
    core core_;
};

}  // namespace teska

#endif
