// p_bezierd_bench - chains of Bezier segments beside lib2geom, FreeType and cairo, one thread
//
// 40 random cubics, one after another, on either side. Lengths are measured from the control points here, building the
// chain included, to 1e-9, and by the peer to 1e-4. FreeType's outline has integer coordinates. The fit of a spiral of
// 2000 points is repeated for bounds from 1 to 0.001; the numbers of segments are printed.

#include "support/pairs.h"

#include "p_bezierd_base.h"

#include <2geom/bezier-curve.h>
#include <2geom/bezier-utils.h>
#include <2geom/path.h>
#include <benchmark/benchmark.h>
#include <cairo.h>
#include <ft2build.h>
#include FT_OUTLINE_H
#include FT_BBOX_H

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace
{

constexpr int segments = 40;
constexpr int queries = 200;
constexpr double peer_length_tolerance = 1e-4;
constexpr double polyline_bound = 0.1;
constexpr double freetype_scale = 64;
constexpr int most_peer_segments = 2000;

using Chain = std::unique_ptr<poly_bezier, poly_bezier *(*)(poly_bezier *)>;

struct Point {
    double x, y;
};

// Control points in 0 .. 1000: the start, then three for every segment.
std::vector<Point> make_controls()
{
    std::mt19937 random(7);
    std::uniform_real_distribution<> anywhere(0, 1000);
    std::vector<Point> points(1 + 3 * segments);
    for (Point &p : points)
        p = {anywhere(random), anywhere(random)};
    points.back() = points.front();
    return points;
}

Chain make_chain(const std::vector<Point> &points)
{
    Chain p(poly_bezier_new(points[0].x, points[0].y), poly_bezier_kill);
    for (std::size_t i = 1; i < points.size(); i += 3) {
        const double xs[] = {points[i].x, points[i + 1].x, points[i + 2].x};
        const double ys[] = {points[i].y, points[i + 1].y, points[i + 2].y};
        poly_bezier_add(p.get(), 3, xs, ys);
    }
    return p;
}

Geom::Point peer_point(const Point &p) { return {p.x, p.y}; }

Geom::Path make_path(const std::vector<Point> &points)
{
    Geom::Path path(peer_point(points[0]));
    for (std::size_t i = 1; i < points.size(); i += 3)
        path.appendNew<Geom::CubicBezier>(peer_point(points[i]), peer_point(points[i + 1]), peer_point(points[i + 2]));
    path.close();
    return path;
}

// An outline of one contour, all of cubics, with the arrays it points to.
struct FreetypeOutline {
    std::vector<FT_Vector> points;
    std::vector<char> tags;
    std::vector<short> ends;
    FT_Outline outline{};

    explicit FreetypeOutline(const std::vector<Point> &controls)
    {
        for (std::size_t i = 0; i + 1 < controls.size(); ++i) {
            points.push_back(
                {std::lround(controls[i].x * freetype_scale), std::lround(controls[i].y * freetype_scale)});
            tags.push_back(i % 3 == 0 ? FT_CURVE_TAG_ON : FT_CURVE_TAG_CUBIC);
        }
        ends.push_back(static_cast<short>(points.size() - 1));
        outline.n_contours = 1;
        outline.n_points = static_cast<short>(points.size());
        outline.points = points.data();
        outline.tags = tags.data();
        outline.contours = ends.data();
    }
};

struct CairoPath {
    std::unique_ptr<cairo_surface_t, void (*)(cairo_surface_t *)> surface;
    std::unique_ptr<cairo_t, void (*)(cairo_t *)> context;

    explicit CairoPath(const std::vector<Point> &p)
        : surface(cairo_image_surface_create(CAIRO_FORMAT_A8, 16, 16), cairo_surface_destroy),
          context(cairo_create(surface.get()), cairo_destroy)
    {
        cairo_set_tolerance(context.get(), polyline_bound);
        cairo_move_to(context.get(), p[0].x, p[0].y);
        for (std::size_t i = 1; i < p.size(); i += 3)
            cairo_curve_to(context.get(), p[i].x, p[i].y, p[i + 1].x, p[i + 1].y, p[i + 2].x, p[i + 2].y);
    }
};

// What both sides work on.
struct Case {
    std::vector<Point> controls = make_controls();
    Chain chain = make_chain(controls);
    Geom::Path path = make_path(controls);
    FreetypeOutline outline{controls};
    CairoPath cairo{controls};
    std::vector<Point> at;
    std::vector<double> spiral_x, spiral_y;
    std::vector<Geom::Point> spiral;
    std::vector<Geom::Point> fitted = std::vector<Geom::Point>(4 * most_peer_segments);

    Case()
    {
        std::mt19937 random(8);
        std::uniform_real_distribution<> anywhere(-100, 1100);
        for (int q = 0; q < queries; ++q)
            at.push_back({anywhere(random), anywhere(random)});
        for (int i = 0; i < 2000; ++i) {
            spiral_x.push_back(0.1 * i * std::cos(0.01 * i));
            spiral_y.push_back(0.1 * i * std::sin(0.01 * i));
            spiral.emplace_back(spiral_x.back(), spiral_y.back());
        }
    }

    [[nodiscard]] Chain fit(double bound) const
    {
        return {poly_bezier_fit(static_cast<int>(spiral.size()), spiral_x.data(), spiral_y.data(), bound, 180, 0),
                poly_bezier_kill};
    }
    // The peer's bound is of the square of the distance.
    int peer_fit(double bound)
    {
        return Geom::bezier_fit_cubic_r(fitted.data(), spiral.data(), static_cast<int>(spiral.size()), bound * bound,
                                        most_peer_segments);
    }
    [[nodiscard]] double peer_length() const
    {
        double sum = 0;
        for (const Geom::Curve &curve : path)
            sum += curve.length(peer_length_tolerance);
        return sum;
    }
    [[nodiscard]] double nearest(const Point &q) const
    {
        double u = 0, dist = 0;
        poly_bezier_nearest(chain.get(), q.x, q.y, &u, &dist);
        return dist;
    }
    [[nodiscard]] double peer_nearest(const Point &q) const
    {
        Geom::Coord dist = 0;
        benchmark::DoNotOptimize(path.nearestTime(peer_point(q), &dist));
        return dist;
    }
};

[[noreturn]] void differ(const char *what, double here, double there)
{
    std::fprintf(stderr, "%s: %.15g here, %.15g there\n", what, here, there);
    std::exit(1);
}

void expect_near(const char *what, double here, double there, double tolerance)
{
    if (!(std::fabs(here - there) <= tolerance))
        differ(what, here, there);
}

// Both must do the same work.
void check(Case &c)
{
    expect_near("length", poly_bezier_length(c.chain.get(), 0, segments), c.peer_length(), 1.0);
    for (const Point &q : c.at) {
        expect_near("nearest", c.nearest(q), c.peer_nearest(q), 1e-9);
        expect_near("winding", std::abs(poly_bezier_winding(c.chain.get(), q.x, q.y)),
                    std::abs(c.path.winding(peer_point(q))), 0);
    }
    double box[4];
    FT_BBox peer;
    poly_bezier_box(c.chain.get(), box);
    FT_Outline_Get_BBox(&c.outline.outline, &peer);
    expect_near("box", box[0], static_cast<double>(peer.xMin) / freetype_scale, 0.1);
    expect_near("box", box[3], static_cast<double>(peer.yMax) / freetype_scale, 0.1);
    for (const double bound : {1.0, 0.1, 0.01, 0.001}) {
        const Chain p = c.fit(bound);
        double worst = 0;
        for (std::size_t i = 0; i < c.spiral.size(); ++i) {
            double u = 0, dist = 0;
            poly_bezier_nearest(p.get(), c.spiral_x[i], c.spiral_y[i], &u, &dist);
            worst = std::fmax(worst, dist);
        }
        const int here = poly_bezier_num(p.get()), there = c.peer_fit(bound);
        std::printf("fit within %g: %d segments here, %d there; farthest point %.6g\n", bound, here, there, worst);
        if (worst > bound)
            differ("fit", worst, bound);
        if (bound == 0.001 && here > 0.7 * there)
            differ("segments", here, there);
    }
    double *points = nullptr;
    const int steps = poly_bezier_vector(c.chain.get(), polyline_bound, &points);
    std::free(points);
    std::unique_ptr<cairo_path_t, void (*)(cairo_path_t *)> flat(cairo_copy_path_flat(c.cairo.context.get()),
                                                                 cairo_path_destroy);
    std::printf("polyline within %g: %d steps here, %d there\n", polyline_bound, steps, flat->num_data / 2 - 1);
}

void add(const std::string &name, int items, const std::function<double()> &work)
{
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State &state) {
        for (auto _ : state)
            benchmark::DoNotOptimize(work());
        state.SetItemsProcessed(state.iterations() * items);
    });
}

}  // namespace

int main(int argc, char **argv)
{
    Case c;
    check(c);
    const auto over_points = [&](auto ask) {
        return [&c, ask] {
            double sum = 0;
            for (const Point &q : c.at)
                sum += ask(q);
            return sum;
        };
    };
    add("length of cubics/ours", segments,
        [&] { return poly_bezier_length(make_chain(c.controls).get(), 0, segments); });
    add("length of cubics/peer", segments, [&] { return c.peer_length(); });
    add("nearest of 40 cubics/ours", queries, over_points([&](const Point &q) { return c.nearest(q); }));
    add("nearest of 40 cubics/peer", queries, over_points([&](const Point &q) { return c.peer_nearest(q); }));
    add("winding number, 40 cubics/ours", queries,
        over_points([&](const Point &q) { return poly_bezier_winding(c.chain.get(), q.x, q.y); }));
    add("winding number, 40 cubics/peer", queries,
        over_points([&](const Point &q) { return c.path.winding(peer_point(q)); }));
    add("box of 40 cubics/ours", segments, [&] {
        double box[4];
        poly_bezier_box(c.chain.get(), box);
        return box[0];
    });
    add("box of 40 cubics/peer", segments, [&] {
        FT_BBox box;
        FT_Outline_Get_BBox(&c.outline.outline, &box);
        return static_cast<double>(box.xMin);
    });
    add("polyline of 40 cubics/ours", segments, [&] {
        double *points = nullptr;
        const int steps = poly_bezier_vector(c.chain.get(), polyline_bound, &points);
        std::free(points);
        return steps;
    });
    add("polyline of 40 cubics/peer", segments, [&] {
        cairo_path_t *const path = cairo_copy_path_flat(c.cairo.context.get());
        const int size = path->num_data;
        cairo_path_destroy(path);
        return size;
    });
    for (const double bound : {1.0, 0.1, 0.01, 0.001}) {
        char name[64];
        std::snprintf(name, sizeof name, "fit of a spiral within %g", bound);
        add(name + std::string("/ours"), 2000, [&c, bound] { return poly_bezier_num(c.fit(bound).get()); });
        add(name + std::string("/peer"), 2000, [&c, bound] { return c.peer_fit(bound); });
    }
    return bench::run_pairs(argc, argv);
}
