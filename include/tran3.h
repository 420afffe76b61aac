/* tran3.h - a subtractive generator of random numbers, the one published as ran3
 *
 * Not a product but a difference of earlier values: independent of the multiplicative generator of random.h, faster,
 * and of a longer period. The same sequence on every machine.
 *
 *     TRan3 noise(-1);
 *     float first = noise.Generate();
 *     TRan3 replay = noise;                                  goes on as noise does
 *
 * Common rules
 *   The state is a ring of 55 numbers below MBIG and two indices into it, 31 apart. Each step replaces the number at
 *   the first index by its difference to the number at the second, modulo MBIG.
 *   Generators are independent of each other; one generator is used by one thread at a time. Not for secrets.
 *   No member allocates, throws or reports.
 *   Source: D. E. Knuth, The Art of Computer Programming, vol. 2, 2nd ed., Addison-Wesley 1981, sections 3.2.2 and 3.6;
 *   W. H. Press et al., Numerical Recipes in C, 2nd ed., Cambridge University Press 1992, section 7.1 (ran3).
 */
#ifndef TESKA_TRAN3_H
#define TESKA_TRAN3_H
#include "teska_api.h"
#ifdef __cplusplus

class TESKA_API TRan3
{
public:
    static const int MBIG = 1000000000;   /* modulus of all numbers */
    static const int MSEED = 161803398;   /* what the seed is subtracted from */
    static const int MZ = 0;              /* the least number */
    static constexpr double FAC = 1.0e-9; /* 1 / MBIG */

    /* ---- Life ---------------------------------------------------------------------------------------------------- */

    /* TRan3 - start a sequence.
     *
     * seed  any number; its sign does not count, and seeds that give the same |MSEED - |seed|| modulo MBIG start the
     *       same sequence
     */
    TRan3(long seed);

    /* Copies go on with the same values as their source. */
    TRan3(const TRan3 &other) = default;
    TRan3 &operator=(const TRan3 &other);

    /* ---- Process ------------------------------------------------------------------------------------------------- */

    /* Generate - step, and give the new number times FAC, computed in double and rounded to float.
     *
     * Returns a value of 0 and above.
     * Kept: the numbers from 999999971 upwards round to exactly 1; a caller who scales to an index clamps it.
     */
    float Generate();

private:
    int ma[56]; /* the ring, ma[1] .. ma[55]; ma[0] is 0 and never used */
    int inext;  /* index of the last number replaced; 0 at first */
    int inextp; /* index of the number subtracted from it, 31 ahead in the ring */
};

#endif
#endif
