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
//
// The list's search calls the order function and asks three elements before it halves. As long as the x rise, every
// search finds the same position; then a loop over the plain values serves, with no call and no branch to guess wrong,
// which makes an evaluation three to five times as fast. A flag knows whether they rise. A caller's own order, NaN and
// points that were overwritten out of order go through the list.

#include "interp_double.h"

#include "Support/memory.h"
#include "Support/report.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace
{

// Points nearer than this in x carry no line. Absolute, in the unit of x: it keeps the division from
// overflowing, it is no measure of quality.
constexpr double min_distance = 1e-20;

// All points: the elements of a list lie one after another. Null without points.
struct point_rows {
    const double *x;
    const double *y;
    int count;
};

}  // namespace

struct lin_interp_double {
    std::int32_t ext = 0;  // growth step as given: an inverted curve gets the same
    teska::handle<func, func_kill> function;
    point_rows rows{};    // where the points of the function are
    bool rising = false;  // the order is the default one, no x is below the one before it, and none is NaN
};

namespace
{

double load(const void *element)
{
    double value = 0.0;
    std::memcpy(&value, element, sizeof value);
    return value;
}

// The default order. Strictly greater, so that equal x keep the order of their insertion; 0 for NaN.
int xsort_int(const void *a, const void *b) { return load(a) > load(b) ? 1 : 0; }

func_order order_or_default(func_order order) { return order != nullptr ? order : xsort_int; }

point_rows rows_of(const func *f)
{
    void *x = nullptr;
    void *y = nullptr;
    func_get_point(f, 0, &x, &y);
    return {static_cast<const double *>(x), static_cast<const double *>(y), func_num(f)};
}

// Whether point i keeps the order with its neighbours.
bool rises_at(const point_rows &rows, int i)
{
    const double x = rows.x[i];
    return !std::isnan(x) && (i == 0 || rows.x[i - 1] <= x) && (i + 1 == rows.count || x <= rows.x[i + 1]);
}

bool rises(const point_rows &rows)
{
    for (int i = 0; i < rows.count; ++i)
        if (!rises_at(rows, i))
            return false;
    return true;
}

// Whether there is a curve; if not, that is reported, by every function alike.
bool exists(const lin_interp_double *li)
{
    if (li != nullptr && li->function)
        return true;
    // Kept: the text names getp, whichever function asked.
    TESKA_ERR("lin_interp_double_getp : Not properly initialized");
    return false;
}

// Whether a curve has enough points for a line; if not, that is reported.
bool can_evaluate(const lin_interp_double *li)
{
    if (!exists(li))
        return false;
    if (li->rows.count >= 2)
        return true;
    TESKA_ERR("lin_interp : too little function points");
    return false;
}

// The number of points whose x does not sort after the given one; the curve has points.
int position(const lin_interp_double &li, double x)
{
    if (!li.rising)
        return func_pos(li.function.get(), &x);
    // Not "<=": all points come before NaN.
    const double *first = li.rows.x;
    for (int n = li.rows.count; n > 1;) {
        const int half = n / 2;
        first += first[half - 1] > x ? 0 : half;
        n -= half;
    }
    return static_cast<int>(first - li.rows.x) + (*first > x ? 0 : 1);
}

// The line through points i and j at x. Which of them is i decides the last bits.
int evaluate_line(const point_rows &rows, int i, int j, double x, double *y)
{
    const double d = rows.x[j] - rows.x[i];
    // Negated, so that NaN is refused.
    if (!(std::fabs(d) > min_distance)) {
        TESKA_ERR("lin_interp : not a function !!");
        return -1;
    }
    *y = rows.y[i] + ((x - rows.x[i]) * (rows.y[j] - rows.y[i])) / d;
    return 0;
}

struct neighbour {
    int index;
    double distance;
};

// The point nearest to x, the first among equals; there are points.
neighbour nearest(const point_rows &rows, double x)
{
    neighbour best{0, std::fabs(rows.x[0] - x)};
    for (int i = 1; i < rows.count; ++i) {
        const double distance = std::fabs(rows.x[i] - x);
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
    li->rising = order == nullptr;
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
    if (!exists(li))
        return -1;
    const int index = func_insert(li->function.get(), &x, &y);
    // After a failure too: the x may have moved before the y found no room.
    li->rows = rows_of(li->function.get());
    if (index < 0)
        return -1;
    li->rising = li->rising && !std::isnan(x);
    return 0;
}

int lin_interp_double_changep(lin_interp_double *li, int index, double x, double y) TESKA_NOTHROW
{
    if (!exists(li) || func_changep(li->function.get(), index, &x, &y) < 0)
        return -1;
    li->rising = li->rising && rises_at(li->rows, index);
    return 0;
}

int lin_interp_double_subst(lin_interp_double *li, double x, double y, double tolerance) TESKA_NOTHROW
{
    if (!exists(li))
        return 0;  // Kept: not -1.
    if (li->rows.count == 0) {
        lin_interp_double_insert(li, x, y);
        return 0;  // Kept: whatever became of it.
    }
    const neighbour best = nearest(li->rows, x);
    // Kept: the nearest point takes the new x without being sorted again. NaN compares false and inserts.
    return best.distance < tolerance ? lin_interp_double_changep(li, best.index, x, y)
                                     : lin_interp_double_insert(li, x, y);
}

// ---- Query ---------------------------------------------------------------------------------------------------------

int lin_interp_double_getp(const lin_interp_double *li, int index, double *x, double *y) TESKA_NOTHROW
{
    if (!exists(li) || index < 0 || index >= li->rows.count)
        return -1;
    *x = li->rows.x[index];
    *y = li->rows.y[index];
    return 0;
}

int lin_interp_double_num(const lin_interp_double *li) TESKA_NOTHROW { return exists(li) ? li->rows.count : -1; }

// ---- Process -------------------------------------------------------------------------------------------------------

int lin_interp_double_inter(const lin_interp_double *li, double x, double *y) TESKA_NOTHROW
{
    if (!can_evaluate(li))
        return -1;
    const int i = std::min(position(*li, x), li->rows.count - 1);
    return evaluate_line(li->rows, i, i >= 1 ? i - 1 : 1, x, y);
}

int lin_interp_double_inextp(const lin_interp_double *li, double x, double *y) TESKA_NOTHROW
{
    if (!can_evaluate(li))
        return -1;
    const int i = position(*li, x);
    if (i > 0 && i < li->rows.count)
        return evaluate_line(li->rows, i, i - 1, x, y);
    *y = li->rows.y[i > 0 ? li->rows.count - 1 : 0];
    return 0;
}

lin_interp_double *lin_interp_double_invert(const lin_interp_double *li, func_order order) TESKA_NOTHROW
{
    teska::heap_record<lin_interp_double> inverse;
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
    inverse->rows = rows_of(inverse->function.get());
    inverse->rising = order == nullptr && rises(inverse->rows);
    return inverse.release();
}
