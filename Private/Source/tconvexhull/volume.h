// volume - on which side of a face a point lies: six times the volume of the tetrahedron of both

#ifndef TESKA_TCONVEXHULL_VOLUME_H
#define TESKA_TCONVEXHULL_VOLUME_H

#include "Support/orient.h"
#include "Support/vec.h"

#include "tconvexhull.h"

namespace teska
{

// A face is visible from a point below this volume, negated.
constexpr double visible_volume = 0.5;

inline vec3 position(const tVertexStructure *v) noexcept { return vec3_at(v->v); }

// The promised expression.
inline double face_volume(const tFaceStructure *f, const vec3 &p) noexcept
{
    const vec3 a = position(f->vertex[0]) - p;
    const vec3 b = position(f->vertex[1]) - p;
    const vec3 c = position(f->vertex[2]) - p;
    return dot(a, cross(b, c));
}

// The sign of the same volume, of a face or of any triangle, in exact arithmetic: 1, 0 or -1. Exact unless products of
// three coordinates overflow or underflow.
inline int exact_volume_sign(const vec3 &a, const vec3 &b, const vec3 &c, const vec3 &p) noexcept
{
    return -orientation(a, b, c, p);
}
inline int exact_volume_sign(const tFaceStructure *f, const vec3 &p) noexcept
{
    return exact_volume_sign(position(f->vertex[0]), position(f->vertex[1]), position(f->vertex[2]), p);
}

}  // namespace teska

#endif
