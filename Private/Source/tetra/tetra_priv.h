// tetra_priv - measures that the sources of the tetrahedral volumes share

#ifndef TESKA_TETRA_PRIV_H
#define TESKA_TETRA_PRIV_H

#include "Support/vec.h"

#include "tetra.h"

#include <cmath>

namespace teska::tetra
{

constexpr double near_distance = 0.01;      // per coordinate: within it two points are one
constexpr double least_determinant = 1e-6;  // tetra_new can describe no flatter tetrahedron

inline vec3 position(const tetra_point &p) noexcept { return {p.x, p.y, p.z}; }

// e1 . (e2 x e3), e_i = p_i - p0: six times the volume.
inline double determinant(const vec3 &p0, const vec3 &p1, const vec3 &p2, const vec3 &p3) noexcept
{
    return dot(p1 - p0, cross(p2 - p0, p3 - p0));
}

inline bool are_near(const vec3 &a, const vec3 &b) noexcept
{
    const vec3 apart = a - b;
    return std::fabs(apart.x) <= near_distance && std::fabs(apart.y) <= near_distance &&
           std::fabs(apart.z) <= near_distance;
}

}  // namespace teska::tetra

#endif
