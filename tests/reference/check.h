/* check - what the programs of the examples say about values
 *
 * A paragraph of statements stands in a block of its own, in which `seen` counts from 0. A program defines what is to be
 * done at its dots (DOTS_1, DOTS_2 ..) and THEN, at its end.
 */
#ifndef TESKA_TESTS_REFERENCE_CHECK_H
#define TESKA_TESTS_REFERENCE_CHECK_H
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
/* An empty file, or a folder with those above it, in that of the examples. */
void reference_make_file(const char *name);
void reference_make_folder(const char *name);
#ifdef __cplusplus
}
#endif

static int seen;

#define CHECK(x) reference_check((x) != 0, #x, __FILE__, __LINE__)
#define NEAR(a, b, tolerance) reference_check(fabs((a) - (b)) <= (tolerance), #a " is " #b, __FILE__, __LINE__)
#define NEAR_3(v, tolerance, x, y, z) NEAR(v[0], x, tolerance), NEAR(v[1], y, tolerance), NEAR(v[2], z, tolerance)

#endif
