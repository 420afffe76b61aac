#include "volume_export.h"

#include "support/test.h"

#include <cstdio>

using teska_test::Folder, teska_test::Generator;

namespace
{

using Volume = std::shared_ptr<tetra_volume>;
using Corners = std::vector<tetra_point>;
using Flags = std::vector<int>;

// Planes by their corners, three after three.
Volume of_planes(const Corners &corners)
{
    Volume v(tetra_volume_new0(), tetra_volume_kill);
    for (std::size_t i = 0; i < corners.size(); i += 3)
        tetra_volume_add_plane(v.get(), &corners[i], &corners[i + 1], &corners[i + 2]);
    return v;
}

Flags view(const Volume &v, const double *eye)
{
    std::vector<int[7]> flags(static_cast<std::size_t>(v->nr_planes));
    EXPECT_EQ(tetra_volume_view(v.get(), eye, flags.data()), 0);
    Flags all;
    for (const auto &of_plane : flags)
        all.insert(all.end(), of_plane, of_plane + 7);
    return all;
}

std::string text(double x)
{
    char digits[100];
    return {digits, static_cast<std::size_t>(std::snprintf(digits, sizeof digits, "%7.1lf", x))};
}

const std::string bars = "#VRML V2.0 utf8 \nShape{geometry Box{size 100 1 1}}\nShape{geometry Box{size 1 200 1}}\n"
                         "Shape{geometry Box{size 1 1 200}}\n";
const std::string faces_begin = "Shape { appearance Appearance { material Material { } } \n"
                                "geometry IndexedFaceSet { coord Coordinate { point [ \n";
const std::string points_begin = "Shape { appearance Appearance { material Material { emissiveColor 1 1 0 } } \n"
                                 "geometry PointSet { coord Coordinate { point [ \n";
const struct {
    Corners corners;
    std::string points, indices, colours, colour_indices;
} scenes[] = {
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
    for (const auto &scene : scenes) {
        const Volume v = of_planes(scene.corners);
        EXPECT_EQ(writeVRML(v.get(), folder.path("faces.wrl").c_str(), folder.path("points.wrl").c_str()), 0);
        EXPECT_EQ(folder.read("faces.wrl"), bars + faces_begin + scene.points + "] } coordIndex [ \n" + scene.indices +
                                                "] color Color{ color[\n" + scene.colours + "]}\ncolorIndex[\n" +
                                                scene.colour_indices + "] colorPerVertex FALSE solid FALSE\n } }");
        EXPECT_EQ(folder.read("points.wrl"), bars + points_begin + scene.points + "] }}}\n");
    }
}

TEST(VolumeExport, KeptMissesOnlyTheFirstFile)
{
    const Folder folder;
    const Volume v = of_planes(scenes[1].corners);
    const std::string good = folder.path("a"), bad = folder.path("none/b");
    const double eye[3] = {0, 0, 9};
    EXPECT_EQ(writeVRML(v.get(), good.c_str(), bad.c_str()), 0);
    EXPECT_EQ(writeVRML(v.get(), bad.c_str(), folder.path("c").c_str()), -1);
    EXPECT_EQ(tetra_volume_dump_to_file(v.get(), eye, bad.c_str()), -1);
    EXPECT_EQ(tetra_volume_view(v.get(), eye, nullptr), -1);
    EXPECT_EQ(folder.listing(), "a");
}

TEST(TetraVolumeView, SeesTheNearSideAndNothingFromInside)
{
    const std::shared_ptr<list_rec> list(list_new(8, sizeof(tetra_point), nullptr), list_kill);
    for (int i = 0; i < 8; ++i) {
        const tetra_point p{i % 2 * 10.0, i / 2 % 2 * 10.0, i / 4 * 10.0, 0};
        list_insert(list.get(), &p);
    }
    const Volume cube(tetra_volume_new(list.get()), tetra_volume_kill);
    const double inside[3] = {5, 4, 3}, above[3] = {5, 5, 1000};
    EXPECT_EQ(view(cube, inside), Flags(84, 0));
    const Flags from_above = view(cube, above);
    for (int k = 0; k < 12; ++k) {
        const tetra_plane &plane = **static_cast<tetra_plane **>(list_get_element(cube->planes, k));
        const bool top = plane.centroid[2] == 10;
        for (int m = 0; m < 3; ++m) {
            const bool first = plane.p[m].z == 10, second = plane.p[(m + 1) % 3].z == 10;
            const auto seen = from_above.begin() + 7 * k;
            // Kept: the middles of what is seen as a whole are 0.
            EXPECT_EQ(Flags({seen[m], seen[3], seen[4 + m]}), Flags({first, top, first && second && !top})) << k << m;
        }
    }
    // A small triangle hides the second corner of a large one, whose middles are then looked at.
    const Volume hidden =
        of_planes({{0, 0, 0, 0}, {10, 0, 0, 0}, {0, 10, 0, 0}, {9, -1, 1, 0}, {11, -1, 1, 0}, {10, 2, 1, 0}});
    EXPECT_EQ(view(hidden, above), Flags({1, 0, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0, 0, 0}));
}

TEST(TetraVolumeDumpToFile, WritesSidesDenseWhereSeen)
{
    // What is seen of a side: first end, second end, middle.
    const int points_of_side[2][2][2] = {{{10, 10}, {10, 0}}, {{10, 0}, {10, 100}}};
    std::string expected;
    for (int y = -60; y <= 80; y += 20)
        expected += "     0 " + text(y) + "       0\n";
    for (int z = 0; z <= 80; z += 20)
        expected += "     0      0  " + text(z) + "\n";
    for (int x = -60; x <= 60; x += 20)
        expected += text(x) + "      0       0\n";
    Generator input(3);
    Corners corners(36);
    for (tetra_point &p : corners)
        p = {input.between(-50, 50), input.between(-50, 50), input.between(-50, 50), 0};
    const Volume v = of_planes(corners);
    const double eye[3] = {10, 20, 300};
    const Flags flags = view(v, eye);
    int kinds[101] = {};
    for (std::size_t side = 0; side < corners.size(); ++side) {
        const std::size_t k = side % 3, next = (k + 1) % 3;
        const int *seen = &flags[side / 3 * 7];
        const tetra_point &a = corners[side], &b = corners[side - k + next];
        const int n = points_of_side[seen[k]][seen[next]][seen[4 + k]];
        ++kinds[n];
        for (int i = 0; i < n; ++i) {
            const double t = static_cast<double>(i) / n;
            expected += text(a.x + t * (b.x - a.x)) + ' ' + text(a.y + t * (b.y - a.y)) + ' ' +
                        text(a.z + t * (b.z - a.z)) + '\n';
        }
    }
    for (const int n : {0, 10, 100})
        EXPECT_GT(kinds[n], 0) << n;
    const Folder folder;
    EXPECT_EQ(tetra_volume_dump_to_file(v.get(), eye, folder.path("edges").c_str()), 0);
    std::string written = folder.read("edges");
    // Text files of some systems end lines with two characters.
    written.erase(std::remove(written.begin(), written.end(), '\r'), written.end());
    EXPECT_EQ(written, expected);
    EXPECT_EQ(tetra_volume_dump_to_file(of_planes({}).get(), eye, folder.path("edges").c_str()), 0);
}
