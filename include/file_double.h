/* file_double.h - vectors of doubles as the text of an item
 *
 *     double primary[3] = {0.25, 150.0, -1234.4};
 *     char text[64];
 *     str_from_vd(primary, 3, text);                 " 0.250  150.0  -1234 "
 *     vd_from_str(text, 3, primary);                 0.25, 150, -1234
 *
 * Numbers are read with the decimal point of the locale: LC_NUMERIC must be "C", as it is until a program changes it.
 * They are written with a point whatever the locale.
 */
#ifndef TESKA_FILE_DOUBLE_H
#define TESKA_FILE_DOUBLE_H
#include "teska_api.h"
TESKA_BEGIN_C

/* ---- Item text --------------------------------------------------------------------------------------------------- */

/* str_from_vd - write a vector as text.
 *
 * Each number takes the digits and decimals of vd_fmt_d for a width of 4, with a blank on either side; halves are
 * rounded to even.
 *
 * n     numbers; less than 1 gives the empty text
 * text  up to 9 bytes per number of magnitude below 10000, and a zero; a larger number takes all its integer digits, up
 *       to 312 bytes
 * Returns 0.
 * Kept: rounding may add a digit, so 9.9996 gives "10.000". What is not finite is written "inf", "-inf", "nan", "-nan".
 */
TESKA_API int str_from_vd(const double *vector, int n, char *text) TESKA_NOTHROW;

/* vd_from_str - read a vector from text.
 *
 * text    numbers as "%lf" reads them, separated by blanks; what follows a number up to the next blank is passed over
 * n       numbers to read; less than 1 reads nothing and returns 0. More than n may be there.
 * vector  n doubles
 * Returns 0, or -1 with "Error bad item string for double conversions" when fewer than n can be read; those before the
 * bad one are then stored.
 * Kept: a tab does not separate numbers: "1\t2" holds one.
 */
TESKA_API int vd_from_str(const char *text, int n, double *vector) TESKA_NOTHROW;

/* vd_fmt_d - the digits a number is to be printed with.
 *
 *     digits = integer part of log10|value| + 1 when |value| > 1, else 1
 *     decimals = width - digits, not below 0
 *
 * width             wanted digits in all
 * digits, decimals  take the integer digits and the decimals; not null
 * Returns 0. What is not finite has one digit.
 * Kept: log10 is rounded to a double first, so a value just below a power of ten counts as that power: the double
 * before 100 has 3 digits (the one before 10 still has 1).
 */
TESKA_API int vd_fmt_d(double value, int width, int *digits, int *decimals) TESKA_NOTHROW;

TESKA_END_C
#endif
