EXAMPLE(bezierd_base)
{
#define DOTS_1 NEAR(y[0], 0.5, 1e-9)
#include "bezierd_base_1.inc"
}
