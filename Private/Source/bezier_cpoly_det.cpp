// bezier_cpoly_det - the Bezier segment that passes through given points (curves)
//
// With the ends given, row i of the system holds the Bernstein polynomials of the inner control points at t = i / n:
//
//     B(n, 1, t) P1 + .. + B(n, n - 1, t) P(n - 1) = p - B(n, 0, t) P0 - B(n, n, t) Pn,   i = 1 .. n - 1
//
// Its matrix depends on n alone and is never singular; it is written anew for y, because elimination destroys it.

#include "bezier_cpoly_det.h"

#include "Support/bezier_priv.h"
#include "Support/memory.h"
#include "Support/report.h"

#include "scalar_solvers.h"

#include <algorithm>

namespace
{

// Finds the inner control values of one coordinate; rhs receives them. There always are some: a polynomial of degree n
// goes through any n + 1 values.
void solve_coordinate(int n, const double *given, double *matrix, double *rhs)
{
    for (int i = 1; i < n; ++i) {
        const double t = static_cast<double>(i) / n;
        for (int k = 1; k < n; ++k)
            *matrix++ = teska::B_poly(n, k, t);
        rhs[i - 1] = given[i] - teska::B_poly(n, 0, t) * given[0] - teska::B_poly(n, n, t) * given[n];
    }
    const int inner = n - 1;
    gaussd(matrix - inner * inner, rhs, inner);
}

}  // namespace

int bezier_cpoly_det(bezier *b, const double *xs, const double *ys) TESKA_NOTHROW
{
    const int inner = b->degree - 1;
    const auto work = teska::zeroed_block<double>(static_cast<std::size_t>(inner * (inner + 1)));
    if (!work) {
        TESKA_ERR("bezier_cpoly_det: malloc failure");
        return 0;
    }
    double *rhs = work.get() + inner * inner;
    for (const auto &[given, control] : {std::pair{xs, b->x}, {ys, b->y}}) {
        control[0] = given[0];
        control[b->degree] = given[b->degree];
        solve_coordinate(b->degree, given, work.get(), rhs);
        std::copy_n(rhs, inner, control + 1);
    }
    b->coef_made.discard();
    return 1;
}
