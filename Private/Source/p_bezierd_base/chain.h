// p_bezierd_base/chain - the record of a chain, its segments, and the polynomials its sources share (curves)
//
// Control points are finite and of any size. What squares or subtracts them works on halved differences in units of a
// power of two near the largest of them (binade), which costs no digits and cannot overflow.

#ifndef TESKA_SOURCE_P_BEZIERD_BASE_CHAIN_H
#define TESKA_SOURCE_P_BEZIERD_BASE_CHAIN_H

#include "Support/bits.h"
#include "Support/growing.h"
#include "Support/memory.h"
#include "Support/vec.h"

#include "p_bezierd_base.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace teska
{

// A sum with its rounding error beside it (D. Knuth, The Art of Computer Programming, vol. 2, 4.2.2, theorem B), so
// that the difference of two long sums keeps the digits of a short segment between them.
struct exact_sum {
    double value = 0.0;
    double rest = 0.0;

    [[nodiscard]] double rounded() const noexcept { return value + rest; }
};

inline exact_sum operator+(const exact_sum &a, double b) noexcept
{
    const double value = a.value + b;
    if (!std::isfinite(value))
        return {value, 0.0};
    const double of_b = value - a.value;
    return {value, a.rest + ((a.value - (value - of_b)) + (b - of_b))};
}

struct chain_segment {
    int degree = 1;    // 1, 2 or 3
    double x[4] = {};  // of control points 0 .. degree; 0 above
    double y[4] = {};  // likewise
    double length = 0.0;
    exact_sum before = {};  // lengths of all segments before

    [[nodiscard]] vec2 point(int k) const noexcept { return {x[k], y[k]}; }
    [[nodiscard]] vec2 end() const noexcept { return point(degree); }
    void set(int k, const vec2 &p) noexcept
    {
        x[k] = p.x;
        y[k] = p.y;
    }
};

}  // namespace teska

struct poly_bezier {
    teska::vec2 start = {};
    teska::growing<teska::chain_segment> segments;
    bool rises = true;  // in x, as poly_bezier_get_y has it
};

namespace teska
{

using owned_chain = heap_record<poly_bezier>;

// A chain without segments; empty when memory is short.
owned_chain make_chain(const vec2 &start) noexcept;

// Appends a segment whose points 0 .. degree are set; it is measured here. False when memory is short, the chain is
// then unchanged.
[[nodiscard]] bool chain_push(poly_bezier &p, chain_segment segment) noexcept;

// The same for one that is measured; its place in the sums is found here.
[[nodiscard]] bool chain_push_measured(poly_bezier &p, chain_segment segment) noexcept;

inline vec2 chain_end(const poly_bezier &p) noexcept
{
    return p.segments.size() != 0 ? p.segments.last().end() : p.start;
}

inline exact_sum chain_length(const poly_bezier &p) noexcept
{
    return p.segments.size() != 0 ? p.segments.last().before + p.segments.last().length : exact_sum{};
}

inline bool chain_is_closed(const poly_bezier &p) noexcept
{
    const vec2 end = chain_end(p);
    return p.segments.size() != 0 && end.x == p.start.x && end.y == p.start.y;
}

// Segment and parameter in it; the chain has segments.
struct chain_place {
    int index;
    double t;
};

inline chain_place place_at(const poly_bezier &p, double u) noexcept
{
    const int n = p.segments.size();
    if (!(u > 0.0))
        return {.index = 0, .t = 0.0};
    if (u >= n)
        return {.index = n - 1, .t = 1.0};
    const int index = static_cast<int>(u);
    return {.index = index, .t = u - index};
}

// The Bernstein polynomials of a degree 0 .. 3; 0 above it.
struct bernstein_weights {
    double w[4];

    bernstein_weights(int degree, double t) noexcept
    {
        const double s = 1.0 - t;
        if (degree == 3)
            set(s * s * s, 3.0 * s * s * t, 3.0 * s * t * t, t * t * t);
        else if (degree == 2)
            set(s * s, 2.0 * s * t, t * t, 0.0);
        else if (degree == 1)
            set(s, t, 0.0, 0.0);
        else
            set(1.0, 0.0, 0.0, 0.0);
    }

    [[nodiscard]] double sum(const double *c) const noexcept
    {
        return w[0] * c[0] + w[1] * c[1] + w[2] * c[2] + w[3] * c[3];
    }

private:
    void set(double a, double b, double c, double d) noexcept
    {
        w[0] = a;
        w[1] = b;
        w[2] = c;
        w[3] = d;
    }
};

inline double bernstein(int degree, const double *c, double t) noexcept { return bernstein_weights(degree, t).sum(c); }

inline double bernstein_slope(int degree, const double *c, double t) noexcept
{
    const double halves[] = {c[1] / 2.0 - c[0] / 2.0, c[2] / 2.0 - c[1] / 2.0, c[3] / 2.0 - c[2] / 2.0, 0.0};
    return 2.0 * degree * bernstein_weights(degree - 1, t).sum(halves);
}

// The power of two at or below a magnitude, held to 2^-1000 .. 2^1000.
inline double binade(double magnitude) noexcept
{
    constexpr int bias = 1023, digits = 52, limit = 1000;
    const int exponent = static_cast<int>(bits_of(magnitude) >> digits) - bias;
    return double_of(static_cast<std::uint64_t>(std::clamp(exponent, -limit, limit) + bias) << digits);
}

// The length of any finite vector, without overflow on the way.
inline double any_length(const vec2 &v) noexcept
{
    const double unit = binade(std::max(std::fabs(v.x), std::fabs(v.y)));
    return length(v / unit) * unit;
}

inline bool all_finite(const double *values, int count) noexcept
{
    return std::all_of(values, values + std::max(count, 0), [](double value) { return std::isfinite(value); });
}

inline bool is_finite(const vec2 &v) noexcept { return std::isfinite(v.x) && std::isfinite(v.y); }

// Between a and b, and a itself when they are equal, whatever rounding does.
inline double interpolate(double a, double b, double t) noexcept
{
    const auto [least, most] = std::minmax(a, b);
    return std::clamp((1.0 - t) * a + t * b, least, most);
}

// The control points of both parts of a polynomial, by de Casteljau's interpolation. left and right are not c.
void divide(int degree, const double *c, double t, double *left, double *right) noexcept;

// Rising parameters inside 0 .. 1 where a polynomial turns from rising to falling or back. Returns their number.
int turning_points(int degree, const double *c, double ts[2]) noexcept;

// The arc length of a segment between two parameters, t0 <= t1.
double segment_length(const chain_segment &segment, double t0, double t1) noexcept;

struct value_and_slope {
    double value;
    double slope;
};

// Where a function passes through 0 that is not above it at lo and not below it at hi, to the last bit; `t` is tried
// first when it is between them. f(t) gives value and slope. Newton's method, with halving where it leaves the bracket
// or does not at least halve its steps.
template <class Function>
double rising_root(double lo, double hi, double t, const Function &f) noexcept
{
    double off_lo = HUGE_VAL, off_hi = HUGE_VAL, step = hi - lo;
    if (!(lo <= t && t <= hi))
        t = lo + (hi - lo) / 2.0;
    for (;;) {
        const value_and_slope at = f(t);
        if (at.value == 0.0)
            return t;
        if (at.value < 0.0) {
            lo = t;
            off_lo = -at.value;
        } else {
            hi = t;
            off_hi = at.value;
        }
        const double middle = lo + (hi - lo) / 2.0;
        if (!(lo < middle && middle < hi))
            return off_lo <= off_hi ? lo : hi;
        double next = t - at.value / at.slope;
        // Right at the root already: the next double tells on which side.
        if (next == t)
            next = std::nextafter(t, at.value < 0.0 ? hi : lo);
        if (!(lo < next && next < hi && std::fabs(next - t) <= step / 2.0))
            next = middle;
        step = std::fabs(next - t);
        t = next;
    }
}

}  // namespace teska

#endif
