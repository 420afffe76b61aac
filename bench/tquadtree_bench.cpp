// tquadtree_bench - points in the plane beside Boost.Geometry's R-tree (quadratic, 16) and nanoflann's k-d tree
//
// One item: a point inserted, or a question. Points and questions are random in one square. nanoflann's tree is built
// once for all points and cannot change, which the other two can; building it is not measured. A window holds four
// points on average.

#include "tquadtree.h"

#include "support/pairs.h"

#include <benchmark/benchmark.h>
#include <boost/geometry.hpp>
#include <boost/geometry/index/rtree.hpp>
#include <boost/iterator/function_output_iterator.hpp>
#include <nanoflann.hpp>

#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace
{

namespace geometry = boost::geometry;

using Point = geometry::model::d2::point_xy<double>;
using Window = geometry::model::box<Point>;
using Value = std::pair<Point, unsigned>;
using RTree = geometry::index::rtree<Value, geometry::index::quadratic<16>>;

constexpr double side = 1000;
constexpr std::size_t questions = 4096;
constexpr std::size_t most = 8;

// As nanoflann asks for them.
struct Cloud {
    std::vector<std::array<double, 2>> points;

    std::size_t kdtree_get_point_count() const { return points.size(); }
    double kdtree_get_pt(std::size_t i, std::size_t d) const { return points[i][d]; }
    template <class Box>
    bool kdtree_get_bbox(Box & /*box*/) const
    {
        return false;
    }
};

using KdTree = nanoflann::KDTreeSingleIndexAdaptor<nanoflann::L2_Simple_Adaptor<double, Cloud>, Cloud, 2>;

void *item_of(std::size_t i) { return reinterpret_cast<void *>(i); }

int add_item(const TQuadHit *hit, void *context)
{
    *static_cast<std::size_t *>(context) += reinterpret_cast<std::size_t>(hit->item);
    return 0;
}

struct Case {
    explicit Case(std::size_t count) : name(std::to_string(count) + " points"), half_window(side / std::sqrt(count))
    {
        std::mt19937 random(static_cast<unsigned>(count));
        std::uniform_real_distribution<> anywhere(0, side);
        for (std::size_t i = 0; i < count; ++i)
            cloud.points.push_back({anywhere(random), anywhere(random)});
        for (std::size_t i = 0; i < questions; ++i)
            asked.push_back({anywhere(random), anywhere(random)});
        insert(ours);
        insert(rtree);
        kd_tree = std::make_unique<KdTree>(2, cloud, nanoflann::KDTreeSingleIndexAdaptorParams(10));
        kd_tree->buildIndex();
    }

    void insert(TQuadTree &tree) const
    {
        for (std::size_t i = 0; i < cloud.points.size(); ++i)
            tree.Insert(cloud.points[i][0], cloud.points[i][1], item_of(i));
    }

    void insert(RTree &tree) const
    {
        for (std::size_t i = 0; i < cloud.points.size(); ++i)
            tree.insert({Point(cloud.points[i][0], cloud.points[i][1]), static_cast<unsigned>(i)});
    }

    // The sums of the items found for all questions.
    std::size_t ours_nearest(int k) const
    {
        std::size_t sum = 0;
        TQuadHit hits[most];
        for (const auto &[x, y] : asked) {
            const int found = ours.Nearest(x, y, HUGE_VAL, k, hits);
            for (int i = 0; i < found; ++i)
                add_item(&hits[i], &sum);
        }
        return sum;
    }

    std::size_t rtree_nearest() const
    {
        std::size_t sum = 0;
        for (const auto &[x, y] : asked) {
            Value found;
            rtree.query(geometry::index::nearest(Point(x, y), 1), &found);
            sum += found.second;
        }
        return sum;
    }

    std::size_t kd_tree_nearest(std::size_t k) const
    {
        std::size_t sum = 0;
        std::uint32_t found[most];
        double squares[most];
        for (const auto &place : asked) {
            const std::size_t count = kd_tree->knnSearch(place.data(), k, found, squares);
            for (std::size_t i = 0; i < count; ++i)
                sum += found[i];
        }
        return sum;
    }

    std::size_t ours_in_window() const
    {
        std::size_t sum = 0;
        for (const auto &[x, y] : asked)
            ours.InBox({x - half_window, y - half_window, x + half_window, y + half_window}, add_item, &sum);
        return sum;
    }

    std::size_t rtree_in_window() const
    {
        std::size_t sum = 0;
        const auto add = boost::make_function_output_iterator([&sum](const Value &value) { sum += value.second; });
        for (const auto &[x, y] : asked) {
            const Window window(Point(x - half_window, y - half_window), Point(x + half_window, y + half_window));
            rtree.query(geometry::index::intersects(window), add);
        }
        return sum;
    }

    std::string name;
    double half_window;
    Cloud cloud;
    std::vector<std::array<double, 2>> asked;
    TQuadTree ours;
    RTree rtree;
    std::unique_ptr<KdTree> kd_tree;
};

template <class Run>
void add(const std::string &name, std::size_t items, Run run)
{
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State &state) {
        for ([[maybe_unused]] auto _ : state)
            benchmark::DoNotOptimize(run());
        state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(items));
    });
}

// Both must find the same.
template <class Ours, class Peer>
void add_question(const std::string &name, Ours ours, Peer peer)
{
    if (ours() != peer()) {
        std::fprintf(stderr, "%s: the answers differ\n", name.c_str());
        std::exit(1);
    }
    add(name + "/ours", questions, ours);
    add(name + "/peer", questions, peer);
}

void add_case(const std::shared_ptr<Case> &c)
{
    const auto inserted = [c](auto tree) {
        c->insert(*tree);
        return tree;
    };
    const std::string insert = "insert, " + c->name, points = ", " + c->name;
    add(insert + "/ours", c->cloud.points.size(), [=] { return inserted(std::make_unique<TQuadTree>()); });
    add(insert + "/peer", c->cloud.points.size(), [=] { return inserted(std::make_unique<RTree>()); });
    add_question(
        "nearest" + points, [c] { return c->ours_nearest(1); }, [c] { return c->rtree_nearest(); });
    add_question(
        "window" + points, [c] { return c->ours_in_window(); }, [c] { return c->rtree_in_window(); });
    add_question(
        "nearest" + points + ", k-d tree", [c] { return c->ours_nearest(1); }, [c] { return c->kd_tree_nearest(1); });
    add_question(
        "8 nearest" + points + ", k-d tree", [c] { return c->ours_nearest(most); },
        [c] { return c->kd_tree_nearest(most); });
}

}  // namespace

int main(int argc, char **argv)
{
    for (const std::size_t count : {1000, 100000})
        add_case(std::make_shared<Case>(count));
    return bench::run_pairs(argc, argv);
}
