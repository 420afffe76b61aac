// dhsm - minimum of a function of several variables by the downhill simplex method (numerics)
//
// The points of the simplex lie one after another, n doubles each, and their values in an array of their own. A step
// needs room for two points and the centroid. A step's own work is a handful of passes over (n + 1) n doubles.

#include "dhsm.h"

#include "Support/checked_size.h"
#include "Support/memory.h"
#include "Support/module_error.h"

#include "vect.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <type_traits>

struct dhsm {
    teska::heap_block<double> vertices;  // n + 1 points
    teska::heap_block<double> values;    // n + 1
    teska::heap_block<double> trial;     // also the steps of the first simplex
    teska::heap_block<double> trial2;
    teska::heap_block<double> centroid;
    std::int32_t n = 0;
    std::int32_t ready = 0;  // the simplex is set up
    dhsm_function function = nullptr;
    dhsm_conv_test conv_test = nullptr;  // null: the built-in one
};

namespace
{

constexpr double default_tolerance = 1e-7;
constexpr int default_steps = 1000;

// Of the start's extent, or of 1 where it has none.
constexpr double first_step = 0.1;

// How far around the best point the built-in test looks, as a part of each coordinate; a coordinate nearer to 0 than
// no_extent counts as 0.
constexpr double probe = 0.005;
constexpr double no_extent = 1e-20;

// Variables up to which the compiler unrolls the loops. Otherwise a step among few variables takes twice as long.
constexpr int straight = 8;

struct ranking {
    int best;
    int worst;
    int second_worst;
};

// The function with its contexts, and where the search for its minimum ends.
struct objective {
    dhsm_function function;
    void *context1;
    void *context2;
    double tolerance;

    double operator()(const double *x) const { return function(context1, context2, x); }
};

double *vertex(const dhsm &d, int i) { return &d.vertices[static_cast<std::ptrdiff_t>(i) * d.n]; }

// Size, here and below: an int, or a number known to the compiler. The first two points are ranked before the scan, so
// that it compares no point with itself.
template <class Size>
ranking rank(const double *f, Size n)
{
    const bool first_is_worse = f[0] > f[1];
    ranking r{f[1] <= f[0] ? 1 : 0, first_is_worse ? 0 : 1, first_is_worse ? 1 : 0};
    for (int i = 2; i <= n; ++i) {
        if (f[i] <= f[r.best])
            r.best = i;
        if (f[i] > f[r.worst]) {
            r.second_worst = r.worst;
            r.worst = i;
        } else if (f[i] > f[r.second_worst]) {
            r.second_worst = i;
        }
    }
    return r;
}

template <class Size>
double distance(const double *a, const double *b, Size n)
{
    double sum = 0.0;
    for (int j = 0; j < n; ++j)
        sum += (b[j] - a[j]) * (b[j] - a[j]);
    return std::sqrt(sum);
}

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
            if (value < d.values[best])
                return true;
        }
    }
    return false;
}

template <class Size>
double built_in_test(const dhsm &d, const objective &f, const ranking &rank, Size n)
{
    const double size = distance(vertex(d, rank.worst), vertex(d, rank.best), n);
    if (size > f.tolerance)
        return size;
    return is_lower_nearby(d, f, rank.best) ? f.tolerance + size : size;
}

template <class Size>
void find_centroid(const double *vertices, Size n, double *__restrict c)
{
    for (int j = 0; j < n; ++j)
        c[j] = 0.0;
    for (int i = 0; i <= n; ++i)
        for (int j = 0; j < n; ++j)
            c[j] += vertices[static_cast<std::ptrdiff_t>(i) * n + j];
    for (int j = 0; j < n; ++j)
        c[j] /= n;
}

template <class Size>
void copy(const double *from, Size n, double *__restrict to)
{
    for (int j = 0; j < n; ++j)
        to[j] = from[j];
}

template <class Size>
void shrink(const dhsm &d, const objective &f, int best, Size n)
{
    const double *const b = vertex(d, best);
    for (int i = 0; i <= n; ++i) {
        if (i == best)
            continue;
        double *const v = vertex(d, i);
        for (int j = 0; j < n; ++j)
            v[j] = b[j] + 0.5 * (v[j] - b[j]);
        d.values[i] = f(v);
    }
}

template <class Size>
void move_simplex(const dhsm &d, const objective &f, const ranking &rank, Size n)
{
    double *const __restrict c = d.centroid.get();
    double *const __restrict r = d.trial.get();
    double *const __restrict other = d.trial2.get();
    double *const w = vertex(d, rank.worst);
    double &worst_value = d.values[rank.worst];

    // To add 0 changes no sum, and is quicker than to ask of each point whether it is the one left out.
    copy(w, n, other);
    for (int j = 0; j < n; ++j)
        w[j] = 0.0;
    find_centroid(d.vertices.get(), n, c);
    copy(other, n, w);
    for (int j = 0; j < n; ++j)
        r[j] = 2.0 * c[j] - other[j];
    const auto replace_worst = [&](const double *point, double value) {
        copy(point, n, w);
        worst_value = value;
    };
    const double reflected = f(r);
    if (reflected <= d.values[rank.best]) {
        for (int j = 0; j < n; ++j)
            other[j] = c[j] + 2.0 * (r[j] - c[j]);
        const double expanded = f(other);
        return reflected <= expanded ? replace_worst(r, reflected) : replace_worst(other, expanded);
    }
    if (reflected < d.values[rank.second_worst])
        return replace_worst(r, reflected);

    if (reflected < worst_value)
        replace_worst(r, reflected);
    for (int j = 0; j < n; ++j)
        other[j] = c[j] + 0.5 * (w[j] - c[j]);
    const double contracted = f(other);
    if (contracted < worst_value)
        return replace_worst(other, contracted);
    shrink(d, f, rank.best, n);
}

// The simplex around a start, with one step for all coordinates.
void set_up(dhsm &d, const double *x)
{
    const auto n = static_cast<unsigned>(d.n);
    const double step = first_step * (vect_Max(x, n) - vect_Min(x, n));
    std::fill_n(d.trial.get(), n, step != 0.0 ? step : first_step);
    dhsm_init(&d, nullptr, nullptr, nullptr, nullptr, d.trial.get(), x);
}

struct outcome {
    int best;
    int result;
};

template <class Size>
outcome search(dhsm &d, const objective &f, std::int64_t most, Size n)
{
    for (std::int64_t steps = 0;; ++steps) {
        const ranking r = rank(d.values.get(), n);
        const double measure = d.conv_test != nullptr ? d.conv_test(&d, f.context1, f.context2, r.worst, r.best)
                                                      : built_in_test(d, f, r, n);
        if (measure < f.tolerance)
            return {r.best, 0};
        if (steps > most)
            return {r.best, -1};
        move_simplex(d, f, r, n);
    }
}

// With at most N variables known to the compiler.
template <int N>
outcome search_sized(dhsm &d, const objective &f, std::int64_t most)
{
    if constexpr (N == 0)
        return search(d, f, most, d.n);
    else if (d.n == N)
        return search(d, f, most, std::integral_constant<int, N>());
    else
        return search_sized<N - 1>(d, f, most);
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
            make(*block, static_cast<std::size_t>(n) + 1);
    }
    if (!made) {
        TESKA_NO_RESOURCES();
        return nullptr;
    }
    d->n = n;
    d->function = function;
    d->conv_test = conv_test;
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
    const objective f{d->function, context1, context2, tolerance != 0.0 ? tolerance : default_tolerance};
    if (d->ready == 0)
        set_up(*d, x);
    for (int i = d->n; i >= 0; --i)
        d->values[i] = f(vertex(*d, i));
    const std::int64_t most = max_iter != 0 ? max_iter : default_steps;
    const outcome end = search_sized<straight>(*d, f, most);
    copy(vertex(*d, end.best), d->n, x);
    *f_min = d->values[end.best];
    d->ready = 0;
    return end.result;
}
