#include <vector>

EXAMPLE(clut)
{
#define DOTS_1                                                                                                         \
    for (std::size_t i = 0; i < values.size(); ++i)                                                                    \
    values[i] = 0.25f
#include "clut_1.inc"
    NEAR(ink[0], 0.25, 1e-6);
    NEAR(ink[3], 0.25, 1e-6);
    // The values live as long as some copy may.
    static const CLUT copy(table);
    CHECK(copy.NumPoints() == 17 * 17 * 17);
}
