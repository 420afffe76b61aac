/* tfastpow.h - powers of 16-bit fractions from a table
 *
 * Base and exponent are fractions of 65535, and so is the power: what gamma curves over 16-bit samples need. Once the
 * table is made a power costs two shifts and two loads.
 *
 *     TFastPow power(10, 8);                                 2^18 powers, half a megabyte
 *     unsigned short root = power.Calculate(sample, 0x7FFF);
 *     power.MultiCalculate(n, samples, exponents, results);
 *
 * Common rules
 *   With B = 2^baseBits and E = 2^exponentBits the table holds for i = 0 .. B - 1 and j = 0 .. E - 1
 *
 *       table[i][j] = 65535 * (i / (B - 1)) ^ (j / (E - 1))       in doubles, cut to the whole number below
 *
 *   so that a power 0 is 65535, that of a base 0 too. A base counts with its highest baseBits bits alone and an
 *   exponent with its highest exponentBits: nothing is rounded or interpolated.
 *   A table is not changed after its construction: any number of threads may take powers from it at once.
 *   No member throws or reports.
 */
#ifndef TESKA_TFASTPOW_H
#define TESKA_TFASTPOW_H
#include "teska_api.h"
#ifdef __cplusplus

class TESKA_API TFastPow
{
public:
    /* ---- Life ---------------------------------------------------------------------------------------------------- */

    /* TFastPow - make the table.
     *
     * baseBits      1 .. 16; less counts as 1, more as 16
     * exponentBits  likewise
     * Takes 2^(baseBits + exponentBits + 1) bytes and half as many calls of pow: 8 gigabytes for 16 and 16. When memory
     * runs out there is no table, and every power is calculated when it is asked for: slow, and the same.
     */
    TFastPow(int baseBits, int exponentBits);
    virtual ~TFastPow();

    /* The rows have one owner. */
    TFastPow(const TFastPow &) = delete;
    TFastPow &operator=(const TFastPow &) = delete;

    /* ---- Process ------------------------------------------------------------------------------------------------- */

    /* Calculate - the power of a base and an exponent, each 0 .. 65535. */
    unsigned short Calculate(unsigned short base, unsigned short exponent);

    /* MultiCalculate - results[k] = Calculate(bases[k], exponents[k]) for 0 <= k < n.
     *
     * n                 below 1 nothing is done
     * bases, exponents  n values each
     * results           n values, owned by the caller; may be the bases or the exponents
     * Returns 0.
     */
    int MultiCalculate(int n, unsigned short *bases, unsigned short *exponents, unsigned short *results);

private:
    int baseRows;                 /* B */
    unsigned int exponentColumns; /* E */
    int fullScale;                /* 65535, the number that means 1 */
    unsigned int operandBits;     /* 16 */
    unsigned int baseShift;       /* from a base to its row */
    unsigned int exponentShift;   /* from an exponent to its column */
    unsigned short **table;       /* baseRows rows; null when memory ran out */
};

#endif
#endif
