/* numb.h - digits of integers, and floating-point numbers in the byte order of files
 *
 * Files hold floats and doubles big-endian, sign and exponent first:
 *
 *     unsigned char file[4];
 *     fltoffl(1.0f, file);                           3F 80 00 00
 *     float back = ffltofl(file, NULL);              1.0
 *
 *     char text[25];
 *     numb_decimal_to_hex_string(4096, text);        "1000"
 *
 * Digit arrays start with the least significant digit. Sums and products wrap at 32 bits. Pointers must not be null
 * except where a block says so. Nothing here allocates, reports or keeps state; all functions are safe from any thread.
 */
#ifndef TESKA_NUMB_H
#define TESKA_NUMB_H
#include "teska_api.h"
TESKA_BEGIN_C

/* ---- Byte order -------------------------------------------------------------------------------------------------- */

/* ffltofl - read a float of a file.
 *
 * file  4 bytes, of any alignment
 * out   takes the float too; may be null, and may be the same address as file
 * Returns the float. All bit patterns pass unchanged, those that are not a number included.
 */
TESKA_API float ffltofl(const void *file, float *out) TESKA_NOTHROW;

/* fltoffl - write value as 4 bytes of a file, of any alignment. Returns file. */
TESKA_API void *fltoffl(float value, void *file) TESKA_NOTHROW;

/* fdbltodbl - ffltofl for a double: 8 bytes. */
TESKA_API double fdbltodbl(const void *file, double *out) TESKA_NOTHROW;

/* dbltofdbl - fltoffl for a double value: 8 bytes. Returns file. */
TESKA_API void *dbltofdbl(double value, void *file) TESKA_NOTHROW;

/* ---- Digits ------------------------------------------------------------------------------------------------------ */

/* numb_decimal_to_base - split value into n digits.
 *
 * Base 2 takes bits 0 .. n - 1 of the two's complement, the sign for those from 32 on. Any other base takes remainders
 * of the division by it, which drops the fraction; what n digits do not hold is lost.
 *
 * digits  n ints, all written; n < 1 writes none
 * base    0 gives digits 0
 * Returns 0.
 * Kept: in bases other than 2 a negative number has negative digits.
 */
TESKA_API int numb_decimal_to_base(int value, int *digits, int n, int base) TESKA_NOTHROW;

/* numb_base_to_decimal - value becomes what n digits denote: sum of digits[i] * base^i, 0 for n < 1. Returns 0. */
TESKA_API int numb_base_to_decimal(const int *digits, int *value, int n, int base) TESKA_NOTHROW;

/* numb_combination - n choose k, for small numbers.
 *
 * Numerator and denominator are multiplied out before the division: right as long as n (n - 1) .. (n - k + 1) fits an
 * int.
 * Returns the quotient; -1 when k > n, 1 when k < 1, 0 where the wrapped denominator is 0 (k > 33).
 */
TESKA_API int numb_combination(int n, int k) TESKA_NOTHROW;

/* numb_hex_string_to_decimal - read hexadecimal digits of either case.
 *
 * Returns 0, or -1 when a character other than the last is no digit; value is then untouched.
 * Kept: the last character is not checked. When it is no digit, the one before it counts twice: "1g" is 17. A single
 * one that is no digit gives 0, as does the empty text.
 */
TESKA_API int numb_hex_string_to_decimal(const char *text, int *value) TESKA_NOTHROW;

/* numb_hex_to_hex_string - write n digits as text, the most significant first and without leading zeros.
 *
 * digits  0 .. 15, written in lower case
 * text    n + 1 bytes, with negative digits up to 11 n + 1
 * Returns 0, or -1 at a digit of 16 or more; the text then ends before it.
 * Kept: digits that are all zero give the empty text; a negative digit is written in decimal, with its sign.
 */
TESKA_API int numb_hex_to_hex_string(const int *digits, int n, char *text) TESKA_NOTHROW;

/* numb_decimal_to_hex_string - write value in hexadecimal.
 *
 * text  up to 25 bytes
 * Returns 0.
 * Kept: 0 gives the empty text; each digit of a negative number is written with its sign: -17 is "-1-1".
 */
TESKA_API int numb_decimal_to_hex_string(int value, char *text) TESKA_NOTHROW;

TESKA_END_C
#endif
