/* hist.h - histogram of integers
 *
 * Each value from lo to hi has a bin of its own; one bin more counts everything below, one everything above.
 *
 *     hist *h = hist_new(0, 255);
 *     hist_point(h, samples, n);                     as often as wanted
 *     double mean, sd;
 *     hist_med(h, &mean, &sd);
 *     int above = hist_percentile(h, 50.0);          one above the median
 *     hist_kill(h);
 *
 * Common rules
 *   The counts are 32-bit; a bin or a total that passes their range wraps.
 *   Except where a block says so, a histogram must not be null. Any number of threads may take means
 *   and percentiles of one at once as long as none changes it.
 */
#ifndef TESKA_HIST_H
#define TESKA_HIST_H
#include "teska_api.h"
TESKA_BEGIN_C

/* The opaque record of a histogram. */
typedef struct hist hist;

/* ---- Life -------------------------------------------------------------------------------------------------------- */

/* hist_new - create a histogram with all counts 0.
 *
 *     bins = hi - lo + 3
 *
 * lo, hi  lowest and highest value with a bin of its own; hi >= lo - 2
 * Returns the histogram, owned by the caller (hist_kill), or NULL with "hist_new: illegal bounds" when there would be
 * no bin, or with "hist_new: alloc self failed".
 * Kept: counts for which there is no memory, or more than 2147483647 of them, are reported as "hist_new: illegal
 * bounds" too.
 * Kept: hi = lo - 2 makes one bin, in which all values are counted.
 */
TESKA_API hist *hist_new(int lo, int hi) TESKA_NOTHROW;

/* hist_kill - free a histogram; may be null. Returns 0, to be written back into the handle. */
TESKA_API int hist_kill(hist *h) TESKA_NOTHROW;

/* ---- Change ------------------------------------------------------------------------------------------------------ */

/* hist_point - enter values.
 *
 * values  n of them; may be null when n is not positive
 * Returns 0.
 * Kept: a negative n enters nothing, but is added to the total like any other.
 */
TESKA_API int hist_point(hist *h, const int *values, int n) TESKA_NOTHROW;

/* hist_set - set the total that means and percentiles are reckoned with; the counts stay. Returns the total. */
TESKA_API int hist_set(hist *h, int total) TESKA_NOTHROW;

/* ---- Query ------------------------------------------------------------------------------------------------------- */

/* hist_get - the counts themselves, not a copy: below lo, lo .. hi, above hi.
 *
 * total  receives the total; may be null
 * Returns hi - lo + 3 counts, valid until hist_kill; the caller may change them.
 */
TESKA_API int *hist_get(hist *h, int *total) TESKA_NOTHROW;

/* hist_med - mean and standard deviation of the values from lo to hi.
 *
 *     mean = sum(count(v) * v) / total,   sd = sqrt(sum(count(v) * (v - mean)^2) / total),   v = lo .. hi upwards
 *
 * Returns 0.
 * Kept: the values below lo and above hi are in the total, though not in the sums.
 * Kept: with a total of 0 nothing is divided: the mean is the sum, and sd the root of the sum about it.
 * O(hi - lo).
 */
TESKA_API int hist_med(const hist *h, double *mean, double *sd) TESKA_NOTHROW;

/* hist_percentile - one above the value at which the counts, from below lo upwards, reach a part of the total.
 *
 *     target = integer part of total * percent / 100
 *
 * percent  0 .. 100; more than the counts can reach gives hi + 1
 * Returns lo - 1 when the target is less than 1 (or percent not a number), else the value. What passes the range of
 * int wraps.
 * Kept: the result is one above the value whose bin reached the target, lo when the bin below did.
 */
TESKA_API int hist_percentile(const hist *h, double percent) TESKA_NOTHROW;

TESKA_END_C
#endif
