// dhsm - minimum of a function of several variables by the downhill simplex method (numerics)
//
// The points of the simplex stand one after another, n doubles each; their values beside them. A step needs room for
// two points and the centroid. A step's own work is a handful of passes over (n + 1) n doubles.
//
// Process-wide state: the tolerance of the solve that runs, for the built-in convergence test, and the record of the
// last failure.

#include "dhsm.h"

#include "vect.h"

#include "Support/checked_size.h"
#include "Support/memory.h"
#include "Support/module_error.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

struct dhsm {
    teska::heap_block<double> vertices;  // n + 1 points
    teska::heap_block<double> values;    // n + 1
    teska::heap_block<double> trial;     // also the steps of the first simplex
    teska::heap_block<double> trial2;
    teska::heap_block<double> centroid;
    std::int32_t n = 0;
    std::int32_t ready = 0;  // the simplex is set up
    dhsm_function function = nullptr;
    dhsm_conv_test conv_test = nullptr;
};

namespace
{

constexpr double default_tolerance = 1e-7;
constexpr int default_steps = 1000;

// Of the start's extent, or of 1 where it has none.
constexpr double first_step = 0.1;

// How far around the best point the built-in test looks, as a part of each coordinate; one nearer to 0 than the second
// figure has no parts.
constexpr double probe = 0.005;
constexpr double no_extent = 1e-20;

struct {
    double tolerance;
    teska::module_error last_error;
} state;

struct ranking {
    int best;
    int worst;
    int second_worst;
};

// The function with its contexts.
struct objective {
    dhsm_function function;
    void *context1;
    void *context2;

    double operator()(const double *x) const { return function(context1, context2, x); }
};

double *vertex(const dhsm &d, int i) { return d.vertices.get() + static_cast<std::ptrdiff_t>(i) * d.n; }

ranking rank(const dhsm &d)
{
    const double *f = d.values.get();
    const bool first_is_worse = f[0] > f[1];
    ranking r{0, first_is_worse ? 0 : 1, first_is_worse ? 1 : 0};
    for (int i = 0; i <= d.n; ++i) {
        if (f[i] <= f[r.best])
            r.best = i;
        if (f[i] > f[r.worst]) {
            r.second_worst = r.worst;
            r.worst = i;
        } else if (i != r.worst && f[i] > f[r.second_worst]) {
            r.second_worst = i;
        }
    }
    return r;
}

double distance(const dhsm &d, int a, int b) { return vect_distance(vertex(d, a), vertex(d, b), d.n); }

// Whether a value beside the best point is lower than its own. The point comes back as it was.
bool is_lower_nearby(const dhsm &d, const objective &f, int best)
{
    double *const x = vertex(d, best);
    double extent = 0.0;
    for (int k = 0; k < d.n; ++k)
        extent = std::max(extent, std::fabs(x[k]));
    for (int k = 0; k < d.n; ++k) {
        const double kept = x[k];
        const double shift = probe * (std::fabs(kept) < no_extent ? extent : kept);
        for (const double moved : {kept + shift, kept - shift}) {
            x[k] = moved;
            const double value = f(x);
            x[k] = kept;
            if (value < d.values.get()[best])
                return true;
        }
    }
    return false;
}

double built_in_test(dhsm *d, void *context1, void *context2, int worst, int best)
{
    const double size = distance(*d, worst, best);
    if (size > state.tolerance)
        return size;
    return is_lower_nearby(*d, {d->function, context1, context2}, best) ? state.tolerance + size : size;
}

void find_centroid(const dhsm &d, int without)
{
    double *const c = d.centroid.get();
    std::fill_n(c, d.n, 0.0);
    for (int i = 0; i <= d.n; ++i)
        if (i != without)
            for (int j = 0; j < d.n; ++j)
                c[j] += vertex(d, i)[j];
    for (int j = 0; j < d.n; ++j)
        c[j] /= d.n;
}

void replace(const dhsm &d, int i, const double *point, double value)
{
    std::copy_n(point, d.n, vertex(d, i));
    d.values.get()[i] = value;
}

void shrink(const dhsm &d, const objective &f, int best)
{
    const double *const b = vertex(d, best);
    for (int i = 0; i <= d.n; ++i) {
        if (i == best)
            continue;
        double *const v = vertex(d, i);
        for (int j = 0; j < d.n; ++j)
            v[j] = b[j] + 0.5 * (v[j] - b[j]);
        d.values.get()[i] = f(v);
    }
}

void move_simplex(const dhsm &d, const objective &f, const ranking &rank)
{
    double *const c = d.centroid.get();
    double *const r = d.trial.get();
    double *const other = d.trial2.get();
    const double *const w = vertex(d, rank.worst);
    double &worst_value = d.values.get()[rank.worst];

    find_centroid(d, rank.worst);
    for (int j = 0; j < d.n; ++j)
        r[j] = 2.0 * c[j] - w[j];
    const double reflected = f(r);
    if (reflected <= d.values.get()[rank.best]) {
        for (int j = 0; j < d.n; ++j)
            other[j] = c[j] + 2.0 * (r[j] - c[j]);
        const double expanded = f(other);
        return reflected <= expanded ? replace(d, rank.worst, r, reflected) : replace(d, rank.worst, other, expanded);
    }
    if (reflected < d.values.get()[rank.second_worst])
        return replace(d, rank.worst, r, reflected);

    if (reflected < worst_value)
        replace(d, rank.worst, r, reflected);
    for (int j = 0; j < d.n; ++j)
        other[j] = c[j] + 0.5 * (w[j] - c[j]);
    const double contracted = f(other);
    if (contracted < worst_value)
        return replace(d, rank.worst, other, contracted);
    shrink(d, f, rank.best);
}

// The simplex around a start, with one step for all coordinates.
void set_up(dhsm &d, const double *x)
{
    const auto n = static_cast<unsigned>(d.n);
    const double step = first_step * (vect_Max(x, n) - vect_Min(x, n));
    std::fill_n(d.trial.get(), n, step != 0.0 ? step : first_step);
    dhsm_init(&d, nullptr, nullptr, nullptr, nullptr, d.trial.get(), x);
}

int finish(dhsm &d, int best, double *x, double *f_min, int result)
{
    std::copy_n(vertex(d, best), d.n, x);
    *f_min = d.values.get()[best];
    d.ready = 0;
    return result;
}

}  // namespace

// ---- Life ----------------------------------------------------------------------------------------------------------

dhsm *dhsm_new(dhsm_function function, dhsm_conv_test conv_test, int n) TESKA_NOTHROW
{
    const bool possible = function != nullptr && n >= 1;
    const auto variables = static_cast<std::uint64_t>(possible ? n : 0);
    teska::checked_size count(variables + 1, PTRDIFF_MAX / sizeof(double));
    count *= variables;
    teska::heap_record<dhsm> d;
    if (possible && count.valid())
        d = teska::make_record<dhsm>();
    bool made = d != nullptr;
    const auto make = [&made](teska::heap_block<double> &block, std::size_t size) {
        if (made)
            made = (block = teska::zeroed_block<double>(size)) != nullptr;
    };
    if (made) {
        make(d->vertices, count.get());
        for (auto *block : {&d->values, &d->trial, &d->trial2, &d->centroid})
            make(*block, variables + 1);
    }
    if (!made) {
        TESKA_NO_RESOURCES(state.last_error);
        return nullptr;
    }
    d->n = n;
    d->function = function;
    d->conv_test = conv_test != nullptr ? conv_test : built_in_test;
    return d.release();
}

dhsm *dhsm_kill(dhsm *d) TESKA_NOTHROW
{
    teska::kill_record(d);
    return nullptr;
}

// ---- Process -------------------------------------------------------------------------------------------------------

int dhsm_init(dhsm *d, const int *lower_given, const int *upper_given, const double *lower, const double *upper,
              const double *step, const double *x0) TESKA_NOTHROW
{
    for (int i = 0; i <= d->n; ++i)
        std::copy_n(x0, d->n, vertex(*d, i));
    for (int k = 0; k < d->n; ++k) {
        double &raised = vertex(*d, k + 1)[k];
        raised = x0[k] + step[k];
        const bool bounded = lower_given != nullptr && upper_given != nullptr && upper_given[k] != 0;
        if (bounded && raised > upper[k])
            raised = lower_given[k] != 0 ? x0[k] - 0.1 * (x0[k] - lower[k]) : x0[k] - 2.0 * step[k];
    }
    d->ready = 1;
    return 0;
}

int dhsm_solve(dhsm *d, void *context1, void *context2, double tolerance, double *x, int max_iter,
               double *f_min) TESKA_NOTHROW
{
    const objective f{d->function, context1, context2};
    if (d->ready == 0)
        set_up(*d, x);
    for (int i = d->n; i >= 0; --i)
        d->values.get()[i] = f(vertex(*d, i));
    state.tolerance = tolerance != 0.0 ? tolerance : default_tolerance;
    const std::int64_t last = max_iter != 0 ? max_iter : default_steps;
    for (std::int64_t steps = 0;; ++steps) {
        const ranking r = rank(*d);
        if (d->conv_test(d, context1, context2, r.worst, r.best) < state.tolerance)
            return finish(*d, r.best, x, f_min, 0);
        if (steps > last)
            return finish(*d, r.best, x, f_min, -1);
        move_simplex(*d, f, r);
    }
}
