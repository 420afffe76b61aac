EXAMPLE(interp_double)
{
#include "interp_double_1.inc"
    NEAR(y, 10, 0);
}
