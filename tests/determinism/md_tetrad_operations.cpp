#include "determinism/operations.h"

#include "md_tetrad.h"

#include <vector>

namespace teska_test
{

namespace
{

// A table of random vertices evaluates 1000 points, some of them on vertices and a little outside.
void evaluate(Generator &input, Digest &digest, int inputs, int outputs, int points)
{
    const double lo = -20.0;
    const double hi = 100.0;
    md_tetrad *table = md_tetrad_new(inputs, outputs, points, lo, hi);
    int size = 0;
    double *data = md_tetrad_dataptr(table, &size);
    for (int i = 0; i < size; ++i)
        data[i] = input.between(-1.0, 1.0);

    constexpr int count = 1000;
    std::vector<double> in(static_cast<std::size_t>(inputs * count));
    std::vector<double> out(static_cast<std::size_t>(outputs * count));
    for (double &x : in)
        x = input.below(8) == 0 ? input.below(points) * ((hi - lo) / (points - 1)) + lo : input.between(lo - 1, hi + 1);
    std::vector<double *> sources;
    std::vector<double *> targets;
    for (int d = 0; d < inputs; ++d)
        sources.push_back(in.data() + d);
    for (int c = 0; c < outputs; ++c)
        targets.push_back(out.data() + c);
    md_tetrad_interp(table, sources.data(), inputs, targets.data(), outputs, count);
    digest.add(out.data(), out.size() * sizeof(double));
    md_tetrad_kill(table);
}

const Operation one_to_three("md_tetrad 1 to 3, 50 points",
                             [](Generator &input, Digest &digest) { evaluate(input, digest, 1, 3, 50); });
const Operation two_to_one("md_tetrad 2 to 1, 33 points",
                           [](Generator &input, Digest &digest) { evaluate(input, digest, 2, 1, 33); });
const Operation three_to_three("md_tetrad 3 to 3, 17 points",
                               [](Generator &input, Digest &digest) { evaluate(input, digest, 3, 3, 17); });
const Operation four_to_four("md_tetrad 4 to 4, 9 points",
                             [](Generator &input, Digest &digest) { evaluate(input, digest, 4, 4, 9); });
const Operation three_to_six("md_tetrad 3 to 6, 12 points",
                             [](Generator &input, Digest &digest) { evaluate(input, digest, 3, 6, 12); });
const Operation six_to_seven("md_tetrad 6 to 7, 3 points",
                             [](Generator &input, Digest &digest) { evaluate(input, digest, 6, 7, 3); });

}  // namespace

}  // namespace teska_test
