#include "determinism/operations.h"

#include "support/owned_clut.h"

#include <vector>

namespace teska_test
{

namespace
{

// Values and points reach a little beyond 0 .. 1.
template <std::size_t Inputs, std::size_t Outputs, int Points>
void evaluate(Generator &input, Digest &digest)
{
    std::size_t size = Outputs;
    for (std::size_t k = 0; k < Inputs; ++k)
        size *= Points;
    std::vector<float> values(size);
    for (float &value : values)
        value = static_cast<float>(input.between(-0.1, 1.1));
    OwnedClut table(std::vector<unsigned char>(Inputs, Points), Outputs, values);

    double in[Inputs];
    double out[Outputs];
    for (int i = 0; i < 1000; ++i) {
        for (double &x : in)
            x = i % 10 == 0 ? input.below(5) / 4.0 : input.between(-0.1, 1.1);
        table.Interpolate(out, in);
        digest.add(out, sizeof out);
        if (Inputs == 3) {
            for (double &x : in)
                x = input.unit();
            table.Interp3d(out, in);
            digest.add(out, sizeof out);
        }
    }
}

const Operation operations[] = {
    {"CLUT 1 to 3, 33 points", evaluate<1, 3, 33>}, {"CLUT 2 to 1, 9 points", evaluate<2, 1, 9>},
    {"CLUT 3 to 3, 17 points", evaluate<3, 3, 17>}, {"CLUT 4 to 4, 9 points", evaluate<4, 4, 9>},
    {"CLUT 5 to 2, 5 points", evaluate<5, 2, 5>},   {"CLUT 6 to 5, 4 points", evaluate<6, 5, 4>},
    {"CLUT 8 to 7, 2 points", evaluate<8, 7, 2>},
};

}  // namespace

}  // namespace teska_test
