#include "random.h"

#include "../check.h"

void example_random(void);
void example_random(void)
{
#include "random_1.inc"
    CHECK(face >= 1 && face <= 6);
}
