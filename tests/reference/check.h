/* check - what the programs of the examples say about values */
#ifndef TESKA_TESTS_REFERENCE_CHECK_H
#define TESKA_TESTS_REFERENCE_CHECK_H
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

/* Counts a failure of the running example unless ok; text is the expression. */
#ifdef __cplusplus
extern "C"
#endif
    void
    reference_check(int ok, const char *text, const char *file, int line);

/* A folder in that of the example. */
#ifdef __cplusplus
extern "C"
#endif
    void
    reference_make_folder(const char *name);

#define CHECK(x) reference_check((x) != 0, #x, __FILE__, __LINE__)
#define NEAR(a, b, tolerance) reference_check(fabs((a) - (b)) <= (tolerance), #a " is " #b, __FILE__, __LINE__)

#endif
