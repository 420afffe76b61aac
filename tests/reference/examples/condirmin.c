#include "condirmin.h"

#include "../check.h"
#include "condirmin_1.inc"
#include "error_mess.h"

void example_condirmin(void);
void example_condirmin(void)
{
#include "condirmin_2.inc"
    CHECK(found == 1);
    NEAR(x[0], 1, 1e-3);
    NEAR(x[1], -2, 1e-3);
}
