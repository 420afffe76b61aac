// Volumes, hulls and their export: allocations, and what is written when a file call fails
#include "support/folder.h"
#include "support/generator.h"

#include "convex_hull.h"
#include "faults/sweep.h"
#include "tconvexhull.h"
#include "tquadtree.h"
#include "volume_export.h"

#include <algorithm>
#include <cmath>

using namespace teska_test;

namespace
{

using Volume = std::shared_ptr<tetra_volume>;
using Hull = std::shared_ptr<convex_hull>;

const tetra_point corner[] = {{0, 0, 0, 0}, {1, 0, 0, 1}, {0, 1, 0, 2}, {0, 0, 1, 3}};
const double eye[] = {9, 9, 9}, below[] = {0.2, 0.2, -1}, above[] = {0.2, 0.2, 99};

int add_tetra(tetra_volume *v) { return tetra_volume_add_tetra(v, corner, corner + 1, corner + 2, corner + 3); }

// Horizontal triangles one above the other, and a tetrahedron ten times.
Volume stack(int nr_planes)
{
    Volume v(tetra_volume_new0(), tetra_volume_kill);
    for (double z = 0; z < nr_planes; ++z) {
        const tetra_point p[] = {{0, 0, z, 0}, {1, 0, z, 1}, {0, 1, z, 2}};
        tetra_volume_add_plane(v.get(), p, p + 1, p + 2);
    }
    for (int i = 0; i < 10; ++i)
        add_tetra(v.get());
    return v;
}

// A call that asks or changes a stack; it gives 0 or -1.
SweepRow row(const char *name, int nr_planes, int (*call)(tetra_volume *v), SweepReports reports)
{
    const auto counts = [](const Volume &v) {
        return std::to_string(v->nr_planes) + " " + std::to_string(list_num(v->planes)) + " " +
               std::to_string(v->nr_tetras) + " " + std::to_string(list_num(v->tetras));
    };
    return changing(
        name, [=] { return stack(nr_planes); }, [=](const Volume &v) { return gave(0, call(v.get())); }, counts,
        std::move(reports));
}

int add_plane(tetra_volume *v) { return tetra_volume_add_plane(v, corner, corner + 1, corner + 2); }
int intersect(tetra_volume *v) { return tetra_volume_line_intersect(v, below, above, nullptr); }

int add_plane2(tetra_volume *v)
{
    return tetra_volume_add_plane2(v, *static_cast<tetra_plane **>(list_get_element(v->planes, 0)));
}

int get_border(tetra_volume *v)
{
    list_rec *points = nullptr;
    const int result = tetra_volume_get_border_points(v, nullptr, &points);
    EXPECT_EQ(points != nullptr, result == 0);
    list_kill(points);
    return result;
}

int dump(tetra_volume *v)
{
    const int result = tetra_volume_dump_to_file(v, eye, "tetra_rows.tmp");
    EXPECT_EQ(std::remove("tetra_rows.tmp"), result);
    return result;
}

// The corners of a cube from 0 to 10, and then a point inside it.
tetra_point dice_point(int i)
{
    return i < 8 ? tetra_point{i % 2 * 10.0, i / 2 % 2 * 10.0, i / 4 * 10.0, 0} : tetra_point{3, 4, 5, 0};
}

const std::shared_ptr<list_rec> points = [] {
    std::shared_ptr<list_rec> made(list_new(20, sizeof(tetra_point), nullptr), list_kill);
    for (int i = 0; i < 9; ++i) {
        const tetra_point p = dice_point(i);
        list_insert(made.get(), &p);
    }
    return made;
}();

int add(const Hull &hull, int i)
{
    const tetra_point p = dice_point(i);
    return convex_hull_add(hull.get(), &p.x);
}

Hull dice()
{
    Hull hull(convex_hull_new(), convex_hull_kill);
    for (int i = 0; i < 27; ++i)
        add(hull, i);
    return hull;
}

std::string points_and_faces(const Hull &hull)
{
    return std::to_string(convex_hull_get_nr_points(hull.get())) + " " +
           std::to_string(convex_hull_get_nr_faces(hull.get())) + " " +
           std::to_string(convex_hull_get_volume(hull.get()));
}

const lines nothing, no_list{"list_new : Not enough resources to create list"};
const lines no_room{"list_insert : Unable to extend list, insufficient resources"};
const SweepRows rows({
    creating("plane_new2", plane_new2, plane_kill, {nothing}, corner, corner + 1, corner + 2),
    creating("tetra_volume_new0", tetra_volume_new0, tetra_volume_kill, {nothing, no_list}),
    creating("tetra_volume_new", tetra_volume_new, tetra_volume_kill, {nothing, no_list, no_room}, points.get()),
    row("tetra_volume_add_plane", 10, add_plane, {nothing, no_room}),
    row("tetra_volume_add_plane2", 10, add_plane2, {nothing, no_room}),
    row("tetra_volume_add_tetra", 0, add_tetra, {nothing, no_room}),
    row("tetra_volume_get_border_points", 4, get_border, {nothing, no_list, no_room}),
    row("tetra_volume_line_intersect", 40, intersect, {nothing}),
    row("tetra_volume_dump_to_file", 1, dump, {nothing}),
    creating("convex_hull_new", convex_hull_new, convex_hull_kill, {{"convex_hull_new: insufficient memory"}}),
    changing("convex_hull_add", dice, [](const Hull &hull) { return gave(0, convex_hull_add(hull.get(), eye)); },
             points_and_faces, {{"convex_hull_add: insufficient memory"}}),
    changing("convex_hull_add_points", dice,
             [](const Hull &hull) { return gave(0, convex_hull_add_points(hull.get(), eye, 1)); }, points_and_faces,
             {{"convex_hull_add_points: insufficient memory"}}),
});

// On a sphere so small that the hull is made twice, the second time by exact signs.
void add_sphere(TConvexHull &hull)
{
    Generator input(1);
    for (int i = 0; i < 60; ++i) {
        const double x = input.between(-1, 1), y = input.between(-1, 1), z = input.between(-1, 1);
        const double k = 4 / std::sqrt(x * x + y * y + z * z);
        hull.AddPoint(x * k, y * k, z * k);
    }
}

TEST(TConvexHull, ConstructsWhenMemoryIsBackAgain)
{
    each_allocation(300, [](const auto &fire) {
        TConvexHull hull;
        add_sphere(hull);
        fire();
        const int result = hull.Construct();
        const bool fired = disarm() > 0;
        EXPECT_EQ(result, fired ? -1 : 0);
        EXPECT_EQ(hull.InsideHull(1, 1, 1), fired ? 0 : 1);
        EXPECT_EQ(hull.Construct(), 0);
        EXPECT_EQ(hull.InsideHull(1, 1, 1), 1);
        EXPECT_EQ(hull.InsideHull(3, 3, 3), 0);
        return fired;
    });
}

TEST(TConvexHull, RemembersALostPoint)
{
    each_allocation(4, [](const auto &fire) {
        TConvexHull hull;
        fire();
        for (const double x : {0, 10})
            EXPECT_EQ(hull.AddPoint(x, 0, 0), 0);
        const bool fired = disarm() > 0;
        TConvexHull copy(hull);
        add_sphere(copy);
        EXPECT_EQ(copy.Construct(), fired ? -1 : 0);
        EXPECT_TRUE(!fired || hull.Construct() == -1);
        EXPECT_EQ(hull.IsEmpty(), 0);
        return fired;
    });
}

// Inserts points and boxes; the one that finds no memory is inserted once more.
TEST(TQuadTree, IsUnchangedByAnInsertionWithoutMemory)
{
    each_allocation(30, [](const auto &fire) {
        Generator input(2);
        TQuadTree tree;
        bool fired = false;
        fire();
        for (int i = 0; i < 400; ++i) {
            const double x = input.unit(), y = input.unit(), size = i % 2 == 0 ? 0 : input.unit();
            const TQuadBox box{x, y, x + size, y + size};
            TQuadHit hit;
            const int result = tree.Insert(box, &tree);
            EXPECT_EQ(tree.Count(), i + 1 + result);
            EXPECT_EQ(tree.Nearest(x, y, HUGE_VAL, &hit), tree.Count() > 0 ? 1 : 0);
            EXPECT_EQ(tree.Walk([](const TQuadHit *, void *) { return 0; }, nullptr), tree.Count());
            if (result != 0) {
                EXPECT_FALSE(fired);
                EXPECT_EQ(tree.Remove(box, &tree), -1);
                fired = disarm() > 0;
                EXPECT_EQ(tree.Insert(box, &tree), 0);
            }
        }
        disarm();
        return fired;
    });
}

TEST(TetraVolume, FindsTheSamePointWhenMemoryIsShort)
{
    each_allocation(4, [](const auto &fire) {
        const Volume v = stack(7);
        double point[3] = {}, again[3] = {}, dist = 0;
        int plane = 0;
        fire();
        EXPECT_EQ(tetra_volume_nearest(v.get(), above, point, &dist, &plane, nullptr), 0);
        const bool fired = disarm() > 0;
        EXPECT_EQ(plane, 6);
        EXPECT_EQ(dist, 93);
        EXPECT_EQ(tetra_volume_nearest(v.get(), above, again, nullptr, nullptr, nullptr), 0);
        EXPECT_TRUE(std::equal(point, point + 3, again));
        return fired;
    });
}

// Whatever fails, from the first point on: no point is lost, and the next call makes the whole hull.
TEST(ConvexHull, IsMadeWhenMemoryIsBackAgain)
{
    each_allocation(50, [](const auto &fire) {
        Reports reports;
        const Hull hull(convex_hull_new(), convex_hull_kill);
        bool fired = false;
        fire();
        for (int i = 0; i < 9; ++i)
            while (add(hull, i) != 0)
                fired = disarm() > 0;
        const int result = convex_hull_construct(hull.get());
        const int faces = convex_hull_get_nr_faces(hull.get());
        fired = disarm() > 0 || fired;
        EXPECT_EQ(faces, result == 0 ? 12 : 0);
        EXPECT_EQ(reports.take().size(), fired ? 1U : 0U);
        EXPECT_EQ(convex_hull_construct(hull.get()), 0);
        EXPECT_EQ(convex_hull_get_volume(hull.get()), 1000);
        EXPECT_EQ(convex_hull_get_nr_points(hull.get()), 9);
        return fired;
    });
}

TEST(VolumeExport, FailsWhenAFileIsNotWrittenToItsEndButForTheSecondScene)
{
    const Folder folder;
    const std::string first = folder.path("first"), second = folder.path("second");
    const Volume v = stack(1);
    // Results of a call while its file calls fail in turn: f failure, s success; at last without a failure.
    const auto results = [](file_fault fault, const std::function<int()> &call) {
        std::string all;
        each_fault(fault_kind::files, false, fault, [&](const auto &fire) {
            fire();
            all += gave(0, call()) ? 's' : 'f';
            return disarm() > 0;
        });
        return all;
    };
    for (const file_fault fault : {file_fault{.error = ENOSPC}, file_fault{.error = EIO, .partial = true}}) {
        const auto dumped = results(fault, [&] { return tetra_volume_dump_to_file(v.get(), eye, first.c_str()); });
        const auto scenes = results(fault, [&] { return writeVRML(v.get(), first.c_str(), second.c_str()); });
        const std::size_t of_first = scenes.find('s');
        EXPECT_EQ(dumped.find('s'), dumped.size() - 1);
        EXPECT_TRUE(of_first > 30 && scenes.size() > of_first + 30);
        EXPECT_EQ(scenes.find('f', of_first), std::string::npos);
    }
}

}  // namespace
