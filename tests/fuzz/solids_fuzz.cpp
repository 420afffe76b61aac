// solids - the hull of points and the volume they fill, of sets that are mostly degenerate
//
// An input is how coordinates are made, how many points come first, and the points: of a small grid, so that many are
// equal, in a line or in a plane; far away; or any numbers.

#include "convex_hull.h"
#include "error_mess.h"
#include "fuzz/target.h"
#include "tetra.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>

using fuzz::expect;

namespace
{

using Points = std::vector<std::array<double, 3>>;
using Hull = std::unique_ptr<convex_hull, convex_hull *(*)(convex_hull *)>;
using Volume = std::unique_ptr<tetra_volume, int (*)(tetra_volume *)>;

constexpr std::size_t points_max = 60;

Points read_points(fuzz::Input &input, bool grid)
{
    const int side = 2 + input.below(9);
    const double step = 1 << input.below(4), offset = (input.byte() - 128) * step;
    Points points;
    while (input.left > 0 && points.size() < points_max) {
        for (double &value : points.emplace_back())
            value = grid ? input.below(side) * step + offset : input.number();
    }
    return points;
}

// Adds points to a hull that has the first of them already, and looks at it; whether there is one. Of points on a grid
// all are inside, and the volume is exact.
bool look_at_hull(const Hull &hull, const Points &points, bool grid)
{
    const int known = convex_hull_get_nr_points(hull.get());
    if (!points.empty())
        convex_hull_add_points(hull.get(), points[0].data() + 3 * known, static_cast<int>(points.size()) - known);
    const bool made = convex_hull_construct(hull.get()) == 0;
    const int vertices = convex_hull_get_nr_vertices(hull.get()), faces = convex_hull_get_nr_faces(hull.get());
    expect(made ? vertices >= 4 && faces == 2 * vertices - 4 : vertices == 0 && faces == 0);
    expect(convex_hull_get_nr_points(hull.get()) == static_cast<int>(points.size()));
    for (int i = 0; i < vertices; ++i) {
        int number = -1;
        std::array<double, 3> p;
        expect(convex_hull_get_vertex(hull.get(), i, p.data(), &number) == 0);
        expect(points.at(static_cast<std::size_t>(number)) == p);
    }
    for (const auto &p : points) {
        double nearest[3], dist = 0, weights[3];
        int face = 0;
        expect(convex_hull_inside(hull.get(), p.data()) == (made ? 1 : 0) || !grid);
        const bool found = convex_hull_nearest(hull.get(), p.data(), nearest, &dist, &face, weights) == 0;
        expect((found && face >= 0 && face < faces) || !made || !grid);
    }
    return made;
}

void look_at_volume(const Points &points, double expected, bool grid)
{
    list_rec *const list = list_new(64, sizeof(tetra_point), nullptr);
    for (const auto &p : points) {
        const tetra_point numbered = {p[0], p[1], p[2], static_cast<double>(list_num(list))};
        list_insert(list, &numbered);
    }
    const auto some = [](const tetra_point *, int i) { return i % 3; };
    const Volume volume(tetra_volume_new(list), tetra_volume_kill);
    const Volume selected(tetra_volume_new2(list, 1, some), tetra_volume_kill);
    list_kill(list);
    expect(volume != nullptr && selected != nullptr);
    const double filled = tetra_volume_get_true_volume(volume.get());
    expect(!grid || std::fabs(filled - expected) <= 1e-6 * (1 + expected));
    expect(!grid || tetra_volume_get_true_volume(selected.get()) <= expected + 1e-6 * (1 + expected));
    for (std::size_t i = 0; i < points.size() && i < 8; ++i) {
        int count = 0;
        double out[6], weights[3], dist = 0;
        const double *const p = points[i].data(), *const q = points[points.size() - 1 - i].data();
        expect(tetra_volume_line_intersect2(volume.get(), p, q, &count, out, 2) == 0 && count <= 2);
        const bool found = tetra_volume_nearest(volume.get(), p, out, &dist, &count, weights) == 0;
        expect(found == (volume->nr_planes > 0) || !grid);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    error_set(0);
    fuzz::Input input{data, size};
    const bool grid = input.below(4) != 0;
    const unsigned first = static_cast<unsigned>(input.byte());
    const Points points = read_points(input, grid);

    // In two parts, as when some were forgotten, and again at once.
    const std::size_t cut = points.empty() ? 0 : first % points.size();
    const Hull grown(convex_hull_new(), convex_hull_kill), hull(convex_hull_new(), convex_hull_kill);
    look_at_hull(grown, Points(points.begin(), points.begin() + static_cast<std::ptrdiff_t>(cut)), grid);
    look_at_hull(grown, points, grid);
    const bool made = look_at_hull(hull, points, grid);
    const double volume = convex_hull_get_volume(hull.get());
    expect(!grid || !made || volume > 0);
    look_at_volume(points, made ? volume : 0, grid && made);
    return 0;
}
