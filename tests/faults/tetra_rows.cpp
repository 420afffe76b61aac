// Tetrahedral volumes and their export: allocations, and what is written when a file call fails
#include "faults/injector.h"
#include "faults/sweep.h"

#include "support/folder.h"
#include "volume_export.h"

#include <gtest/gtest.h>

#include <memory>

namespace teska_test
{

namespace
{

using Volume = std::shared_ptr<tetra_volume>;
using List = std::shared_ptr<list_rec>;

const tetra_point corner[] = {{0, 0, 0, 0}, {1, 0, 0, 1}, {0, 1, 0, 2}, {0, 0, 1, 3}};
const double eye[] = {9, 9, 9}, below[] = {0.2, 0.2, -1}, above[] = {0.2, 0.2, 99};
const lines no_list{"list_new : Not enough resources to create list"};
const lines no_room{"list_insert : Unable to extend list, insufficient resources"};

// Horizontal triangles one above the other, and a tetrahedron ten times.
template <int Planes>
Volume stack()
{
    Volume v(tetra_volume_new0(), tetra_volume_kill);
    for (int i = 0; i < Planes; ++i) {
        const double z = i;
        const tetra_point p[] = {{0, 0, z, 0}, {1, 0, z, 1}, {0, 1, z, 2}};
        tetra_volume_add_plane(v.get(), p, p + 1, p + 2);
    }
    for (int i = 0; i < 10; ++i)
        tetra_volume_add_tetra(v.get(), corner, corner + 1, corner + 2, corner + 3);
    return v;
}

std::string counts(const Volume &v)
{
    return std::to_string(v->nr_planes) + " " + std::to_string(list_num(v->planes)) + " " +
           std::to_string(v->nr_tetras) + " " + std::to_string(list_num(v->tetras));
}

List cube_points()
{
    List list(list_new(20, sizeof(tetra_point), nullptr), list_kill);
    for (int i = 0; i < 9; ++i) {
        const tetra_point p = i == 8 ? tetra_point{3, 4, 5, 8}
                                     : tetra_point{(i & 1) * 10.0, (i >> 1 & 1) * 10.0, (i >> 2) * 10.0, i + 0.0};
        list_insert(list.get(), &p);
    }
    return list;
}

bool has_border(const Volume &v)
{
    list_rec *points = nullptr;
    const int result = tetra_volume_get_border_points(v.get(), nullptr, &points);
    EXPECT_EQ(points != nullptr, result == 0);
    list_kill(points);
    return gave(0, result);
}

SweepRow asking(const char *name, Volume (*make)(), bool (*call)(const Volume &v), std::vector<SweepFailures> failures)
{
    return changing<Volume>(name, make, call, counts, std::move(failures));
}

const SweepRows rows({
    calling("plane_new2", [] { return made<void>(plane_new2(corner, corner + 1, corner + 2), plane_kill); }, {{1, {}}}),
    calling("tetra_volume_new0", [] { return made(tetra_volume_new0(), tetra_volume_kill); }, {{1, {}}, {4, no_list}}),
    {.name = "tetra_volume_new",
     .make =
         [] {
             const List points = cube_points();
             return SweepCase{.call = [=] { return made(tetra_volume_new(points.get()), tetra_volume_kill); }};
         },
     .failures = {{14, {}}, {4, no_list}, {11, {}}, {1, no_room}, {19, {}}}},
    asking("tetra_volume_add_plane", stack<10>,
           [](const Volume &v) { return gave(0, tetra_volume_add_plane(v.get(), corner, corner + 1, corner + 2)); },
           {{1, {}}, {1, no_room}}),
    asking("tetra_volume_add_plane2", stack<10>,
           [](const Volume &v) {
               const auto *plane = *static_cast<tetra_plane **>(list_get_element(v->planes, 0));
               return gave(0, tetra_volume_add_plane2(v.get(), plane));
           },
           {{1, {}}, {1, no_room}}),
    asking("tetra_volume_add_tetra", stack<0>,
           [](const Volume &v) {
               return gave(0, tetra_volume_add_tetra(v.get(), corner, corner + 1, corner + 2, corner + 3));
           },
           {{1, {}}, {1, no_room}}),
    asking("tetra_volume_get_border_points", stack<4>, has_border, {{2, no_list}, {2, {}}, {1, no_room}}),
    asking("tetra_volume_line_intersect", stack<40>,
           [](const Volume &v) { return gave(0, tetra_volume_line_intersect(v.get(), below, above, nullptr)); },
           {{1, {}}}),
    asking("tetra_volume_dump_to_file", stack<1>,
           [](const Volume &v) {
               const bool success = gave(0, tetra_volume_dump_to_file(v.get(), eye, "tetra_rows.tmp"));
               EXPECT_EQ(std::remove("tetra_rows.tmp") == 0, success);
               return success;
           },
           {{1, {}}}),
});

// Results of a call while its file calls fail in turn, one letter each: f failure, s success; the last is that of a call
// without failure.
template <class Call>
std::string results(file_fault fault, Call call)
{
    std::string all;
    bool fired = true;
    for (int n = 0; fired; ++n) {
        arm(fault_kind::files, n, false, fault);
        const bool success = gave(0, call());
        fired = disarm() > 0;
        all += success ? 's' : 'f';
    }
    return all;
}

TEST(VolumeExport, FailsWhenAFileIsNotWrittenToItsEndButForTheSecondScene)
{
    const Folder folder;
    const std::string first = folder.path("first"), second = folder.path("second");
    const Volume v = stack<1>();
    for (const file_fault fault : {file_fault{.error = ENOSPC}, file_fault{.error = EIO, .partial = true}}) {
        const std::string dumped =
            results(fault, [&] { return tetra_volume_dump_to_file(v.get(), eye, first.c_str()); });
        EXPECT_EQ(dumped, std::string(dumped.size() - 1, 'f') + 's');
        const std::string scenes = results(fault, [&] { return writeVRML(v.get(), first.c_str(), second.c_str()); });
        const std::size_t of_first = scenes.find('s');
        EXPECT_GT(of_first, 30U);
        EXPECT_GT(scenes.size(), of_first + 30);
        EXPECT_EQ(scenes.find('f', of_first), std::string::npos);
    }
}

}  // namespace

}  // namespace teska_test
