static int width_of(int column) { return column; }

EXAMPLE(dynar)
{
    const int columns = 100;
    int total = 0;
#include "dynar_1.inc"
    CHECK(total == 4950);
}
