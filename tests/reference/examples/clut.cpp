#include <vector>

EXAMPLE(clut)
{
#define DOTS_1 values.assign(values.size(), 0.25f)
#include "clut_1.inc"
    NEAR(ink[0], 0.25, 1e-6);
    NEAR(ink[3], 0.25, 1e-6);
    // The values live as long as some copy may.
    static const CLUT copy(table);
    CHECK(copy.NumPoints() == 17 * 17 * 17);
}
