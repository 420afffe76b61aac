#include "determinism/operations.h"

#include "support/samples.h"

#include "md_tetrad.h"

namespace teska_test
{

namespace
{

// A table of random vertices evaluates 1000 points, some of them on vertices and a little outside.
template <int Inputs, int Outputs, int Points>
void evaluate(Generator &input, Digest &digest)
{
    const double lo = -20.0;
    const double hi = 100.0;
    md_tetrad *table = md_tetrad_new(Inputs, Outputs, Points, lo, hi);
    int size = 0;
    double *data = md_tetrad_dataptr(table, &size);
    for (int i = 0; i < size; ++i)
        data[i] = input.between(-1.0, 1.0);

    constexpr int count = 1000;
    Samples<double> in(Inputs, count, Inputs), out(Outputs, count, Outputs);
    for (double &x : in.buffer)
        x = input.below(8) == 0 ? input.below(Points) * ((hi - lo) / (Points - 1)) + lo : input.between(lo - 1, hi + 1);
    md_tetrad_interp(table, in.at.data(), in.step, out.at.data(), out.step, count);
    digest.add(out.buffer.data(), out.buffer.size() * sizeof(double));
    md_tetrad_kill(table);
}

const Operation operations[] = {
    {"md_tetrad 1 to 3, 50 points", evaluate<1, 3, 50>}, {"md_tetrad 2 to 1, 33 points", evaluate<2, 1, 33>},
    {"md_tetrad 3 to 3, 17 points", evaluate<3, 3, 17>}, {"md_tetrad 4 to 4, 9 points", evaluate<4, 4, 9>},
    {"md_tetrad 3 to 6, 12 points", evaluate<3, 6, 12>}, {"md_tetrad 6 to 7, 3 points", evaluate<6, 7, 3>},
};

}  // namespace

}  // namespace teska_test
