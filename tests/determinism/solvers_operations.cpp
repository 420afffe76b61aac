#include "determinism/operations.h"

#include "scalar_solvers.h"
#include "special_functions.h"

namespace teska_test
{

namespace
{

const Operation line_fits("least_square_fit, 30 points", [](Generator &input, Digest &digest) {
    for (int mwt = 0; mwt < 2; ++mwt) {
        double x[30], y[30], sig[30];
        for (int i = 0; i < 30; ++i) {
            x[i] = input.between(-1, 1);
            y[i] = input.between(-1, 1);
            sig[i] = input.between(0.5, 1);
        }
        // The probability, the last of the results, depends on the host's logarithm.
        double r[6];
        least_square_fit(x, y, 30, sig, mwt, &r[0], &r[1], &r[2], &r[3], &r[4], &r[5]);
        digest.add(r, 5 * sizeof *r);
    }
});

const Operation solvers("gaussd, fthird_order_eq and gsect_min", [](Generator &input, Digest &digest) {
    for (int round = 0; round < 100; ++round) {
        double a[36], b[6];
        for (double &value : a)
            value = input.between(-1, 1);
        for (double &value : b)
            value = input.between(-1, 1);
        gaussd(a, b, 6);
        digest.add(b, sizeof b);
        const double c[] = {b[0], b[1], b[2], b[3]};
        double root = 0;
        fthird_order_eq(c, &root, -2, 2, 1e-9);
        double least = 0;
        const double where = gsect_min(
            b[4] - 1, b[4], 2, 1e-6, [](double x) { return x * x * (x - 1); }, &least);
        const double results[] = {root, where, least};
        digest.add(results, sizeof results);
    }
});

}  // namespace

}  // namespace teska_test
