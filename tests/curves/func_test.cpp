#include "func.h"

#include "support/test.h"

using namespace teska_test;

namespace
{

using Func = teska::handle<func, func_kill>;
using X = std::int16_t;  // elements of different sizes show a mix-up
using Y = std::int32_t;
using Points = std::vector<std::pair<X, Y>>;

X as_x(const void *element) { return *static_cast<const X *>(element); }
Y as_y(const void *element) { return *static_cast<const Y *>(element); }
int x_after(const void *element, const void *key) { return as_x(element) > as_x(key) ? 1 : 0; }
int y_after(const void *element, const void *key) { return as_y(element) > as_y(key) ? 1 : 0; }
int differs(const void *element, const void *key) { return as_x(element) != as_x(key) ? 1 : 0; }

Func filled(int ext, func_order order, const Points &points)
{
    Func f(func_new(ext, sizeof(X), sizeof(Y), order));
    for (const auto &[x, y] : points)
        func_insert(f.get(), &x, &y);
    return f;
}

Points contents(const Func &f)
{
    Points points;
    void *x = nullptr, *y = nullptr;
    for (int i = 0; func_get_point(f.get(), i, &x, &y) == 0; ++i)
        points.emplace_back(as_x(x), as_y(y));
    EXPECT_TRUE(points.empty() || (x != nullptr && y != nullptr)) << "the point that is not there changes neither";
    EXPECT_EQ(func_num(f.get()), static_cast<int>(points.size()));
    return points;
}

}  // namespace

TEST(FuncInsert, AgreesWithAModelUnderRandomChangesForAnyGrowthStep)
{
    Generator random(541);
    for (const int ext : {INT_MIN, 0, 1, 2, 7, 65535, 65536, 65537, INT_MAX}) {
        const Func f = filled(ext, x_after, {});
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

TEST(FuncChangep, KeptLeavesAMovedPointWhereItIsAndReportsAMissingOne)
{
    Reports reports;
    const Func f = filled(4, x_after, {{1, 10}, {2, 20}});
    const X moved = 9;
    const Y moved_y = 90;
    EXPECT_EQ(func_changep(f.get(), 0, &moved, &moved_y), 0);
    for (const int index : {INT_MIN, -1, 2, INT_MAX})
        EXPECT_EQ(func_changep(f.get(), index, &moved, &moved_y), -1);
    EXPECT_EQ(reports.take(), lines(4, "list_changep : index out of bound"));
    EXPECT_EQ(func_alloc(f.get(), 65536), 0) << "Kept: also without room";
    EXPECT_EQ(reports.take(), lines(2, "list_insert : Unable to extend list, insufficient resources"));
    EXPECT_EQ(contents(f), (Points{{9, 90}, {2, 20}}));
}

TEST(FuncSearchEl, KeptNeverFindsAnEqualElementWithAStrictOrder)
{
    for (const func_order order : {func_order{nullptr}, func_order{x_after}})
        for (const X key : {X{1}, X{4}}) {
            const Func f = filled(4, order, {{3, 30}, {1, 10}, {1, 11}});
            Y nothing = -1;
            void *y = &nothing;
            const bool found = order == nullptr && key == 1;
            EXPECT_EQ(func_search_el(f.get(), &key, &y, differs), found ? 1 : -1);
            EXPECT_EQ(as_y(y), found ? 10 : -1);
        }
}

TEST(FuncInvert, SortsThePointsByTheirYAndKeepsTheOrderOfEqualOnes)
{
    const Func f = filled(2, x_after, {{1, 300}, {2, 100}, {3, 200}, {4, 100}, {5, 300}});
    const Func inverse(func_invert(f.get(), y_after));
    const Func back(func_invert(inverse.get(), nullptr));  // appended, in the order of y
    EXPECT_EQ(contents(back), (Points{{2, 100}, {4, 100}, {3, 200}, {1, 300}, {5, 300}}));
    EXPECT_EQ(func_invert(nullptr, y_after), nullptr);
}
