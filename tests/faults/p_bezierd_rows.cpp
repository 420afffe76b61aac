#include "faults/sweep.h"
#include "p_bezierd_base.h"

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace teska_test
{

namespace
{

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
SweepRow row(const char *name, bool (*call)(const Chain &p), const char *message)
{
    return changing<Chain>(name, triangle<segments>, call, state_of, {{message}});
}

// Points whose fit and spline need more segments than the first block holds.
struct Zigzag {
    static constexpr int count = 40;
    double x[count], y[count];
    Zigzag()
    {
        for (int i = 0; i < count; ++i) {
            x[i] = i;
            y[i] = i % 2;
        }
    }
};

template <poly_bezier *(*build)(const Zigzag &points)>
bool builds()
{
    const Zigzag points;
    return made(build(points), poly_bezier_kill);
}

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

poly_bezier *fit(const Zigzag &p) { return poly_bezier_fit(Zigzag::count, p.x, p.y, 0.01, 20, 0); }
poly_bezier *spline(const Zigzag &p) { return poly_bezier_spline(Zigzag::count, p.x, p.y, 1); }
poly_bezier *monotone(const Zigzag &p) { return poly_bezier_monotone(Zigzag::count, p.x, p.y); }

const SweepRows rows({
    calling("poly_bezier_new", [] { return made(poly_bezier_new(1, 2), poly_bezier_kill); },
            {{"poly_bezier_new: malloc failure"}}),
    calling("poly_bezier_fit", builds<fit>, {{"poly_bezier_fit: malloc failure"}}),
    calling("poly_bezier_spline", builds<spline>, {{"poly_bezier_spline: malloc failure"}}),
    calling("poly_bezier_monotone", builds<monotone>, {{"poly_bezier_monotone: malloc failure"}}),
    row<3>(
        "poly_bezier_copy", [](const Chain &p) { return made(poly_bezier_copy(p.get()), poly_bezier_kill); },
        "poly_bezier_copy: malloc failure"),
    row<first_room>("poly_bezier_add", adds, "poly_bezier_add: malloc failure"),
    // Some of the segments find room before the others do not.
    row<first_room - 4>(
        "poly_bezier_join", [](const Chain &p) { return poly_bezier_join(p.get(), p.get()) == 1; },
        "poly_bezier_join: malloc failure"),
    row<2 * first_room + 3>("poly_bezier_split", divides, "poly_bezier_split: malloc failure"),
    row<3>("poly_bezier_vector", steps, "poly_bezier_vector: malloc failure"),
});

}  // namespace

}  // namespace teska_test
