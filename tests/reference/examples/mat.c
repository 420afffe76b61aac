#include "mat.h"

#include "../check.h"

void example_mat(void);
void example_mat(void)
{
#include "mat_1.inc"
    NEAR(b[0], 1, 1e-12);
    NEAR(b[1], 1, 1e-12);
    NEAR(det, 2, 1e-12);
    CHECK(flag == 0);
}
