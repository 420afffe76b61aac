#include "bezierd_vector.h"

#include "support/test.h"

#include "curves/segments.h"
#include "error_mess.h"

using namespace teska_test;

namespace
{

using Points = std::vector<point>;
using Array = teska::handle<dynar, dynar_kill>;

constexpr double shortest = 0.9375;  // what a length of 1 is taken for at least

// Into an array that has been used before.
Points vector(const Segment &b, double max_error)
{
    const Array array(dynar_new(16, 3));
    *static_cast<point *>(dynar_ptr(array.get(), 9)) = {77, 77};
    dynar *points = array.get();
    const int segments = bezier_vector(b.get(), max_error, &points);
    EXPECT_EQ(points, array.get());
    EXPECT_EQ(dynar_nr_items(points), std::max(10, segments + 1));
    const auto *first = static_cast<const point *>(dynar_ptr(points, 0));
    return {first, first + segments + 1};
}

}  // namespace

TEST(BezierVectorError, KeptIsTheDistanceFromTheStartOfALoopOrAnAreaForEqualOnes)
{
    double t = 0.0, err = 0.0;
    for (const auto &[xs, ys, expected] :
         {std::tuple<numbers, numbers, double>{{0, 1, -1, 0}, {0, 1, 2, 0}, std::sqrt(5.0)},
          {{0, 0, 10, 10}, {0, 10, 10, 0}, 75},
          {{0, 2, 0}, {1, 1, 1}, 0.9375}}) {
        EXPECT_EQ(bezier_vector_error(segment(xs, ys).get(), &t, &err), 1);
        EXPECT_EQ(t, 0.5);
        EXPECT_NEAR(err, expected, 1e-14);
    }
}

TEST(BezierVectorFd, WalksAlongTheCurveInSlotsOfAnySize)
{
    Generator input(8);
    for (int i = 0; i < 200; ++i) {
        const Segment b = segment(random_numbers(input, 3 + i % 2), random_numbers(input, 3 + i % 2));
        const int sections = std::array{1, 2, 7, 100}[static_cast<std::size_t>(i / 2 % 4)];
        const unsigned stride = std::array{0U, 16U, 24U, 17U}[static_cast<std::size_t>(i / 8 % 4)];
        const std::size_t slot = stride == 0 ? 16 : stride;
        std::vector<char> points(slot * static_cast<std::size_t>(sections + 1), 'x');
        EXPECT_EQ(bezier_vector_fd(b.get(), points.data(), sections, stride), 1);
        for (int k = 0; k <= sections; ++k) {
            const char *at = points.data() + static_cast<std::size_t>(k) * slot;
            point p{};
            std::memcpy(&p, at, sizeof p);
            EXPECT_LE(p - casteljau(*b, 1.0 * k / sections), k == 0 || k == sections ? 0.0 : 1e-12);
            EXPECT_EQ(std::count(at + 16, at + slot, 'x'), static_cast<std::ptrdiff_t>(slot - 16));
        }
    }
}

TEST(BezierFvectorLen, BoundsTheSecondDerivative)
{
    const std::string bent, straight = "DEBUG : 'Bezier_fvector_len: vector input'\n";
    const std::string evenly = "DEBUG : 'Bezier_fvector_len: resorting to secondary error criterium'\n";
    const std::tuple<numbers, double, int, std::string> cases[] = {{{0, 0, 1}, shortest / 64, 5, bent},
                                                                   {{0, 0, 1}, shortest / 63.9, 4, bent},
                                                                   {{0, 0, 0, 1}, 3 * shortest / 16, 3, bent},
                                                                   {{0, 0, 1, 1}, shortest / 12, 4, bent},
                                                                   {{0, 0, 1}, 1e-300, 2147483646, bent},
                                                                   {{0, NAN, 2, 3}, 1, 1, bent},
                                                                   {{0, INFINITY, 2}, 1, 2147483646, bent},
                                                                   {{0, 1, 2}, 1e-9, 1, straight},
                                                                   {{0, 1, 2, 3}, 1e-9, 1, evenly}};
    const int before = dbg_set(1);
    for (const auto &[xs, max_error, sections, said] : cases) {
        testing::internal::CaptureStdout();
        EXPECT_EQ(bezier_fvector_len(segment(xs, numbers(xs.size())).get(), max_error), sections) << max_error;
        EXPECT_EQ(testing::internal::GetCapturedStdout(), said);
    }
    dbg_set(before);
}

// That the vertices lie on the curve, as dense as the bound asks for, is in the hashes.
TEST(BezierVector, KeptGoesToControlPoint3AndEndsForAnyBoundAndCoordinates)
{
    for (const auto &[bound, segments] : {std::pair{5.0, 1U}, {0.5, 3U}, {0.05, 37U}})
        EXPECT_EQ(vector(segment({0, 1, 2}, {0, 2, 0}), bound).size(), segments + 1);
    const std::tuple<numbers, numbers, double> cases[] = {{{1e6, 1e6, 1e6 + 1, 1e6 + 1}, {0, 1, 1, 0}, 1e-300},
                                                          {{0, NAN, 1, 2}, {0, 1, 1, 0}, 1e-3},
                                                          {{0, 1e200, 2e200, 3e200}, {0, 1e200, 1e200, 0}, 1e-3},
                                                          {{0, 1, 2, 3}, {0, 1, -1, 0}, INFINITY}};
    for (const auto &[xs, ys, bound] : cases)
        EXPECT_LT(vector(segment(xs, ys), bound).size(), 100000U);
    Reports reports;
    EXPECT_EQ(vector(segment({1, 1, 2}, {1, 2, 0}), 0.1).back() - point({0, 0}), 0.0);
    EXPECT_EQ(vector(segment({0, 1, 2, 3, 4}, {0, 1, 0, 5, 2}), 0.1).at(1) - point({3, 5}), 0.0);
    EXPECT_EQ(reports.take(), lines{"Bezier_vector_error : illegal degree"});
}
