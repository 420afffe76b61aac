/* str_utils.h - helpers for zero-terminated texts
 *
 * Texts are single bytes. "Without case" folds the letters A to Z and a to z of ASCII and nothing else, whatever the
 * locale. Bytes compare as signed 8-bit values: those from 128 on sort before all of ASCII.
 *
 *     char key[80], value[80];
 *     if (strsplit("Resolution = 600", '=', key, value) == 0)     "Resolution", "600"
 *         if (strcmp_ci(key, "resolution") == 0)
 *             ...
 *
 * Arguments named text, source, pattern and the like are zero-terminated.
 *
 * White space, where a function trims it, is blank, tab, line feed and carriage return. Pointers must not be null
 * except where a block says so. Nothing here allocates, reports or keeps state; all functions are safe from any thread.
 */
#ifndef TESKA_STR_UTILS_H
#define TESKA_STR_UTILS_H
#include "teska_api.h"
TESKA_BEGIN_C

/* ---- Compare ----------------------------------------------------------------------------------------------------- */

/* strcmp_ci - compare two texts without case: -1 when a comes first, 0 when they are equal, 1 when b does.
 *
 * Letters are folded to upper case, so the six characters between 'Z' and 'a' sort after all letters.
 * Kept: the end of a text is tested before the bytes are compared, so a text that goes on is the greater one even when
 * the byte it goes on with is negative.
 */
TESKA_API int strcmp_ci(const char *a, const char *b) TESKA_NOTHROW;

/* strncmp_ci - compare exactly n bytes without case: 0 equal (also when n < 1), 1 different.
 *
 * a, b  n bytes each
 * Kept: a terminating zero does not end the comparison; both must hold n bytes.
 */
TESKA_API int strncmp_ci(const char *a, const char *b, int n) TESKA_NOTHROW;

/* chr_eq_ci - 1 when the characters a and b are equal without case, else 0.
 *
 * a, b  any bytes
 */
TESKA_API int chr_eq_ci(char a, char b) TESKA_NOTHROW;

/* str_ins - the order of element lists for texts: 1 when strcmp_ci(element, key) >= 0, else 0. Also in list.h. */
TESKA_API int str_ins(const void *element, const void *key) TESKA_NOTHROW;

/* ---- Copy, trim, split ------------------------------------------------------------------------------------------- */

/* strncpy_w0 - copy at most n characters and always end with a zero.
 *
 * destination  min(n, length of source) + 1 bytes are written; n < 0 counts as 0
 * source       zero-terminated, or n characters
 * Returns 0.
 */
TESKA_API int strncpy_w0(char *destination, const char *source, int n) TESKA_NOTHROW;

/* normstr_wc - remove leading and trailing white space, in place. */
TESKA_API void normstr_wc(char *text) TESKA_NOTHROW;

/* normstr - normstr_wc, then A to Z become a to z, in place. */
TESKA_API void normstr(char *text) TESKA_NOTHROW;

/* normstr_wc_cp - copy, then normstr_wc on the copy. Source first; the destination needs room for all of it. */
TESKA_API void normstr_wc_cp(const char *source, char *destination) TESKA_NOTHROW;

/* normstr_cp - copy, then normstr on the copy. Source first; the destination needs room for all of it. */
TESKA_API void normstr_cp(const char *source, char *destination) TESKA_NOTHROW;

/* strsplit - split at the first separator; both sides are trimmed as by normstr_wc.
 *
 * text         zero-terminated; not changed, unless it is left or right too
 * left, right  room for their side before trimming; one of them may be the text itself
 * Returns 0; 1 when there is no separator or a pointer is null (left and right are then untouched). A separator of 0 is
 * never found.
 */
TESKA_API int strsplit(const char *text, char separator, char *left, char *right) TESKA_NOTHROW;

/* str_remove_multiple_blanks - every run of blanks becomes one, in place; tabs stay, nothing is trimmed. Returns 0. */
TESKA_API int str_remove_multiple_blanks(char *text) TESKA_NOTHROW;

/* ---- Search ------------------------------------------------------------------------------------------------------ */

/* str_str - first occurrence of pattern in text, or NULL. An empty pattern is found at the start of the text.
 *
 * Kept: nothing is found in an empty text, not even an empty pattern.
 */
TESKA_API char *str_str(const char *text, const char *pattern) TESKA_NOTHROW;

/* strstr_ci - the same, letters compared without case. */
TESKA_API char *strstr_ci(const char *text, const char *pattern) TESKA_NOTHROW;

/* ---- Cursors ----------------------------------------------------------------------------------------------------- */

/* str_go_to_next_line - move the cursor to the start of the next line, or to the end of the text. Lines end in CR LF,
 * LF or CR. */
TESKA_API void str_go_to_next_line(const char **cursor) TESKA_NOTHROW;

/* str_go_to_next_word - move the cursor to the start of the next word.
 *
 * Unless on a blank, goes to the next blank, tab, line feed, carriage return or end of text; then over blanks, tabs and
 * zero bytes. A line feed or carriage return stops it.
 * Returns the character reached.
 * Kept: the end of the text is stepped over like a blank. Use it only where another word follows.
 */
TESKA_API char str_go_to_next_word(const char **cursor) TESKA_NOTHROW;

TESKA_END_C

#ifdef __cplusplus
inline void str_go_to_next_line(char **cursor) noexcept { str_go_to_next_line(const_cast<const char **>(cursor)); }
inline char str_go_to_next_word(char **cursor) noexcept
{
    return str_go_to_next_word(const_cast<const char **>(cursor));
}
#endif
#endif
