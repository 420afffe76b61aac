#include "determinism/operations.h"

#include "md_tetrab.h"

#include <vector>

namespace teska_test
{

namespace
{

// A table of random vertices and curves converts 1000 random pixels; then it is expanded.
void convert_and_expand(Generator &input, Digest &digest, int inputs, int outputs, int points, int high)
{
    md_tetrab *table = md_tetrab_new_special(inputs, outputs, points, 0, high, 1);
    int size = 0;
    unsigned char *data = md_tetrab_dataptr(table, &size);
    for (int i = 0; i < size; ++i)
        data[i] = input.byte();
    for (int v = 0; v < 256; ++v)
        md_tetrab_ilutptr(table, 0)[v] = md_tetrab_olutptr(table, outputs - 1)[v] = input.byte();

    constexpr int pixels = 1000;
    std::vector<unsigned char> in(static_cast<std::size_t>(inputs * pixels));
    std::vector<unsigned char> out(static_cast<std::size_t>(outputs * pixels));
    for (unsigned char &byte : in)
        byte = input.byte();
    std::vector<unsigned char *> sources;
    std::vector<unsigned char *> targets;
    for (int d = 0; d < inputs; ++d)
        sources.push_back(in.data() + d);
    for (int c = 0; c < outputs; ++c)
        targets.push_back(out.data() + c);
    md_tetrab_interp(table, sources.data(), inputs, targets.data(), outputs, pixels, nullptr, 0);
    digest.add(out.data(), out.size());

    for (const int resolution : {2 * points - 1, points + 1}) {
        md_tetrab *expanded = md_tetrab_expand(table, resolution);
        data = md_tetrab_dataptr(expanded, &size);
        digest.add(data, static_cast<std::size_t>(size));
        md_tetrab_kill(expanded);
    }
    md_tetrab_kill(table);
}

const Operation one_to_three("md_tetrab 1 to 3, 14 points", [](Generator &input, Digest &digest) {
    convert_and_expand(input, digest, 1, 3, 14, 255);
});
const Operation two_to_one("md_tetrab 2 to 1, 33 points",
                           [](Generator &input, Digest &digest) { convert_and_expand(input, digest, 2, 1, 33, 255); });
const Operation three_to_three("md_tetrab 3 to 3, 17 points", [](Generator &input, Digest &digest) {
    convert_and_expand(input, digest, 3, 3, 17, 255);
});
const Operation four_to_four("md_tetrab 4 to 4, 9 points",
                             [](Generator &input, Digest &digest) { convert_and_expand(input, digest, 4, 4, 9, 255); });
const Operation six_to_seven("md_tetrab 6 to 7, 3 points",
                             [](Generator &input, Digest &digest) { convert_and_expand(input, digest, 6, 7, 3, 255); });
const Operation other_weights("md_tetrab 3 to 5, 5 points, weights 0 .. 100", [](Generator &input, Digest &digest) {
    convert_and_expand(input, digest, 3, 5, 5, 100);
});

}  // namespace

}  // namespace teska_test
