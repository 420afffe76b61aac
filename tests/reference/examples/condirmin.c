#include "condirmin_1.inc"
#include "error_mess.h"

EXAMPLE(condirmin)
{
#include "condirmin_2.inc"
    CHECK(found == 1);
    NEAR_ALL(x, 1e-3, 1, -2);
}
