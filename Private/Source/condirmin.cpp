// condirmin - minimum of a function of several variables by conjugate directions (numerics)
//
// A search knows its variables, how to get a value (through a restriction or not) and its trace. One pass:
//
//     for each direction   bracket the minimum along its line, close in on it, move there
//     end?                 values before and after the pass are near, or small enough
//     a new direction?     where the pass led as a whole, if the function falls further that way
//
// Under restrictions each move is checked first; one that is blocked hands the search over to a restriction with one
// variable less, whose result is the result.
//
// Process-wide state: the absolute stop.

#include "condirmin.h"

#include "Support/digits.h"
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

// Bracketing: each step against the one before, the longest parabolic step against the present one, and the curvature
// that a parabola without one is given.
constexpr double growth = 1.618034;
constexpr double longest_step = 100.0;
constexpr double no_curvature = 1e-20;

// Closing in: relative and absolute nearness, the smaller part of a golden section, the steps.
constexpr double nearness = 2.0e-4;
constexpr double least_nearness = 1e-10;
constexpr double section = 0.381966;
constexpr int most_steps = 200;

// Under restrictions no line is followed farther: a function that falls for ever has its minimum at infinity, and from
// there no obstacle on the line could be found.
constexpr double farthest = 1e100;

struct {
    int stop_enabled = 0;
    double stop_value = 0.0;
} state;

// The sign of NaN is chance: it counts as positive.
double with_sign_of(double sign, double magnitude) { return sign < 0.0 ? -magnitude : magnitude; }

bool stops_at(double value) { return state.stop_enabled != 0 && std::fabs(value) < state.stop_value; }

// The line that is searched.
class line
{
public:
    // Whether there is memory for n variables.
    bool make(int n)
    {
        const auto count = static_cast<std::size_t>(n);
        if (!values_ && count < SIZE_MAX / 3)
            values_ = teska::zeroed_block<double>(3 * count);
        n_ = n;
        return values_ != nullptr;
    }

    void set(const double *start, const double *direction)
    {
        std::copy_n(start, n_, values_.get());
        std::copy_n(direction, n_, values_.get() + n_);
    }

    // The point start + a * direction; valid until the next call.
    const double *at(double a) const
    {
        const double *const start = values_.get();
        const double *const direction = start + n_;
        double *const point = values_.get() + 2 * static_cast<std::ptrdiff_t>(n_);
        for (int k = 0; k < n_; ++k)
            point[k] = start[k] + a * direction[k];
        return point;
    }

private:
    int n_ = 0;
    block values_;  // start, direction and the point asked for; empty until the first line
};

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

    line *searched = nullptr;

    double value(const double *x) const
    {
        if (current == nullptr)
            return function(context1, context2, x);
        restriction_makeX(current, x, full);
        return function(context1, context2, full);
    }

    double along(double a) const { return value(searched->at(a)); }
};

// A point of the line, at a times its direction, and the value there.
struct line_point {
    double a;
    double f;
};

// Three points one after another, with the least value at b.
struct bracket {
    line_point a;
    line_point b;
    line_point c;
};

// Where the parabola through three points has its turning point.
double turning_point(const bracket &p)
{
    const double r = (p.b.a - p.a.a) * (p.b.f - p.c.f);
    const double q = (p.b.a - p.c.a) * (p.b.f - p.a.f);
    const double curvature = with_sign_of(q - r, std::max(std::fabs(q - r), no_curvature));
    return p.b.a - ((p.b.a - p.c.a) * q - (p.b.a - p.a.a) * r) / (2.0 * curvature);
}

bracket find_bracket(const search &s)
{
    const auto at = [&s](double a) { return line_point{a, s.along(a)}; };
    const auto beyond = [&at](const line_point &from, const line_point &to) {
        return at(to.a + growth * (to.a - from.a));
    };
    bracket p{at(0.0), at(1.0), {}};
    if (p.b.f > p.a.f)
        std::swap(p.a, p.b);
    p.c = beyond(p.a, p.b);
    while (p.b.f > p.c.f) {
        const double turn = turning_point(p);
        const double limit = p.b.a + longest_step * (p.c.a - p.b.a);
        line_point next{};
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

// Closes in on the least value between the ends of a bracket: x_ is the best point so far, w_ and v_ those before it.
class minimum_search
{
public:
    explicit minimum_search(const bracket &p) : low_(std::min(p.a.a, p.c.a)), high_(std::max(p.a.a, p.c.a)) {}

    line_point find(const search &s, double begin)
    {
        x_ = w_ = v_ = {begin, s.along(begin)};
        if (stops_at(x_.f))
            return x_;
        for (int steps = 0; steps < most_steps; ++steps) {
            const double middle = 0.5 * (low_ + high_);
            near_ = nearness * std::fabs(x_.a) + least_nearness;
            if (std::fabs(x_.a - middle) <= 2.0 * near_ - 0.5 * (high_ - low_))
                return x_;
            choose_step(middle);
            const double a = std::fabs(step_) >= near_ ? x_.a + step_ : x_.a + with_sign_of(step_, near_);
            const line_point u{a, s.along(a)};
            if (stops_at(u.f))
                return u;
            narrow(u);
        }
        TESKA_ERR("brent: too many iter");
        return x_;
    }

private:
    // A parabola through x_, w_ and v_ if the step before last was long enough and the new one is less than half of
    // it and stays inside; a golden section otherwise.
    void choose_step(double middle)
    {
        if (std::fabs(before_last_) > near_ && parabolic_step(middle))
            return;
        before_last_ = (x_.a >= middle ? low_ : high_) - x_.a;
        step_ = section * before_last_;
    }

    bool parabolic_step(double middle)
    {
        const double r = (x_.a - w_.a) * (x_.f - v_.f);
        double q = (x_.a - v_.a) * (x_.f - w_.f);
        double p = (x_.a - v_.a) * q - (x_.a - w_.a) * r;
        q = 2.0 * (q - r);
        if (q > 0.0)
            p = -p;
        q = std::fabs(q);
        const double bound = before_last_;
        before_last_ = step_;
        if (std::fabs(p) >= std::fabs(0.5 * q * bound) || p <= q * (low_ - x_.a) || p >= q * (high_ - x_.a))
            return false;
        step_ = p / q;
        const double u = x_.a + step_;
        if (u - low_ < 2.0 * near_ || high_ - u < 2.0 * near_)
            step_ = with_sign_of(middle - x_.a, near_);
        return true;
    }

    void narrow(const line_point &u)
    {
        if (u.f <= x_.f) {
            (u.a >= x_.a ? low_ : high_) = x_.a;
            v_ = w_;
            w_ = x_;
            x_ = u;
            return;
        }
        (u.a < x_.a ? low_ : high_) = u.a;
        if (u.f <= w_.f || w_.a == x_.a) {
            v_ = w_;
            w_ = u;
        } else if (u.f <= v_.f || v_.a == x_.a || v_.a == w_.a) {
            v_ = u;
        }
    }

    double low_;
    double high_;
    line_point x_{};
    line_point w_{};
    line_point v_{};
    double step_ = 0.0;
    double before_last_ = 0.0;
    double near_ = 0.0;
};

// Scales d so that x + d is the minimum along it. Returns the value there; without memory d is 0 and the value stays.
double minimise_line(const search &s, const double *x, double *d, double value)
{
    if (!s.searched->make(s.n)) {
        TESKA_ERR("linmin: malloc failed");
        std::fill_n(d, s.n, 0.0);
        return value;
    }
    s.searched->set(x, d);
    const bracket p = find_bracket(s);
    const line_point least = minimum_search(p).find(s, p.b.a);
    const double distance = s.current != nullptr ? std::clamp(least.a, -farthest, farthest) : least.a;
    for (int k = 0; k < s.n; ++k)
        d[k] *= distance;
    return least.f;
}

// ---- Passes ---------------------------------------------------------------------------------------------------------

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

// Minimises along d from x and moves there; d becomes the displacement. At an inequality the move ends, the rest of the
// search is made from there on, and `result` is its result.
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

bool converged(double before, double after, double ftol)
{
    const double change = std::fabs(before - after);
    return 2.0 * change <= ftol * (std::fabs(before) + std::fabs(after)) ||
           (std::fabs(before) <= 1.0 && change <= ftol) || stops_at(after);
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
    std::snprintf(text, sizeof text, "  dir %d -> meddE = %s\n", j, teska::fixed_text(value, 6).data());
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
        w.directions[static_cast<std::ptrdiff_t>(j) * (n + 1)] = 1.0;
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
                d[k] = w.directions[static_cast<std::ptrdiff_t>(k) * n + j];
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
            w.extrapolated[k] = 2.0 * x[k] - w.saved[k];
            d[k] = x[k] - w.saved[k];
            w.saved[k] = x[k];
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
            w.directions[static_cast<std::ptrdiff_t>(k) * n + replaced] = d[k];
    }
}

int run_search(double *x, search s, int *iter, double *f_min)
{
    work w;
    if (!w.make(s.n)) {
        TESKA_ERR("condirmin: malloc failed");
        return 0;
    }
    line searched;
    s.searched = &searched;
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
