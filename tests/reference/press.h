/* press - the device of the examples with a gamut: four inks, one over the other */
#ifndef TESKA_TESTS_REFERENCE_PRESS_H
#define TESKA_TESTS_REFERENCE_PRESS_H

/* The colour of device values 1 (no ink) to 0 (all of it): the light of three bands that passes every ink. */
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

#endif
