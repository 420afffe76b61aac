/* application - what the C half of the application offers to the tests */
#ifndef TESKA_TESTS_API_APPLICATION_H
#define TESKA_TESTS_API_APPLICATION_H

#ifdef __cplusplus
extern "C" {
#endif

/* Calls every subsystem. Returns NULL, or the text of the first condition that did not hold. */
const char *use_every_subsystem(void);

#ifdef __cplusplus
}
#endif
#endif
