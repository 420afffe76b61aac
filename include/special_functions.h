/* special_functions.h - a straight line through points by least squares, and how well it fits
 *
 *     double a, b, siga, sigb, chi2, q;
 *     least_square_fit(x, y, 12, error_of_y, 1, &a, &b, &siga, &sigb, &chi2, &q);
 *     if (q < 0.001)
 *         ...                                            so large a chi-square is hardly an accident: not a line
 */
#ifndef TESKA_SPECIAL_FUNCTIONS_H
#define TESKA_SPECIAL_FUNCTIONS_H
#include "teska_api.h"
TESKA_BEGIN_C

/* least_square_fit - fit y = a + b x.
 *
 * With s(i) = sig[i] when mwt is set, else 1, and w(i) = 1 / s(i)^2, all sums running from point 0 upwards:
 *
 *     S = sum w      Sx = sum x w      Sy = sum y w      t(i) = (x(i) - Sx / S) / s(i)      St2 = sum t^2
 *     b = (sum t y / s) / St2                            sigb = sqrt(1 / St2)
 *     a = (Sy - Sx b) / S                                siga = sqrt((1 + Sx^2 / (S St2)) / S)
 *     chi2 = sum ((y - a - b x) / s)^2
 *
 * x, y        the points
 * ndata       how many there are
 * sig         standard deviations of the y, ndata values; looked at only when mwt is set
 * mwt         nonzero: weigh each point by its standard deviation. Zero: the points are taken to be equally good and
 *             the line to be right, and siga and sigb are multiplied by sqrt(chi2 / (ndata - 2)), the deviation that
 *             follows from the distances.
 * a, b        out: intercept and slope
 * siga, sigb  out: their standard deviations
 * chi2        out: chi-square
 * q           out: the probability of a chi-square at least as large when the line is right, that is the complemented
 *             incomplete gamma function Q((ndata - 2) / 2, chi2 / 2); 1 when mwt is zero or ndata below 3. The error is
 *             below 1e-6, and up to 100 points below 1e-6 of q.
 * Returns 0 always. The outputs must lie outside the inputs.
 * What cannot be computed is NaN or infinite: everything for less than one point or for x that are all equal, siga and
 * sigb for two points without weights, what depends on a deviation of 0 or on a NaN.
 * From about 900 points on the 100 terms allowed for q may be too few: "a too large, ITMAX too small in routine gser"
 * or "a too large, ITMAX too small in gcf" is reported and q is what was reached. A NaN for chi-square reports the
 * latter.
 * Any number of threads may call it at once. All but q is the same bits on every machine; q agrees to 1e-12.
 * Source: W. H. Press et al., Numerical Recipes in C, 2nd ed., Cambridge University Press 1992, section 15.2; Q:
 * section 6.2 and M. Abramowitz, I. A. Stegun, Handbook of Mathematical Functions, National Bureau of Standards 1964,
 * 6.5.29 and 6.5.31; ln Gamma: C. Lanczos, A precision approximation of the gamma function, SIAM Journal on Numerical
 * Analysis B 1 (1964), pp. 86-96.
 */
TESKA_API int least_square_fit(const double *x, const double *y, int ndata, const double *sig, int mwt, double *a,
                               double *b, double *siga, double *sigb, double *chi2, double *q) TESKA_NOTHROW;

TESKA_END_C
#endif
