#include "tquadtree.h"

#include "Source/tquadtree/cells.h"
#include "support/generator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace
{

using teska_test::Generator;

constexpr double quiet = std::numeric_limits<double>::quiet_NaN();

void *item_of(int number) { return reinterpret_cast<void *>(static_cast<std::intptr_t>(number)); }

struct Entry {
    TQuadBox box;
    int item;
};

bool operator==(const TQuadBox &a, const TQuadBox &b)
{
    return a.x0 == b.x0 && a.y0 == b.y0 && a.x1 == b.x1 && a.y1 == b.y1;
}

bool touch(const TQuadBox &a, const TQuadBox &b)
{
    return a.x0 <= b.x1 && b.x0 <= a.x1 && a.y0 <= b.y1 && b.y0 <= a.y1;
}

double square(const TQuadBox &box, double x, double y)
{
    const double dx = x < box.x0 ? box.x0 - x : x > box.x1 ? x - box.x1 : 0;
    const double dy = y < box.y0 ? box.y0 - y : y > box.y1 ? y - box.y1 : 0;
    return dx * dx + dy * dy;
}

// A found item as text, with its box and its distance to the last bit.
std::string text(int item, const TQuadBox &box, double distance)
{
    char line[150];
    std::snprintf(line, sizeof line, "%d: %a %a %a %a at %a", item, box.x0, box.y0, box.x1, box.y1, distance);
    return line;
}

std::string text(const TQuadHit &hit)
{
    return text(static_cast<int>(reinterpret_cast<std::intptr_t>(hit.item)), hit.box, hit.distance);
}

using Texts = std::vector<std::string>;

// What is visited; the walk ends after `limit` visits.
struct Visits {
    Texts texts;
    std::size_t limit = static_cast<std::size_t>(-1);

    static int add(const TQuadHit *hit, void *context)
    {
        auto *visits = static_cast<Visits *>(context);
        visits->texts.push_back(text(*hit));
        return visits->texts.size() == visits->limit ? 7 : 0;
    }
};

Texts sorted(Texts texts)
{
    std::sort(texts.begin(), texts.end());
    return texts;
}

// The plainest way: everything in a row, in the order of insertion.
struct Model {
    std::vector<Entry> entries;

    int remove(const TQuadBox &box, int item)
    {
        const auto found = std::find_if(entries.begin(), entries.end(),
                                        [&](const Entry &e) { return e.item == item && e.box == box; });
        if (found == entries.end())
            return -1;
        entries.erase(found);
        return 0;
    }

    [[nodiscard]] Texts nearest(double x, double y, double reach, int k) const
    {
        std::vector<std::pair<double, const Entry *>> near;
        for (const Entry &e : entries)
            if (std::sqrt(square(e.box, x, y)) <= reach)
                near.emplace_back(square(e.box, x, y), &e);
        std::stable_sort(near.begin(), near.end(), [](const auto &a, const auto &b) { return a.first < b.first; });
        if (near.size() > static_cast<std::size_t>(k))
            near.resize(static_cast<std::size_t>(k));
        Texts texts;
        for (const auto &[distance, e] : near)
            texts.push_back(text(e->item, e->box, std::sqrt(distance)));
        return texts;
    }

    [[nodiscard]] Texts in_box(const TQuadBox &box) const
    {
        Texts texts;
        for (const Entry &e : entries)
            if (touch(e.box, box))
                texts.push_back(text(e.item, e.box, 0));
        return texts;
    }
};

Texts nearest(const TQuadTree &tree, double x, double y, double reach, int k)
{
    std::vector<TQuadHit> hits(static_cast<std::size_t>(k) + 1, TQuadHit{item_of(-7), {}, 0});
    const int count = tree.Nearest(x, y, reach, k, hits.data());
    Texts texts;
    for (int i = 0; i < count; ++i)
        texts.push_back(text(hits.data()[i]));
    EXPECT_EQ(hits.data()[count].item, item_of(-7)) << "room that is not needed";
    return texts;
}

// Where a family of inputs puts its boxes; those of one family are of one sort.
struct Family {
    const char *name;
    double (*coordinate)(Generator &input);
    double (*size)(Generator &input);
};

double zero(Generator & /*input*/) { return 0; }
double lattice(Generator &input) { return input.below(12) - 6; }
double powers(Generator &input) { return std::ldexp(input.below(2) * 2 - 1, input.below(900) - 402); }

const Family families[] = {
    {"points anywhere", [](Generator &input) { return input.between(-50, 1000); }, zero},
    {"points on a lattice, many of them equal", lattice, zero},
    {"points crowding towards the origin", powers, zero},
    {"boxes, some of them points", lattice, [](Generator &input) { return std::max(0.0, input.between(-2, 3)); }},
    {"boxes among the largest ones", [](Generator &input) { return input.between(-9e149, 9e149); },
     [](Generator &input) { return std::ldexp(1, input.below(490)); }},
    {"the smallest doubles", [](Generator &input) { return (input.below(9) - 4) * 5e-324; },
     [](Generator &input) { return input.below(3) * 5e-324; }},
    {"one place", zero, zero},
    {"one place far off, one at the origin", [](Generator &input) { return input.below(2) * 1e150; }, zero},
};

TQuadBox random_box(const Family &family, Generator &input)
{
    const double x = family.coordinate(input), y = family.coordinate(input);
    return {x, y, x + family.size(input), y + family.size(input)};
}

// Compares all queries at a place of the family.
void compare(const TQuadTree &tree, const Model &model, const Family &family, Generator &input)
{
    EXPECT_EQ(tree.Count(), static_cast<int>(model.entries.size()));
    const TQuadBox from = random_box(family, input), other = random_box(family, input);
    const double reaches[] = {HUGE_VAL, 0, std::fabs(other.x0), std::sqrt(square(other, from.x0, from.y0)), 3};
    const double reach = reaches[input.below(5)];
    const int k = 1 + input.below(12);
    EXPECT_EQ(nearest(tree, from.x0, from.y0, reach, k), model.nearest(from.x0, from.y0, reach, k));

    TQuadHit hit{};
    const Texts one = model.nearest(from.x0, from.y0, reach, 1);
    ASSERT_EQ(tree.Nearest(from.x0, from.y0, reach, &hit), static_cast<int>(one.size()));
    EXPECT_TRUE(one.empty() || text(hit) == one[0]);

    Visits circle, window;
    const Texts in_circle = model.nearest(from.x0, from.y0, reach, 1 << 20);
    EXPECT_EQ(tree.InCircle(from.x0, from.y0, reach, Visits::add, &circle), static_cast<int>(in_circle.size()));
    EXPECT_EQ(sorted(circle.texts), sorted(in_circle));
    const TQuadBox box{std::min(from.x0, other.x0), std::min(from.y0, other.y0), std::max(from.x1, other.x1),
                       input.below(9) == 0 ? HUGE_VAL : std::max(from.y1, other.y1)};
    const Texts in_box = model.in_box(box);
    EXPECT_EQ(tree.InBox(box, Visits::add, &window), static_cast<int>(in_box.size()));
    EXPECT_EQ(sorted(window.texts), sorted(in_box));
}

// Bounds are tight, whatever was removed; each is visited once; a visit ends the walk where it wants to.
void compare_as_a_whole(const TQuadTree &tree, const Model &model)
{
    Visits all, some;
    const TQuadBox everywhere{-HUGE_VAL, -HUGE_VAL, HUGE_VAL, HUGE_VAL};
    EXPECT_EQ(tree.Walk(Visits::add, &all), tree.Count());
    EXPECT_EQ(sorted(all.texts), sorted(model.in_box(everywhere)));
    some.limit = all.texts.size() / 2 + 1;
    EXPECT_EQ(tree.Walk(Visits::add, &some), static_cast<int>(std::min(some.limit, all.texts.size())));
    all.texts.resize(some.texts.size());
    EXPECT_EQ(some.texts, all.texts);

    TQuadBox bounds{1, 2, 3, 4};
    ASSERT_EQ(tree.Bounds(&bounds), model.entries.empty() ? 0 : 1);
    TQuadBox expected{HUGE_VAL, HUGE_VAL, -HUGE_VAL, -HUGE_VAL};
    for (const Entry &e : model.entries)
        expected = {std::min(expected.x0, e.box.x0), std::min(expected.y0, e.box.y0), std::max(expected.x1, e.box.x1),
                    std::max(expected.y1, e.box.y1)};
    EXPECT_TRUE(bounds == (model.entries.empty() ? TQuadBox{1, 2, 3, 4} : expected));
}

}  // namespace

// Insertions and removals at random, in rising and falling number, against the plain row.
TEST(TQuadTree, AnswersAsARowOfEntriesDoes)
{
    for (const Family &family : families) {
        SCOPED_TRACE(family.name);
        Generator input(1601);
        TQuadTree tree;
        Model model;
        for (int step = 0; step < 4000 && !testing::Test::HasFailure(); ++step) {
            const bool grows = step < 1000 || (step > 2000 && step < 2500);
            if (input.below(4) < (grows ? 3 : 1)) {
                const Entry e{random_box(family, input), input.below(3) == 0 ? 0 : step};
                const bool point = e.box.x0 == e.box.x1 && e.box.y0 == e.box.y1;
                EXPECT_EQ(
                    point ? tree.Insert(e.box.x0, e.box.y0, item_of(e.item)) : tree.Insert(e.box, item_of(e.item)), 0);
                model.entries.push_back(e);
            } else if (!model.entries.empty()) {
                const Entry e = model.entries[static_cast<std::size_t>(input.below(1 << 20)) % model.entries.size()];
                EXPECT_EQ(tree.Remove(e.box, item_of(e.item)), model.remove(e.box, e.item));
            }
            if (step % 5 == 0)
                compare(tree, model, family, input);
            if (step % 100 == 0)
                compare_as_a_whole(tree, model);
            if (step == 3500)
                tree.Clear(), model.entries.clear();
        }
        while (!model.entries.empty()) {
            const Entry e = model.entries.back();
            EXPECT_EQ(tree.Remove(e.box, item_of(e.item)), model.remove(e.box, e.item));
            compare_as_a_whole(tree, model);
        }
    }
}

TEST(TQuadTree, GivesTheWorkedAnswers)
{
    const int a = 1, b = 2, c = 3, d = 4;
    TQuadTree points;
    points.Insert(0, 0, item_of(a));
    points.Insert(3, 4, item_of(b));
    points.Insert(3, 4, item_of(c));
    points.Insert(10, 0, item_of(d));
    const TQuadBox origin{0, 0, 0, 0}, place{3, 4, 3, 4};
    EXPECT_EQ(nearest(points, 3, 3, HUGE_VAL, 1), (Texts{text(b, place, 1)}));
    EXPECT_EQ(nearest(points, 0, 0, HUGE_VAL, 3), (Texts{text(a, origin, 0), text(b, place, 5), text(c, place, 5)}));
    EXPECT_EQ(nearest(points, 0, 0, HUGE_VAL, 2), (Texts{text(a, origin, 0), text(b, place, 5)}));
    EXPECT_EQ(nearest(points, 0, 0, 4.9, 3), (Texts{text(a, origin, 0)}));
    Visits visits;
    EXPECT_EQ(points.InCircle(0, 0, 5, Visits::add, &visits), 3);
    EXPECT_EQ(points.Remove(3, 4, item_of(b)), 0);
    EXPECT_EQ(points.Remove(3, 4, item_of(b)), -1);
    EXPECT_EQ(nearest(points, 3, 3, HUGE_VAL, 1), (Texts{text(c, place, 1)}));

    const int p = 5, q = 6;
    const TQuadBox large{0, 0, 10, 10}, small{4, 4, 5, 5};
    TQuadTree boxes;
    boxes.Insert(large, item_of(p));
    boxes.Insert(small, item_of(q));
    EXPECT_EQ(nearest(boxes, 4.5, 4.5, HUGE_VAL, 2), (Texts{text(p, large, 0), text(q, small, 0)}));
    visits = {};
    EXPECT_EQ(boxes.InBox({10, 10, 20, 20}, Visits::add, &visits), 1);
    EXPECT_EQ(visits.texts, (Texts{text(p, large, 0)}));
}

TEST(TQuadTree, RefusesWhatIsNoBoxAndNoQuestion)
{
    TQuadTree tree;
    TQuadHit hit{item_of(9), {}, 9};
    Visits visits;
    EXPECT_EQ(tree.Nearest(0, 0, HUGE_VAL, &hit) + tree.Walk(Visits::add, &visits) + tree.Remove(0, 0, nullptr), -1);
    for (const double x : {quiet, HUGE_VAL, -HUGE_VAL, 1.0001e150, -1.0001e150}) {
        EXPECT_EQ(tree.Insert(x, 0, nullptr), -1) << x;
        EXPECT_EQ(tree.Insert(0, x, nullptr), -1) << x;
    }
    for (const TQuadBox &box : {TQuadBox{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, quiet, 0}, {0, 0, 0, HUGE_VAL}})
        EXPECT_EQ(tree.Insert(box, nullptr), -1);
    EXPECT_EQ(tree.Count(), 0);
    EXPECT_EQ(tree.Insert({-1e150, -1e150, 1e150, 1e150}, nullptr), 0);
    EXPECT_EQ(tree.Insert(-0.0, 0.0, nullptr), 0);

    for (const auto &[x, y, reach] :
         {std::array{quiet, 0.0, 1.0}, {0.0, quiet, 1.0}, {0.0, 0.0, quiet}, {0.0, 0.0, -1.0}}) {
        EXPECT_EQ(tree.Nearest(x, y, reach, &hit), 0);
        EXPECT_EQ(tree.InCircle(x, y, reach, Visits::add, &visits), 0);
    }
    for (const int k : {0, -1, INT_MIN})
        EXPECT_EQ(tree.Nearest(0, 0, 1, k, &hit), 0);
    for (const TQuadBox &box : {TQuadBox{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, quiet, 0}, {quiet, quiet, quiet, quiet}})
        EXPECT_EQ(tree.InBox(box, Visits::add, &visits), 0);
    EXPECT_EQ(hit.item, item_of(9));
    EXPECT_EQ(visits.texts, Texts());
    EXPECT_EQ(tree.Remove(0.0, -0.0, nullptr), 0);
    EXPECT_EQ(tree.Remove(quiet, 0, nullptr), -1);
}

// Where squares of distances overflow, all are as far and the first one is the nearest.
TEST(TQuadTreeNearest, KeepsTheOrderOfInsertionBeyondAllSquares)
{
    TQuadTree tree;
    for (int i = 0; i < 40; ++i)
        tree.Insert(i * 7 % 40, i, item_of(i));
    for (const double x : {HUGE_VAL, -HUGE_VAL, 1e200}) {
        const Texts found = nearest(tree, x, 0, HUGE_VAL, 3);
        ASSERT_EQ(found.size(), 3U);
        EXPECT_EQ(found[0], text(0, {0, 0, 0, 0}, HUGE_VAL));
        EXPECT_EQ(found[2], text(2, {14, 2, 14, 2}, HUGE_VAL));
        EXPECT_EQ(nearest(tree, x, 0, 1e300, 3), Texts());
    }
}

// The square of a distance may be above that of its own root, as rounded.
TEST(TQuadTreeNearest, ComparesRootsWithTheReach)
{
    Generator input(1603);
    for (int i = 0; i < 3000; ++i) {
        const double x = std::ldexp(input.unit(), -input.below(600)), y = x * input.unit(),
                     reach = std::sqrt(x * x + y * y);
        TQuadTree tree;
        TQuadHit hit;
        tree.Insert(x, y, nullptr);
        EXPECT_EQ(tree.Nearest(0, 0, reach, &hit), 1) << reach;
        EXPECT_EQ(tree.Nearest(0, 0, std::nextafter(reach, -1), &hit), 0) << reach;
    }
}

// Were one of the insertions O(n), this would take minutes.
TEST(TQuadTree, TakesAnyNumberAtOnePlaceAndAnySequence)
{
    constexpr int many = 100000;
    TQuadTree heap, rising;
    for (int i = 0; i < many; ++i) {
        heap.Insert(i == many / 2 ? 2 : 1, 1, item_of(i));
        rising.Insert(i, i % 2, item_of(i));
    }
    EXPECT_EQ(nearest(heap, 1, 1, HUGE_VAL, 2), (Texts{text(0, {1, 1, 1, 1}, 0), text(1, {1, 1, 1, 1}, 0)}));
    EXPECT_EQ(nearest(heap, 3, 1, HUGE_VAL, 1), (Texts{text(many / 2, {2, 1, 2, 1}, 1)}));
    for (int i = 1; i < many; i += 2)
        ASSERT_EQ(nearest(rising, i, 1, 0.5, 1), (Texts{text(i, {1.0 * i, 1, 1.0 * i, 1}, 0)}));
}

// Corner and side of the smallest cell, which holds both places, in different quarters.
TEST(TQuadTreeCells, AreTheSmallestThatHoldBoth)
{
    using teska::quad::cell;
    using teska::quad::common_cell;
    using teska::quad::place;
    const struct {
        place low, high;
        cell smallest;
    } rows[] = {
        {{5, 1}, {6, 1}, {{4, 0}, 4}},
        {{7, 0}, {8, 9}, {{0, 0}, 16}},
        {{-6, -1}, {-5, -1}, {{-6, -2}, 2}},
        {{-5, 0}, {-4, 0}, {{-8, 0}, 8}},
        {{0.5, -1e-300}, {0.75, -1e-300}, {{0.5, -0.5}, 0.5}},
        {{0x1p400, -1e-300}, {0x1.8p400, -1e-300}, {{0x1p400, -0x1p400}, 0x1p400}},
        {{0, 1e150}, {5e-324, 1e150}, {{0, 1e150}, 1e-323}},
        {{-1, 3}, {1, 3}, {{-0x1p500, -0x1p500}, 0x1p501}},
    };
    for (const auto &[low, high, smallest] : rows) {
        const cell found = common_cell(low, high);
        EXPECT_EQ(found.low.x, smallest.low.x) << low.x;
        EXPECT_EQ(found.low.y, smallest.low.y) << low.x;
        EXPECT_EQ(found.side, smallest.side) << low.x;
    }
    Generator input(1602);
    for (int i = 0; i < 20000; ++i) {
        const auto coordinate = [&] {
            return std::ldexp(input.between(-1, 1), input.below(i % 2 == 0 ? 5 : 900) - 450);
        };
        const place a{coordinate(), coordinate()}, b{i % 3 == 0 ? a.x : coordinate(), coordinate()},
            c{coordinate(), b.y};
        const place low{std::min(a.x, b.x), std::min(a.y, b.y)}, high{std::max(a.x, b.x), std::max(a.y, b.y)};
        const cell found = common_cell(low, high);
        EXPECT_TRUE(found.holds(a) && found.holds(b));
        const place middle = found.middle();
        EXPECT_TRUE((a.x < middle.x) != (b.x < middle.x) || (a.y < middle.y) != (b.y < middle.y));
        if (!found.holds(c)) {
            const cell more = common_cell(found, c);
            EXPECT_TRUE(more.holds(a) && more.holds(b) && more.holds(c));
            const auto quarter = [&](place p) { return (p.x < more.middle().x) + 2 * (p.y < more.middle().y); };
            EXPECT_TRUE(quarter(a) == quarter(b) && quarter(a) != quarter(c) && quarter(a) == quarter(found.low));
        }
    }
}
