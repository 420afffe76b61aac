#include "determinism/operations.h"

#include "clut.h"

#include <vector>

namespace teska_test
{

namespace
{

class Table : public CLUT
{
public:
    using CLUT::CLUT;
    using CLUT::Interp3d;
};

// Values and points reach a little beyond 0 .. 1. The tables stay, and are never out
// of reach: the class keeps its arrays.
void evaluate(Generator &input, Digest &digest, unsigned char inputs, unsigned char outputs, unsigned char points)
{
    std::vector<unsigned char> grid(inputs, points);
    std::size_t size = outputs;
    for (const unsigned char count : grid)
        size *= count;
    std::vector<float> values(size);
    for (float &value : values)
        value = static_cast<float>(input.between(-0.1, 1.1));
    static auto &tables = *new std::vector<Table *>;
    tables.push_back(new Table(inputs, grid.data(), outputs, 0, values.data()));

    std::vector<double> in(inputs);
    std::vector<double> out(outputs);
    for (int i = 0; i < 1000; ++i) {
        for (double &x : in)
            x = i % 10 == 0 ? input.below(5) / 4.0 : input.between(-0.1, 1.1);
        tables.back()->Interpolate(out.data(), in.data());
        digest.add(out.data(), out.size() * sizeof(double));
        if (inputs == 3) {
            for (double &x : in)
                x = input.unit();
            tables.back()->Interp3d(out.data(), in.data());
            digest.add(out.data(), out.size() * sizeof(double));
        }
    }
}

const Operation one_to_three("CLUT 1 to 3, 33 points",
                             [](Generator &input, Digest &digest) { evaluate(input, digest, 1, 3, 33); });
const Operation two_to_one("CLUT 2 to 1, 9 points",
                           [](Generator &input, Digest &digest) { evaluate(input, digest, 2, 1, 9); });
const Operation three_to_three("CLUT 3 to 3, 17 points",
                               [](Generator &input, Digest &digest) { evaluate(input, digest, 3, 3, 17); });
const Operation four_to_four("CLUT 4 to 4, 9 points",
                             [](Generator &input, Digest &digest) { evaluate(input, digest, 4, 4, 9); });
const Operation five_to_two("CLUT 5 to 2, 5 points",
                            [](Generator &input, Digest &digest) { evaluate(input, digest, 5, 2, 5); });
const Operation six_to_five("CLUT 6 to 5, 4 points",
                            [](Generator &input, Digest &digest) { evaluate(input, digest, 6, 5, 4); });
const Operation eight_to_seven("CLUT 8 to 7, 2 points",
                               [](Generator &input, Digest &digest) { evaluate(input, digest, 8, 7, 2); });

}  // namespace

}  // namespace teska_test
