#include "determinism/operations.h"
#include "numerics/problems.h"

#include "condirmin.h"
#include "dhsm.h"
#include "error_mess.h"

namespace teska_test
{

namespace
{

const Operation simplex("dhsm_solve, rosenbrock in 2 to 6 variables", [](Generator &input, Digest &digest) {
    for (int n = 2; n <= 6; ++n) {
        std::vector<double> x;
        for (int i = 0; i < n; ++i)
            x.push_back(input.between(-2, 2));
        double least = 0.0;
        int evaluations = 0;
        dhsm *d = dhsm_new(rosenbrock, nullptr, n);
        dhsm_solve(d, &evaluations, &n, 1e-6, x.data(), 5000, &least);
        dhsm_kill(d);
        digest.add(x.data(), x.size() * sizeof(double));
        digest.add(&least, sizeof least);
        digest.add(&evaluations, sizeof evaluations);
    }
});

const Operation directions("condirmin, rosenbrock in 2 to 6 variables", [](Generator &input, Digest &digest) {
    const int level = teska_warn_level(1);
    for (int n = 2; n <= 6; ++n) {
        std::vector<double> x;
        for (int i = 0; i < n; ++i)
            x.push_back(input.between(-2, 2));
        double least = 0.0;
        int count[2] = {};
        condirmin(x.data(), n, 1e-10, &count[0], &least, rosenbrock, &count[1], &n);
        digest.add(x.data(), x.size() * sizeof(double));
        digest.add(&least, sizeof least);
        digest.add(count, sizeof count);
    }
    teska_warn_level(level);
});

}  // namespace

}  // namespace teska_test
