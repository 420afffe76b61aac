// convex_hull_bench - nearest points of a hull beside CGAL's AABB tree, kernel Simple_cartesian<double>
//
// One item: a query point. Ours finds point, distance and weights; the peer point and triangle. Queries are spread over
// a box of twice the size, or lie outside, within three tenths of the radius: colours that a gamut does not reach.

#include "convex_hull.h"

#include "support/pairs.h"

#include <CGAL/AABB_traits.h>
#include <CGAL/AABB_tree.h>
#include <CGAL/AABB_triangle_primitive.h>
#include <CGAL/Simple_cartesian.h>
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace
{

using Kernel = CGAL::Simple_cartesian<double>;
using Triangles = std::vector<Kernel::Triangle_3>;
using Tree = CGAL::AABB_tree<CGAL::AABB_traits<Kernel, CGAL::AABB_triangle_primitive<Kernel, Triangles::iterator>>>;

constexpr std::size_t queries = 1024;

struct Point {
    double at[3];
};

// On the unit sphere, blown up to the size of a gamut in Lab.
Point in_lab(std::mt19937 &random, double radius)
{
    std::normal_distribution<> normal;
    const double x = normal(random), y = normal(random), z = normal(random),
                 k = radius / std::sqrt(x * x + y * y + z * z);
    return {{50 + 50 * k * x, 90 * k * y, 90 * k * z}};
}

struct Case {
    // A hull of n vertices has 2 n - 4 faces.
    Case(int vertices, bool near_the_surface) : hull(convex_hull_new(), convex_hull_kill)
    {
        std::mt19937 random(5);
        for (int i = 0; i < vertices; ++i)
            convex_hull_add(hull.get(), in_lab(random, 1).at);
        convex_hull_construct(hull.get());
        for (int i = 0, corner[3]; convex_hull_get_face(hull.get(), i, corner) == 0; ++i) {
            Kernel::Point_3 p[3];
            for (int k = 0; k < 3; ++k) {
                double at[3];
                convex_hull_get_vertex(hull.get(), corner[k], at, nullptr);
                p[k] = {at[0], at[1], at[2]};
            }
            triangles.emplace_back(p[0], p[1], p[2]);
        }
        tree = std::make_unique<Tree>(triangles.begin(), triangles.end());
        tree->accelerate_distance_queries();
        std::uniform_real_distribution<> anywhere(-1, 1), beyond(1.0, 1.3);
        while (asked.size() < queries)
            asked.push_back(near_the_surface
                                ? in_lab(random, beyond(random))
                                : Point{{50 + 100 * anywhere(random), 180 * anywhere(random), 180 * anywhere(random)}});
    }

    [[nodiscard]] double ours() const
    {
        double sum = 0;
        for (const Point &q : asked) {
            double nearest[3], dist = 0, weights[3];
            int face = 0;
            convex_hull_nearest(hull.get(), q.at, nearest, &dist, &face, weights);
            sum += dist;
        }
        return sum;
    }

    [[nodiscard]] double peer() const
    {
        double sum = 0;
        for (const Point &q : asked) {
            const Kernel::Point_3 at(q.at[0], q.at[1], q.at[2]);
            sum += std::sqrt(CGAL::squared_distance(at, tree->closest_point_and_primitive(at).first));
        }
        return sum;
    }

    std::unique_ptr<convex_hull, convex_hull *(*)(convex_hull *)> hull;
    Triangles triangles;
    std::unique_ptr<Tree> tree;
    std::vector<Point> asked;
};

void require_same_distances(const Case &c, const std::string &name)
{
    const double ours = c.ours(), peer = c.peer();
    if (!(std::fabs(ours - peer) <= 1e-11 * peer)) {
        std::fprintf(stderr, "%s: distances add up to %.17g here, %.17g there\n", name.c_str(), ours, peer);
        std::exit(1);
    }
}

void add(const std::string &name, const std::shared_ptr<Case> &c, double (Case::*run)() const)
{
    benchmark::RegisterBenchmark(name.c_str(), [c, run](benchmark::State &state) {
        for ([[maybe_unused]] auto _ : state)
            benchmark::DoNotOptimize((c.get()->*run)());
        state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(queries));
    });
}

}  // namespace

int main(int argc, char **argv)
{
    for (const int vertices : {227, 5000})
        for (const bool near_the_surface : {false, true}) {
            const auto c = std::make_shared<Case>(vertices, near_the_surface);
            const std::string name = "nearest of " + std::to_string(c->triangles.size()) + " faces, " +
                                     (near_the_surface ? "little outside" : "anywhere");
            require_same_distances(*c, name);
            add(name + "/ours", c, &Case::ours);
            add(name + "/peer", c, &Case::peer);
        }
    return bench::run_pairs(argc, argv);
}
