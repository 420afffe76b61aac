// Curves when memory is short
#include "support/folder.h"

#include "bezierd_fit.h"
#include "faults/sweep.h"
#include "func.h"
#include "grad_tab.h"
#include "hist.h"
#include "interp_double.h"
#include "p_bezierd_base.h"

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace teska_test
{

namespace
{

using Func = std::shared_ptr<func>;
using Curve = std::shared_ptr<lin_interp_double>;
using Segment = std::shared_ptr<bezier>;

const std::string no_func = "func_new : unable to create new instance of function";
const std::string no_curve = "lin_interp : Cannot create new instance of double interpolator";
const std::string no_inverse = "lin_interp_double : cannot create inverted object";
const std::string no_list = "list_new : Not enough resources to create list";
const std::string no_room = "list_insert : Unable to extend list, insufficient resources";

int after(const void *element, const void *key)
{
    return *static_cast<const char *>(element) > *static_cast<const char *>(key) ? 1 : 0;
}

// The points (b, c), (c, d) ..; room for one at first and for one more at a time.
Func filled(int count)
{
    Func f(func_new(1, 1, 1, after), func_kill);
    for (const char *x = "bcde"; count > 0; ++x, --count)
        func_insert(f.get(), x, x + 1);
    return f;
}

std::string contents(const Func &f)
{
    std::string text = std::to_string(func_num(f.get()));
    void *x = nullptr;
    void *y = nullptr;
    for (int i = 0; func_get_point(f.get(), i, &x, &y) == 0; ++i)
        text += {*static_cast<char *>(x), *static_cast<char *>(y)};
    return text;
}

SweepRow on_func(const char *name, int count, bool (*call)(const Func &f), SweepReports once)
{
    return changing<Func>(
        name, [=] { return filled(count); }, call, contents, std::move(once));
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

SweepRow reserving()
{
    SweepRow row = on_func("func_alloc", 1, reserve, {{no_room}});
    row.sticky = {{no_room, no_room}, {no_room}};
    return row;
}

std::string contents(const Curve &li)
{
    std::string text = std::to_string(lin_interp_double_num(li.get()));
    double x = 0.0;
    double y = 0.0;
    for (int i = 0; lin_interp_double_getp(li.get(), i, &x, &y) == 0; ++i)
        text += ' ' + std::to_string(x) + '/' + std::to_string(y);
    return text;
}

// On the points (1, 1), (2, 2) ..; room for one at first and for one more at a time.
SweepRow on_curve(const char *name, int count, bool (*call)(const Curve &li), SweepReports once)
{
    const auto filled = [=] {
        Curve li(lin_interp_double_new(1, nullptr), lin_interp_double_kill);
        for (int i = 1; i <= count; ++i)
            lin_interp_double_insert(li.get(), i, i);
        return li;
    };
    return changing<Curve>(name, filled, call, contents, std::move(once));
}

bool fit(const Segment &b)
{
    const double x[] = {0, 1, 2, 3, 4}, y[] = {0, 2, 3, 2, 0};
    double lse = 77, max_e = 77;
    const int result = bezier_fit(b.get(), 5, x, y, 1, 1, 2, 0, 0, 0, &lse, &max_e, 0);
    EXPECT_EQ(lse != 77 && max_e != 77, result == 1);
    return result == 1;
}

std::string control_points(const Segment &b)
{
    double p[8];
    bezier_get_control_poly(b.get(), p, p + 4);
    std::string text;
    for (const double value : p)
        text += std::to_string(value) + ' ';
    return text;
}

struct Place : Folder {
    std::string file = path("curve.rec");
};

bool new_table(const std::shared_ptr<Place> &place)
{
    return made(grad_tab_new(place->file.c_str(), 1, 1, 0), grad_tab_kill);
}

using Gradation = std::shared_ptr<grad_tab>;

std::string inverse_of_half(const Gradation &g)
{
    const double y = 0.5;
    double x = 7;
    EXPECT_EQ(grad_tab_do_inv(g.get(), &y, 1, &x, 1, 1), 0);
    return std::to_string(x);
}

// The record; its curve; the inverse of that.
const SweepReports no_table{{},
                            {no_curve},
                            {no_func, no_curve},
                            {no_func, no_curve, no_list},
                            {no_curve, no_inverse},
                            {no_func, no_curve, no_inverse},
                            {no_func, no_curve, no_inverse, no_list},
                            {no_func, no_inverse},
                            {no_func, no_inverse, no_list}};

using Chain = std::shared_ptr<poly_bezier>;

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

std::string state_of(const Chain &p)
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
    return changing<Chain>(name, triangle<segments>, call, state_of, {{name + ": malloc failure"}});
}

// The coordinates of points whose fit and spline need more segments than the first block holds.
constexpr int nr_points = 40;
std::vector<double> zigzag(bool of_x)
{
    std::vector<double> values;
    for (int i = 0; i < nr_points; ++i)
        values.push_back(of_x ? i : i % 2);
    return values;
}
const std::vector<double> xs = zigzag(true), ys = zigzag(false);

bool adds(const Chain &p)
{
    const double x[] = {1, 2, 3}, y[] = {1, 1, 0};
    return poly_bezier_add(p.get(), 3, x, y) == 1;
}

bool divides(const Chain &p)
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

const SweepRows rows({
    calling("func_new", [] { return made(func_new(3, 8, 4, nullptr), func_kill); }, {{no_func}, {no_func, no_list}}),
    // The room of x, then that of y: an x that was already in its place has to leave it again.
    on_func("func_insert", 1, [](const Func &f) { return gave(0, func_insert(f.get(), "a", "z")); }, {{no_room}}),
    reserving(),
    on_func("func_invert", 3, [](const Func &f) { return made(func_invert(f.get(), after), func_kill); },
            {{no_func}, {no_func, no_list}, {no_room}}),
    calling(
        "grad_tab_new_points",
        [] {
            const double ends[] = {0, 0, 1, 1};
            return made(grad_tab_new_points(ends, 2, 1, 0), grad_tab_kill);
        },
        no_table),
    changing<Gradation>(
        "grad_tab_invert",
        [] {
            const double ends[] = {0, 0, 1, 1}, more[] = {0.5, 0.9};
            Gradation g(grad_tab_new_points(ends, 2, 1, 0), grad_tab_kill);
            grad_tab_add_point(g.get(), more);
            return g;
        },
        [](const Gradation &g) { return gave(0, grad_tab_invert(g.get())); }, inverse_of_half,
        {no_table.begin() + 4, no_table.end()}),
    changing<std::shared_ptr<Place>>("grad_tab_new", std::make_shared<Place>, new_table, nullptr, no_table),
    calling("hist_new", [] { return made(hist_new(0, 9), hist_kill); },
            {{"hist_new: alloc self failed"}, {"hist_new: illegal bounds"}}),
    calling("lin_interp_double_new", [] { return made(lin_interp_double_new(1, nullptr), lin_interp_double_kill); },
            {{no_curve}, {no_func, no_curve}, {no_func, no_curve, no_list}}),
    on_curve("lin_interp_double_insert", 1,
             [](const Curve &li) { return gave(0, lin_interp_double_insert(li.get(), 0, 5)); }, {{no_room}}),
    on_curve("lin_interp_double_subst", 1,
             [](const Curve &li) { return gave(0, lin_interp_double_subst(li.get(), 1.5, 5, 0.5)); }, {{no_room}}),
    on_curve("lin_interp_double_invert", 3,
             [](const Curve &li) { return made(lin_interp_double_invert(li.get(), nullptr), lin_interp_double_kill); },
             {{no_curve, no_inverse},
              {no_func, no_curve, no_inverse},
              {no_func, no_curve, no_inverse, no_list},
              {no_func, no_inverse},
              {no_func, no_inverse, no_list},
              {no_inverse, no_room}}),
    changing<Segment>("bezier_fit", [] { return Segment(bezier_new(3, 5, 6, 7, 8), bezier_kill); }, fit, control_points,
                      {{"Bezier_fit : allocation of s failed"}}),
    creating("poly_bezier_new", [] { return poly_bezier_new(1, 2); }, poly_bezier_kill,
             {{"poly_bezier_new: malloc failure"}}),
    creating("poly_bezier_fit", [] { return poly_bezier_fit(nr_points, xs.data(), ys.data(), 0.01, 20, 0); },
             poly_bezier_kill, {{"poly_bezier_fit: malloc failure"}}),
    creating("poly_bezier_spline", [] { return poly_bezier_spline(nr_points, xs.data(), ys.data(), 1); },
             poly_bezier_kill, {{"poly_bezier_spline: malloc failure"}}),
    creating("poly_bezier_monotone", [] { return poly_bezier_monotone(nr_points, xs.data(), ys.data()); },
             poly_bezier_kill, {{"poly_bezier_monotone: malloc failure"}}),
    row<3>("poly_bezier_copy", [](const Chain &p) { return made(poly_bezier_copy(p.get()), poly_bezier_kill); }),
    row<first_room>("poly_bezier_add", adds),
    // Some of the segments find room before the others do not.
    row<first_room - 4>("poly_bezier_join", [](const Chain &p) { return poly_bezier_join(p.get(), p.get()) == 1; }),
    row<2 * first_room + 3>("poly_bezier_split", divides),
    row<3>("poly_bezier_vector", steps),
});

}  // namespace

}  // namespace teska_test
