// proj_bench - projections onto triangles beside CGAL's squared distances, kernel Simple_cartesian<double>
//
// One item: a query point and a triangle. The peer finds the square of the distance alone, or, in the cases with a
// point, the nearest point of the triangle, too; ours always finds point, weights and distance.

#include "proj.h"

#include "support/pairs.h"

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

constexpr int items = 1024;

// Where the queries are.
enum class Where { anywhere, above, beyond };

struct Figures {
    explicit Figures(Where where) : peer_triangles(), peer_queries()
    {
        std::mt19937 random(7);
        std::uniform_real_distribution<> lab(-100, 100);
        while (triangles.size() < 9 * items) {
            double t[9];
            double q[3];
            for (double &x : t)
                x = lab(random);
            for (double &x : q)
                x = lab(random);
            ProjResult r;
            proj_on_triangle(t, q, &r, nullptr);
            const bool above = r.weight[0] > 0 && r.weight[1] > 0 && r.weight[2] > 0;
            if (where != Where::anywhere && above != (where == Where::above))
                continue;
            triangles.insert(triangles.end(), t, t + 9);
            queries.insert(queries.end(), q, q + 3);
            peer_triangles.emplace_back(Kernel::Point_3(t[0], t[1], t[2]), Kernel::Point_3(t[3], t[4], t[5]),
                                        Kernel::Point_3(t[6], t[7], t[8]));
            peer_queries.emplace_back(q[0], q[1], q[2]);
        }
    }

    double ours() const
    {
        double sum = 0;
        for (std::size_t i = 0; i < items; ++i) {
            ProjResult r;
            double dist = 0;
            proj_on_triangle(&triangles[9 * i], &queries[3 * i], &r, &dist);
            sum += dist;
        }
        return sum;
    }

    double peer() const
    {
        double sum = 0;
        for (std::size_t i = 0; i < items; ++i)
            sum += std::sqrt(CGAL::squared_distance(peer_queries[i], peer_triangles[i]));
        return sum;
    }

    std::vector<double> triangles;
    std::vector<double> queries;
    std::vector<Kernel::Triangle_3> peer_triangles;
    std::vector<Kernel::Point_3> peer_queries;
};

// Both must do the same work. Beyond two edges the first one answers here, so ours may be farther away.
void require_same_distances(const Figures &figures, const std::string &name)
{
    const double ours = figures.ours();
    const double peer = figures.peer();
    if (!(ours >= peer * (1 - 1e-12) && ours <= peer * 1.02)) {
        std::fprintf(stderr, "%s: distances add up to %.17g here, %.17g there\n", name.c_str(), ours, peer);
        std::exit(1);
    }
}

void add(const std::string &name, const std::shared_ptr<Figures> &figures, double (Figures::*run)() const)
{
    benchmark::RegisterBenchmark(name.c_str(), [figures, run](benchmark::State &state) {
        for ([[maybe_unused]] auto _ : state)
            benchmark::DoNotOptimize((figures.get()->*run)());
        state.SetItemsProcessed(state.iterations() * items);
    });
}

}  // namespace

int main(int argc, char **argv)
{
    for (const auto &[name, where] : {std::pair<std::string, Where>{"triangle, query anywhere", Where::anywhere},
                                      {"triangle, query above it", Where::above},
                                      {"triangle, query beyond an edge", Where::beyond}}) {
        const auto figures = std::make_shared<Figures>(where);
        require_same_distances(*figures, name);
        add(name + "/ours", figures, &Figures::ours);
        add(name + "/peer", figures, &Figures::peer);
    }
    return bench::run_pairs(argc, argv);
}
