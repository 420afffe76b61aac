#include "determinism/operations.h"

#include "support/samples.h"

#include "md_tetrab.h"

namespace teska_test
{

namespace
{

// A table of random vertices and curves converts 1000 random pixels; then it is expanded.
template <int Inputs, int Outputs, int Points, int High = 255>
void convert_and_expand(Generator &input, Digest &digest)
{
    md_tetrab *table = md_tetrab_new_special(Inputs, Outputs, Points, 0, High, 1);
    int size = 0;
    unsigned char *data = md_tetrab_dataptr(table, &size);
    for (int i = 0; i < size; ++i)
        data[i] = input.byte();
    for (int v = 0; v < 256; ++v)
        md_tetrab_ilutptr(table, 0)[v] = md_tetrab_olutptr(table, Outputs - 1)[v] = input.byte();

    constexpr int pixels = 1000;
    Samples<unsigned char> in(Inputs, pixels, Inputs), out(Outputs, pixels, Outputs);
    for (unsigned char &byte : in.buffer)
        byte = input.byte();
    md_tetrab_interp(table, in.at.data(), in.step, out.at.data(), out.step, pixels, nullptr, 0);
    digest.add(out.buffer.data(), out.buffer.size());

    for (const int resolution : {2 * Points - 1, Points + 1}) {
        md_tetrab *expanded = md_tetrab_expand(table, resolution);
        data = md_tetrab_dataptr(expanded, &size);
        digest.add(data, static_cast<std::size_t>(size));
        md_tetrab_kill(expanded);
    }
    md_tetrab_kill(table);
}

const Operation operations[] = {
    {"md_tetrab 1 to 3, 14 points", convert_and_expand<1, 3, 14>},
    {"md_tetrab 2 to 1, 33 points", convert_and_expand<2, 1, 33>},
    {"md_tetrab 3 to 3, 17 points", convert_and_expand<3, 3, 17>},
    {"md_tetrab 4 to 4, 9 points", convert_and_expand<4, 4, 9>},
    {"md_tetrab 6 to 7, 3 points", convert_and_expand<6, 7, 3>},
    {"md_tetrab 3 to 5, 5 points, weights 0 .. 100", convert_and_expand<3, 5, 5, 100>},
};

}  // namespace

}  // namespace teska_test
