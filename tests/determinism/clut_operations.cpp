#include "determinism/operations.h"

#include "support/owned_clut.h"

#include <vector>

namespace teska_test
{

namespace
{

// Values and points reach a little beyond 0 .. 1.
void evaluate(Generator &input, Digest &digest, std::size_t inputs, int outputs, unsigned char points)
{
    std::size_t size = static_cast<std::size_t>(outputs);
    for (std::size_t k = 0; k < inputs; ++k)
        size *= points;
    std::vector<float> values(size);
    for (float &value : values)
        value = static_cast<float>(input.between(-0.1, 1.1));
    OwnedClut table(std::vector<unsigned char>(inputs, points), outputs, values);

    std::vector<double> in(inputs);
    std::vector<double> out(static_cast<std::size_t>(outputs));
    for (int i = 0; i < 1000; ++i) {
        for (double &x : in)
            x = i % 10 == 0 ? input.below(5) / 4.0 : input.between(-0.1, 1.1);
        table.Interpolate(out.data(), in.data());
        digest.add(out.data(), out.size() * sizeof(double));
        if (inputs == 3) {
            for (double &x : in)
                x = input.unit();
            table.Interp3d(out.data(), in.data());
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
