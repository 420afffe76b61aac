#include "bezierd_base.h"

EXAMPLE(bezierd_split)
{
    bezier *b = bezier_new(2, 0, 0, 1, 1);
#define DOTS_1 CHECK(bezier_kill(first) == 1 && bezier_kill(second) == 1)
#include "bezierd_split_1.inc"
    bezier_kill(b);
}
