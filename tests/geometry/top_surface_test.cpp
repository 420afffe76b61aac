#include "support/reports.h"

#include "ttriangulartopsurface.h"

#include <gtest/gtest.h>
#include <top_surface.h>  // not the helper of this folder

#include <memory>

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

struct Press {
    const double ramp[3] = {1.0, 0.5, 0.0};
    const double *levels[4] = {ramp, ramp, ramp, ramp};
    const int counts[4] = {3, 3, 3, 3};
};

TEST(TopSurface, SaysWhatTheClassSays)
{
    Press press;
    const std::unique_ptr<top_surface, top_surface *(*)(top_surface *)> top(
        top_surface_new(4, press.levels, press.counts, 0, ink, nullptr, 61), top_surface_kill);
    ASSERT_NE(top, nullptr);
    TTriangularTopSurface model(4, press.levels, press.counts, &press, 0, ink, 61, 61);
    const int parts = model.GetNrDifferentPrimCombs();
    EXPECT_EQ(top_surface_get_nr_parts(top.get()), parts);
    for (const int part : {parts - 1, parts}) {
        std::vector<double> a(4, 7.0), b(4, 7.0);
        EXPECT_EQ(top_surface_get_part(top.get(), part, a.data()), model.GetPrimComb(part, b.data()));
        EXPECT_EQ(a, b);
    }
    int result = 1, triangles = 0;
    for (int first = 1; result >= 0; first = 0, ++triangles) {
        double a[9] = {}, b[3][3] = {}, a_coords[9] = {}, b_coords[3][3] = {};
        result = top_surface_next_triangle(top.get(), first, a, a_coords);
        EXPECT_EQ(result, model.ScanTriangles(first, b, b_coords));
        EXPECT_TRUE(std::equal(a, a + 9, b[0])) << triangles;
        EXPECT_TRUE(std::equal(a_coords, a_coords + 9, b_coords[0])) << triangles;
    }
    EXPECT_GT(triangles, 10);
    const std::vector<double> colours = {50, 20, 10, 60, -30, 40, 20, 90, 0};
    using T = TTriangularTopSurface;
    for (const int smaller : {0, 1}) {
        std::vector<double> norm(9), model_norm(9), penalty(3), model_penalty(3), back(9), model_back(9);
        EXPECT_EQ(top_surface_normalise(top.get(), colours.data(), norm.data(), penalty.data(), 3, smaller), 0);
        EXPECT_EQ(top_surface_colour(top.get(), norm.data(), back.data(), 3, smaller), 0);
        const auto there = smaller != 0 ? &T::DetermineNormCoordMinGam : &T::DetermineNormCoord;
        (model.*there)(colours.data(), model_norm.data(), model_penalty.data(), 3);
        (model.*(smaller != 0 ? &T::DetermineXYZMinGam : &T::DetermineXYZ))(norm.data(), model_back.data(), nullptr, 3);
        EXPECT_EQ(norm, model_norm);
        EXPECT_EQ(penalty, model_penalty);
        EXPECT_EQ(back, model_back);
    }
    double teta = 0, height = 0, model_teta = 0, model_height = 0;
    EXPECT_EQ(top_surface_edge(top.get(), 1.0, &teta, &height), 0);
    EXPECT_EQ(model.UmbrellaEdge(1.0, &model_teta, &model_height), 0);
    EXPECT_EQ(teta, model_teta);
    EXPECT_EQ(height, model_height);
}

TEST(TopSurface, SaysWhyThereIsNone)
{
    Press press;
    Reports reports;
    EXPECT_EQ(top_surface_new(4, press.levels, press.counts, 3, ink, nullptr, 61), nullptr);
    EXPECT_EQ(reports.take(), lines{"Invalid Parameters, nrphisteps and nrtetasteps still need to be the same"});
    EXPECT_EQ(top_surface_new(4, press.levels, press.counts, 0, fails, nullptr, 61), nullptr);
    EXPECT_EQ(reports.take(), lines{"top_surface_new: the device failed"});
}

}  // namespace
