#include "tquadtree.h"

#include "Source/tquadtree/cells.h"
#include "support/test.h"

namespace
{

using teska_test::Generator;

constexpr double quiet = std::numeric_limits<double>::quiet_NaN();

void *item_of(int number) { return reinterpret_cast<void *>(static_cast<std::intptr_t>(number)); }

// What is held or found: the number of the item, x0, y0, x1, y1 of its box, the distance.
using Row = std::array<double, 6>;
using Rows = std::vector<Row>;

Row row(const TQuadHit &hit)
{
    const auto item = static_cast<double>(reinterpret_cast<std::intptr_t>(hit.item));
    return {item, hit.box.x0, hit.box.y0, hit.box.x1, hit.box.y1, hit.distance};
}

TQuadBox box_of(const Row &r) { return {r[1], r[2], r[3], r[4]}; }

double square(const Row &r, double x, double y)
{
    const double dx = std::max({r[1] - x, 0.0, x - r[3]}), dy = std::max({r[2] - y, 0.0, y - r[4]});
    return dx * dx + dy * dy;
}

Rows sorted(Rows rows)
{
    std::ranges::sort(rows);
    return rows;
}

// What a query visits, one answer for each; the walk ends after `limit` visits.
struct Visits {
    Rows rows;
    std::size_t limit = static_cast<std::size_t>(-1);

    static int add(const TQuadHit *hit, void *context)
    {
        auto *visits = static_cast<Visits *>(context);
        visits->rows.push_back(row(*hit));
        return visits->rows.size() == visits->limit ? 7 : 0;
    }
};

template <class Query, class... Where>
Rows visited(const TQuadTree &tree, Query query, const Where &...where)
{
    Visits visits;
    const int count = (tree.*query)(where..., Visits::add, &visits);
    EXPECT_EQ(count, static_cast<int>(visits.rows.size()));
    return sorted(visits.rows);
}

Rows nearest(const TQuadTree &tree, double x, double y, double reach, int k)
{
    std::vector<TQuadHit> hits(static_cast<std::size_t>(k) + 1, TQuadHit{item_of(-7), {}, 0});
    Rows rows(static_cast<std::size_t>(tree.Nearest(x, y, reach, k, hits.data())));
    std::transform(hits.begin(), hits.begin() + static_cast<std::ptrdiff_t>(rows.size()), rows.begin(), row);
    EXPECT_EQ(hits[rows.size()].item, item_of(-7)) << "room that is not needed";
    return rows;
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

// Compares all queries with the plainest way, a row of entries in the order of insertion: at a place of the family, or
// one so far off that all squares overflow.
void compare(const TQuadTree &tree, const Rows &entries, const Family &family, Generator &input)
{
    const TQuadBox from = random_box(family, input), other = random_box(family, input);
    const double far[] = {1e200, HUGE_VAL, -HUGE_VAL}, y = from.y0,
                 x = input.below(9) != 0 ? from.x0 : far[input.below(3)];
    // As far as an entry, to the last bit: the square of a root may be above what it is the root of.
    const double away =
        std::sqrt(square(entries[static_cast<std::size_t>(input.below(1 << 20)) % entries.size()], x, y));
    const double reaches[] = {HUGE_VAL, 0, away, std::max(0.0, std::nextafter(away, -1)), 3},
                 reach = reaches[input.below(5)];
    Rows near = entries;
    std::erase_if(near, [&](const Row &e) { return std::sqrt(square(e, x, y)) > reach; });
    std::ranges::stable_sort(near, {}, [&](const Row &e) { return square(e, x, y); });
    for (Row &e : near)
        e[5] = std::sqrt(square(e, x, y));
    EXPECT_EQ(visited(tree, &TQuadTree::InCircle, x, y, reach), sorted(near));
    const int k = 1 + input.below(12);
    near.resize(std::min(near.size(), static_cast<std::size_t>(k)));
    EXPECT_EQ(nearest(tree, x, y, reach, k), near);

    const TQuadBox box{std::min(from.x0, other.x0), std::min(from.y0, other.y0), std::max(from.x1, other.x1),
                       input.below(9) == 0 ? HUGE_VAL : std::max(from.y1, other.y1)};
    Rows in = entries;
    std::erase_if(in, [&](const Row &e) { return e[1] > box.x1 || box.x0 > e[3] || e[2] > box.y1 || box.y0 > e[4]; });
    EXPECT_EQ(visited(tree, &TQuadTree::InBox, box), sorted(in));
}

// Bounds are tight, whatever was removed; each is visited once; a visit ends the walk where it wants to.
void compare_as_a_whole(const TQuadTree &tree, const Rows &entries)
{
    Visits all, some;
    EXPECT_EQ(tree.Walk(Visits::add, &all), tree.Count());
    EXPECT_EQ(sorted(all.rows), sorted(entries));
    some.limit = entries.size() / 2 + 1;
    all.rows.resize(std::min(some.limit, entries.size()));
    EXPECT_EQ(tree.Walk(Visits::add, &some), static_cast<int>(all.rows.size()));
    EXPECT_EQ(some.rows, all.rows);

    TQuadHit whole{nullptr, {1, 2, 3, 4}, 0};
    ASSERT_EQ(tree.Bounds(&whole.box), entries.empty() ? 0 : 1);
    Row expected = entries.empty() ? Row{0, 1, 2, 3, 4, 0} : Row{0, HUGE_VAL, HUGE_VAL, -HUGE_VAL, -HUGE_VAL, 0};
    for (const Row &e : entries)
        for (std::size_t i = 1; i < 5; ++i)
            expected[i] = i < 3 ? std::min(expected[i], e[i]) : std::max(expected[i], e[i]);
    EXPECT_EQ(row(whole), expected);
}

}  // namespace

// Insertions and removals at random, in rising and falling number, against the plain row.
TEST(TQuadTree, AnswersAsARowOfEntriesDoes)
{
    for (const Family &family : families) {
        SCOPED_TRACE(family.name);
        Generator input(1601);
        TQuadTree tree;
        Rows entries;
        for (int step = 0; (step < 4000 || !entries.empty()) && !HasFailure(); ++step) {
            const bool grows = step < 1000 || (step > 2000 && step < 2500);
            if (entries.empty() || (step < 4000 && input.below(4) < (grows ? 3 : 1))) {
                const TQuadHit e{item_of(input.below(3) == 0 ? 0 : step), random_box(family, input), 0};
                const bool point = e.box.x0 == e.box.x1 && e.box.y0 == e.box.y1;
                EXPECT_EQ(point ? tree.Insert(e.box.x0, e.box.y0, e.item) : tree.Insert(e.box, e.item), 0);
                entries.push_back(row(e));
            } else {
                const Row e = entries[static_cast<std::size_t>(input.below(1 << 20)) % entries.size()];
                EXPECT_EQ(tree.Remove(box_of(e), item_of(static_cast<int>(e[0]))), 0);
                entries.erase(std::ranges::find(entries, e));
            }
            if (step % 5 == 0 && !entries.empty())
                compare(tree, entries, family, input);
            if (step == 3500)
                tree.Clear(), entries.clear();
            if (step % 100 == 0 || step >= 4000)
                compare_as_a_whole(tree, entries);
        }
    }
}

TEST(TQuadTree, RefusesWhatIsNoBoxAndNoQuestion)
{
    TQuadTree tree;
    TQuadHit hit{item_of(9), {}, 9};
    EXPECT_EQ(tree.Nearest(0, 0, HUGE_VAL, &hit), 0);
    EXPECT_EQ(tree.Remove(0, 0, nullptr), -1);
    for (const double x : {quiet, HUGE_VAL, -HUGE_VAL, 1.0001e150, -1.0001e150}) {
        EXPECT_EQ(tree.Insert(x, 0, nullptr), -1) << x;
        EXPECT_EQ(tree.Insert(0, x, nullptr), -1) << x;
        EXPECT_EQ(tree.Insert({-1e150, -1e150, x, 0}, nullptr), -1) << x;
        EXPECT_EQ(tree.Insert({-1e150, -1e150, 0, x}, nullptr), -1) << x;
    }
    EXPECT_EQ(tree.Count(), 0);
    EXPECT_EQ(tree.Insert({-1e150, -1e150, 1e150, 1e150}, nullptr), 0);
    EXPECT_EQ(tree.Insert(-0.0, 0.0, nullptr), 0);
    EXPECT_EQ(tree.Nearest(3e150, 0, HUGE_VAL, &hit), 1);
    EXPECT_EQ(row(hit), (Row{0, -1e150, -1e150, 1e150, 1e150, 3e150 - 1e150}));
    hit.item = item_of(9);
    for (const auto &[x, y, reach] :
         {std::array{quiet, 0.0, 1.0}, {0.0, quiet, 1.0}, {0.0, 0.0, quiet}, {0.0, 0.0, -1.0}}) {
        EXPECT_EQ(tree.Nearest(x, y, reach, &hit), 0);
        EXPECT_EQ(visited(tree, &TQuadTree::InCircle, x, y, reach), Rows());
    }
    for (const int k : {0, -1, INT_MIN})
        EXPECT_EQ(tree.Nearest(0, 0, 1, k, &hit), 0);
    for (const TQuadBox &box : {TQuadBox{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, quiet, 0}, {quiet, quiet, quiet, quiet}}) {
        EXPECT_EQ(tree.Insert(box, nullptr), -1);
        EXPECT_EQ(visited(tree, &TQuadTree::InBox, box), Rows());
    }
    EXPECT_EQ(hit.item, item_of(9));
    EXPECT_EQ(tree.Remove(0.0, -0.0, nullptr), 0);
    EXPECT_EQ(tree.Remove(quiet, 0, nullptr), -1);
    // Squares this small are rounded to whole multiples of the least double.
    TQuadTree one;
    EXPECT_EQ(one.Insert(2e-162, 0, &hit), 0);
    EXPECT_EQ(one.Nearest(0, 0, 1.8e-162, &hit), 0);
    EXPECT_EQ(one.Nearest(0, 0, 3e-162, &hit), 1);
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
    EXPECT_EQ(nearest(heap, 3, 1, HUGE_VAL, 2), (Rows{{many / 2, 2, 1, 2, 1, 1}, {0, 1, 1, 1, 1, 2}}));
    for (int i = 1; i < many; i += 2)
        ASSERT_EQ(nearest(rising, i, 1, 0.5, 1), (Rows{{1.0 * i, 1.0 * i, 1, 1.0 * i, 1, 0}}));
}

// Where the scaled coordinate is -0, and where it is beyond whole numbers.
TEST(TQuadTreeCells, HoldWhatIsJustBelowZeroAndWhatIsFarAway)
{
    using namespace teska::quad;
    const auto smallest = [](place low, place high) {
        const cell found = common_cell(low, high);
        return std::array{found.low.x, found.low.y, found.side};
    };
    EXPECT_EQ(smallest({0x1p400, -1e-300}, {0x1.8p400, -1e-300}), (std::array{0x1p400, -0x1p400, 0x1p400}));
    EXPECT_EQ(smallest({0, 1e150}, {5e-324, 1e150}), (std::array{0.0, 1e150, 1e-323}));
}
