#include "determinism/operations.h"

#include "scalar_solvers.h"
#include "special_functions.h"

namespace teska_test
{

namespace
{

const Operation solvers("gaussd, fthird_order_eq, gsect_min and least_square_fit", [](Generator &input,
                                                                                      Digest &digest) {
    for (int round = 0; round < 100; ++round) {
        double a[36], b[6], r[9] = {};
        for (double &value : a)
            value = input.between(-1, 1);
        for (double &value : b)
            value = input.between(-1, 1);
        // r[8], the probability, depends on the host's logarithm.
        least_square_fit(a, a + 12, 12, a + 24, round % 2, &r[0], &r[1], &r[2], &r[3], &r[4], &r[8]);
        gaussd(a, b, 6);
        fthird_order_eq(b, &r[5], -2, 2, 1e-9);
        r[6] = gsect_min(
            b[4] - 1, b[4], 2, 1e-6, [](double x) { return x * x * (x - 1); }, &r[7]);
        digest.add(r, 8 * sizeof *r);
        digest.add(b, sizeof b);
    }
});

}  // namespace

}  // namespace teska_test
