/* error_mess.h - error and diagnostic reporting
 *
 * Every module reports a failure as one line of text and returns a failure value. What becomes of the line is
 * decided by the reporting mode, a process-wide setting:
 *
 *     mode 1   printed on standard output at once (the initial mode)
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
 *   All state is process-wide and not locked: calls here, and of functions that may report, are to be serialised.
 *   Numbers that the library writes and reads as text need the C locale's decimal point; it never calls setlocale.
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
 * Kept: a queued line keeps its first 256 characters. Reported again, the whole line differs from the one kept and is
 * queued once more.
 * Kept: when the queue cannot grow, the line is lost and reported in its place is
 * "list_insert : Unable to extend list, insufficient resources"; while memory stays short such reports end at a depth
 * of 16.
 */
TESKA_API int error_mess_fl(const char *message, const char *file, int line) TESKA_NOTHROW;

/* error_get - fetch a line that was queued (mode 2) or kept (mode 3).
 *
 * Returns the library's buffer, valid until the next error_get, error_display_all_msgs or report in mode 3; NULL when
 * nothing is pending.
 * Kept: queued lines come in descending order of their text, letters compared without case, not in the order reported.
 */
TESKA_API char *error_get(void) TESKA_NOTHROW;

/* error_display_all_msgs - print what error_get gives, a line each, on standard output. Returns 0. */
TESKA_API int error_display_all_msgs(void) TESKA_NOTHROW;

/* error_set - set the reporting mode.
 *
 * Forgets the line kept in mode 3, also when the mode stays the same. Entering mode 2 creates the queue, staying in it
 * keeps the queued lines, leaving it drops them.
 *
 * mode  any value is stored; those but 1, 2 and 3 drop error lines
 * Returns the previous mode. When the queue cannot be created the previous mode stays in force and is returned, so only
 * the next call shows that mode 2 was not reached.
 */
TESKA_API int error_set(int mode) TESKA_NOTHROW;

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

/* dbg_set - set the debug switch, initially 0; nonzero is on. Returns the previous value. */
TESKA_API int dbg_set(int on) TESKA_NOTHROW;

TESKA_END_C
#endif
