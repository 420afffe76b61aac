// condirmin - minimum of a function of several variables by conjugate directions (numerics)
//
// A search knows its variables, how to get a value (through a restriction or not) and its trace. One pass:
//
//     for each direction   place the line, bracket its minimum, close in on it, move there
//     end?                 values before and behind the pass are near, or small enough
//     a new direction?     where the pass led as a whole, if the function falls further that way
//
// Under restrictions each move is checked first; one that is blocked hands the search over to a restriction with one
// variable less, whose result is the result.
//
// Process-wide state: the absolute stop and the arrays of the line.

#include "condirmin.h"

#include "Support/memory.h"
#include "Support/report.h"
#include "Support/restriction_priv.h"

#include "error_mess.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <utility>

namespace
{

using block = teska::heap_block<double>;

constexpr int most_passes = 200;

// Bracketing: each step against the one before, the longest parabolic step against the present one, and what stands
// for a parabola without curvature.
constexpr double growth = 1.618034;
constexpr double longest_step = 100.0;
constexpr double no_curvature = 1e-20;

// Closing in: relative and absolute nearness, the smaller part of a golden section, the steps.
constexpr double nearness = 2.0e-4;
constexpr double least_nearness = 1e-10;
constexpr double section = 0.381966;
constexpr int most_steps = 200;

// Under restrictions no line is followed farther: a function that falls for ever has its least place at infinity, and what
// is in the way could not be told from there.
constexpr double farthest = 1e100;

struct {
    int stop_enabled = 0;
    double stop_value = 0.0;
    // The line: its start, its direction, and the point asked for.
    int variables = -1;
    block start;
    block direction;
    block point;
} state;

// The sign of NaN is chance: it counts as positive.
double with_sign_of(double sign, double magnitude) { return sign < 0.0 ? -magnitude : magnitude; }

bool stops_at(double value) { return state.stop_enabled != 0 && std::fabs(value) < state.stop_value; }

struct search {
    int n;
    double ftol;
    condirmin_function function;
    void *context1;
    void *context2;
    // Under restrictions only.
    const restriction *limits = nullptr;
    const restriction *current = nullptr;
    double *full = nullptr;  // a full point

    double value(const double *x) const
    {
        if (current == nullptr)
            return function(context1, context2, x);
        restriction_makeX(current, x, full);
        return function(context1, context2, full);
    }

    // At a place of the line.
    double along(double a) const
    {
        for (int k = 0; k < n; ++k)
            state.point.get()[k] = state.start.get()[k] + a * state.direction.get()[k];
        return value(state.point.get());
    }
};

// Arrays for a line of n variables. Returns whether they are there.
bool make_line(int n)
{
    if (state.variables == n)
        return true;
    const auto count = static_cast<std::size_t>(n);
    block start = teska::zeroed_block<double>(count);
    block direction = start ? teska::zeroed_block<double>(count) : nullptr;
    block point = direction ? teska::zeroed_block<double>(count) : nullptr;
    if (!point)
        return false;
    state.start = std::move(start);
    state.direction = std::move(direction);
    state.point = std::move(point);
    state.variables = n;
    return true;
}

// A place of the line with its value.
struct place {
    double a;
    double f;
};

// Places a, b, c in a row with the least value at b.
struct bracket {
    place a;
    place b;
    place c;
};

// Where the parabola through three places has its turning point.
double turning_point(const bracket &p)
{
    const double r = (p.b.a - p.a.a) * (p.b.f - p.c.f);
    const double q = (p.b.a - p.c.a) * (p.b.f - p.a.f);
    const double curvature = with_sign_of(q - r, std::max(std::fabs(q - r), no_curvature));
    return p.b.a - ((p.b.a - p.c.a) * q - (p.b.a - p.a.a) * r) / (2.0 * curvature);
}

bracket find_bracket(const search &s)
{
    const auto at = [&s](double a) { return place{a, s.along(a)}; };
    const auto beyond = [&at](const place &from, const place &to) { return at(to.a + growth * (to.a - from.a)); };
    bracket p{at(0.0), at(1.0), {}};
    if (p.b.f > p.a.f)
        std::swap(p.a, p.b);
    p.c = beyond(p.a, p.b);
    while (p.b.f > p.c.f) {
        const double turn = turning_point(p);
        const double limit = p.b.a + longest_step * (p.c.a - p.b.a);
        place next{};
        if ((p.b.a - turn) * (turn - p.c.a) > 0.0) {
            next = at(turn);
            if (next.f < p.c.f)
                return {p.b, next, p.c};
            if (next.f > p.b.f)
                return {p.a, p.b, next};
            next = beyond(p.b, p.c);
        } else if ((p.c.a - turn) * (turn - limit) > 0.0) {
            next = at(turn);
            if (next.f < p.c.f) {
                p.b = p.c;
                p.c = next;
                next = beyond(p.b, p.c);
            }
        } else if ((turn - limit) * (limit - p.c.a) >= 0.0) {
            next = at(limit);
        } else {
            next = beyond(p.b, p.c);
        }
        p = {p.b, p.c, next};
    }
    return p;
}

// The least place between the ends of a bracket: x the best so far, w and v those before it.
class closing_in
{
public:
    explicit closing_in(const bracket &p) : low(std::min(p.a.a, p.c.a)), high(std::max(p.a.a, p.c.a)) {}

    place find(const search &s, double begin)
    {
        x = w = v = {begin, s.along(begin)};
        if (stops_at(x.f))
            return x;
        for (int steps = 0; steps < most_steps; ++steps) {
            const double middle = 0.5 * (low + high);
            near = nearness * std::fabs(x.a) + least_nearness;
            if (std::fabs(x.a - middle) <= 2.0 * near - 0.5 * (high - low))
                return x;
            choose_step(middle);
            const double a = std::fabs(step) >= near ? x.a + step : x.a + with_sign_of(step, near);
            const place u{a, s.along(a)};
            if (stops_at(u.f))
                return u;
            take(u);
        }
        TESKA_ERR("brent: too many iter");
        return x;
    }

private:
    // A parabola through x, w and v if the step before last was long enough and the new one is less than half of it and
    // stays inside; a golden section otherwise.
    void choose_step(double middle)
    {
        if (std::fabs(before_last) > near && parabolic_step(middle))
            return;
        before_last = (x.a >= middle ? low : high) - x.a;
        step = section * before_last;
    }

    bool parabolic_step(double middle)
    {
        const double r = (x.a - w.a) * (x.f - v.f);
        double q = (x.a - v.a) * (x.f - w.f);
        double p = (x.a - v.a) * q - (x.a - w.a) * r;
        q = 2.0 * (q - r);
        if (q > 0.0)
            p = -p;
        q = std::fabs(q);
        const double bound = before_last;
        before_last = step;
        if (std::fabs(p) >= std::fabs(0.5 * q * bound) || p <= q * (low - x.a) || p >= q * (high - x.a))
            return false;
        step = p / q;
        const double u = x.a + step;
        if (u - low < 2.0 * near || high - u < 2.0 * near)
            step = with_sign_of(middle - x.a, near);
        return true;
    }

    void take(const place &u)
    {
        if (u.f <= x.f) {
            (u.a >= x.a ? low : high) = x.a;
            v = w;
            w = x;
            x = u;
            return;
        }
        (u.a < x.a ? low : high) = u.a;
        if (u.f <= w.f || w.a == x.a) {
            v = w;
            w = u;
        } else if (u.f <= v.f || v.a == x.a || v.a == w.a) {
            v = u;
        }
    }

    double low;
    double high;
    place x{};
    place w{};
    place v{};
    double step = 0.0;
    double before_last = 0.0;
    double near = 0.0;
};

// Scales d by the way to the minimum along it. Returns the value there; without memory d is 0 and the value stays.
double minimise_line(const search &s, const double *x, double *d, double value)
{
    if (!make_line(s.n)) {
        TESKA_ERR("linmin: malloc failed");
        std::fill_n(d, s.n, 0.0);
        return value;
    }
    std::copy_n(x, s.n, state.start.get());
    std::copy_n(d, s.n, state.direction.get());
    const bracket p = find_bracket(s);
    const place least = closing_in(p).find(s, p.b.a);
    const double way = s.current != nullptr ? std::clamp(least.a, -farthest, farthest) : least.a;
    for (int k = 0; k < s.n; ++k)
        d[k] *= way;
    return least.f;
}

// ---- Passes ----------------------------------------------------------------------------------------------------------

enum class move { made, blocked };

struct work {
    block saved;
    block extrapolated;
    block displacement;  // also the direction of the line that is searched
    block directions;    // n x n, direction j in column j

    bool make(int n)
    {
        if (n < 0)
            return false;
        const auto count = static_cast<std::size_t>(n);
        if (!(saved = teska::zeroed_block<double>(count)) || !(extrapolated = teska::zeroed_block<double>(count)) ||
            !(displacement = teska::zeroed_block<double>(count)))
            return false;
        // Not more than memory can hold, since n doubles fit into it.
        directions =
            count < SIZE_MAX / sizeof(double) / (count + 1) ? teska::zeroed_block<double>(count * count) : nullptr;
        return directions != nullptr;
    }
};

int search_restricted(double *x, const search &s);

// Goes on in the variables of a restriction with one equality more. Returns the result of that search.
int search_reduced(double *x, const search &s, const restriction &reduced)
{
    search rest = s;
    rest.current = &reduced;
    rest.n = restriction_get_num_of_var(&reduced);
    const block y = teska::zeroed_block<double>(static_cast<std::size_t>(rest.n));
    if (!y) {
        TESKA_ERR("condirmin: malloc failed");
        return 0;
    }
    restriction_makeX(s.current, x, s.full);
    teska::pick_free(reduced, s.full, y.get());
    const int result = search_restricted(y.get(), rest);
    restriction_get_back(&reduced, s.current, y.get(), x);
    return result;
}

// Minimises along d from x and moves there; d is scaled by the way. When something is in the way, the rest of the
// search is made from there on and `result` is its result.
move minimise_along(const search &s, double *x, double *d, double &value, int &result)
{
    const double before = value;
    value = minimise_line(s, x, d, value);
    double alpha = 1.0;
    restriction *const reduced =
        s.current != nullptr ? restriction_new_check(s.current, s.limits, x, d, &alpha) : nullptr;
    for (int k = 0; k < s.n; ++k)
        x[k] += alpha * d[k];
    if (reduced == nullptr) {
        // No memory to look ahead: the point has stayed where it was.
        if (alpha == 0.0)
            value = before;
        return move::made;
    }
    result = search_reduced(x, s, *reduced);
    restriction_kill(reduced);
    return move::blocked;
}

bool converged(double before, double behind, double ftol)
{
    const double change = std::fabs(before - behind);
    return 2.0 * change <= ftol * (std::fabs(before) + std::fabs(behind)) ||
           (std::fabs(before) <= 1.0 && change <= ftol) || stops_at(behind);
}

void trace_pass(int pass)
{
    char text[512];
    std::snprintf(text, sizeof text, "condirmin: iter= %d\n", pass);
    teska_warn(1, text);
}

void trace_line(int j, double value)
{
    char text[512];
    std::snprintf(text, sizeof text, "  dir %d -> meddE = %lf\n", j, value);
    teska_warn(1, text);
}

// Returns 1 when the search converged, 0 when not.
int run_passes(double *x, const search &s, work &w, int *iter, double *f_min)
{
    const int n = s.n;
    double *const d = w.displacement.get();
    double &value = *f_min;
    int result = 0;
    for (int j = 0; j < n; ++j)
        w.directions.get()[static_cast<std::ptrdiff_t>(j) * (n + 1)] = 1.0;
    value = s.value(x);
    if (stops_at(value))
        return 1;
    std::copy_n(x, n, w.saved.get());
    for (*iter = 1;; ++*iter) {
        trace_pass(*iter);
        const double before = value;
        double largest = 0.0;
        int replaced = 0;
        for (int j = 0; j < n; ++j) {
            for (int k = 0; k < n; ++k)
                d[k] = w.directions.get()[static_cast<std::ptrdiff_t>(k) * n + j];
            const double previous = value;
            if (minimise_along(s, x, d, value, result) == move::blocked)
                return result;
            trace_line(j, value);
            if (std::fabs(previous - value) > largest) {
                largest = std::fabs(previous - value);
                replaced = j;
            }
        }
        if (converged(before, value, s.ftol))
            return 1;
        if (*iter == most_passes) {
            TESKA_ERR("condirmin: maxiter");
            return 0;
        }
        for (int k = 0; k < n; ++k) {
            w.extrapolated.get()[k] = 2.0 * x[k] - w.saved.get()[k];
            d[k] = x[k] - w.saved.get()[k];
            w.saved.get()[k] = x[k];
        }
        const double further = s.value(w.extrapolated.get());
        if (!(further < before))
            continue;
        // Kept: both squares are of the same difference.
        const double fall = (before - further) * (before - further);
        if (!(2.0 * (before - 2.0 * value + further) * fall - largest * fall < 0.0))
            continue;
        if (minimise_along(s, x, d, value, result) == move::blocked)
            return result;
        for (int k = 0; k < n; ++k)
            w.directions.get()[static_cast<std::ptrdiff_t>(k) * n + replaced] = d[k];
    }
}

int run_search(double *x, const search &s, int *iter, double *f_min)
{
    work w;
    if (!w.make(s.n)) {
        TESKA_ERR("condirmin: malloc failed");
        return 0;
    }
    return run_passes(x, s, w, iter, f_min);
}

int search_restricted(double *x, const search &s)
{
    if (s.n == 0)
        return 1;
    int iter = 0;
    double value = 0.0;
    return run_search(x, s, &iter, &value);
}

}  // namespace

int condirmin_set_abs_tol(int enable, double value, double *old_value) TESKA_NOTHROW
{
    if (old_value != nullptr)
        *old_value = state.stop_value;
    state.stop_value = value;
    return std::exchange(state.stop_enabled, enable);
}

int condirmin(double *x, int n, double ftol, int *iter, double *f_min, condirmin_function function, void *context1,
              void *context2) TESKA_NOTHROW
{
    return run_search(x, {.n = n, .ftol = ftol, .function = function, .context1 = context1, .context2 = context2}, iter,
                      f_min);
}

int condirmin_restr(double *x, int n, double ftol, restriction *base, restriction *limits, restriction *current,
                    condirmin_function function, void *context1, void *context2) TESKA_NOTHROW
{
    search s{.n = n,
             .ftol = ftol,
             .function = function,
             .context1 = context1,
             .context2 = context2,
             .limits = limits != nullptr ? limits : base,
             .current = current != nullptr ? current : base};
    if (n != restriction_get_num_of_var(s.current))
        return 0;
    const block full = teska::zeroed_block<double>(static_cast<std::size_t>(teska::coordinates(*s.current)));
    if (!full) {
        TESKA_ERR("condirmin: malloc failed");
        return 0;
    }
    s.full = full.get();
    restriction_makeX(s.current, x, s.full);
    return teska::keeps_inequalities(*s.limits, s.full) ? search_restricted(x, s) : 0;
}
