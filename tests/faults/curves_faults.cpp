// Segments and the pool that these come from when memory is short
#include "bezierd_base.h"
#include "bezierd_split.h"
#include "bezierd_vector.h"
#include "faults/sweep.h"
#include "p_bezierd_base.h"

using namespace teska_test;

namespace
{

using Segment = std::shared_ptr<bezier>;

const std::string no_segment = "Bezier_new : allocation of Bezier failed";
const lines no_division{"Bezier subdivide: unable to create new Bezier", no_segment};
const lines no_array{"Bezier_vector: Unable to create vertex array", "dynar_new: Unable to create new dynar"};
const lines no_vertex{"ERROR  : 'dynar_ptr: memory allocation failed'"};

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

bool divides(const Segment &b)
{
    bezier *halves[2];
    bezier_subdivide(b.get(), 0.5, &halves[0], &halves[1]);
    return made(halves[0], bezier_kill) && made(halves[1], bezier_kill);
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

const std::shared_ptr<poly_bezier> chain = [] {
    const double x[] = {1, 2, 3}, y[] = {1, 1, 0};
    std::shared_ptr<poly_bezier> p(poly_bezier_new(0, 0), poly_bezier_kill);
    poly_bezier_add(p.get(), 3, x, y);
    return p;
}();

bool takes_out(const Segment &) { return made(poly_bezier_get_bezier(chain.get(), 0), bezier_kill); }

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

TEST(Bezier, LeavesThePoolAsItWasWithoutMemory)
{
    const struct {
        Segment (*with)();
        bool (*call)(const Segment &b);
        Reported reports;
    } rows[] = {{with_records<0>, [](const Segment &) { return made(segment(), bezier_kill); }, {{no_segment}}},
                {with_records<0>, takes_out, {{no_segment}}},
                {with_records<0>, divides, {no_division}},
                {with_records<1>, divides, {no_division}},
                {with_records<0>, bends<2>, {no_array, no_vertex, no_division}},
                {with_records<99>, bends<501>, {no_array, no_vertex}}};
    for (const auto &row : rows)
        EXPECT_EQ(failures_of(row.with, row.call, state_of), row.reports) << &row - rows;
}

}  // namespace
