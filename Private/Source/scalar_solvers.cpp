// scalar_solvers - small equations, the least value of a function, the angle of a vector (numerics)
//
// gsect_min keeps two points inside an interval, each 0.618 of its width away from the farther end, with their values:
//
//     x0 ------- x1 --- x2 ------- x3
//
// The lesser value decides which end is dropped; the other inner point and its value serve the next round.

#include "scalar_solvers.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

namespace
{

constexpr int newton_steps = 20;

// The golden section and its rest, to eight digits.
constexpr double golden = 0.61803399;
constexpr double golden_rest = 0.38196601;

// The widest interval of doubles narrows to the smallest in 3000 rounds.
constexpr int section_rounds = 5000;

// Kept: cut decimals, all three.
constexpr double pi = 3.1415926535;
constexpr double two_pi = 6.283185307;
constexpr double half_pi = 1.57079632675;

constexpr double short_vector = 0.001;  // along y alone: has no angle

// Makes row k one whose element of column k is not 0. Kept: the first that is found, not the largest.
bool find_pivot(double *a, double *b, std::size_t n, std::size_t k)
{
    double *row = a + k * n;
    for (std::size_t i = k + 1; row[k] == 0.0; ++i) {
        if (i == n)
            return false;
        std::swap_ranges(row, row + n, a + i * n);
        std::swap(b[k], b[i]);
    }
    return true;
}

void eliminate_below(double *a, double *b, std::size_t n, std::size_t k)
{
    const double *pivot = a + k * n;
    for (std::size_t i = k + 1; i < n; ++i) {
        double *row = a + i * n;
        const double factor = row[k] / pivot[k];
        for (std::size_t j = k + 1; j < n; ++j)
            row[j] -= factor * pivot[j];
        b[i] -= factor * b[k];
    }
}

void substitute_back(const double *a, double *b, std::size_t n)
{
    for (std::size_t i = n; i-- > 0;) {
        double known = 0.0;
        for (std::size_t j = i + 1; j < n; ++j)
            known += a[i * n + j] * b[j];
        b[i] = (b[i] - known) / a[i * n + i];
    }
}

struct section {
    double x0, x1, x2, x3;

    bool operator==(const section &) const = default;
};

section first_section(double ax, double bx, double cx)
{
    if (std::fabs(cx - bx) <= std::fabs(bx - ax))
        return {ax, bx - golden_rest * (bx - ax), bx, cx};
    return {ax, bx, bx + golden_rest * (cx - bx), cx};
}

}  // namespace

int gaussd(double *a, double *b, int n) TESKA_NOTHROW
{
    if (n < 1)
        return 0;
    const auto size = static_cast<std::size_t>(n);
    for (std::size_t k = 0; k < size; ++k) {
        if (!find_pivot(a, b, size, k))
            return 0;
        eliminate_below(a, b, size, k);
    }
    substitute_back(a, b, size);
    return 1;
}

int fthird_order_eq(const double *c, double *root, double lo, double hi, double tol) TESKA_NOTHROW
{
    double t = (lo + hi) / 2.0;
    for (int i = 0; i < newton_steps; ++i) {
        const double slope = (3.0 * c[3] * t + 2.0 * c[2]) * t + c[1];
        if (slope == 0.0)
            return 0;
        const double step = (((c[3] * t + c[2]) * t + c[1]) * t + c[0]) / slope;
        t -= step;
        // Kept: hi bounds the step, not t.
        if (t < lo || hi < step)
            return 0;
        if (std::fabs(step) <= tol) {
            *root = t;
            return 1;
        }
    }
    return 0;
}

double gsect_min(double ax, double bx, double cx, double tol, gsect_function f, double *f_min) TESKA_NOTHROW
{
    section x = first_section(ax, bx, cx);
    double f1 = f(x.x1);
    double f2 = f(x.x2);
    for (int round = 0; std::fabs(x.x3 - x.x0) > tol && round < section_rounds; ++round) {
        const section before = x;
        if (f1 <= f2) {
            x = {before.x0, golden * before.x1 + golden_rest * before.x0, before.x1, before.x2};
            f2 = f1;
            f1 = f(x.x1);
        } else {
            x = {before.x1, before.x2, golden * before.x2 + golden_rest * before.x3, before.x3};
            f1 = f2;
            f2 = f(x.x2);
        }
        if (x == before)
            break;
    }
    *f_min = f1 < f2 ? f1 : f2;
    return f1 < f2 ? x.x1 : x.x2;
}

double real_atan2PI(double x, double y, int *err) TESKA_NOTHROW
{
    *err = 0;
    if (x != 0.0) {
        double angle = std::atan(y / x);
        if (x < 0.0)
            angle += pi;
        if (angle < 0.0)
            angle += two_pi;
        return angle;
    }
    if (std::fabs(y) <= short_vector) {
        *err = -1;
        return 0.0;
    }
    return y < 0.0 ? two_pi - half_pi : half_pi;
}

double real_atan(double x, double y, int *err) TESKA_NOTHROW { return real_atan2PI(x, y, err) * 180.0 / pi; }
