/* wem - runtime services: report lines, fatal exit, logical names, record pools, clocks.
 *
 * The library and its hosts share one copy of these services: handlers and logical names exist once in a process.
 * A program that links the static libraries (WEM_STATIC is defined) has that copy in itself; no shared library that
 * it loads may then bring another.
 *
 *     char line[WEM_LINE_SIZE];
 *     wem_set_errexit(my_exit);                             a host decides what a fatal error does
 *     fmtstr(line, "ERROR : '", "list_new: no memory");     "ERROR : 'list_new: no memory'"
 *     typefl("# points in % mm", 12, 2.5);                  shows "12 points in 2.5 mm"
 *     wem_lognam_set("DISK", "C:\\data");
 *     lognam("disk", translation);                          1, "C:\data"
 *     wem_pool *pool = wem_zcreate(66, 8192);               records of 66 * 4 bytes
 *     void *record = wem_zalloc(pool);
 *     wem_zfree(pool, record);
 *     wem_zdestroy(pool);
 *
 * Rules common to all functions:
 * - Text is zero-terminated bytes; a null text counts as the empty text. Output buffers belong to the caller.
 * - No exception leaves, except one thrown by the host's own handler through errexit.
 * - Any number of threads may call any of these functions at the same time. Handlers and logical names are
 *   shared by the whole process: a handler may be called by several threads at once, and what a name
 *   translates to is the last translation that any thread gave it. Pools have a lock each.
 * - Numbers are printed with a point whatever the locale.
 */
#ifndef WEM_H
#define WEM_H

#if defined(WEM_STATIC)
#    define WEM_API
#elif defined(_WIN32)
#    if defined(WEM_BUILD)
#        define WEM_API __declspec(dllexport)
#    else
#        define WEM_API __declspec(dllimport)
#    endif
#else
#    define WEM_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
#    define WEM_NOTHROW noexcept
extern "C" {
#else
#    define WEM_NOTHROW
#endif

/* Bytes of a line buffer with its zero; bytes of a translation buffer with its zero. */
#define WEM_LINE_SIZE 512
#define WEM_NAME_SIZE 256

/* A line without its newline, from typefl or errexit. The text is valid during the call only. The handler
 * may call any function of this header. A handler of typefl must return normally; a handler of errexit may
 * also throw or longjmp. */
typedef int (*wem_line_fn)(const char *line);

/* ---- Lines -------------------------------------------------------------------------------------------
 *
 * Templates: '#' is replaced by the next argument, an int, as "%d" prints it; '%' by the next argument, a
 * double, as "%g" prints it in the C locale. Everything else is copied. There is no way to write the
 * marks themselves.
 */

/* fmtstr - build a line from a template and its values.
 *
 *     fmtstr(d, "ERROR : '", "x 100%")  ->  ERROR : 'x 100%'
 *     fmtstr(d, "nr_items = #", 7)      ->  nr_items = 7
 *
 * A template with neither mark takes one text, which is appended as it is: marks in the text mean nothing.
 * When the template leaves a quote (') open, the line closes it. An apostrophe between two letters is no
 * quote.
 *
 * destination  at least WEM_LINE_SIZE bytes; not null; may be one of the texts
 * templ        template
 * ...          one const char *, or one int or double for each mark in turn
 * Returns the length of the line, 0 to 511. A longer line is cut there, closing quote included.
 */
WEM_API int fmtstr(char *destination, const char *templ, ...) WEM_NOTHROW;

/* typefl - show a line to the user.
 *
 * templ  template; with neither mark it is the whole line, and no value follows
 * ...    one int or double for each mark in turn
 * Returns what the handler returns; without a handler the line goes to standard output with a newline, the
 * stream is flushed, and the result is 0. Lines are cut at 511 characters.
 */
WEM_API int typefl(const char *templ, ...) WEM_NOTHROW;

/* wem_set_typefl - let the host show the lines of typefl. Null restores standard output.
 * Returns the handler set before, null for standard output. */
WEM_API wem_line_fn wem_set_typefl(wem_line_fn handler) WEM_NOTHROW;

/* errexit - end the program because of a fatal error.
 *
 * Without a handler: writes the line and a newline to standard output and calls exit(1). With one: whatever
 * the handler does, so the call may return, throw or jump; callers hold no object with a destructor across
 * it.
 * Returns what the handler returns.
 */
WEM_API int errexit(const char *line);

/* wem_set_errexit - let the host decide what errexit does. Null restores the exit.
 * Returns the handler set before, null for the exit. */
WEM_API wem_line_fn wem_set_errexit(wem_line_fn handler) WEM_NOTHROW;

/* ---- Logical names -----------------------------------------------------------------------------------
 *
 * One table in the process, empty at the start. Names are compared without regard to the case of the
 * letters A to Z.
 */

/* lognam - translate a logical name.
 *
 * name         the name, without a colon
 * translation  WEM_NAME_SIZE bytes; receives the translation, or for an unknown name the name as given and
 *              ":", cut at 255 characters; may be the name's own buffer when that is large enough
 * Returns 1 when the name is defined, otherwise 0.
 */
WEM_API int lognam(const char *name, char *translation) WEM_NOTHROW;

/* wem_lognam_set - define, redefine or remove a logical name.
 *
 * name         1 to 255 characters
 * translation  at most 255 characters, copied as it is, not translated further; null removes the name
 * Returns 0, also when a name to be removed is unknown; -1 when a text is too long, the name is empty or
 * memory is short: the table is then unchanged.
 */
WEM_API int wem_lognam_set(const char *name, const char *translation) WEM_NOTHROW;

/* wem_lognam_clear - remove every logical name. Returns 0. */
WEM_API int wem_lognam_clear(void) WEM_NOTHROW;

/* ---- Record pools ------------------------------------------------------------------------------------
 *
 * A pool hands out records of one size. It takes memory from the heap in blocks and gives it back only when
 * the pool is destroyed; freed records are handed out again. A record may be taken by one thread and given
 * back by another; only wem_zdestroy needs the pool for itself.
 */
/* The opaque record of a pool. */
typedef struct wem_pool wem_pool;

/* wem_zcreate - make an empty pool.
 *
 * record_words  record size in words of 4 bytes; > 0
 * block_bytes   bytes of records taken from the heap at a time; a block always holds at least one record
 * Returns the pool, or null when record_words is not positive or memory is short. Takes no block yet.
 */
WEM_API wem_pool *wem_zcreate(int record_words, int block_bytes) WEM_NOTHROW;

/* wem_zalloc - take a record: zero-filled, also when it was used before, and aligned to 16 bytes.
 * Returns the record, valid until wem_zfree or wem_zdestroy; null when memory is short or the pool is null.
 * O(1), but for the call that takes a new block. */
WEM_API void *wem_zalloc(wem_pool *pool) WEM_NOTHROW;

/* wem_zfree - give a record back to the pool it came from. A null record is accepted. Returns 0. O(1). */
WEM_API int wem_zfree(wem_pool *pool, void *record) WEM_NOTHROW;

/* wem_zdestroy - free the pool with all its blocks; every record becomes invalid. Null is accepted. Returns
 * 0. */
WEM_API int wem_zdestroy(wem_pool *pool) WEM_NOTHROW;

/* ---- Clocks ------------------------------------------------------------------------------------------ */

/* elapsed - milliseconds of a clock that is never set back, the same for all processes of the host. Counts
 * from an arbitrary moment and starts again at 0 after 2^31 - 1 ms (24.8 days). Never negative; cannot
 * fail. */
WEM_API int elapsed(void) WEM_NOTHROW;

/* cputime - processor time this process has used on all its threads, in ms, kept to 31 bits as elapsed is. */
WEM_API int cputime(void) WEM_NOTHROW;

/* dattim - local date and time of day as decimal digits: 20240229 and 235959.
 * date, time_of_day  not null
 * Returns 0, or -1 with both set to 0 when the host cannot tell the local time. */
WEM_API int dattim(int *date, int *time_of_day) WEM_NOTHROW;

/* cvtdta - date as "dd-Mon-yyyy", in English whatever the locale.
 *
 * date  yyyymmdd, years 1 to 9999
 * text  12 bytes
 * Returns 0; for a date that the calendar does not have -1 and "unknown".
 */
WEM_API int cvtdta(int date, char *text) WEM_NOTHROW;

/* cvttma - time of day as "hh:mm:ss".
 *
 * time_of_day  hhmmss, 000000 to 235960 (second 60 is a leap second)
 * text         9 bytes
 * Returns 0; for a time that the day does not have -1 and "unknown".
 */
WEM_API int cvttma(int time_of_day, char *text) WEM_NOTHROW;

/* dayweek - day of the week, "Monday" to "Sunday", in English whatever the locale; Gregorian calendar
 * throughout.
 *
 * date  yyyymmdd, years 1 to 9999
 * text  10 bytes
 * Returns 0; for a date that the calendar does not have -1 and "unknown".
 */
WEM_API int dayweek(int date, char *text) WEM_NOTHROW;

#ifdef __cplusplus
}
#endif
#endif
