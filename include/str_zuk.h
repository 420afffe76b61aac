/* str_zuk.h - topics and items of record text in memory
 *
 * Record text is read line by line. A topic in square brackets is followed by its items, a name, an equals sign and a
 * value each; values are often lists of numbers:
 *
 *     [paper]   anything after the bracket is ignored
 *     white = 95.2 -0.4 1.8
 *     weight = 120
 *
 *     const char *cursor = text;
 *     char value[257];
 *     double white[3];
 *     if (str_search_zuk(&cursor, "paper", "white", value) == 1)
 *         str_double_from_itemstr(value, 3, white);
 *
 * Syntax
 *   Lines end in CR LF, LF or CR. "Blanks" below are the blank and the tab.
 *   A topic line is optional blanks, "[", the name and "]". The name has trailing blanks removed, leading ones kept.
 *   Other lines are passed over by the functions that look for topics.
 *   An item is a name, "=" and a value up to the end of the line. The name has trailing blanks removed, leading ones
 *   kept; the value has both removed, is at most 256 characters long, and what is longer is passed over.
 *   Kept: a name begins at the cursor and ends at the next "=", in whatever line that is. A comment or empty line
 *   between items thus belongs to the name of the item after it.
 *
 * A cursor is the address of a text pointer; functions move that pointer where their block says so. The current topic
 * reaches from the cursor through the next topic line, or to the end of the text.
 * Kept: it includes that line, so "[B=x]" is also an item "[B" with the value "x]".
 *
 * Two caches of the calling thread remember where a topic was found, one for str_search_zuk_topic and one for
 * str_search_zuk. Both know a text by its address alone: after changing a text, or putting another one in its place,
 * each thread that searched it calls str_search_zuk_cache_reset. All functions may be called by any number of threads
 * at the same time, with the same text too.
 * Pointers must not be null. Nothing is reported. Outputs are untouched on failure except where a block says so.
 * Numbers are read and written with a point whatever the locale.
 */
#ifndef TESKA_STR_ZUK_H
#define TESKA_STR_ZUK_H
#include "teska_api.h"
TESKA_BEGIN_C

/* ---- Topics ------------------------------------------------------------------------------------------------------ */

/* str_get_next_zuk_topic - find the next topic line, the cursor's own included.
 *
 * name  takes the topic's name and a zero; room for whatever is between two brackets of the text
 * Returns 0, and the cursor is after the topic line; -1 when no topic follows: the name is then empty and the
 * cursor at the end of the text. A "[" that is never closed ends the search.
 */
TESKA_API int str_get_next_zuk_topic(const char **cursor, char *name) TESKA_NOTHROW;

/* str_get_nr_of_zuk_topics - number of topics from the cursor to the end. The cursor stays. */
TESKA_API int str_get_nr_of_zuk_topics(const char **cursor) TESKA_NOTHROW;

/* str_search_zuk_topic - look for a topic by its name, without case. The cursor stays.
 *
 * The search begins after the topic found last in this text, then at the cursor: topics asked for in their order cost
 * one step each, and a look whether the text still reaches to the last one.
 * Returns 1 when the text holds the topic, else 0.
 */
TESKA_API int str_search_zuk_topic(const char **cursor, const char *topic) TESKA_NOTHROW;

/* ---- Items of the current topic ---------------------------------------------------------------------------------- */

/* str_get_zuk_item_name - the name of the item at the cursor, which stays.
 *
 * name  takes the name, of whatever length, and a zero: room for the text from the cursor on
 * Returns 0, or -1 at the end of the text.
 * Kept: without a further "=" the name is all the rest of the text.
 */
TESKA_API int str_get_zuk_item_name(const char **cursor, char *name) TESKA_NOTHROW;

/* str_get_zuk_item - the value of the item at the cursor, if it has the given name.
 *
 * item   name, compared with case. Of a name in the text only the first 256 characters count.
 * value  257 bytes
 * Returns 0, and the cursor is at the next line; -1 when the name is another one or the text is at its end.
 * Kept: when the name is right and no "=" follows, the result is -1 with the cursor at the end of the text.
 */
TESKA_API int str_get_zuk_item(const char **cursor, const char *item, char *value) TESKA_NOTHROW;

/* str_get_next_zuk_item - name and value of the next item of the current topic.
 *
 * name, value  257 bytes each; a longer name is cut
 * Returns 0, and the cursor is at the next line; -1 when the topic holds no further item: the cursor stays.
 */
TESKA_API int str_get_next_zuk_item(const char **cursor, char *name, char *value) TESKA_NOTHROW;

/* str_search_zuk_item - look in each line of the current topic for an item of that name. The cursor stays.
 *
 * item, value  as for str_get_zuk_item
 * Returns 0 when the topic holds the item, else -1.
 */
TESKA_API int str_search_zuk_item(const char **cursor, const char *item, char *value) TESKA_NOTHROW;

/* ---- Topic and item ---------------------------------------------------------------------------------------------- */

/* str_search_zuk - look for an item in the topic of a given name. The cursor stays.
 *
 * The search for the topic goes on where the last one in this text ended, and comes round to the start of the text. The
 * same topic, spelled alike, is not searched again.
 *
 * topic  compared without case
 * item   compared with case
 * value  257 bytes
 * Returns 1 when the topic holds the item, else 0.
 * Kept: where a text has several topics of the same name, the first one after the last found is taken, and a search
 * that has come round ends at any topic spelled as the last found.
 */
TESKA_API int str_search_zuk(const char **cursor, const char *topic, const char *item, char *value) TESKA_NOTHROW;

/* str_search_zuk_cache_reset - forget what str_search_zuk found in this thread.
 *
 * Returns 0.
 * Kept: str_search_zuk_topic keeps its own. After a change of the text it looks after the old place first if that is
 * still the start of a line, then everywhere.
 */
TESKA_API int str_search_zuk_cache_reset(void) TESKA_NOTHROW;

/* ---- Numbers in values ------------------------------------------------------------------------------------------- */

/* str_double_from_itemstr - read n numbers from a value.
 *
 * text  numbers as "%lf" reads them, separated by blanks; what follows a number up to the next blank is passed over
 * n     numbers to read; less than 1 reads nothing and returns 0. More than n may be there.
 * out   n doubles
 * Returns 0, or -1 when fewer than n can be read; those before the bad one are then stored.
 * Kept: a tab does not separate numbers: "1\t2" holds one.
 */
TESKA_API int str_double_from_itemstr(const char *text, int n, double *out) TESKA_NOTHROW;

/* str_int_from_itemstr - the same for decimal ints; of "1.5" the 1 is read. Beyond an int's range the nearest is
 * given. */
TESKA_API int str_int_from_itemstr(const char *text, int n, int *out) TESKA_NOTHROW;

/* str_itemstr_from_double - write n numbers as a value.
 *
 * The format is that of str_from_vd (file_double.h): four significant digits, a blank on either side of each number.
 *
 * n     how many values; less than 1 gives the empty text
 * text  up to 9 bytes per number of magnitude below 10000, and a zero; a larger number takes all its integer digits, up
 *       to 312 bytes
 * Returns 0; cannot fail.
 */
TESKA_API int str_itemstr_from_double(const double *values, int n, char *text) TESKA_NOTHROW;

TESKA_END_C

#ifdef __cplusplus
inline int str_get_next_zuk_topic(char **cursor, char *name) noexcept
{
    return str_get_next_zuk_topic(const_cast<const char **>(cursor), name);
}
inline int str_get_nr_of_zuk_topics(char **cursor) noexcept
{
    return str_get_nr_of_zuk_topics(const_cast<const char **>(cursor));
}
inline int str_search_zuk_topic(char **cursor, const char *topic) noexcept
{
    return str_search_zuk_topic(const_cast<const char **>(cursor), topic);
}
inline int str_get_zuk_item_name(char **cursor, char *name) noexcept
{
    return str_get_zuk_item_name(const_cast<const char **>(cursor), name);
}
inline int str_get_zuk_item(char **cursor, const char *item, char *value) noexcept
{
    return str_get_zuk_item(const_cast<const char **>(cursor), item, value);
}
inline int str_get_next_zuk_item(char **cursor, char *name, char *value) noexcept
{
    return str_get_next_zuk_item(const_cast<const char **>(cursor), name, value);
}
inline int str_search_zuk_item(char **cursor, const char *item, char *value) noexcept
{
    return str_search_zuk_item(const_cast<const char **>(cursor), item, value);
}
inline int str_search_zuk(char **cursor, const char *topic, const char *item, char *value) noexcept
{
    return str_search_zuk(const_cast<const char **>(cursor), topic, item, value);
}
#endif
#endif
