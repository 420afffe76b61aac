// bezierd_vector - polylines along a Bezier segment (curves)
//
// By one of two methods. With steps of equal width in t, so many that a bound on the second derivative keeps them close
// enough, the points come from forward differences: for degree 3
//
//     p += d1,  d1 += d2,  d2 += d3        with d1, d2, d3 from the coefficients and the step
//
// Or the segment is divided at its farthest point from the chord until every part is flat; memory is then two segments
// for each level of division. A part is also flat where nothing is left to divide: below the rounding of its
// coordinates distances are noise, and so are those that overflow. Both would go on dividing for ever.

#include "bezierd_vector.h"

#include "Support/bezier_priv.h"
#include "Support/dynar_priv.h"
#include "Support/memory.h"
#include "Support/report.h"

#include "bezierd_split.h"

#include <algorithm>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstring>

namespace
{

using teska::control_point;
using teska::vec2;

static_assert(sizeof(vec2) == 16);

constexpr int array_growth = 500;   // points
constexpr int deepest_level = 200;  // a part between 0.2 and 0.8 of the one above: no double is that fine
constexpr int most_sections = INT_MAX - 1;

// Points from which on quadratics are not divided any more: as their second halves end at (0, 0) again and again, the
// parts hardly shrink. Of (0,0) (1,2) (2,0) there are 1272 at a bound of 0.02, 35 million at 0.01, and at 0.005 more
// than 200 million.
constexpr int enough_of_degree_2 = 65536;

// Degree 3, P0 at the origin: distance of the point at t from the chord, k1 and k2 being those of the inner control
// points.
double distance_at(double t, double k1, double k2)
{
    if (!(t >= 0.0 && t <= 1.0))
        return 0.0;
    const double u = 1.0 - t;
    return std::fabs(3.0 * t * u * u * k1 + 3.0 * t * t * u * k2);
}

void cubic_error(const bezier &b, double *t, double *err)
{
    const vec2 start = control_point(b, 0);
    const vec2 d1 = control_point(b, 1) - start;
    const vec2 d2 = control_point(b, 2) - start;
    const vec2 d3 = control_point(b, 3) - start;
    *t = 0.5;
    if (d3.x == 0.0 && d3.y == 0.0) {
        *err = std::sqrt(std::max(dot(d1, d1), dot(d2, d2)));
        return;
    }
    const double c1 = cross(d3, d1);
    const double c2 = cross(d3, d2);
    if (c1 == c2) {
        // Kept: an area, not divided by the length of the chord.
        *err = std::fabs(0.375 * c1 + 0.375 * c2);
        return;
    }
    const double s = std::sqrt(c1 * (c1 - c2) + c2 * c2);
    const double length = teska::bezier_approx_len(d3.x, d3.y);
    *err = -1.0;
    for (const double root : {s, -s}) {
        const double candidate = (2.0 * c1 - c2 + root) / (3.0 * (c1 - c2));
        const double distance = distance_at(candidate, c1 / length, c2 / length);
        if (distance > *err) {
            *t = candidate;
            *err = distance;
        }
    }
}

// One coordinate's start and differences.
struct walker {
    double p, d1, d2, d3;

    walker(const double *a, int degree, double h)
        : p(a[0]), d1(a[1] * h + a[2] * h * h), d2(2.0 * a[2] * h * h), d3(0.0)
    {
        if (degree == 3) {
            const double cube = a[3] * h * h * h;
            d1 = cube + a[2] * h * h + a[1] * h;
            d2 = 6.0 * cube + 2.0 * a[2] * h * h;
            d3 = 6.0 * cube;
        }
    }

    double next()
    {
        p += d1;
        d1 += d2;
        d2 += d3;
        return p;
    }
};

// The integer part of a number of at least 1, as far as an int and one point more can count.
int as_sections(double number)
{
    if (std::isnan(number))
        return 1;
    return number < most_sections ? static_cast<int>(number) : most_sections;
}

int straight_cubic_sections(const bezier &b, double max_error)
{
    dbg("Bezier_fvector_len: resorting to secondary error criterium");
    double t = 0.0;
    double err = 0.0;
    if (bezier_vector_error(&b, &t, &err) == 0) {
        TESKA_ERR("Bezier_fvector_len: unable to get error estimate");
        return 0;
    }
    return as_sections(err / max_error + 1.0);
}

// Half the second derivative at its longest: it is linear in t.
double half_bend(const bezier &b)
{
    const double at_start = teska::bezier_approx_len(b.ax[2], b.ay[2]);
    if (b.degree == 2)
        return at_start;
    return std::max(teska::bezier_approx_len(3.0 * b.ax[3] + b.ax[2], 3.0 * b.ay[3] + b.ay[2]), at_start);
}

// The spacing of doubles as large as the coordinates.
double rounding(const bezier &b)
{
    double largest = 0.0;
    for (int i = 0; i <= b.degree; ++i)
        largest = std::max({largest, std::fabs(b.x[i]), std::fabs(b.y[i])});
    return largest * DBL_EPSILON;
}

// The recursive division of a segment. A flat part adds its last control point to the array.
class subdivision
{
public:
    subdivision(double bound, dynar &points) : points_(points), bound_(bound) {}

    // False when the array cannot grow.
    bool add(const vec2 &v)
    {
        void *item = teska::dynar_try_ptr(points_, count_);
        if (item == nullptr)
            return false;
        std::memcpy(item, &v, sizeof v);
        ++count_;
        return true;
    }

    bool walk(const bezier &b, int depth)
    {
        double t = 0.0;
        double err = 0.0;
        bezier_vector_error(&b, &t, &err);
        bezier *halves[2];
        const bool may_divide = depth < deepest_level && (b.degree > 2 || count_ < enough_of_degree_2);
        const bool bent = may_divide && err > bound_ && std::isfinite(err);
        // Kept: control point 3 whatever the degree.
        if (!bent || bezier_subdivide(&b, t, &halves[0], &halves[1]) == 0)
            return add(control_point(b, 3));
        const bool done = walk(*halves[0], depth + 1) && walk(*halves[1], depth + 1);
        bezier_kill(halves[0]);
        bezier_kill(halves[1]);
        return done;
    }

    int segments() const { return count_ - 1; }

private:
    dynar &points_;
    double bound_;
    int count_ = 0;
};

}  // namespace

int bezier_vector_error(const bezier *b, double *t, double *err) TESKA_NOTHROW
{
    *t = *err = 0.0;
    switch (b->degree) {
    case 2:
        *t = 0.5;
        *err = 0.25 * teska::bezier_approx_len(2.0 * b->x[1] - b->x[0] - b->x[2], 2.0 * b->y[1] - b->y[0] - b->y[2]);
        return 1;
    case 3:
        cubic_error(*b, t, err);
        return 1;
    default:
        TESKA_ERR("Bezier_vector_error : illegal degree");
        return 0;
    }
}

int bezier_vector_fd(bezier *b, void *points, int nr_sect, unsigned int itemsize) TESKA_NOTHROW
{
    const std::size_t stride = itemsize == 0 ? sizeof(vec2) : itemsize;
    if (stride < sizeof(vec2)) {
        TESKA_ERR("Bezier_vector_fd: illegal itemsize");
        return 0;
    }
    if (nr_sect < 1) {
        TESKA_ERR("Bezier_vector_fd: illegal nr_sect");
        return 0;
    }
    if (b->degree > 3) {
        TESKA_ERR("Bezier_vector_fd: illegal degree");
        return 0;
    }
    teska::bezier_renew_coef(*b);
    const double h = 1.0 / nr_sect;
    walker x(b->ax, b->degree, h);
    walker y(b->ay, b->degree, h);
    auto *slot = static_cast<char *>(points);
    // The stride may leave a point at any address.
    const auto put = [&](const vec2 &v) { std::memcpy(slot, &v, sizeof v); };
    put(control_point(*b, 0));
    for (int i = 1; i < nr_sect; ++i) {
        slot += stride;
        put({x.next(), y.next()});
    }
    slot += stride;
    put(control_point(*b, b->degree));
    return 1;
}

int bezier_fvector_len(bezier *b, double max_error) TESKA_NOTHROW
{
    if (!(max_error > 0.0)) {
        TESKA_ERR("Bezier_fvector_len: illegal error bound");
        return 0;
    }
    if (b->degree > 3) {
        TESKA_ERR("Bezier_fvector_len: illegal degree");
        return 0;
    }
    teska::bezier_renew_coef(*b);
    const double bend = half_bend(*b);
    if (bend == 0.0 && b->degree == 3)
        return straight_cubic_sections(*b, max_error);
    if (bend == 0.0) {
        dbg("Bezier_fvector_len: vector input");
        return 1;
    }
    return as_sections(1.0 + std::floor(std::sqrt(bend / (4.0 * max_error))));
}

int bezier_fvector(bezier *b, double max_error, double **points) TESKA_NOTHROW
{
    *points = nullptr;
    const int sections = bezier_fvector_len(b, max_error);
    if (sections == 0)
        return 0;
    auto vertices = teska::zeroed_block<double>((static_cast<std::size_t>(sections) + 1) * 2);
    if (!vertices) {
        TESKA_ERR("Bezier_fvector: allocation of vertex array failed");
        return 0;
    }
    if (bezier_vector_fd(b, vertices.get(), sections, sizeof(vec2)) == 0) {
        TESKA_ERR("Bezier_fvector:unable to vectorise");
        return 0;
    }
    *points = vertices.release();
    return sections;
}

int bezier_vector(const bezier *b, double max_error, dynar **points)
{
    if (!(max_error > 0.0))
        return 0;
    if (*points == nullptr)
        *points = dynar_new(sizeof(vec2), array_growth);
    if (*points == nullptr) {
        TESKA_ERR("Bezier_vector: Unable to create vertex array");
        return 0;
    }
    subdivision line(std::max(max_error, rounding(*b)), **points);
    if (line.add(control_point(*b, 0)) && line.walk(*b, 0))
        return line.segments();
    // The exit may leave by longjmp: no object with a destructor is alive here.
    teska::dynar_no_memory();
    return 0;
}
