/* md5_digest.h - the MD5 message digest, of bytes and of whole files
 *
 * A check against damage and mix-ups. MD5 is no protection against forgery: two contents of one digest can be made.
 *
 *     char text[33];
 *     if (MD5_check_file("profile.icc", text) == 0)
 *         puts(text);                                    D41D8CD98F00B204E9800998ECF8427E for an empty file
 *
 *     MD5_CTX context;
 *     unsigned char digest[16];
 *     MD5Init(&context);
 *     MD5Update(&context, header, sizeof header);
 *     MD5Update(&context, data, size);                   the cuts between the pieces do not matter
 *     MD5Final(digest, &context);
 *
 * Common rules
 *   A context is the caller's own memory and holds no other; it may be copied at any time, and both then go on.
 *   Contexts are independent of each other; one context is used by one thread at a time.
 *   Source: R. Rivest, The MD5 Message-Digest Algorithm, RFC 1321, 1992, section 3.
 */
#ifndef TESKA_MD5_DIGEST_H
#define TESKA_MD5_DIGEST_H
#include "teska_api.h"

#include <stdint.h>
TESKA_BEGIN_C

/* A digest on its way. */
typedef struct MD5_CTX {
    uint32_t state[4];        /* the four words A, B, C, D over all whole blocks so far */
    uint32_t count[2];        /* number of bits so far, modulo 2^64, low word first */
    unsigned char buffer[64]; /* the bytes after the last whole block */
} MD5_CTX;

/* MD5Init - start a digest.
 *
 * context  not null; its former content does not matter
 */
TESKA_API void MD5Init(MD5_CTX *context) TESKA_NOTHROW;

/* MD5Update - add bytes to a digest.
 *
 * bytes  count bytes; may be null when count is 0
 * O(count); whole blocks are taken from where they are.
 */
TESKA_API void MD5Update(MD5_CTX *context, const void *bytes, unsigned count) TESKA_NOTHROW;

/* MD5Final - finish a digest.
 *
 * digest   16 bytes, owned by the caller
 * context  all zero afterwards; the next digest begins with MD5Init
 */
TESKA_API void MD5Final(unsigned char digest[16], MD5_CTX *context) TESKA_NOTHROW;

/* MD5_check_file - the digest of a file as text.
 *
 * path  UTF-8, through lopra.h
 * text  33 bytes, owned by the caller: 32 digits 0-9 and A-F, the high half of each byte first, and a zero byte
 * Returns 0; or 1 when the file cannot be examined or opened, is a directory or a named pipe, which is not waited for,
 * or is larger than 2147483647 bytes; the text is then untouched. Nothing is reported.
 * Kept: as many bytes are digested as the file had when it was examined. Those that cannot be read, because it has
 * shrunk since or the disk fails, count as zeros, and the result is 0 all the same.
 */
TESKA_API int MD5_check_file(const char *path, char *text) TESKA_NOTHROW;

TESKA_END_C
#endif
