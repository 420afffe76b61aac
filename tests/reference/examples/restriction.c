EXAMPLE(restriction)
{
#include "restriction_1.inc"
    NEAR_ALL(x, 1e-12, 1, 2, 3);
}
