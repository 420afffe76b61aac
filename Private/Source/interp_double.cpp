// interp_double - piecewise-linear curves of doubles (curves)
//
// A func of doubles and the growth step it was made with. A value is taken on the line through two
// neighbouring points; i is the position of x, that is the number of points whose x is not greater:
//
//     x:        x_0    x_1    x_2            points (0,0) (1,10) (3,20), x = 2: i = 2, j = 1,
//     i:     0   |  1   |  2   |   3         y = 20 + ((2 - 3) * (10 - 20)) / (1 - 3) = 15
//
// Either evaluation is one binary search and one formula, in one order of operations: results are compared
// bit by bit.

#include "interp_double.h"

#include "Support/memory.h"
#include "Support/report.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>

namespace
{

// Points nearer than this in x carry no line. Absolute, in the unit of x: it keeps the division from
// overflowing, it is no measure of quality.
constexpr double min_distance = 1e-20;

struct func_delete {
    void operator()(func *f) const noexcept { func_kill(f); }
};

using func_owner = std::unique_ptr<func, func_delete>;

}  // namespace

struct lin_interp_double {
    std::int32_t ext = 0;  // growth step as given: an inverted curve gets the same
    func_owner function;
};

namespace
{

struct curve_delete {
    void operator()(lin_interp_double *li) const noexcept { lin_interp_double_kill(li); }
};

struct point {
    double x;
    double y;
};

double load(const void *element)
{
    double value = 0.0;
    std::memcpy(&value, element, sizeof value);
    return value;
}

// The default order. Strictly greater, so that equal x keep the order of their insertion; 0 for NaN.
int xsort_int(const void *a, const void *b) { return load(a) > load(b) ? 1 : 0; }

func_order order_or_default(func_order order) { return order != nullptr ? order : xsort_int; }

// index: one at which there is a point.
point point_at(const func *f, int index)
{
    void *x = nullptr;
    void *y = nullptr;
    func_get_point(f, index, &x, &y);
    return {load(x), load(y)};
}

// The points of a curve, or null after the report that every function gives in their place.
func *points_of(const lin_interp_double *li)
{
    if (li == nullptr || !li->function) {
        // Kept: the text names getp, whichever function asked.
        TESKA_ERR("lin_interp_double_getp : Not properly initialized");
        return nullptr;
    }
    return li->function.get();
}

// The points of a curve that has enough of them for a line, or null, reported.
const func *points_to_evaluate(const lin_interp_double *li)
{
    const func *f = points_of(li);
    if (f != nullptr && func_num(f) < 2) {
        TESKA_ERR("lin_interp : too little function points");
        return nullptr;
    }
    return f;
}

// The line through points i and j at x. Which of them is i decides the last bits.
int evaluate_line(const func *f, int i, int j, double x, double *y)
{
    const point p = point_at(f, i);
    const point q = point_at(f, j);
    const double d = q.x - p.x;
    // Negated, so that NaN is refused.
    if (!(std::fabs(d) > min_distance)) {
        TESKA_ERR("lin_interp : not a function !!");
        return -1;
    }
    *y = p.y + ((x - p.x) * (q.y - p.y)) / d;
    return 0;
}

struct neighbour {
    int index;
    double distance;
};

// The point nearest to x, the first among equals; f has points.
neighbour nearest(const func *f, double x)
{
    neighbour best{0, std::fabs(point_at(f, 0).x - x)};
    for (int i = 1; i < func_num(f); ++i) {
        const double distance = std::fabs(point_at(f, i).x - x);
        if (distance < best.distance)
            best = {i, distance};
    }
    return best;
}

}  // namespace

// ---- Life ----------------------------------------------------------------------------------------------------------

lin_interp_double *lin_interp_double_new(int ext, func_order order) TESKA_NOTHROW
{
    auto li = teska::make_record<lin_interp_double>();
    if (li)
        li->function.reset(func_new(ext, sizeof(double), sizeof(double), order_or_default(order)));
    if (!li || !li->function) {
        TESKA_ERR("lin_interp : Cannot create new instance of double interpolator");
        return nullptr;
    }
    li->ext = ext;
    return li.release();
}

int lin_interp_double_kill(lin_interp_double *li) TESKA_NOTHROW
{
    teska::kill_record(li);
    return 0;
}

// ---- Change --------------------------------------------------------------------------------------------------------

int lin_interp_double_insert(lin_interp_double *li, double x, double y) TESKA_NOTHROW
{
    func *f = points_of(li);
    return f != nullptr && func_insert(f, &x, &y) >= 0 ? 0 : -1;
}

int lin_interp_double_changep(lin_interp_double *li, int index, double x, double y) TESKA_NOTHROW
{
    func *f = points_of(li);
    return f != nullptr && func_changep(f, index, &x, &y) >= 0 ? 0 : -1;
}

int lin_interp_double_subst(lin_interp_double *li, double x, double y, double tolerance) TESKA_NOTHROW
{
    func *f = points_of(li);
    if (f == nullptr || func_num(f) == 0) {
        if (f != nullptr)
            func_insert(f, &x, &y);
        // Kept: 0 whatever became of it.
        return 0;
    }
    const neighbour best = nearest(f, x);
    // Kept: the nearest point takes the new x without being sorted again. NaN compares false and inserts.
    const int index = best.distance < tolerance ? func_changep(f, best.index, &x, &y) : func_insert(f, &x, &y);
    return index >= 0 ? 0 : -1;
}

// ---- Query ---------------------------------------------------------------------------------------------------------

int lin_interp_double_getp(const lin_interp_double *li, int index, double *x, double *y) TESKA_NOTHROW
{
    const func *f = points_of(li);
    if (f == nullptr || index < 0 || index >= func_num(f))
        return -1;
    const point p = point_at(f, index);
    *x = p.x;
    *y = p.y;
    return 0;
}

int lin_interp_double_num(const lin_interp_double *li) TESKA_NOTHROW
{
    const func *f = points_of(li);
    return f != nullptr ? func_num(f) : -1;
}

// ---- Process -------------------------------------------------------------------------------------------------------

int lin_interp_double_inter(const lin_interp_double *li, double x, double *y) TESKA_NOTHROW
{
    const func *f = points_to_evaluate(li);
    if (f == nullptr)
        return -1;
    const int i = std::min(func_pos(f, &x), func_num(f) - 1);
    return evaluate_line(f, i, i >= 1 ? i - 1 : 1, x, y);
}

int lin_interp_double_inextp(const lin_interp_double *li, double x, double *y) TESKA_NOTHROW
{
    const func *f = points_to_evaluate(li);
    if (f == nullptr)
        return -1;
    const int count = func_num(f);
    const int i = func_pos(f, &x);
    if (i > 0 && i < count)
        return evaluate_line(f, i, i - 1, x, y);
    *y = point_at(f, i > 0 ? count - 1 : 0).y;
    return 0;
}

lin_interp_double *lin_interp_double_invert(const lin_interp_double *li, func_order order) TESKA_NOTHROW
{
    std::unique_ptr<lin_interp_double, curve_delete> inverse;
    if (li != nullptr)
        inverse.reset(lin_interp_double_new(li->ext, order));
    if (inverse) {
        // The empty function goes first: both together would be more memory than the result needs.
        inverse->function.reset();
        inverse->function.reset(func_invert(li->function.get(), order_or_default(order)));
    }
    if (!inverse || !inverse->function) {
        TESKA_ERR("lin_interp_double : cannot create inverted object");
        return nullptr;
    }
    return inverse.release();
}
