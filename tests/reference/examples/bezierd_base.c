#include "bezierd_base.h"

#include "../check.h"

void example_bezierd_base(void);
void example_bezierd_base(void)
{
#define DOTS_1 NEAR(y[0], 0.5, 1e-9)
#include "bezierd_base_1.inc"
}
