#include "../press.h"
#include "top_surface_1.inc"

EXAMPLE(top_surface)
{
    static double lab[3000], norm[3000], penalty[1000];
    void *user = NULL;
    for (int i = 0; i < 3000; ++i)
        lab[i] = i % 3 == 0 ? 50 : 5;
#define DOTS_1 ++seen
#include "top_surface_2.inc"
    CHECK(seen && penalty[0] == 0);
}
