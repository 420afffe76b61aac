/* cipher.h - scrambling of bytes with a key and constants of the caller's
 *
 * Keeps a text from being read at a glance. The key has 16 bits: no protection against anybody who tries.
 *
 *     CipherEncrypt(text, size, hidden, 4711, 52845, 22719);
 *     CipherDecrypt(hidden, size, text, 4711, 52845, 22719);
 *
 * Common rules
 *   A state r of 16 bits begins as the key. Each byte is combined with the high byte of r, and the enciphered byte c
 *   moves r on:
 *
 *       c = p ^ (r >> 8)          r = (r + c) * multiplier + addend   mod 2^16
 *
 *   plain, cipher       count bytes each, one the input and the other the output
 *   key                 any
 *   multiplier, addend  any: the caller's constants
 *   Input and output may be the same buffer; otherwise they do not overlap.
 *   A count of 0 or less does nothing. Nothing is reported or kept; all functions may be called from several threads.
 */
#ifndef TESKA_CIPHER_H
#define TESKA_CIPHER_H
#include "teska_api.h"
TESKA_BEGIN_C

/* CipherEncrypt - encipher count bytes. */
TESKA_API void CipherEncrypt(const unsigned char *plain, int count, unsigned char *cipher, unsigned short key,
                             unsigned short multiplier, unsigned short addend) TESKA_NOTHROW;

/* CipherDecrypt - the reverse, with the same key, multiplier and addend. */
TESKA_API void CipherDecrypt(const unsigned char *cipher, int count, unsigned char *plain, unsigned short key,
                             unsigned short multiplier, unsigned short addend) TESKA_NOTHROW;

TESKA_END_C
#endif
