/* application - what the C half of the application offers to the tests: one short use of every module */
#ifndef TESKA_TESTS_API_APPLICATION_H
#define TESKA_TESTS_API_APPLICATION_H

#ifdef __cplusplus
extern "C" {
#endif

/* Returns NULL when the module answered as it should, else the text of the condition that did not hold. */
typedef struct {
    const char *module;
    const char *(*use)(void);
} c_use;

/* Ends with a null module. */
extern const c_use c_uses[];

#ifdef __cplusplus
}
#endif
#endif
