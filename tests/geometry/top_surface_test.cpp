
#include "support/test.h"

#include "ttriangulartopsurface.h"

#include <top_surface.h>  // not the helper of this folder

using teska_test::lines, teska_test::Reports;

namespace
{

int ink(void *, const double *device, double *colour)
{
    for (int k = 0; k < 3; ++k)
        colour[k] = device[3] * (30 * device[0] + (k == 1 ? -75 : 40) * device[1] + (k == 2 ? -90 : 11) * device[2]);
    return 1;
}

int fails(void *, const double *, double *) { return -1; }

const double ramp[3] = {1.0, 0.5, 0.0};
const double *levels[4] = {ramp, ramp, ramp, ramp};
const int counts[4] = {3, 3, 3, 3};

using T = TTriangularTopSurface;

TEST(TopSurface, SaysWhatTheClassSays)
{
    const teska::handle<top_surface, top_surface_kill> top(top_surface_new(4, levels, counts, 0, ink, nullptr, 61));
    ASSERT_NE(top, nullptr);
    T model(4, levels, counts, levels, 0, ink, 61, 61);
    const int parts = model.GetNrDifferentPrimCombs();
    EXPECT_EQ(top_surface_get_nr_parts(top.get()), parts);
    std::array<double, 21> a{}, b{};  // what either says
    for (const int part : {parts - 1, parts}) {
        EXPECT_EQ(top_surface_get_part(top.get(), part, a.data()), model.GetPrimComb(part, b.data()));
        EXPECT_EQ(a, b);
    }
    int result = 1, triangles = 0;
    for (int first = 1; result >= 0; first = 0, ++triangles) {
        double xyz[3][3] = {}, coords[3][3] = {};
        result = top_surface_next_triangle(top.get(), first, a.data(), &a[9]);
        EXPECT_EQ(result, model.ScanTriangles(first, xyz, coords));
        if (result >= 0)
            std::copy_n(coords[0], 9, std::copy_n(xyz[0], 9, b.begin()));
        EXPECT_EQ(a, b) << triangles;
    }
    EXPECT_GT(triangles, 10);
    const double colours[] = {50, 20, 10, 60, -30, 40, 20, 90, 0};
    for (const bool smaller : {false, true}) {
        EXPECT_EQ(top_surface_normalise(top.get(), colours, a.data(), &a[9], 3, smaller), 0);
        EXPECT_EQ(top_surface_colour(top.get(), a.data(), &a[12], 3, smaller), 0);
        (model.*(smaller ? &T::DetermineNormCoordMinGam : &T::DetermineNormCoord))(colours, b.data(), &b[9], 3);
        (model.*(smaller ? &T::DetermineXYZMinGam : &T::DetermineXYZ))(b.data(), &b[12], nullptr, 3);
        EXPECT_EQ(a, b) << smaller;
    }
    EXPECT_EQ(top_surface_edge(top.get(), 1.0, &a[0], &a[1]), 0);
    EXPECT_EQ(model.UmbrellaEdge(1.0, &b[0], &b[1]), 0);
    EXPECT_EQ(a, b);
}

TEST(TopSurface, SaysWhyThereIsNone)
{
    Reports reports;
    EXPECT_EQ(top_surface_new(4, levels, counts, 3, ink, nullptr, 61), nullptr);
    EXPECT_EQ(reports.take(), lines{"Invalid Parameters, nrphisteps and nrtetasteps still need to be the same"});
    EXPECT_EQ(top_surface_new(4, levels, counts, 0, fails, nullptr, 61), nullptr);
    EXPECT_EQ(reports.take(), lines{"top_surface_new: the device failed"});
}

}  // namespace
