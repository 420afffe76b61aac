#include "faults/injector.h"
#include "faults/sweep.h"

#include "bezier_cpoly_det.h"
#include "bezierd_split.h"
#include "bezierd_vector.h"
#include "error_mess.h"
#include "wem.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>

namespace teska_test
{

namespace
{

using Curve = std::shared_ptr<bezier>;

constexpr const char *no_segment = "Bezier_new : allocation of Bezier failed";
constexpr const char *no_halves = "Bezier subdivide: unable to create new Bezier";
constexpr const char *no_array = "Bezier_vector: Unable to create vertex array";
constexpr const char *no_dynar = "dynar_new: Unable to create new dynar";
constexpr const char *no_room = "ERROR  : 'dynar_ptr: memory allocation failed'";

bezier *arch()
{
    bezier *b = bezier_new(3, 0, 0, 3, 0);
    bezier_set_controlp(b, 0, 1, 1);
    bezier_set_controlp(b, 1, 2, 2);
    return b;
}

// Takes all records the pool has without another block.
std::vector<Curve> take_free()
{
    const int before = error_set(3);
    std::vector<Curve> records;
    for (bool more = true; more;) {
        arm(fault_kind::memory, 0, true);
        bezier *b = bezier_new(3, 0, 0, 0, 0);
        disarm();
        more = b != nullptr;
        if (more)
            records.emplace_back(b, bezier_kill);
    }
    error_set(before);
    return records;
}

std::string free_records(const Curve &) { return std::to_string(take_free().size()); }

// An arch while the pool has `available` records left.
Curve with_records(std::size_t available)
{
    std::vector<Curve> more;
    for (std::size_t i = 0; i <= available; ++i)
        more.emplace_back(bezier_new(3, 0, 0, 0, 0), bezier_kill);
    const auto held = std::make_shared<std::vector<Curve>>(take_free());
    more.clear();
    bezier *b = arch();
    return {b, [held](bezier *segment) { bezier_kill(segment); }};
}

template <std::size_t available>
SweepRow row(std::string name, bool (*call)(const Curve &b), std::vector<SweepFailures> failures)
{
    return changing<Curve>(
        std::move(name), [] { return with_records(available); }, call, free_records, std::move(failures));
}

bool divides(const Curve &b)
{
    bezier *first = b.get();
    bezier *second = b.get();
    const bool divided = bezier_subdivide(b.get(), 0.5, &first, &second) == 1;
    EXPECT_TRUE(divided || (first == nullptr && second == nullptr));
    bezier_kill(first);
    bezier_kill(second);
    return divided;
}

bool passes_through(const Curve &b)
{
    const double values[] = {1, 2, 3, 5};
    const bool found = bezier_cpoly_det(b.get(), values, values) == 1;
    double x = 0.0;
    double y = 0.0;
    bezier_get_endp(b.get(), 1, &x, &y);
    EXPECT_EQ(x, found ? 5 : 3);
    return found;
}

bool steps(const Curve &b)
{
    double *points = nullptr;
    const int sections = bezier_fvector(b.get(), 1e-3, &points);
    EXPECT_EQ(sections > 0, points != nullptr);
    std::free(points);
    return sections > 0;
}

// Whether there is a polyline of `least` segments: of more than the chord, or of more than an array has at first.
template <int least>
bool bends(const Curve &b)
{
    const wem_line_fn before = wem_set_errexit([](const char *line) { return error_mess_fl(line, "", 0); });
    dynar *points = nullptr;
    const int segments = bezier_vector(b.get(), least > 2 ? 1.5e-6 : 1e-2, &points);
    dynar_kill(points);
    wem_set_errexit(before);
    return segments >= least;
}

const SweepRows rows(
    {row<0>("bezier_new", [](const Curve &) { return made(bezier_new(3, 0, 0, 1, 1), bezier_kill); },
            {{.count = 1, .once = {no_segment}}}),
     row<0>("bezier_subdivide, first half", divides, {{.count = 1, .once = {no_halves, no_segment}}}),
     row<1>("bezier_subdivide, second half", divides, {{.count = 1, .once = {no_halves, no_segment}}}),
     row<9>("bezier_cpoly_det", passes_through, {{.count = 1, .once = {"bezier_cpoly_det: malloc failure"}}}),
     row<9>("bezier_fvector", steps, {{.count = 1, .once = {"Bezier_fvector: allocation of vertex array failed"}}}),
     row<0>("bezier_vector, division", bends<2>,
            {{.count = 1, .once = {no_array, no_dynar}},
             {.count = 1, .once = {no_room}},
             {.count = 1, .once = {no_halves, no_segment}}}),
     row<99>("bezier_vector, points", bends<501>,
             {{.count = 1, .once = {no_array, no_dynar}}, {.count = 2, .once = {no_room}}})});

}  // namespace

// Before any other segment: the pool itself, then its first block.
TEST(BezierNew, FailsWhenThereIsNoPool)
{
    for (const int n : {0, 1}) {
        Reports reports;
        arm(fault_kind::memory, n, false);
        EXPECT_EQ(bezier_new(3, 0, 0, 1, 1), nullptr);
        EXPECT_EQ(disarm(), 1);
        EXPECT_EQ(reports.take(), lines{no_segment});
    }
    EXPECT_TRUE(made(bezier_new(3, 0, 0, 1, 1), bezier_kill));
}

}  // namespace teska_test
