// vec - points and vectors of the plane and of space
//
// Sums are taken in the order x, y, z and products are plain: results of the modules are promised to the last bit, and
// these are the formulas they are promised with.
//
// Used by bezierd_fit, clg, proj, tconvexhull, tetra and ttriangulartopsurface.

#ifndef TESKA_SUPPORT_VEC_H
#define TESKA_SUPPORT_VEC_H

#include <cmath>

namespace teska
{

struct vec2 {
    double x, y;
};

constexpr vec2 operator+(const vec2 &a, const vec2 &b) noexcept { return {a.x + b.x, a.y + b.y}; }
constexpr vec2 operator-(const vec2 &a, const vec2 &b) noexcept { return {a.x - b.x, a.y - b.y}; }
constexpr vec2 operator*(double s, const vec2 &a) noexcept { return {s * a.x, s * a.y}; }
constexpr vec2 operator/(const vec2 &a, double s) noexcept { return {a.x / s, a.y / s}; }

constexpr double dot(const vec2 &a, const vec2 &b) noexcept { return a.x * b.x + a.y * b.y; }
constexpr double cross(const vec2 &a, const vec2 &b) noexcept { return a.x * b.y - a.y * b.x; }
inline double length(const vec2 &a) noexcept { return std::sqrt(dot(a, a)); }

struct vec3 {
    double x, y, z;
};

constexpr vec3 operator+(const vec3 &a, const vec3 &b) noexcept { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
constexpr vec3 operator-(const vec3 &a, const vec3 &b) noexcept { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
constexpr vec3 operator*(double s, const vec3 &a) noexcept { return {s * a.x, s * a.y, s * a.z}; }
constexpr vec3 operator/(const vec3 &a, double s) noexcept { return {a.x / s, a.y / s, a.z / s}; }

constexpr double dot(const vec3 &a, const vec3 &b) noexcept { return a.x * b.x + a.y * b.y + a.z * b.z; }
inline double length(const vec3 &a) noexcept { return std::sqrt(dot(a, a)); }

// Not by the determinants of vect.h: those put 1e-20 in the place of a zero pivot, and the product of parallel vectors
// would no longer be 0.
constexpr vec3 cross(const vec3 &a, const vec3 &b) noexcept
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

// Three coordinates where the caller keeps them.
constexpr vec3 vec3_at(const double *p) noexcept { return {p[0], p[1], p[2]}; }

constexpr void store(const vec3 &a, double *to) noexcept
{
    to[0] = a.x;
    to[1] = a.y;
    to[2] = a.z;
}

}  // namespace teska

#endif
