/* error_mess.h - error and diagnostic reporting
 *
 * Every module reports a failure as one line of text and returns a failure value. What becomes of the line is
 * decided by the reporting mode, a process-wide setting that a thread may replace by one of its own:
 *
 *     mode 1   printed on standard output at once (the initial mode), or handed to a function of the caller's
 *     mode 2   queued until error_get fetches it; equal lines, letters compared without case, are queued once
 *     mode 3   kept as the last one until error_get fetches it
 *     others   dropped
 *
 *     int before = error_set(2);                     collect
 *     list_rec *list = list_new(10, 8, NULL);
 *     for (const char *line; (line = error_get()) != NULL; )
 *         log_line(line);                            "ERROR : 'list_new : Not enough resources to create list'"
 *     error_set(before);                             queued lines that were not fetched are lost
 *
 * Common rules
 *   A line is a prefix, the message and a closing quote, at most 511 characters. The message is data, never a format.
 *   Threads: any number of threads may call these functions, and functions that report, at the same time. The mode of
 *   error_set, its queue and kept line, the function of error_set_handler, the threshold and the debug switch are
 *   process-wide, guarded by one lock. Lines of different threads are never mixed within a line; lines that one failing
 *   call reports may have those of another thread between them. A thread that needs exactly the lines of its own calls,
 *   as a language binding does, asks for a mode of its own: error_set_thread.
 *   Numbers that the library writes and reads as text have a point whatever the locale; it never calls setlocale.
 */
#ifndef TESKA_ERROR_MESS_H
#define TESKA_ERROR_MESS_H
#include "teska_api.h"
TESKA_BEGIN_C

/* ---- Errors ------------------------------------------------------------------------------------------------------ */

/* error_mess_fl - report a failure: "ERROR : 'message'".
 *
 * message     what failed, as "function : what"; not null
 * file, line  where; accepted and not used
 * Returns 0.
 * Kept: a line in the process-wide queue keeps its first 256 characters. Reported again, the whole line differs from
 * the one kept and is queued once more.
 * Kept: when that queue cannot grow, the line is lost and reported in its place is
 * "list_insert : Unable to extend list, insufficient resources"; while memory stays short such reports end at a depth
 * of 16.
 */
TESKA_API int error_mess_fl(const char *message, const char *file, int line) TESKA_NOTHROW;

/* error_get - fetch a line that was queued (mode 2) or kept (mode 3), of the calling thread's own mode if it has one.
 *
 * Returns a buffer of the calling thread, valid until its next error_get, error_display_all_msgs or report in mode 3;
 * NULL when nothing is pending.
 * Kept: lines of the process-wide queue come in descending order of their text, letters compared without case, not in
 * the order reported.
 */
TESKA_API char *error_get(void) TESKA_NOTHROW;

/* error_display_all_msgs - print what error_get gives, a line each, on standard output. No line of another thread comes
 * between them. Returns 0. */
TESKA_API int error_display_all_msgs(void) TESKA_NOTHROW;

/* error_set - set the process-wide reporting mode.
 *
 * Forgets the line kept in mode 3, also when the mode stays the same. Entering mode 2 creates the queue, staying in it
 * keeps the queued lines, leaving it drops them.
 *
 * mode  any value is stored; those but 1, 2 and 3 drop error lines
 * Returns the previous mode. When the queue cannot be created the previous mode stays in force and is returned, so only
 * the next call shows that mode 2 was not reached.
 */
TESKA_API int error_set(int mode) TESKA_NOTHROW;

/* The mode of a thread that has none of its own, and the result of error_set_thread when memory is short. */
#define TESKA_ERROR_PROCESS_WIDE (-1)
#define TESKA_ERROR_NO_MEMORY (-2)

/* error_set_thread - set a reporting mode for the calling thread alone.
 *
 *     int before = error_set_thread(2);
 *     if (list_insert(list, element) < 0)
 *         while ((line = error_get()) != NULL)       this thread's lines, first reported first
 *             append(text, line);
 *     error_set_thread(before);
 *
 * Until the mode is set back, the lines that this thread reports go by its own mode, and error_get and
 * error_display_all_msgs give it those lines only. Other threads, and what error_set controls, are not affected.
 *
 *     mode 1   printed at once
 *     mode 2   queued as they are and in the order reported, equal lines too. The queue holds 64 lines; while it is
 *              full, further ones are lost. Reporting needs no memory.
 *     mode 3   the last one is kept
 *     mode 0   dropped
 *     TESKA_ERROR_PROCESS_WIDE   back to the mode of error_set (the initial mode of a thread)
 *
 * Lines that were not fetched are lost, but for queued ones when mode 2 is set again. They are also lost when the
 * thread ends.
 *
 * mode  one of the above; any other value counts as 0
 * Returns the thread's previous mode; TESKA_ERROR_NO_MEMORY, with nothing changed, when the queue cannot be created.
 */
TESKA_API int error_set_thread(int mode) TESKA_NOTHROW;

/* A function that gets the lines which would be printed: "ERROR : 'message'", without a line end. Called on the thread
 * that reports, while a function of the library is under way: it must leave the objects of that function alone, and
 * must not throw or leave by longjmp. What the library reports meanwhile, on its thread, is dropped.
 *
 * context  as given with the function
 * line     valid during the call
 */
typedef void (*error_handler)(void *context, const char *line);

/* error_set_handler - hand lines to a function instead of printing them, for the whole process.
 *
 *     static void log_line(void *file, const char *line) { fprintf(file, "%s\n", line); }
 *
 *     error_set_handler(log_line, stderr, NULL);     a filter whose standard output belongs to its data
 *
 * Standard output gets no line of error_mess_fl, error_display_all_msgs, teska_warn or dbg any more. Modes are what
 * they were: lines that are queued, kept or dropped are not handed over.
 * The function is called by one thread at a time, under the lock of the reports: it must not wait for another thread
 * that may report. When error_set_handler returns, the function of before is not under way and will not be called.
 *
 * handler   null: print (the initial state)
 * context   handed to it; not looked at
 * previous  receives the context of before; may be null
 * Returns the function of before, NULL for printing.
 */
TESKA_API error_handler error_set_handler(error_handler handler, void *context, void **previous) TESKA_NOTHROW;

/* error_set_thread_handler - the same for the lines of the calling thread alone, in place of the function of the
 * process.
 *
 *     error_set_thread(1);
 *     error_set_thread_handler(show_line, &window, NULL);
 *
 * It is called without the lock, unless error_display_all_msgs calls it. Other threads are not affected.
 *
 * handler   null: what error_set_handler says (the initial state of a thread)
 */
TESKA_API error_handler error_set_thread_handler(error_handler handler, void *context, void **previous) TESKA_NOTHROW;

/* error_exit - fatal error: hands "ERROR  : 'message'" (two blanks) to errexit of wem.h, whatever the mode.
 *
 * Returns what errexit returns, if it does: the default prints the line and ends the process. A handler set by
 * wem_set_errexit may also leave by longjmp or by throwing.
 */
TESKA_API int error_exit(const char *message);

/* ---- Warnings and debugging -------------------------------------------------------------------------------------- */

/* teska_warn - print "WARNING  : 'message'" (two blanks) on standard output when level > threshold, in every mode. */
TESKA_API void teska_warn(int level, const char *message) TESKA_NOTHROW;

/* teska_warn_level - set the threshold of teska_warn, initially 0; may be negative. Returns the previous one. */
TESKA_API int teska_warn_level(int threshold) TESKA_NOTHROW;

/* dbg - print "DEBUG : 'message'" on standard output while the debug switch is on, in every mode. */
TESKA_API void dbg(const char *message) TESKA_NOTHROW;

/* dbg_set - set the debug switch, initially 0.
 *
 * on  nonzero: dbg prints
 * Returns the previous value.
 */
TESKA_API int dbg_set(int on) TESKA_NOTHROW;

TESKA_END_C
#endif
