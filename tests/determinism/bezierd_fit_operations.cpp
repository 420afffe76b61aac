#include "determinism/operations.h"

#include "bezierd_fit.h"

namespace teska_test
{

namespace
{

const Operation fit("bezier_fit, all constraints", [](Generator &input, Digest &digest) {
    bezier *b = bezier_new(3, 0, 0, 0, 0);
    for (unsigned int round = 0; round < 400; ++round) {
        double p[40], r[10];
        for (double &value : p)
            value = input.between(-1, 1);
        for (int i = 1; i < 20; ++i)
            p[i] += p[i - 1] + 1;
        bezier_fit(b, static_cast<int>(2 + round % 19), p, p + 20, round & 1, 1, p[39], round & 2, p[38], -1, r, r + 1,
                   0);
        bezier_get_control_poly(b, r + 2, r + 6);
        digest.add(r, sizeof r);
    }
    bezier_kill(b);
});

}  // namespace

}  // namespace teska_test
