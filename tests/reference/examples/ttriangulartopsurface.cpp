#include "ttriangulartopsurface.h"

#include "../check.h"
#include "ttriangulartopsurface_1.inc"
static int press(void *user, const double *device, double *lab)
{
    (void)user;
    static const double through[4][3] = {{0.05, 0.45, 0.80}, {0.70, 0.05, 0.20}, {0.90, 0.80, 0.03}, {0.1, 0.1, 0.1}};
    double light[3] = {1, 1, 1};
    for (int i = 0; i < 4; ++i)
        for (int band = 0; band < 3; ++band)
            light[band] *= device[i] + (1 - device[i]) * through[i][band];
    lab[0] = 100 * light[1];
    lab[1] = 80 * (light[0] - light[1]);
    lab[2] = 80 * (light[1] - light[2]);
    return 0;
}

extern "C" void example_ttriangulartopsurface()
{
    static double lab[3000], norm[3000], penalty[1000];
    int data = 0, done = 0, triangles = 0;
    for (int i = 0; i < 3000; ++i)
        lab[i] = i % 3 == 0 ? 50 : 5;
#define DOTS_1 done = 1
#define DOTS_2 ++triangles
#include "ttriangulartopsurface_2.inc"
    CHECK(done && triangles > 0 && penalty[0] == 0);
}
