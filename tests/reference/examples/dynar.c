#include "dynar.h"

#include "../check.h"

static int width_of(int column) { return column; }

void example_dynar(void);
void example_dynar(void)
{
    const int columns = 100;
    int total = 0;
#include "dynar_1.inc"
    CHECK(total == 4950);
}
