EXAMPLE(random)
{
#include "random_1.inc"
    CHECK(face >= 1 && face <= 6);
}
