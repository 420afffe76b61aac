// bezierd_split - two Bezier segments out of one (curves)
//
// Repeated linear interpolation between neighbours; the halves are the two edges of the triangle it makes:
//
//     P0      P1      P2      P3        first half: P0, q0, r0, s
//         q0      q1      q2            second half: s, r1, q2, P3
//             r0      r1
//                  s

#include "bezierd_split.h"

#include "Support/bezier_priv.h"
#include "Support/memory.h"
#include "Support/report.h"

#include <cstddef>

namespace
{

using owned_bezier = teska::handle<bezier, bezier_kill>;

constexpr std::size_t last_slot = 3;

// Divides one coordinate; `second` keeps its end.
void divide(int degree, const double *p, double t, double *first, double *second)
{
    const double u = 1.0 - t;
    const auto between = [&](double a, double b) { return u * a + t * b; };
    const double q0 = between(p[0], p[1]);
    const double q1 = between(p[1], p[2]);
    const double r0 = between(q0, q1);
    first[0] = p[0];
    first[1] = q0;
    first[2] = r0;
    if (degree == 2) {
        second[0] = r0;
        second[1] = q1;
        return;
    }
    const double q2 = between(p[2], p[3]);
    const double r1 = between(q1, q2);
    first[3] = second[0] = between(r0, r1);
    second[1] = r1;
    second[2] = q2;
}

}  // namespace

int bezier_subdivide(const bezier *b, double t, bezier **first, bezier **second) TESKA_NOTHROW
{
    *first = *second = nullptr;
    if (!(t >= 0.0 && t <= 1.0)) {
        TESKA_ERR("Bezier_subdivide: illegal t value");
        return 0;
    }
    owned_bezier head(bezier_new(b->degree, b->x[0], b->y[0], 0.0, 0.0));
    // Kept: control point 3 whatever the degree.
    owned_bezier tail(head ? bezier_new(b->degree, 0.0, 0.0, b->x[last_slot], b->y[last_slot]) : nullptr);
    if (!tail) {
        TESKA_ERR("Bezier subdivide: unable to create new Bezier");
        return 0;
    }
    if (b->degree > 3) {
        TESKA_ERR("Bezier_subdivide: illegal degree");
        return 0;
    }
    divide(b->degree, b->x, t, head->x, tail->x);
    divide(b->degree, b->y, t, head->y, tail->y);
    *first = head.release();
    *second = tail.release();
    return 1;
}
