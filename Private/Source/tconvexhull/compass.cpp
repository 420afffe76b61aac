// tconvexhull/compass - the vertices of a hull by their direction from a point inside (geometry)
//
// There are about as many finest squares as vertices. Entering a vertex and asking for one take one access for each
// level, of which a hull of n vertices has about log4(n / 6) + 1.

#include "Source/tconvexhull/compass.h"

#include <algorithm>
#include <cmath>

namespace teska
{

bool compass::reserve(int vertices) noexcept
{
    has_eye_ = false;
    levels_ = 1;
    while (std::size_t{6} << 2 * (levels_ - 1) < static_cast<std::size_t>(vertices))
        ++levels_;
    last_ = zeroed_block<hull_vertex *>(index_of({0, 0, 0}, levels_));
    return last_ != nullptr;
}

void compass::release() noexcept
{
    has_eye_ = false;
    last_.reset();
}

void compass::look_from(const vec3 &eye, const vec3 &half) noexcept
{
    has_eye_ = true;
    eye_ = eye;
    half_ = half;
}

compass::square compass::finest_square(const vec3 &point) const noexcept
{
    const vec3 from_eye = point - eye_;
    const double d[3] = {from_eye.x / half_.x, from_eye.y / half_.y, from_eye.z / half_.z};
    // The longest component of the direction tells which side of the cube it meets.
    std::size_t axis = 0;
    for (std::size_t k = 1; k < 3; ++k)
        axis = std::fabs(d[k]) > std::fabs(d[axis]) ? k : axis;
    const double squares = static_cast<double>(std::size_t{1} << (levels_ - 1));
    // Where it meets that side, from edge to edge; the eye itself lies in the first square.
    const auto along = [&](double component) {
        const double at = (component / std::fabs(d[axis]) + 1) / 2 * squares;
        return static_cast<std::size_t>(at >= 1 ? std::min(at, squares - 1) : 0.0);
    };
    return {2 * axis + (d[axis] < 0 ? 1 : 0), along(d[(axis + 1) % 3]), along(d[(axis + 2) % 3])};
}

// Of the square of a level around a finest one. The squares of all coarser levels come first: 6 + 24 + .. =
// 2 (4^level - 1).
std::size_t compass::index_of(const square &finest, int level) const noexcept
{
    const int finer = std::max(levels_ - 1 - level, 0);
    const std::size_t coarser = 2 * ((std::size_t{1} << 2 * level) - 1);
    return coarser + (((finest.side << level) + (finest.x >> finer)) << level) + (finest.y >> finer);
}

void compass::add(hull_vertex *v) noexcept
{
    const square finest = finest_square(vec3_at(v->v));
    for (int level = 0; level < levels_; ++level)
        last_[index_of(finest, level)] = v;
}

const hull_vertex *compass::nearest(const vec3 &point) const noexcept
{
    const square finest = finest_square(point);
    for (int level = levels_ - 1; level >= 0; --level) {
        const hull_vertex *const v = last_[index_of(finest, level)];
        if (v != nullptr && !v->gone)
            return v;
    }
    return nullptr;
}

}  // namespace teska
