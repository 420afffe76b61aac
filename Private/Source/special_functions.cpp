// special_functions - a straight line through points by least squares, and how well it fits (numerics)
//
// The sums are those of the textbook form that first moves the origin to the mean of x: the slope does not suffer from
// x values that lie close together far from 0. Points without deviations are points of deviation 1; multiplying and
// dividing by it changes no bit.
//
// Q(a, x) is computed where each of its two forms converges fast: the power series of P below x = a + 1, the continued
// fraction of Q above. Both have the factor
//
//     exp(-x) x^a / Gamma(a)
//
// which is taken through its logarithm, so that neither part overflows. Up to 100 terms: about sqrt(a) are needed.

#include "special_functions.h"

#include "Source/special_functions/gamma.h"
#include "Support/report.h"

#include <cmath>

namespace
{

constexpr int max_terms = 100;
constexpr double precision = 3.0e-7;    // relative, at which sums and fractions end
constexpr double least_part = 1.0e-30;  // replaces a numerator or denominator that vanishes

// Lanczos' sum for gamma = 5 with six terms: relative error below 2e-10 for positive x.
double ln_gamma(double x)
{
    constexpr double first = 1.000000000190015;
    constexpr double coefficients[] = {76.18009172947146,  -86.50532032941677,    24.01409824083091,
                                       -1.231739572450155, 0.1208650973866179e-2, -0.5395239384953e-5};
    constexpr double sqrt_2_pi = 2.5066282746310005;
    double sum = first;
    double divisor = x;
    for (const double coefficient : coefficients) {
        divisor += 1.0;
        sum += coefficient / divisor;
    }
    return (x + 0.5) * std::log(x + 5.5) - (x + 5.5) + std::log(sqrt_2_pi * sum / x);
}

double front_factor(double a, double x) { return std::exp(-x + a * std::log(x) - ln_gamma(a)); }

// P by its series: the terms x^n / (a (a + 1) .. (a + n)).
double gser(double a, double x)
{
    if (x <= 0.0) {
        if (x < 0.0)
            TESKA_ERR("x less than 0 in routine gser");
        return 0.0;
    }
    double divisor = a;
    double term = 1.0 / a;
    double sum = term;
    bool converged = false;
    for (int n = 0; n < max_terms && !converged; ++n) {
        divisor += 1.0;
        term *= x / divisor;
        sum += term;
        converged = std::fabs(term) < std::fabs(sum) * precision;
    }
    if (!converged)
        TESKA_ERR("a too large, ITMAX too small in routine gser");
    return sum * front_factor(a, x);
}

double away_from_zero(double part) { return std::fabs(part) < least_part ? least_part : part; }

// Q by its continued fraction, evaluated from the front after Lentz.
double gcf(double a, double x)
{
    double b = x + 1.0 - a;
    double c = 1.0 / least_part;
    double d = 1.0 / b;
    double fraction = d;
    bool converged = false;
    for (int i = 1; i <= max_terms && !converged; ++i) {
        const double numerator = -i * (i - a);
        b += 2.0;
        d = 1.0 / away_from_zero(numerator * d + b);
        c = away_from_zero(b + numerator / c);
        fraction *= d * c;
        converged = std::fabs(d * c - 1.0) < precision;
    }
    if (!converged)
        TESKA_ERR("a too large, ITMAX too small in gcf");
    return front_factor(a, x) * fraction;
}

struct sums {
    double s = 0.0;
    double x = 0.0;
    double y = 0.0;
};

}  // namespace

double teska::gammq(double a, double x) noexcept
{
    if (x < 0.0 || a <= 0.0)
        TESKA_ERR("Invalid arguments in routine gammq");
    return x < a + 1.0 ? 1.0 - gser(a, x) : gcf(a, x);
}

int least_square_fit(const double *x, const double *y, int ndata, const double *sig, int mwt, double *a, double *b,
                     double *siga, double *sigb, double *chi2, double *q) TESKA_NOTHROW
{
    const auto deviation = [=](int i) { return mwt != 0 ? sig[i] : 1.0; };

    sums sum;
    for (int i = 0; i < ndata; ++i) {
        const double weight = 1.0 / (deviation(i) * deviation(i));
        sum.s += weight;
        sum.x += x[i] * weight;
        sum.y += y[i] * weight;
    }
    const double mean = sum.x / sum.s;
    double st2 = 0.0;
    double slope = 0.0;
    for (int i = 0; i < ndata; ++i) {
        const double t = (x[i] - mean) / deviation(i);
        st2 += t * t;
        slope += t * y[i] / deviation(i);
    }
    slope /= st2;
    const double intercept = (sum.y - sum.x * slope) / sum.s;

    double distance = 0.0;
    for (int i = 0; i < ndata; ++i) {
        const double part = (y[i] - intercept - slope * x[i]) / deviation(i);
        distance += part * part;
    }
    // Of a double, because ndata may be the least int; and 0 for two points, where nothing is left to judge by.
    const double freedom = static_cast<double>(ndata) - 2.0;
    const double scale = mwt != 0 ? 1.0 : std::sqrt(distance / freedom);

    *a = intercept;
    *b = slope;
    *siga = std::sqrt((1.0 + sum.x * sum.x / (sum.s * st2)) / sum.s) * scale;
    *sigb = std::sqrt(1.0 / st2) * scale;
    *chi2 = distance;
    *q = mwt != 0 && ndata > 2 ? teska::gammq(0.5 * freedom, 0.5 * distance) : 1.0;
    return 0;
}
