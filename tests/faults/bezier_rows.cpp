#include "bezier_cpoly_det.h"
#include "bezierd_split.h"
#include "bezierd_vector.h"
#include "faults/sweep.h"
#include "p_bezierd_base.h"

#include <cstdlib>
#include <memory>

namespace teska_test
{

namespace
{

using Curve = std::shared_ptr<bezier>;

constexpr const char *no_segment = "Bezier_new : allocation of Bezier failed";
constexpr const char *no_halves = "Bezier subdivide: unable to create new Bezier";
const lines no_array{"Bezier_vector: Unable to create vertex array", "dynar_new: Unable to create new dynar"};
const lines no_room{"ERROR  : 'dynar_ptr: memory allocation failed'"};

// Takes the records the pool has without another block, or without being made.
std::vector<Curve> take_free()
{
    const int before = error_set(0);
    std::vector<Curve> records;
    for (bool more = true; more;) {
        arm(fault_kind::memory, 0, true);
        bezier *b = bezier_new(3, 0, 0, 3, 0);
        disarm();
        more = b != nullptr;
        if (more)
            records.emplace_back(b, bezier_kill);
    }
    error_set(before);
    return records;
}

std::string free_records(const Curve &) { return std::to_string(take_free().size()); }

// A curve while the pool has so many records left.
template <std::size_t available>
Curve with_records()
{
    std::vector<Curve> more;
    for (std::size_t i = 0; i <= available; ++i)
        more.emplace_back(bezier_new(3, 0, 0, 3, 0), bezier_kill);
    const auto held = std::make_shared<std::vector<Curve>>(take_free());
    bezier_set_controlp(more[0].get(), 1, 2, 3);
    held->push_back(more[0]);
    return {held, more[0].get()};
}

bool divides(const Curve &b)
{
    bezier *halves[2];
    bezier_subdivide(b.get(), 0.5, &halves[0], &halves[1]);
    return made(halves[0], bezier_kill) && made(halves[1], bezier_kill);
}

bool passes_through(const Curve &b)
{
    const double values[] = {1, 2, 3, 5};
    return bezier_cpoly_det(b.get(), values, values) == 1;
}

bool steps(const Curve &b)
{
    double *points = nullptr;
    bezier_fvector(b.get(), 1e-3, &points);
    std::free(points);
    return points != nullptr;
}

// Whether there is a polyline of `least` segments: of more than the chord, or of more than an array has at first.
template <int least>
bool bends(const Curve &b)
{
    dynar *points = nullptr;
    const int segments = under_returning_host([&] { return bezier_vector(b.get(), least > 2 ? 3e-6 : 1e-2, &points); });
    dynar_kill(points);
    return segments >= least;
}

template <std::size_t available>
SweepRow row(const char *name, bool (*call)(const Curve &b), SweepReports once)
{
    return changing<Curve>(name, with_records<available>, call, free_records, std::move(once));
}

// Its segments become records of the pool only when they are asked for.
const std::shared_ptr<poly_bezier> chain = [] {
    const double end = 1;
    const std::shared_ptr<poly_bezier> line(poly_bezier_new(0, 0), poly_bezier_kill);
    poly_bezier_add(line.get(), 1, &end, &end);
    return line;
}();

const lines no_division{no_halves, no_segment};
const SweepRows rows({
    row<0>("bezier_new", [](const Curve &) { return made(bezier_new(3, 0, 0, 1, 1), bezier_kill); }, {{no_segment}}),
    row<0>("poly_bezier_get_bezier",
           [](const Curve &) { return made(poly_bezier_get_bezier(chain.get(), 0), bezier_kill); }, {{no_segment}}),
    row<0>("bezier_subdivide, first half", divides, {no_division}),
    row<1>("bezier_subdivide, second half", divides, {no_division}),
    row<0>("bezier_cpoly_det", passes_through, {{"bezier_cpoly_det: malloc failure"}}),
    row<0>("bezier_fvector", steps, {{"Bezier_fvector: allocation of vertex array failed"}}),
    row<0>("bezier_vector, division", bends<2>, {no_array, no_room, no_division}),
    row<99>("bezier_vector, points", bends<501>, {no_array, no_room}),
});

}  // namespace

// Before any other segment: the pool itself, then its first block.
TEST(BezierNew, FailsWithoutAPool)
{
    Reports reports;
    for (const int n : {0, 1}) {
        arm(fault_kind::memory, n, false);
        EXPECT_TRUE(bezier_new(3, 0, 0, 1, 1) == nullptr && disarm() == 1);
    }
    EXPECT_EQ(reports.take(), lines(2, no_segment));
}

}  // namespace teska_test
