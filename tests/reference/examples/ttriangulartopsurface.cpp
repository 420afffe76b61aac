#include "../press.h"
#include "ttriangulartopsurface_1.inc"

EXAMPLE(ttriangulartopsurface)
{
    static double lab[3000], norm[3000], penalty[1000];
    int data = 0, done = 0;
    for (int i = 0; i < 3000; ++i)
        lab[i] = i % 3 == 0 ? 50 : 5;
#define DOTS_1 done = 1
#define DOTS_2 ++seen
#include "ttriangulartopsurface_2.inc"
    CHECK(done && seen > 0 && penalty[0] == 0);
}
