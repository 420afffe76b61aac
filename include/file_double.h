/* file_double.h - named vectors of doubles in a record file, and vectors as the text of an item
 *
 *     file_double *inks = file_double_new("inks.rec", 3, 1);
 *     double primary[3] = {0.25, 150.0, -1234.4};
 *     file_double_add_item(inks, "cyan", primary);          cyan = 0.250  150.0  -1234
 *     file_double_save(inks);
 *     int state = 0;
 *     for (char *name; (name = file_double_list(inks, &state, primary)) != NULL;)
 *         printf("%s: %f\n", name, primary[0]);
 *     file_double_kill(inks);
 *
 * A table is the topic "patches" of one record file; each of its items is a vector of the table's length, kept to about
 * four digits. zuk.h describes the files and how they are saved.
 *
 * Numbers are read and written with a point whatever the locale.
 * Tables are independent of each other; each is used by one thread at a time. The other functions use their arguments
 * alone.
 */
#ifndef TESKA_FILE_DOUBLE_H
#define TESKA_FILE_DOUBLE_H
#include "teska_api.h"
TESKA_BEGIN_C

/* The opaque record of a table. */
typedef struct file_double file_double;

/* ---- Life -------------------------------------------------------------------------------------------------------- */

/* file_double_new - open or make a table.
 *
 * path    of the record file, in UTF-8; a relative one is meant from the directory at the time of the call
 * length  doubles of a vector; less than 1 makes vectors without numbers
 * create  0: the file is loaded and must be there. Otherwise an empty one is made at once, in place of one that is
 *         there; the topic follows with the first save.
 * Returns the table, freed with file_double_kill, or null without a report when memory runs out or the record file
 * cannot be had; where one was to be made, an empty one may then be there. A file without the topic is loaded, but
 * takes and lists no items.
 */
TESKA_API file_double *file_double_new(const char *path, int length, int create) TESKA_NOTHROW;

/* file_double_kill - free a table; what was not saved is lost. Null is accepted. Returns 0. */
TESKA_API int file_double_kill(file_double *table) TESKA_NOTHROW;

/* ---- Change ------------------------------------------------------------------------------------------------------ */

/* file_double_add_item - add a vector, or replace the one of that name.
 *
 * name    as zuk_add_item takes it
 * vector  as many doubles as the table's length
 * Returns 0, or -1: with "Error bad formatted item string from doubles, ier -1 " when the text has more than 159
 * characters (22 numbers from 0 to 999 fit; each sign takes one character more), and without a report when the record
 * file refuses the item or memory runs out. Nothing is then changed.
 */
TESKA_API int file_double_add_item(file_double *table, const char *name, const double *vector) TESKA_NOTHROW;

/* ---- Query ------------------------------------------------------------------------------------------------------- */

/* file_double_list - give the vectors one by one, in the order of the file.
 *
 * state   0 at first; on return the place of the next one
 * vector  as many doubles as the table's length
 * Returns the name, owned by the table and valid until it is killed, or null: at the end, and with "Error bad item
 * string for double conversions" for an item with too few numbers, after which the next call goes on.
 * Kept: an item named "_internal_", the case ignored, is passed over, though it can be added.
 */
TESKA_API char *file_double_list(file_double *table, int *state, double *vector) TESKA_NOTHROW;

/* ---- Process ----------------------------------------------------------------------------------------------------- */

/* file_double_save - bring the table to the disk.
 *
 * Returns 0, or -1 when that failed: the old file is then still there, or the new one is when only the flush of the
 * folder failed. The next call tries again.
 */
TESKA_API int file_double_save(file_double *table) TESKA_NOTHROW;

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
