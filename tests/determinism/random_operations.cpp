#include "determinism/operations.h"

#include "random.h"
#include "rdither.h"
#include "tran3.h"

namespace teska_test
{

namespace
{

const Operation sequences("random_val, TRan3 and rdither_new", [](Generator &input, Digest &digest) {
    const int seed = input.below(2000000000);
    random_rec *generator = random_new(seed);
    TRan3 subtractive(seed);
    rdither *cell = rdither_new(1000, 7);
    for (unsigned i = 0; i <= 1000; ++i) {
        const float values[] = {random_val(generator), subtractive.Generate()};
        digest.add(values, sizeof values);
        const int level = rdither_val(cell, i / 4, i, i);
        digest.add(&level, sizeof level);
    }
    rdither_kill(cell);
    random_kill(generator);
});

}  // namespace

}  // namespace teska_test
