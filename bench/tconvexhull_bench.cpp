// tconvexhull_bench - convex hulls beside Qhull, and inside tests beside the plain loop over the list of faces
//
// One item: a point. Hulls are made of points with whole coordinates 0 .. 255, from the first point to the last record
// freed. The peer is asked for the plain hull, without triangles or areas.

#include "tconvexhull.h"

#include "support/pairs.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <vector>

extern "C" {
#include <libqhull_r/libqhull_r.h>
}

// The friend of the class sees its list of faces.
struct TConvexHullTest {
    static const tFaceStructure *faces(const TConvexHull &hull) { return hull.faces; }
};

namespace
{

// Three doubles for each point.
using Coordinates = std::vector<double>;

constexpr int queries = 1024;

double six_volumes(const tFaceStructure &f, const double *p)
{
    double d[3][3];
    for (int i = 0; i < 3; ++i)
        for (int k = 0; k < 3; ++k)
            d[i][k] = f.vertex[i]->v[k] - p[k];
    return d[0][0] * (d[1][1] * d[2][2] - d[1][2] * d[2][1]) + d[0][1] * (d[1][2] * d[2][0] - d[1][0] * d[2][2]) +
           d[0][2] * (d[1][0] * d[2][1] - d[1][1] * d[2][0]);
}

struct Case {
    explicit Case(int points) : name(std::to_string(points) + " points")
    {
        std::mt19937 random(static_cast<unsigned>(points));
        for (int i = 0; i < 3 * points; ++i)
            cloud.push_back(static_cast<double>(random() % 256));
        for (int i = 0; i < 3 * queries; ++i)
            asked.push_back(static_cast<double>(random() % 3000) * 0.1 - 22);
        make(hull);
    }

    void make(TConvexHull &made) const
    {
        for (std::size_t i = 0; i < cloud.size(); i += 3)
            made.AddPoint(cloud[i], cloud[i + 1], cloud[i + 2]);
        made.Construct();
    }

    // Calls visit(qh) with the peer's hull.
    template <class Visit>
    void peer(Visit visit)
    {
        char options[] = "qhull";
        qhT qh;
        qh_zero(&qh, nullptr);
        if (qh_new_qhull(&qh, 3, static_cast<int>(cloud.size() / 3), cloud.data(), 0, options, nullptr, stderr) != 0)
            std::exit(1);
        visit(&qh);
        qh_freeqhull(&qh, !qh_ALL);
        int current = 0;
        int total = 0;
        qh_memfreeshort(&qh, &current, &total);
    }

    int ours_inside(const double *p) const { return hull.InsideHull(p[0], p[1], p[2]); }

    int plain_inside(const double *p) const
    {
        const tFaceStructure *const first = TConvexHullTest::faces(hull);
        const tFaceStructure *f = first;
        do {
            if (six_volumes(*f, p) < -0.5)
                return 0;
            f = f->next;
        } while (f != first);
        return 1;
    }

    std::string name;
    Coordinates cloud;
    Coordinates asked;
    TConvexHull hull;
};

// Both must do the same work: the peer's vertices are at the surface of ours.
void check(Case &c)
{
    bool same = true;
    c.peer([&](qhT *qh) {
        for (const vertexT *v = qh->vertex_list; v != nullptr && v->next != nullptr; v = v->next) {
            double out[3];
            for (int k = 0; k < 3; ++k)
                out[k] = v->point[k] + (v->point[k] - 127.5) * 0.01;
            same = same && c.ours_inside(v->point) == 1 && c.ours_inside(out) == 0;
        }
    });
    for (std::size_t i = 0; i < c.asked.size(); i += 3)
        same = same && c.ours_inside(&c.asked[i]) == c.plain_inside(&c.asked[i]);
    if (!same) {
        std::fprintf(stderr, "%s: the hulls differ\n", c.name.c_str());
        std::exit(1);
    }
}

template <class Run>
void add(const std::string &name, std::int64_t items, Run run)
{
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State &state) {
        for (auto _ : state)
            run();
        state.SetItemsProcessed(state.iterations() * items);
    });
}

void add_hulls(const std::shared_ptr<Case> &c)
{
    const auto points = static_cast<std::int64_t>(c->cloud.size() / 3);
    add("hull of " + c->name + "/ours", points, [=] {
        TConvexHull made;
        c->make(made);
        benchmark::DoNotOptimize(made);
    });
    add("hull of " + c->name + "/peer", points,
        [=] { c->peer([](qhT *qh) { benchmark::DoNotOptimize(qh->num_facets); }); });
}

template <class Inside>
void add_queries(const std::string &name, const std::shared_ptr<Case> &c, Inside inside)
{
    add("inside, hull of " + c->name + name, queries, [=] {
        int sum = 0;
        for (std::size_t i = 0; i < c->asked.size(); i += 3)
            sum += inside(*c, &c->asked[i]);
        benchmark::DoNotOptimize(sum);
    });
}

}  // namespace

int main(int argc, char **argv)
{
    for (const int points : {1000, 10000, 100000}) {
        const auto c = std::make_shared<Case>(points);
        check(*c);
        add_hulls(c);
        add_queries("/ours", c, [](const Case &of, const double *p) { return of.ours_inside(p); });
        add_queries("/peer", c, [](const Case &of, const double *p) { return of.plain_inside(p); });
    }
    return bench::run_pairs(argc, argv);
}
