/* check - what the programs of the examples say about values */
#ifndef TESKA_TESTS_REFERENCE_CHECK_H
#define TESKA_TESTS_REFERENCE_CHECK_H
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Counts a failure of the running example unless ok; text is the expression. */
void reference_check(int ok, const char *text, const char *file, int line);

/* A folder in that of the example. */
void reference_make_folder(const char *name);

#ifdef __cplusplus
}
#endif

/* The function of an example, in a program of the same name as its header: that and this one are included already. */
#ifdef __cplusplus
#    define EXAMPLE(name)                                                                                              \
        extern "C" void example_##name();                                                                              \
        void example_##name()
#else
#    define EXAMPLE(name)                                                                                              \
        void example_##name(void);                                                                                     \
        void example_##name(void)
#endif

/* For an example to count with. */
static int seen;

#define CHECK(x) reference_check((x) != 0, #x, __FILE__, __LINE__)
#define NEAR(a, b, tolerance) reference_check(fabs((a) - (b)) <= (tolerance), #a " is " #b, __FILE__, __LINE__)

/* Every element of a vector. */
#define NEAR_ALL(vector, tolerance, ...)                                                                               \
    do {                                                                                                               \
        const double expected[] = {__VA_ARGS__};                                                                       \
        for (unsigned at = 0; at < sizeof expected / sizeof *expected; ++at)                                           \
            reference_check(fabs((vector)[at] - expected[at]) <= (tolerance), #vector " is " #__VA_ARGS__, __FILE__,   \
                            __LINE__);                                                                                 \
    } while (0)

#endif
