#include "func.h"

#include "support/generator.h"
#include "support/reports.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

using teska_test::lines;
using teska_test::Reports;

namespace
{

using Func = std::unique_ptr<func, int (*)(func *)>;
using X = std::int16_t;  // elements of different sizes show a mix-up
using Y = std::int32_t;
using Points = std::vector<std::pair<X, Y>>;

const char *no_room = "list_insert : Unable to extend list, insufficient resources";

template <class T>
T at(const void *element)
{
    return *static_cast<const T *>(element);
}

template <class T>
int after(const void *element, const void *key)
{
    return at<T>(element) > at<T>(key) ? 1 : 0;
}

int at_or_after(const void *element, const void *key) { return at<X>(element) >= at<X>(key) ? 1 : 0; }
int differs(const void *element, const void *key) { return at<X>(element) != at<X>(key) ? 1 : 0; }

Func filled(int ext, func_order order, const Points &points)
{
    Func f(func_new(ext, sizeof(X), sizeof(Y), order), func_kill);
    for (const auto &[x, y] : points)
        func_insert(f.get(), &x, &y);
    return f;
}

Points contents(const Func &f)
{
    Points points;
    void *x = nullptr;
    void *y = nullptr;
    for (int i = 0; func_get_point(f.get(), i, &x, &y) == 0; ++i)
        points.emplace_back(at<X>(x), at<Y>(y));
    EXPECT_EQ(func_num(f.get()), static_cast<int>(points.size()));
    return points;
}

}  // namespace

TEST(FuncInsert, AgreesWithAModelUnderRandomChangesForAnyGrowthStep)
{
    teska_test::Generator random(541);
    for (const int ext : {INT_MIN, 0, 1, 2, 7, 65535, 65536, 65537, INT_MAX}) {
        const Func f = filled(ext, after<X>, {});
        Points model;
        for (int step = 0; step < 300; ++step) {
            const auto x = static_cast<X>(random.below(30) - 15);
            const auto place = std::count_if(model.begin(), model.end(), [=](auto &point) { return point.first <= x; });
            ASSERT_EQ(func_pos(f.get(), &x), place);
            if (random.below(3) > 0) {
                ASSERT_EQ(func_insert(f.get(), &x, &step), place);
                model.insert(model.begin() + place, {x, step});
            } else {
                ASSERT_EQ(func_rem_point(f.get(), static_cast<int>(place) - 1), 0);
                if (place > 0)
                    model.erase(model.begin() + place - 1);
            }
        }
        ASSERT_EQ(contents(f), model) << ext;
    }
}

TEST(FuncInsert, RefusesMorePointsThanAListHoldsAndKeepsThePairs)
{
    Reports reports;
    Points points;
    for (int i = 0; i < 65535; ++i)
        points.emplace_back(static_cast<X>(i / 2), i);
    const Func f = filled(4000, after<X>, points);
    EXPECT_EQ(func_insert(f.get(), &points[0].first, &points[0].second), -1);
    EXPECT_EQ(reports.take(), lines{no_room});
    EXPECT_TRUE(contents(f) == points);
}

TEST(FuncChangep, KeptLeavesAMovedPointWhereItIsAndOnlyItReportsAMissingOne)
{
    Reports reports;
    const Func f = filled(4, after<X>, {{1, 10}, {2, 20}});
    const X moved = 9;
    Y moved_y = 90;
    for (const int index : {INT_MIN, -1, 2, INT_MAX}) {
        void *x = &moved_y;
        void *y = &moved_y;
        EXPECT_EQ(func_changep(f.get(), index, &moved, &moved_y), -1);
        EXPECT_EQ(reports.take(), lines{"list_changep : index out of bound"});
        EXPECT_EQ(func_rem_point(f.get(), index), 0);
        EXPECT_EQ(func_get_point(f.get(), index, &x, &y), -1);
        EXPECT_TRUE(x == &moved_y && y == &moved_y);
        EXPECT_EQ(reports.take(), lines{});
    }
    EXPECT_EQ(contents(f), (Points{{1, 10}, {2, 20}}));
    EXPECT_EQ(func_changep(f.get(), 0, &moved, &moved_y), 0);
    EXPECT_EQ(contents(f), (Points{{9, 90}, {2, 20}}));
}

TEST(FuncChangep, ReportsAMissingPointOnce)
{
    // Printed: a queue holds equal lines once.
    const Func f = filled(4, after<X>, {{1, 10}});
    const X x = 2;
    const Y y = 20;
    testing::internal::CaptureStdout();
    EXPECT_EQ(func_changep(f.get(), 1, &x, &y), -1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "ERROR : 'list_changep : index out of bound'\n");
}

TEST(FuncSearchEl, KeptNeverFindsAnEqualElementWithAStrictOrder)
{
    const struct {
        func_order order;
        X key;
        int index;
        Y y;
    } cases[] = {{nullptr, 1, 1, 10},      {nullptr, 4, -1, -1},  {at_or_after, 1, 0, 11},
                 {at_or_after, 4, -1, -1}, {after<X>, 1, -1, -1}, {after<X>, 2, -1, -1}};
    for (const auto &[order, key, index, expected] : cases) {
        const Func f = filled(4, order, {{3, 30}, {1, 10}, {2, 20}, {1, 11}});
        Y nothing = -1;
        void *y = &nothing;
        EXPECT_EQ(func_search_el(f.get(), &key, &y, differs), index);
        EXPECT_EQ(at<Y>(y), expected);
    }
}

TEST(FuncAlloc, KeptReturnsZeroAlsoWithoutRoom)
{
    Reports reports;
    const Func f = filled(1, after<X>, {{0, 7}});
    EXPECT_EQ(func_alloc(f.get(), 50), 0);
    void *x = nullptr;
    void *y = nullptr;
    func_get_point(f.get(), 0, &x, &y);
    EXPECT_EQ(func_alloc(f.get(), 65536), 0);
    EXPECT_EQ(reports.take(), lines(2, no_room));
    for (X i = 1; i < 50; ++i)
        func_insert(f.get(), &i, y);
    EXPECT_TRUE(at<X>(x) == 0 && at<Y>(y) == 7) << "the address lasts while the room does";
    EXPECT_EQ(func_num(f.get()), 50);
}

TEST(FuncInvert, SortsThePointsByTheirYAndKeepsTheOrderOfEqualOnes)
{
    const Func f = filled(2, after<X>, {{1, 300}, {2, 100}, {3, 200}, {4, 100}, {5, 300}});
    const Func inverse(func_invert(f.get(), after<Y>), func_kill);
    void *x = nullptr;
    void *y = nullptr;
    ASSERT_EQ(func_get_point(inverse.get(), 2, &x, &y), 0);
    EXPECT_TRUE(at<Y>(x) == 200 && at<X>(y) == 3);
    // Without an order points are appended.
    const Func back(func_invert(inverse.get(), nullptr), func_kill);
    EXPECT_EQ(contents(back), (Points{{2, 100}, {4, 100}, {3, 200}, {1, 300}, {5, 300}}));
}

TEST(FuncInvert, MakesAnEmptyFunctionOfAnEmptyOneAndNullOfNull)
{
    Reports reports;
    const Func inverse(func_invert(filled(3, after<X>, {}).get(), after<Y>), func_kill);
    EXPECT_EQ(contents(inverse), Points{});
    EXPECT_EQ(func_invert(nullptr, after<Y>), nullptr);
    EXPECT_EQ(func_kill(nullptr), 0);
    EXPECT_EQ(reports.take(), lines{});
}
