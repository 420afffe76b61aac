#include "volume_export.h"

#include "support/folder.h"
#include "support/generator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

using teska_test::Folder;
using teska_test::Generator;

namespace
{

using Volume = std::unique_ptr<tetra_volume, int (*)(tetra_volume *)>;
using Flags = std::vector<int>;

Volume of_planes(const std::vector<tetra_point> &corners)
{
    Volume v(tetra_volume_new0(), tetra_volume_kill);
    for (std::size_t i = 0; i < corners.size(); i += 3)
        tetra_volume_add_plane(v.get(), &corners[i], &corners[i + 1], &corners[i + 2]);
    return v;
}

Volume cube()
{
    std::unique_ptr<list_rec, int (*)(list_rec *)> list(list_new(8, sizeof(tetra_point), nullptr), list_kill);
    for (int i = 0; i < 8; ++i) {
        const tetra_point p{(i & 1) * 10.0, (i >> 1 & 1) * 10.0, (i >> 2) * 10.0, 0};
        list_insert(list.get(), &p);
    }
    return {tetra_volume_new(list.get()), tetra_volume_kill};
}

Flags view(const Volume &v, double x, double y, double z)
{
    const double eye[3] = {x, y, z};
    std::vector<int[7]> flags(static_cast<std::size_t>(v->nr_planes));
    EXPECT_EQ(tetra_volume_view(v.get(), eye, flags.data()), 0);
    Flags all;
    for (const auto &of_plane : flags)
        all.insert(all.end(), of_plane, of_plane + 7);
    return all;
}

const std::string bars = "#VRML V2.0 utf8 \n"
                         "Shape{geometry Box{size 100 1 1}}\n"
                         "Shape{geometry Box{size 1 200 1}}\n"
                         "Shape{geometry Box{size 1 1 200}}\n";
const std::string faces_begin = "Shape { appearance Appearance { material Material { } } \n"
                                "geometry IndexedFaceSet { coord Coordinate { point [ \n";
const std::string points_begin = "Shape { appearance Appearance { material Material { emissiveColor 1 1 0 } } \n"
                                 "geometry PointSet { coord Coordinate { point [ \n";

struct Scene {
    std::vector<tetra_point> corners;
    std::string points, indices, colours, colour_indices;
};

const Scene scenes[] = {
    {{}, "", "", "", ""},
    {{{0, 0, 0, 0}, {10, 0, 0, 0}, {0, 10, 0.125, 0}},
     "      0.00       0.00       0.00 ,\n     10.00       0.00       0.00 ,\n      0.00      10.00       0.12\n",
     "0 1 2 \n",
     "0.500000 0.493750 0.999961 \n",
     "0\n"},
    {{{-0.001, 0, 0, 0}, {0, 12345678.5, 0, 0}, {0, 0, 1, 0}, {1, 1, 1, 0}, {2, 2, 2, 0}, {3, 3, 3, 0}},
     "     -0.00       0.00       0.00 ,\n      0.00 12345678.50       0.00 ,\n      0.00       0.00       1.00 ,\n"
     "      1.00       1.00       1.00 ,\n      2.00       2.00       2.00 ,\n      3.00       3.00       3.00\n",
     "0 1 2 -1, \n3 4 5 \n",
     "1.000000 0.500000 0.499500, \n0.500000 0.500000 0.500000 \n",
     "0\n1\n"}};

}  // namespace

TEST(WriteVRML, WritesFacesWithColoursAndTheirCorners)
{
    const Folder folder;
    for (const Scene &scene : scenes) {
        const Volume v = of_planes(scene.corners);
        EXPECT_EQ(writeVRML(v.get(), folder.path("faces.wrl").c_str(), folder.path("points.wrl").c_str()), 0);
        EXPECT_EQ(folder.read("faces.wrl"), bars + faces_begin + scene.points + "] } coordIndex [ \n" + scene.indices +
                                                "] color Color{ color[\n" + scene.colours + "]}\ncolorIndex[\n" +
                                                scene.colour_indices + "] colorPerVertex FALSE solid FALSE\n } }");
        EXPECT_EQ(folder.read("points.wrl"), bars + points_begin + scene.points + "] }}}\n");
    }
}

TEST(WriteVRML, KeptSucceedsWithoutTheSecondFile)
{
    const Folder folder;
    const Volume v = cube();
    const std::string good = folder.path("a"), bad = folder.path("none/b");
    EXPECT_EQ(writeVRML(v.get(), good.c_str(), bad.c_str()), 0);
    EXPECT_EQ(folder.listing(), "a");
    EXPECT_EQ(writeVRML(v.get(), bad.c_str(), folder.path("c").c_str()), -1);
    EXPECT_EQ(writeVRML(nullptr, good.c_str(), good.c_str()), -1);
    EXPECT_EQ(writeVRML(v.get(), nullptr, good.c_str()), -1);
    EXPECT_EQ(writeVRML(v.get(), good.c_str(), nullptr), -1);
    EXPECT_EQ(folder.listing(), "a");
}

TEST(TetraVolumeView, SeesTheNearSideAndNothingFromInside)
{
    const Volume v = cube();
    EXPECT_EQ(view(v, 5, 4, 3), Flags(84, 0));
    const Flags from_above = view(v, 5, 5, 1000);
    for (int k = 0; k < 12; ++k) {
        const tetra_plane *plane = *static_cast<tetra_plane **>(list_get_element(v->planes, k));
        const auto at = from_above.begin() + 7 * k;
        // Kept: the middles of what is seen as a whole are 0.
        const double height = plane->centroid[2];
        EXPECT_EQ(at[3], height == 10);
        if (height == 0 || height == 10) {
            EXPECT_EQ(Flags(at, at + 7), height == 0 ? Flags(7, 0) : Flags({1, 1, 1, 1, 0, 0, 0}));
        }
    }
    EXPECT_EQ(view(of_planes(scenes[1].corners), 1, 1, 50), Flags({1, 1, 1, 1, 0, 0, 0}));
    EXPECT_TRUE(tetra_volume_view(nullptr, nullptr, nullptr) == -1 &&
                tetra_volume_view(v.get(), nullptr, nullptr) == -1);
}

TEST(TetraVolumeDumpToFile, WritesSidesDenseWhereSeen)
{
    // What is seen of a side: first end, second end, middle.
    const int points_of_side[2][2][2] = {{{10, 10}, {10, 0}}, {{10, 0}, {10, 100}}};
    std::string axes;
    char text[100];
    for (const double y : {-60, -40, -20, 0, 20, 40, 60, 80})
        axes.append(text, static_cast<std::size_t>(std::snprintf(text, sizeof text, "     0 %7.1lf       0\n", y)));
    for (const double z : {0, 20, 40, 60, 80})
        axes.append(text, static_cast<std::size_t>(std::snprintf(text, sizeof text, "     0      0  %7.1lf\n", z)));
    for (const double x : {-60, -40, -20, 0, 20, 40, 60})
        axes.append(text, static_cast<std::size_t>(std::snprintf(text, sizeof text, "%7.1lf      0       0\n", x)));

    Generator input(3);
    std::vector<tetra_point> corners(36);
    for (tetra_point &p : corners)
        p = {input.between(-50, 50), input.between(-50, 50), input.between(-50, 50), 0};
    const Volume v = of_planes(corners);
    const Flags flags = view(v, 10, 20, 300);
    std::string expected = axes;
    int kinds[101] = {};
    for (std::size_t side = 0; side < corners.size(); ++side) {
        const std::size_t plane = side / 3 * 3, k = side % 3, next = (k + 1) % 3;
        const int *seen = &flags[side / 3 * 7];
        const tetra_point &a = corners[side], &b = corners[plane + next];
        const int n = points_of_side[seen[k]][seen[next]][seen[4 + k]];
        ++kinds[n];
        for (int i = 0; i < n; ++i) {
            const double t = static_cast<double>(i) / n;
            const int size = std::snprintf(text, sizeof text, "%7.1lf %7.1lf %7.1lf\n", a.x + t * (b.x - a.x),
                                           a.y + t * (b.y - a.y), a.z + t * (b.z - a.z));
            expected.append(text, static_cast<std::size_t>(size));
        }
    }
    EXPECT_TRUE(kinds[0] > 0 && kinds[10] > 0 && kinds[100] > 0);

    const Folder folder;
    const double eye[3] = {10, 20, 300};
    EXPECT_EQ(tetra_volume_dump_to_file(v.get(), eye, folder.path("edges").c_str()), 0);
    std::string written = folder.read("edges");
    // Text files of some systems end lines with two characters.
    written.erase(std::remove(written.begin(), written.end(), '\r'), written.end());
    EXPECT_EQ(written, expected);

    EXPECT_EQ(tetra_volume_dump_to_file(of_planes({}).get(), eye, folder.path("edges").c_str()), 0);
    EXPECT_EQ(tetra_volume_dump_to_file(v.get(), eye, folder.path("none/edges").c_str()), -1);
    EXPECT_EQ(tetra_volume_dump_to_file(nullptr, eye, folder.path("other").c_str()), -1);
    EXPECT_EQ(tetra_volume_dump_to_file(v.get(), eye, nullptr), -1);
    EXPECT_EQ(folder.listing(), "edges");
}
