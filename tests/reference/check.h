/* check - what the programs of the examples say about values
 *
 * A paragraph of statements is a macro, a block of its own in which `seen` counts from 0: x_1(what is to be done at its
 * dots.., at its end).
 */
#ifndef TESKA_TESTS_REFERENCE_CHECK_H
#define TESKA_TESTS_REFERENCE_CHECK_H
#include "extracted.h"

#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#ifdef __cplusplus
#    define EXAMPLES(subsystem) extern "C" void subsystem##_examples()
extern "C" {
#else
#    define EXAMPLES(subsystem) void subsystem##_examples(void)
#endif
/* Counts a failure of the running example unless ok; text is the expression. */
void reference_check(int ok, const char *text, const char *file, int line);
#ifdef __cplusplus
}
#endif

static int seen;

/* A device of four inks: what is left of three bands of light at values 1 (no ink) to 0 (all of it). */
static int press(void *user, const double *device, double *lab)
{
    double light[3] = {1, 1, 1};
    for (int i = 0; i < 12; ++i)
        light[i % 3] *= device[i / 3] + (1 - device[i / 3]) * (i >= 9 || i % 4 == 0 ? 0.1 : 0.8);
    lab[0] = 100 * light[1];
    lab[1] = 80 * (light[0] - light[1]);
    lab[2] = 80 * (light[1] - light[2]);
    (void)user;
    return 0;
}

#define CHECK(x) reference_check((x) != 0, #x, __FILE__, __LINE__)
#define NEAR(a, b, tolerance) reference_check(fabs((a) - (b)) <= (tolerance), #a " is " #b, __FILE__, __LINE__)
#define NEAR_3(v, tolerance, x, y, z) NEAR(v[0], x, tolerance), NEAR(v[1], y, tolerance), NEAR(v[2], z, tolerance)

#endif
