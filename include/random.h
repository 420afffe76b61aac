/* random.h - the minimal standard generator of random numbers
 *
 * Small, of modest quality, and the same sequence on every machine.
 *
 *     random_rec *dice = random_new(42);
 *     int face = 1 + (int)(random_val(dice) * 6);
 *     if (face > 6)
 *         face = 6;                                      random_val may give 1
 *     random_kill(dice);
 *
 * Common rules
 *   The state is one number s, 1 .. 2^31 - 2, and each step multiplies it:
 *
 *       s = 16807 s mod (2^31 - 1)
 *
 *   All 2^31 - 2 states follow each other in one cycle, so a generator repeats itself after 2,147,483,646 values.
 *   Generators are independent of each other; one generator is used by one thread at a time. Not for secrets.
 *   Source: S. K. Park, K. W. Miller, Random number generators: good ones are hard to find, Communications of the ACM
 *   31 (1988), pp. 1192-1201; the step without overflow: L. Schrage, A more portable Fortran random number generator,
 *   ACM Transactions on Mathematical Software 5 (1979), pp. 132-138.
 */
#ifndef TESKA_RANDOM_H
#define TESKA_RANDOM_H
#include "teska_api.h"
TESKA_BEGIN_C

/* The opaque record of a generator. */
typedef struct random_rec random_rec;

/* ---- Life -------------------------------------------------------------------------------------------------------- */

/* random_new - create a generator.
 *
 * seed  any number. The state becomes seed modulo 2^31 - 1, counted upwards from 0 for negative seeds too (-1 gives
 *       2^31 - 2), and 1 where that is 0: seeds 0, 1 and 2^31 - 1 start the same sequence.
 * Returns the generator, owned by the caller (random_kill), or NULL with "Random_new : allocation failed".
 */
TESKA_API random_rec *random_new(int seed) TESKA_NOTHROW;

/* random_kill - free a generator.
 *
 * generator  may be null
 * Returns NULL, to be written back into the handle.
 */
TESKA_API random_rec *random_kill(random_rec *generator) TESKA_NOTHROW;

/* ---- Process ----------------------------------------------------------------------------------------------------- */

/* random_val - step, and give the new state as a fraction: the float nearest to s * 2^-31.
 *
 * generator  not null
 * Returns a value above 0. Cannot fail.
 * Kept: the 63 highest states round to exactly 1; a caller who scales to an index clamps it.
 */
TESKA_API float random_val(random_rec *generator) TESKA_NOTHROW;

TESKA_END_C
#endif
