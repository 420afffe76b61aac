// Curves and Bezier segments, with the pool that these come from, when memory is short
#include "support/folder.h"

#include "bezier_cpoly_det.h"
#include "bezierd_fit.h"
#include "bezierd_split.h"
#include "bezierd_vector.h"
#include "faults/sweep.h"
#include "func.h"
#include "grad_tab.h"
#include "hist.h"
#include "interp_double.h"
#include "p_bezierd_base.h"

#include <cstdlib>

using namespace teska_test;

namespace
{

using Func = std::shared_ptr<func>;
using Curve = std::shared_ptr<lin_interp_double>;
using Gradation = std::shared_ptr<grad_tab>;
using Segment = std::shared_ptr<bezier>;
using Chain = std::shared_ptr<poly_bezier>;

const std::string no_func = "func_new : unable to create new instance of function";
const std::string no_curve = "lin_interp : Cannot create new instance of double interpolator";
const std::string no_inverse = "lin_interp_double : cannot create inverted object";
const std::string no_list = "list_new : Not enough resources to create list";
const std::string no_room = "list_insert : Unable to extend list, insufficient resources";
const lines no_function{no_func}, no_lists{no_func, no_list};
const SweepReports no_curves{{no_curve}, {no_func, no_curve}, {no_func, no_curve, no_list}};
const SweepReports no_inverses{{no_curve, no_inverse},
                               {no_func, no_curve, no_inverse},
                               {no_func, no_curve, no_inverse, no_list},
                               {no_func, no_inverse},
                               {no_func, no_inverse, no_list}};

SweepReports operator|(SweepReports some, const SweepReports &others)
{
    some.insert(others.begin(), others.end());
    return some;
}

// ---- Functions and curves

int after(const void *element, const void *key)
{
    return *static_cast<const char *>(element) > *static_cast<const char *>(key) ? 1 : 0;
}

// The points (b, c), (c, d) ..; room for one at first and for one more at a time.
template <int count>
Func filled()
{
    Func f(func_new(1, 1, 1, after), func_kill);
    for (const char *x = "bcde"; func_num(f.get()) < count; ++x)
        func_insert(f.get(), x, x + 1);
    return f;
}

std::string func_points(const Func &f)
{
    std::string text;
    for (void *x, *y; func_get_point(f.get(), static_cast<int>(text.size() / 2), &x, &y) == 0;)
        text += {*static_cast<char *>(x), *static_cast<char *>(y)};
    return text;
}

// The result does not tell; a list that found room moved its elements to a new block.
bool reserve(const Func &f)
{
    void *before[2];
    void *now[2];
    func_get_point(f.get(), 0, &before[0], &before[1]);
    EXPECT_EQ(func_alloc(f.get(), 9), 0);
    func_get_point(f.get(), 0, &now[0], &now[1]);
    return now[0] != before[0] && now[1] != before[1];
}

// On the points (1, 1), (2, 2) ..; room for one at first and for one more at a time.
template <int count>
Curve rising()
{
    Curve li(lin_interp_double_new(1, nullptr), lin_interp_double_kill);
    for (int i = 1; i <= count; ++i)
        lin_interp_double_insert(li.get(), i, i);
    return li;
}

std::string curve_points(const Curve &li)
{
    std::string text;
    double x = 0, y = 0;
    for (int i = 0; lin_interp_double_getp(li.get(), i, &x, &y) == 0; ++i)
        text += std::to_string(x) + '/' + std::to_string(y) + ' ';
    return text;
}

const double ends[] = {0, 0, 1, 1}, middle[] = {0.5, 0.9};

Gradation gradation()
{
    Gradation g(grad_tab_new_points(ends, 2, 1, 0), grad_tab_kill);
    grad_tab_add_point(g.get(), middle);
    return g;
}

std::string inverse_of_half(const Gradation &g)
{
    const double y = 0.5;
    double x = 7;
    EXPECT_EQ(grad_tab_do_inv(g.get(), &y, 1, &x, 1, 1), 0);
    return std::to_string(x);
}

struct Place : Folder {
    std::string file = path("curve.rec");
};

bool new_table(const std::shared_ptr<Place> &place)
{
    return made(grad_tab_new(place->file.c_str(), 1, 1, 0), grad_tab_kill);
}

const SweepRows curves({
    creating("func_new", func_new, func_kill, {no_function, no_lists}, 3, 8U, 4U, nullptr),
    // The room of x, then that of y: an x that was already in its place has to leave it again.
    changing("func_insert", filled<1>, [](const Func &f) { return gave(0, func_insert(f.get(), "a", "z")); },
             func_points, {{no_room}}),
    changing("func_alloc", filled<1>, reserve, func_points, {{no_room}, {no_room, no_room}}),
    changing("func_invert", filled<3>, [](const Func &f) { return made(func_invert(f.get(), after), func_kill); },
             func_points, {no_function, no_lists, {no_room}}),
    creating(
        "grad_tab_new_points", [] { return grad_tab_new_points(ends, 2, 1, 0); }, grad_tab_kill,
        SweepReports{{}} | no_curves | no_inverses),
    changing("grad_tab_new", std::make_shared<Place>, new_table, nullptr, SweepReports{{}} | no_curves | no_inverses),
    changing(
        "grad_tab_invert", gradation, [](const Gradation &g) { return gave(0, grad_tab_invert(g.get())); },
        inverse_of_half, no_inverses),
    creating("hist_new", hist_new, hist_kill, {{"hist_new: alloc self failed"}, {"hist_new: illegal bounds"}}, 0, 9),
    creating(
        "lin_interp_double_new", [] { return lin_interp_double_new(1, nullptr); }, lin_interp_double_kill, no_curves),
    changing("lin_interp_double_insert", rising<1>,
             [](const Curve &li) { return gave(0, lin_interp_double_insert(li.get(), 0, 5)); }, curve_points,
             {{no_room}}),
    changing("lin_interp_double_subst", rising<1>,
             [](const Curve &li) { return gave(0, lin_interp_double_subst(li.get(), 1.5, 5, 0.5)); }, curve_points,
             {{no_room}}),
    changing(
        "lin_interp_double_invert", rising<3>,
        [](const Curve &li) { return made(lin_interp_double_invert(li.get(), nullptr), lin_interp_double_kill); },
        curve_points, no_inverses | SweepReports{{no_inverse, no_room}}),
});

// ---- Segments

bezier *segment() { return bezier_new(3, 0, 0, 3, 0); }

// Takes the records the pool has without another block, or without being made.
std::vector<Segment> take_free()
{
    const int before = error_set(0);
    std::vector<Segment> records;
    for (bool more = true; more;) {
        arm(fault_kind::memory, 0, true);
        bezier *b = segment();
        disarm();
        more = b != nullptr;
        if (more)
            records.emplace_back(b, bezier_kill);
    }
    error_set(before);
    return records;
}

// Its control points, and the free records.
std::string state_of(const Segment &b)
{
    double p[8];
    bezier_get_control_poly(b.get(), p, p + 4);
    std::string text = std::to_string(take_free().size());
    for (const double value : p)
        text += ' ' + std::to_string(value);
    return text;
}

// A segment while the pool has so many records left.
template <std::size_t available>
Segment with_records()
{
    std::vector<Segment> more;
    for (std::size_t i = 0; i <= available; ++i)
        more.emplace_back(segment(), bezier_kill);
    const auto held = std::make_shared<std::vector<Segment>>(take_free());
    bezier_set_controlp(more[0].get(), 1, 2, 3);
    held->push_back(more[0]);
    return {held, more[0].get()};
}

bool fit(const Segment &b)
{
    const double x[] = {0, 1, 2, 3, 4}, y[] = {0, 2, 3, 2, 0};
    double lse = 77, max_e = 77;
    const int result = bezier_fit(b.get(), 5, x, y, 1, 1, 2, 0, 0, 0, &lse, &max_e, 0);
    EXPECT_EQ(lse != 77 && max_e != 77, result == 1);
    return result == 1;
}

bool divides(const Segment &b)
{
    bezier *halves[2];
    bezier_subdivide(b.get(), 0.5, &halves[0], &halves[1]);
    return made(halves[0], bezier_kill) && made(halves[1], bezier_kill);
}

bool passes_through(const Segment &b)
{
    const double values[] = {1, 2, 3, 5};
    return bezier_cpoly_det(b.get(), values, values) == 1;
}

bool has_vertices(const Segment &b)
{
    double *points = nullptr;
    bezier_fvector(b.get(), 1e-3, &points);
    std::free(points);
    return points != nullptr;
}

// Whether there is a polyline of `least` segments: of more than the chord, or of more than an array has at first.
template <int least>
bool bends(const Segment &b)
{
    dynar *points = nullptr;
    const int segments = under_returning_host([&] { return bezier_vector(b.get(), least > 2 ? 3e-6 : 1e-2, &points); });
    dynar_kill(points);
    return segments >= least;
}

// Before any other segment: the pool itself, then its first block.
TEST(BezierNew, FailsWithoutAPool)
{
    Reports reports;
    for (const int n : {0, 1}) {
        arm(fault_kind::memory, n, false);
        EXPECT_EQ(segment(), nullptr);
        EXPECT_EQ(disarm(), 1);
    }
    EXPECT_EQ(reports.take(), lines(2, "Bezier_new : allocation of Bezier failed"));
}

// ---- Chains

constexpr int first_room = 16;  // segments before a chain takes a larger block

// Closed, with so many lines.
template <int segments>
Chain triangle()
{
    const Chain p(poly_bezier_new(0, 0), poly_bezier_kill);
    for (int i = 1; i <= segments; ++i) {
        const double x = i == segments ? 0 : i, y = i == segments ? 0 : i % 2;
        poly_bezier_add(p.get(), 1, &x, &y);
    }
    return p;
}

std::string chain_state(const Chain &p)
{
    double length = poly_bezier_length(p.get(), 0, 99), y = 0;
    const int before = error_set(0);
    const int rises = poly_bezier_get_y(p.get(), 0, &y);
    error_set(before);
    return std::to_string(poly_bezier_num(p.get())) + ' ' + std::to_string(length) + ' ' + std::to_string(rises);
}

template <int segments>
SweepRow row(const std::string &name, bool (*call)(const Chain &p))
{
    return changing(name, triangle<segments>, call, chain_state, {{name + ": malloc failure"}});
}

// Of points that need more segments than the first block holds.
constexpr int nr_points = 40;
SweepRow row(const std::string &name, poly_bezier *(*create)(const double *x, const double *y))
{
    const auto zigzag = [=] {
        double x[nr_points], y[nr_points];
        for (int i = 0; i < nr_points; ++i) {
            x[i] = i;
            y[i] = i % 2;
        }
        return create(x, y);
    };
    return creating(name, zigzag, poly_bezier_kill, {{name + ": malloc failure"}});
}

bool adds(const Chain &p)
{
    const double x[] = {1, 2, 3}, y[] = {1, 1, 0};
    return poly_bezier_add(p.get(), 3, x, y) == 1;
}

bool splits(const Chain &p)
{
    poly_bezier *parts[2] = {p.get(), p.get()};
    const bool done = poly_bezier_split(p.get(), 16.5, &parts[0], &parts[1]) == 1;
    return made(parts[0], poly_bezier_kill) == done && made(parts[1], poly_bezier_kill) == done && done;
}

bool steps(const Chain &p)
{
    double *points = nullptr;
    const int sections = poly_bezier_vector(p.get(), 0.1, &points);
    std::free(points);
    return sections > 0;
}

const std::string no_segment = "Bezier_new : allocation of Bezier failed";
const lines no_division{"Bezier subdivide: unable to create new Bezier", no_segment};
const lines no_array{"Bezier_vector: Unable to create vertex array", "dynar_new: Unable to create new dynar"};
const lines no_vertex{"ERROR  : 'dynar_ptr: memory allocation failed'"};
const SweepRows rows({
    changing("bezier_new", with_records<0>, [](const Segment &) { return made(segment(), bezier_kill); }, state_of,
             {{no_segment}}),
    changing("bezier_fit", with_records<0>, fit, state_of, {{"Bezier_fit : allocation of s failed"}}),
    changing("bezier_subdivide, first half", with_records<0>, divides, state_of, {no_division}),
    changing("bezier_subdivide, second half", with_records<1>, divides, state_of, {no_division}),
    changing("bezier_cpoly_det", with_records<0>, passes_through, state_of, {{"bezier_cpoly_det: malloc failure"}}),
    changing("bezier_fvector", with_records<0>, has_vertices, state_of,
             {{"Bezier_fvector: allocation of vertex array failed"}}),
    changing("bezier_vector, division", with_records<0>, bends<2>, state_of, {no_array, no_vertex, no_division}),
    changing("bezier_vector, points", with_records<99>, bends<501>, state_of, {no_array, no_vertex}),
    changing("poly_bezier_get_bezier", with_records<0>,
             [chain = triangle<3>()](const Segment &) {
                 return made(poly_bezier_get_bezier(chain.get(), 0), bezier_kill);
             },
             state_of, {{no_segment}}),
    creating("poly_bezier_new", poly_bezier_new, poly_bezier_kill, {{"poly_bezier_new: malloc failure"}}, 1, 2),
    row("poly_bezier_fit", [](auto x, auto y) { return poly_bezier_fit(nr_points, x, y, 0.01, 20, 0); }),
    row("poly_bezier_spline", [](auto x, auto y) { return poly_bezier_spline(nr_points, x, y, 1); }),
    row("poly_bezier_monotone", [](auto x, auto y) { return poly_bezier_monotone(nr_points, x, y); }),
    row<3>("poly_bezier_copy", [](const Chain &p) { return made(poly_bezier_copy(p.get()), poly_bezier_kill); }),
    row<first_room>("poly_bezier_add", adds),
    // Some of the segments find room before the others do not.
    row<first_room - 4>("poly_bezier_join", [](const Chain &p) { return poly_bezier_join(p.get(), p.get()) == 1; }),
    row<2 * first_room + 3>("poly_bezier_split", splits),
    row<3>("poly_bezier_vector", steps),
});

}  // namespace
