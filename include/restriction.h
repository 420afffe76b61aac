/* restriction.h - linear restrictions on a point
 *
 * A restriction is the set of points x of nx coordinates with a . x = b for each of its equalities and a . x <= b
 * for each of its inequalities. The equalities make some coordinates depend on the others; those others are its
 * free variables, and keep their meaning as coordinates.
 *
 *     const double plane[] = {1, 1, 1, 6};                       x + y + z = 6
 *     restriction *r = restriction_new(3, 1, plane, 0, NULL);
 *     const double free_vars[] = {2, 3};
 *     double x[3];
 *     restriction_makeX(r, free_vars, x);                        (1, 2, 3): y and z are free
 *     restriction_kill(r);
 *
 * Common rules
 *   A row is nx + 1 doubles, a[0] to a[nx - 1] and b. Handles are not null unless a block says so; rows are
 *   copied. Failures are reported through error_mess_fl (error_mess.h). A restriction does not change after its
 *   creation: any number of threads may use one at once.
 *   Sums run over rising index. The equalities are kept in reduced row echelon form: they are taken in the given
 *   order, the pivot of each is its largest magnitude in a column that is not yet dependent, the lowest column
 *   of equals.
 *   Source: Gill, Murray, Wright, Practical Optimization, Academic Press 1981, section 5.2 (active sets).
 */
#ifndef TESKA_RESTRICTION_H
#define TESKA_RESTRICTION_H
#include "teska_api.h"
TESKA_BEGIN_C

/* The opaque record of a restriction. */
typedef struct restriction restriction;

/* ---- Life -------------------------------------------------------------------------------------------------------- */

/* restriction_new - create a restriction.
 *
 * nx       coordinates of a point, at least 1
 * neq      number of equalities
 * eq       neq rows; may be null when there are none
 * nineq    number of inequalities
 * ineq     nineq rows; may be null when there are none
 * An equality whose pivot is not above 1e-12 of the row's largest magnitude follows from those before it; it is
 * dropped if what is left of b is not above 1e-9 * (1 + |b|).
 * Returns the restriction, owned by the caller (restriction_kill), or NULL with
 * "restriction_new: inconsistent restrictions" or, for impossible counts as well, "restriction_new: malloc failed".
 */
TESKA_API restriction *restriction_new(int nx, int neq, const double *eq, int nineq, const double *ineq) TESKA_NOTHROW;

/* restriction_kill - free a restriction.
 *
 * r  may be null
 * Returns NULL, to be written back into the handle.
 */
TESKA_API restriction *restriction_kill(restriction *r) TESKA_NOTHROW;

/* ---- Query ------------------------------------------------------------------------------------------------------- */

/* restriction_get_num_of_var - the number of free variables: coordinates less independent equalities; 0 for null. */
TESKA_API int restriction_get_num_of_var(const restriction *r) TESKA_NOTHROW;

/* restriction_makeX - the full point of given free variables.
 *
 * free_vars  the free coordinates in ascending order
 * x          out: nx coordinates; must not overlap free_vars
 * Returns 0.
 */
TESKA_API int restriction_makeX(const restriction *r, const double *free_vars, double *x) TESKA_NOTHROW;

/* ---- Process ----------------------------------------------------------------------------------------------------- */

/* restriction_new_check - how far a step may go, and what stops it.
 *
 * limits     whose inequalities count; null: those of current
 * free_vars  of current: where the step begins
 * step       of current: as many values
 * alpha      out: 1, or the part of the step that can be made
 * An inequality stops the step when the point after it has a . x > b + 1e-12 * (1 + |b|), unless a . x does not
 * change by more than 1e-20 or the row follows from the equalities. Of several the one met first counts, the
 * lowest of equals. One that is violated at the start already stops the step there.
 * Returns NULL when nothing stops it; otherwise a new restriction, owned by the caller, with the equalities of
 * current and that row as one more, and the inequalities of current. When memory runs out: NULL with
 * "restriction_new: malloc failed", and alpha 0.
 */
TESKA_API restriction *restriction_new_check(const restriction *current, const restriction *limits,
                                             const double *free_vars, const double *step, double *alpha) TESKA_NOTHROW;

/* restriction_get_back - free variables of one restriction as those of another.
 *
 * reduced       whose points all belong to current, as those restriction_new_check makes
 * reduced_vars  its free variables
 * current_vars  out: the free variables of current for the same point; must not overlap reduced_vars
 * Returns 0.
 */
TESKA_API int restriction_get_back(const restriction *reduced, const restriction *current, const double *reduced_vars,
                                   double *current_vars) TESKA_NOTHROW;

TESKA_END_C
#endif
