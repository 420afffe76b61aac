/* base64.h - bytes as text of 64 characters, one group at a time
 *
 * Three bytes make four characters of A-Z a-z 0-9 + /, six bits each. The last group of a text may hold one or two
 * bytes; "=" then fills it up.
 *
 *     unsigned char in[3] = {0x4D, 0, 0}, back[3];
 *     char out[4];
 *     encodeToBase64(in, out, 1);                        TQ==
 *     decodeFromBase64(out, back);                       4D 3F FF, of which the first byte counts
 *
 * Common rules
 *   Nothing is terminated, reported or kept. Input and output may be the same memory. All functions may be called from
 *   several threads.
 *   Source: S. Josefsson, The Base16, Base32, and Base64 Data Encodings, RFC 4648, 2006, section 4.
 */
#ifndef TESKA_BASE64_H
#define TESKA_BASE64_H
#include "teska_api.h"
TESKA_BEGIN_C

/* encodeToBase64 - encode one group.
 *
 * in   n bytes and, when n is below 3, a zero byte more
 * out  4 characters, owned by the caller
 * n    bytes in the group, 1 .. 3; less counts as 1, more as 3
 * Returns the last character written.
 * Kept: the byte after the group is encoded too, as far as it reaches into the group's last character: 4D 61 FF as two
 * bytes gives "TWH=" where 4D 61 00 gives "TWE=".
 */
TESKA_API char encodeToBase64(const unsigned char *in, char *out, int n) TESKA_NOTHROW;

/* decodeFromBase64 - decode one group.
 *
 * in   4 characters
 * out  3 bytes, owned by the caller, all of them written; how many count is known from the number of "="
 * Returns the last byte written.
 * Kept: a character outside the alphabet, "=" too, is taken as eight set bits and sets every bit of the output that it
 * touches, the lower bits of its neighbour's byte included: "A=AA" gives 0F F0 00.
 */
TESKA_API unsigned char decodeFromBase64(const char *in, unsigned char *out) TESKA_NOTHROW;

TESKA_END_C
#endif
