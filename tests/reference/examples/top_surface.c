#include "top_surface.h"

#include "../check.h"
#include "top_surface_1.inc"
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

void example_top_surface(void);
void example_top_surface(void)
{
    static double lab[3000], norm[3000], penalty[1000];
    void *user = NULL;
    int done = 0;
    for (int i = 0; i < 3000; ++i)
        lab[i] = i % 3 == 0 ? 50 : 5;
#define DOTS_1 done = 1
#include "top_surface_2.inc"
    CHECK(done && penalty[0] == 0);
}
