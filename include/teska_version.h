/* teska_version.h - which version of the library a program was built with, and which it runs with
 *
 *     #if TESKA_VERSION_NUMBER < TESKA_VERSION_NUMBER_OF(1, 1, 0)
 *     #    error "version 1.1 or newer is needed"
 *     #endif
 *     if (teska_version_number() < TESKA_VERSION_NUMBER_OF(1, 1, 0))
 *         printf("running with %s: older than it should be\n", teska_version());
 *
 * Within one major version nothing that a program can see goes away or changes; a minor version adds, a patch mends.
 */
#ifndef TESKA_VERSION_H
#define TESKA_VERSION_H

#include "teska_api.h"

/* The version of these headers. The build takes it from here. */
#define TESKA_VERSION_MAJOR 1
#define TESKA_VERSION_MINOR 0
#define TESKA_VERSION_PATCH 0
#define TESKA_VERSION "1.0.0"

/* A version as a number that compares as versions do: 1.2.3 is 10203. Minor and patch stay below 100. */
#define TESKA_VERSION_NUMBER_OF(major, minor, patch) ((major)*10000 + (minor)*100 + (patch))
#define TESKA_VERSION_NUMBER TESKA_VERSION_NUMBER_OF(TESKA_VERSION_MAJOR, TESKA_VERSION_MINOR, TESKA_VERSION_PATCH)

TESKA_BEGIN_C

/* teska_version - the version of the library that runs, "1.0.0".
 *
 * Returns the text; it is the library's and never changes. Any thread may ask.
 */
TESKA_API const char *teska_version(void) TESKA_NOTHROW;

/* teska_version_number - the version of the library that runs as TESKA_VERSION_NUMBER_OF gives it: 1.0.0 is 10000.
 *
 * Returns the number. Any thread may ask.
 */
TESKA_API int teska_version_number(void) TESKA_NOTHROW;

TESKA_END_C
#endif
