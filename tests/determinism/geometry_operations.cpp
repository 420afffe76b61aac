#include "clg.h"
#include "convex_hull.h"
#include "determinism/operations.h"
#include "proj.h"
#include "tconvexhull.h"
#include "tetra.h"
#include "tplane.h"
#include "tquadtree.h"
#include "ttriangulartopsurface.h"

#include <array>
#include <cmath>
#include <cstdint>

using namespace teska_test;

namespace
{

using Points = std::vector<std::array<double, 3>>;

Points points_within(Generator &input, int count, double limit)
{
    Points points;
    for (int i = 0; i < count; ++i) {
        const auto place = between(input, 3, -limit, limit);
        points.push_back({place[0], place[1], place[2]});
    }
    return points;
}

template <class Record>
void add_records(Digest &digest, list_rec *list)
{
    for (int i = 0; i < list_num(list); ++i) {
        const auto *record = *static_cast<Record **>(list_get_element(list, i));
        digest.add<double>(record->p, sizeof record->p);
        digest.add<double>(record->centroid, sizeof record->centroid);
    }
}

// A random direction, so long.
std::array<double, 3> on_sphere(Generator &input, double radius)
{
    const Values p = between(input, 3);
    const double k = radius / std::sqrt(p[0] * p[0] + p[1] * p[1] + p[2] * p[2]);
    return {p[0] * k, p[1] * k, p[2] * k};
}

// A cloud with as many points on the surface as inside, or a turned grid: what the tetrahedra are and what they answer.
const Operation tetra_cut("tetra_volume_new, get_tetra, point_inside", [](Generator &input) -> Operation::Run {
    std::vector<std::pair<std::shared_ptr<tetra_volume>, Points>> made;
    for (const bool grid : {false, true}) {
        const auto points = shared(list_new(1000, sizeof(tetra_point), nullptr), list_kill);
        for (int i = 0; i < 729; ++i) {
            const double x = grid ? i % 9 : input.between(-1, 1), y = grid ? i / 9 % 9 : input.between(-1, 1);
            const double z = grid ? i / 81 : input.between(-1, 1);
            const double scale = !grid && i % 2 == 0 ? 9 / std::sqrt(x * x + y * y + z * z) : 5;
            const tetra_point p{scale * (0.6 * x - 0.8 * y), scale * (0.8 * x + 0.6 * y), scale * z, i + 0.0};
            list_insert(points.get(), &p);
        }
        const auto v = shared(tetra_volume_new(points.get()), tetra_volume_kill);
        made.emplace_back(v, points_within(input, 300, 9));
    }
    return [made](Generator &, Digest &digest) {
        for (const auto &[v, asked] : made) {
            add_records<tetra_plane>(digest, v->planes);
            add_records<tetra_rec>(digest, v->tetras);
            digest.put(tetra_volume_get_volume(v.get()));
            for (const auto &p : asked) {
                double w[3] = {};
                tetra_rec *t = nullptr;
                if (tetra_volume_get_tetra(v.get(), p.data(), &t) == 0)
                    tetra_point_inside(t, p.data(), w);
                digest.put(tetra_volume_point_inside(v.get(), p.data()), w);
            }
        }
    };
});

// Figures of random points, of points on a small grid, and with a vertex near the line through two others.
const Operation projections("proj, ordinary, at constant parameter and along a line", [](Generator &input,
                                                                                         Digest &digest) {
    using Projection = int (*)(const double *, const double *, const double *, ProjResult *, double *);
    const Projection functions[] = {proj_on_line_par,         proj_on_line_segm_par,      proj_on_triangle_par,
                                    proj_on_triangle_parline, proj_on_triangle_bound_par, proj_on_tetra_par,
                                    proj_on_tetra_bound_par};
    for (int i = 0; i < 3000; ++i) {
        double points[18], line[6];
        for (double &x : points)
            x = i % 3 == 1 ? input.below(4) : input.between(-50, 50);
        for (int c = 0; i % 3 == 2 && c < 3; ++c)
            points[6 + c] = points[c] + (points[3 + c] - points[c]) / 3;
        const double *const at = points + 12, *const direction = points + 15;
        for (int n = 0; n < 11; ++n) {
            ProjResult r{};
            double dist = 0;
            digest.put(n < 7 ? functions[n](points, at, direction, &r, &dist) : proj(points, n - 6, at, &r, &dist));
            digest.add<double>(&r, sizeof r);
            digest.put(dist);
        }
        if (proj_plane_intersect(points, points + 4, line, line + 3) == 0)
            digest.put(line);
    }
});

// Not the hue plane, which depends on the host's sine and cosine.
const Operation sections("TPlane, planes of constant L, a and b", [](Generator &input, Digest &digest) {
    for (int i = 0; i < 300; ++i) {
        const auto v = between(input, 5, 1, 150);
        const int w = 1 + input.below(500), h = 1 + input.below(500), x = input.below(500), y = input.below(500);
        const TPlane plane(w, h, static_cast<TPlane::PlaneType>(i % 3), v[0] - 75, -v[1], v[2], 50 - v[3], 50 + v[4]);
        double lab[3];
        int pixel[4];
        plane.GetLab(x, y, lab, i % 2 == 0);
        plane.GetXY(lab, &pixel[0], &pixel[1], true);
        digest.add(plane.GetXGridPoints(&pixel[2], &pixel[3]), 11 * sizeof(int));
        digest.add(plane.GetYGridPoints(&pixel[2], &pixel[3]), 11 * sizeof(int));
        digest.put(lab, pixel);
    }
});

// Clouds that are built by the promised steps, and smaller ones on which these are torn. A copy shares what is large
// with its original.
const Operation hulls("TConvexHull, points on spheres", [](Generator &input) -> Operation::Run {
    std::vector<std::tuple<std::shared_ptr<TConvexHull>, int, Points>> all;
    for (const double radius : {100.0, 30.0, 3.0}) {
        const auto hull = std::make_shared<TConvexHull>();
        for (int i = 0; i < 300; ++i) {
            const auto [x, y, z] = on_sphere(input, radius);
            hull->AddPoint(x, y, z);
        }
        all.emplace_back(hull, hull->Construct(), points_within(input, 3000, 0.6 * radius));
    }
    return [all](Generator &, Digest &digest) {
        for (const auto &[hull, constructed, asked] : all) {
            const TConvexHull copy(*hull);
            digest.put(constructed);
            for (const auto &[x, y, z] : asked)
                digest.put((x < y ? *hull : copy).InsideHull(x, y, z));
        }
    };
});

// Its vertices, faces and measures.
const Operation hull_surface("convex_hull, points on spheres", [](Generator &input, Digest &digest) {
    for (const double radius : {1.0, 100.0, 40000.0}) {
        const auto hull = shared(convex_hull_new(), convex_hull_kill);
        convex_hull_set_unit(hull.get(), radius / 90);
        for (int i = 0; i < 500; ++i)
            convex_hull_add(hull.get(), on_sphere(input, radius).data());
        convex_hull_construct(hull.get());
        for (int i = 0, corner[3], number = 0; convex_hull_get_face(hull.get(), i, corner) == 0; ++i)
            for (const int vertex : corner) {
                double p[3] = {};
                convex_hull_get_vertex(hull.get(), vertex, p, &number);
                digest.put(p, number);
            }
        digest.put(convex_hull_get_area(hull.get()), convex_hull_get_volume(hull.get()));
    }
});

int add_hit(const TQuadHit *hit, void *context)
{
    auto *digest = static_cast<Digest *>(context);
    digest->put(static_cast<std::int64_t>(reinterpret_cast<std::intptr_t>(hit->item)));
    digest->add<double>(&hit->box, sizeof hit->box);
    digest->put(hit->distance);
    return 0;
}

// Points and boxes of all sizes, on a lattice too, of which a third goes again; the order of visits counts.
const Operation tree("TQuadTree, points and boxes", [](Generator &input) -> Operation::Run {
    const auto made = std::make_shared<TQuadTree>();
    TQuadBox boxes[3000];
    for (int i = 0; i < 3000; ++i) {
        const double x = i % 5 == 0 ? input.below(20) : input.between(-30, 90);
        const double y = i % 5 == 0 ? input.below(20) : input.between(-30, 90);
        const double part = input.unit();
        const double size = i % 3 == 0 ? 0 : std::ldexp(part, input.below(12) - 8);
        boxes[i] = {x, y, x + size, y + size / 2};
        made->Insert(boxes[i], reinterpret_cast<void *>(static_cast<std::intptr_t>(i)));
    }
    for (int i = 0; i < 3000; i += 3)
        made->Remove(boxes[(i * 7) % 3000], reinterpret_cast<void *>(static_cast<std::intptr_t>((i * 7) % 3000)));
    return [made](Generator &at, Digest &digest) {
        for (int i = 0; i < 200; ++i) {
            const double x = at.between(-40, 100), y = i % 4 == 0 ? 7 : at.between(-40, 100), reach = at.between(0, 20);
            TQuadHit hits[20];
            const int found = made->Nearest(x, y, i % 2 == 0 ? HUGE_VAL : reach, 20, hits);
            for (int k = 0; k < found; ++k)
                add_hit(&hits[k], &digest);
            made->InBox({x, y, x + reach, y + reach / 3}, add_hit, &digest);
            made->InCircle(x, y, reach / 2, add_hit, &digest);
        }
        made->Walk(add_hit, &digest);
    };
});

// The surface of a hull and the same triangles as a volume, whose tree is made on demand.
const Operation nearest_points(
    "convex_hull_nearest, tetra_volume_nearest and proj_nearest_triangle", [](Generator &input) -> Operation::Run {
        const auto hull = shared(convex_hull_new(), convex_hull_kill);
        const auto volume = shared(tetra_volume_new0(), tetra_volume_kill);
        for (int i = 0; i < 400; ++i) {
            const double x = input.between(0, 100), y = input.between(-60, 60);
            const double p[3] = {x, y, i % 2 == 0 ? 0 : input.between(-60, 60)};
            convex_hull_add(hull.get(), p);
        }
        convex_hull_construct(hull.get());
        for (int i = 0, corner[3]; convex_hull_get_face(hull.get(), i, corner) == 0; ++i) {
            tetra_point at[3] = {};
            for (int k = 0; k < 3; ++k)
                convex_hull_get_vertex(hull.get(), corner[k], &at[k].x, nullptr);
            tetra_volume_add_plane(volume.get(), at, at + 1, at + 2);
        }
        return [hull, volume](Generator &asked, Digest &digest) {
            for (int i = 0; i < 1000; ++i) {
                const double q[3] = {asked.between(-50, 150), asked.between(-90, 90), asked.between(-90, 90)};
                double point[3] = {}, dist = 0, weights[3] = {}, corners[9];
                int face = 0;
                convex_hull_nearest(hull.get(), q, point, &dist, &face, weights);
                digest.put(point, dist, weights, face);
                tetra_volume_nearest(volume.get(), q, point, &dist, &face, weights);
                digest.put(point, dist, weights, face);
                for (double &x : corners)
                    x = i % 2 == 0 ? asked.between(-50, 50) : asked.below(3);
                ProjResult r{};
                proj_nearest_triangle(corners, q, &r, &dist);
                digest.add<double>(&r, sizeof r);
                digest.put(dist);
            }
        };
    });
// A press of five inks whose shares of the light multiply. Its triangles are what they are to the last bit; angles come
// from the host's functions, and normalised coordinates count to six digits.
int five_inks(void *, const double *device, double *colour)
{
    static const double share[5][3] = {
        {0.15, 0.45, 0.80}, {0.75, 0.12, 0.40}, {0.95, 0.80, 0.10}, {0.05, 0.05, 0.06}, {0.85, 0.40, 0.08}};
    double light[3] = {1.0, 1.0, 1.0};
    for (int i = 0; i < 5; ++i)
        for (int k = 0; k < 3; ++k)
            light[k] *= 1.0 - (1.0 - device[i]) * (1.0 - share[i][k]);
    colour[0] = light[0] + light[1] + 0.3 * light[2];
    colour[1] = light[0] - light[1];
    colour[2] = light[1] - light[2];
    return 0;
}

const Operation top_surface("TTriangularTopSurface, five inks", [](Generator &) -> Operation::Run {
    const double levels[] = {1.0, 0.8, 0.45, 0.2, 0.0}, *of[] = {levels, levels, levels, levels, levels};
    int counts[] = {5, 5, 5, 5, 5};
    const auto top = std::make_shared<TTriangularTopSurface>(5, of, counts, counts, 0, five_inks, 61, 61);
    return [top](Generator &input, Digest &digest) {
        TTriangularTopSurface scanned(*top);
        double xyz[3][3], own[3][3];
        for (int more = scanned.ScanTriangles(1, xyz, own); more >= 0; more = scanned.ScanTriangles(0, xyz, own))
            digest.put(xyz, own);
        for (int more = scanned.ScanMaskedTriangles(1, xyz); more >= 0; more = scanned.ScanMaskedTriangles(0, xyz))
            digest.put(xyz);
        for (int i = 0; i < 300; ++i) {
            const double colour[3] = {input.between(0.1, 2.3), input.between(-0.5, 0.5), input.between(-0.5, 0.5)};
            double norm[6], penalty[2];
            top->DetermineNormCoord(colour, norm, penalty, 1);
            top->DetermineNormCoordMinGam(colour, norm + 3, penalty + 1, 1);
            for (const double value : norm)
                digest.put(std::floor(value * 1e6 + 0.5));
        }
    };
});

// A press whose patches are partly repeated, on a grid and beside it; what it answers in and out of gamut.
Operation::Run press_of(Generator &input, int channels, int steps)
{
    const auto cloud = shared(clg_new(channels + 1, channels, 0, 100), clg_kill);
    int points = 1;
    for (int k = 0; k < channels; ++k)
        points *= steps;
    for (int i = 0; i < points + points / 4; ++i) {
        double device[5], light[3] = {100, 100, 100};
        for (int k = 0, rest = i; k < channels; ++k, rest /= steps) {
            device[k] = i < points ? 100.0 * (rest % steps) / (steps - 1) : input.between(0, 100);
            for (int c = 0; c < 3; ++c)
                light[c] *= 1 - device[k] * (k == c ? 0.009 : k == 3 ? 0.0095 : 0.002);
        }
        device[channels] = 100 - light[0];
        const double colour[] = {0.3 * light[0] + 0.6 * light[1] + 0.1 * light[2] + input.between(-0.2, 0.2),
                                 light[0] - light[1], 0.4 * (light[0] + light[1]) - 0.8 * light[2]};
        clg_add(cloud.get(), device, colour);
    }
    clg_build(cloud.get());
    const double cost[] = {0, 0, 0, 1, 0.3};
    clg_rule(cloud.get(), cost, 0.4);
    return [cloud](Generator &asked, Digest &digest) {
        digest.put(clg_num_points(cloud.get()), clg_num_cells(cloud.get()));
        for (int i = 0; i < 300; ++i) {
            const double q[] = {asked.between(-10, 110), asked.between(-80, 80), asked.between(-80, 80)};
            double nearest[3], device[5] = {}, dist, printed[3] = {};
            const int inside = clg_nearest(cloud.get(), q, nearest, device, &dist);
            clg_colour(cloud.get(), device, printed);
            digest.put(inside, nearest, device, dist, printed);
        }
    };
}

const Operation cloud_of_three("clg, 3 free channels, 7 steps", [](Generator &input) { return press_of(input, 3, 7); });
const Operation cloud_of_four("clg, 4 free channels, 4 steps", [](Generator &input) { return press_of(input, 4, 4); });

}  // namespace
