#include "determinism/operations.h"

#include "hist.h"

namespace teska_test
{

namespace
{

const Operation moments("hist_med and hist_percentile", [](Generator &input, Digest &digest) {
    hist *h = hist_new(-300, 300);
    for (int i = 0; i < 3000; ++i) {
        const int value = input.below(701) - 350;
        hist_point(h, &value, 1);
        double results[3];
        hist_med(h, &results[0], &results[1]);
        results[2] = hist_percentile(h, input.between(0.0, 100.0));
        digest.add(results, sizeof results);
    }
    hist_kill(h);
});

}  // namespace

}  // namespace teska_test
