// A hull that lost a point, volumes when memory is short, and those that are written when a file call fails
#include "support/folder.h"

#include "faults/sweep.h"
#include "tconvexhull.h"
#include "volume_export.h"

#include <algorithm>

using namespace teska_test;

namespace
{

using Volume = std::shared_ptr<tetra_volume>;

const double eye[] = {9, 9, 9}, above[] = {0.2, 0.2, 99};

// Horizontal triangles one above the other.
Volume stack(int nr_planes)
{
    Volume v(tetra_volume_new0(), tetra_volume_kill);
    for (double z = 0; z < nr_planes; ++z) {
        const tetra_point p[] = {{0, 0, z, 0}, {1, 0, z, 1}, {0, 1, z, 2}};
        tetra_volume_add_plane(v.get(), p, p + 1, p + 2);
    }
    return v;
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
        for (const double x : {0, 10})
            for (const double y : {0, 10})
                EXPECT_EQ(copy.AddPoint(x, y, y - x), 0);
        EXPECT_EQ(copy.Construct(), fired ? -1 : 0);
        EXPECT_TRUE(!fired || hull.Construct() == -1);
        EXPECT_EQ(hull.IsEmpty(), 0);
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
