// orient - on which side of a plane a point lies, decided exactly
//
// The determinant is first calculated in doubles, together with a bound of its error. Only where these leave the sign
// open is it calculated again without any rounding, as a sum of doubles that do not overlap (an expansion). So the
// answers for flat and nearly flat figures never contradict each other, which is what keeps a hull or a complex of
// tetrahedra closed.
//
// Used by clg, tconvexhull and tetra.
//
// Source: Shewchuk, Adaptive Precision Floating-Point Arithmetic and Fast Robust Geometric Predicates, Discrete &
// Computational Geometry 18, 1997: error bound p. 348.
//
// Cost: some 30 operations; about a hundred times as many where the sign needs the expansion.

#ifndef TESKA_SUPPORT_ORIENT_H
#define TESKA_SUPPORT_ORIENT_H

#include "Support/exact.h"
#include "Support/vec.h"

#include <cmath>
#include <initializer_list>

namespace teska
{

// Coordinates for which no product of three leaves the range of doubles.
constexpr double orient_largest = 1e100;
constexpr double orient_smallest = 1e-30;

// A coordinate as the test takes it: what is too small for it becomes 0.
inline double orient_coordinate(double x) noexcept { return std::fabs(x) < orient_smallest ? 0.0 : x; }

inline bool orient_takes(double x) noexcept { return std::fabs(x) <= orient_largest; }

// Whether no coordinate is too large, infinite or NaN.
inline bool orient_takes(const vec3 &p) noexcept { return orient_takes(p.x) && orient_takes(p.y) && orient_takes(p.z); }

namespace orient_detail
{

// Up to Size doubles in rising order of magnitude, none 0 and no two overlapping; their sum is the value.
template <int Size>
struct expansion {
    double term[Size];
    int count = 0;

    void append(double value)
    {
        if (value != 0.0)
            term[count++] = value;
    }
};

inline expansion<2> difference(double a, double b)
{
    expansion<2> d;
    double rest;
    const double rounded = exact::sum(a, -b, rest);
    d.append(rest);
    d.append(rounded);
    return d;
}

template <int A, int B>
expansion<A + B> sum(const expansion<A> &a, const expansion<B> &b)
{
    expansion<A + B> s;
    double carry = 0.0;
    for (int i = 0, j = 0; i < a.count || j < b.count;) {
        const bool from_a = j == b.count || (i < a.count && std::fabs(a.term[i]) < std::fabs(b.term[j]));
        double rest;
        carry = exact::sum(carry, from_a ? a.term[i++] : b.term[j++], rest);
        s.append(rest);
    }
    s.append(carry);
    return s;
}

template <int A>
expansion<2 * A> scaled(const expansion<A> &a, double factor)
{
    expansion<2 * A> p;
    double carry = 0.0;
    for (int i = 0; i < a.count; ++i) {
        double low, rest;
        const double high = exact::product(a.term[i], factor, low);
        carry = exact::sum(carry, low, rest);
        p.append(rest);
        carry = exact::sum(high, carry, rest);
        p.append(rest);
    }
    p.append(carry);
    return p;
}

template <int A>
expansion<4 * A> product(const expansion<A> &a, const expansion<2> &b)
{
    return sum(scaled(a, b.count > 0 ? b.term[0] : 0.0), scaled(a, b.count > 1 ? b.term[1] : 0.0));
}

template <int A>
expansion<A> negated(expansion<A> a)
{
    for (int i = 0; i < a.count; ++i)
        a.term[i] = -a.term[i];
    return a;
}

struct exact_vector {
    expansion<2> x, y, z;
};

inline exact_vector exact_difference(const vec3 &a, const vec3 &b)
{
    return {difference(a.x, b.x), difference(a.y, b.y), difference(a.z, b.z)};
}

// (a b - c d) e
inline expansion<64> exact_term(const expansion<2> &a, const expansion<2> &b, const expansion<2> &c,
                                const expansion<2> &d, const expansion<2> &e)
{
    return product(sum(product(a, b), negated(product(c, d))), e);
}

inline int exact_orientation(const vec3 &a, const vec3 &b, const vec3 &c, const vec3 &d)
{
    // Large coordinates are made smaller by a power of two: the sign stays unless small ones next to them lose digits.
    double scale = 1.0;
    for (const vec3 &point : {a, b, c, d})
        if (!orient_takes(point))
            scale = 0x1p-700;
    const vec3 from = scale * a;
    const exact_vector u = exact_difference(scale * b, from);
    const exact_vector v = exact_difference(scale * c, from);
    const exact_vector w = exact_difference(scale * d, from);
    const auto total = sum(sum(exact_term(u.y, v.z, u.z, v.y, w.x), exact_term(u.z, v.x, u.x, v.z, w.y)),
                           exact_term(u.x, v.y, u.y, v.x, w.z));
    if (total.count == 0)
        return 0;
    return total.term[total.count - 1] > 0.0 ? 1 : -1;
}

}  // namespace orient_detail

// The sign of ((b - a) x (c - a)) . (d - a), exactly: 1 when d lies on the side from which a, b, c run
// counterclockwise, -1 on the other one, 0 in their plane. All coordinates are finite; exact where those that are not 0
// have magnitudes from orient_smallest to orient_largest.
inline int orientation(const vec3 &a, const vec3 &b, const vec3 &c, const vec3 &d) noexcept
{
    constexpr double error_bound = 8.0 * 0x1p-53;  // of the determinant, relative to the sum of magnitudes
    const vec3 u = b - a, v = c - a, w = d - a;
    const double yz = u.y * v.z, zy = u.z * v.y, zx = u.z * v.x, xz = u.x * v.z, xy = u.x * v.y, yx = u.y * v.x;
    const double det = (yz - zy) * w.x + (zx - xz) * w.y + (xy - yx) * w.z;
    const double magnitude = (std::fabs(yz) + std::fabs(zy)) * std::fabs(w.x) +
                             (std::fabs(zx) + std::fabs(xz)) * std::fabs(w.y) +
                             (std::fabs(xy) + std::fabs(yx)) * std::fabs(w.z);
    const double bound = error_bound * magnitude;
    if (det > bound)
        return 1;
    if (det < -bound)
        return -1;
    return orient_detail::exact_orientation(a, b, c, d);
}

}  // namespace teska

#endif
