#include "hostile/objects.h"

using namespace teska_test;

namespace
{

const auto point = [] { return in(3); };
const auto nearest = [] { return or_null(or_last(out(3))); };
const auto distance = [] { return or_null(out(1)); };
const auto result = [] { return out(1); };
const auto corner = [] { return or_null(in(1)); };
const auto no_volume = [] { return or_null(live); };

// Colour coordinates and more, one in two within the range of a device.
constexpr From device{[]<class T>(Draw &draw, T **) -> T * {
    double *made = draw.values<double>(4);
    std::generate(made, made + 4, [&] { return draw.chance(2) ? draw.random.unit() : draw.number(); });
    return made;
}};

int select_some(const tetra_point *p, int index) { return p->x > 0 || index % 2; }

// A table that a cloud fills, as a rule.
constexpr From of_four{[]<class T>(Draw &draw, T **) -> T * {
    const int inputs = draw.chance(8) ? 2 : 3, outputs = draw.chance(8) ? 3 : 4;
    T *table;
    if constexpr (std::is_same_v<T, md_tetrab>)
        table = md_tetrab_new(inputs, outputs, 3);
    else
        table = in_order(md_tetrad_new, std::tuple{inputs, outputs, 3, draw.number(), draw.number()});
    draw.later([&draw, table] { receive(draw, table); });
    return table;
}};

const HostileRows rows({
    row<clg_build, clg_num_points, clg_num_cells, convex_hull_new, convex_hull_set_unit, convex_hull_construct,
        convex_hull_get_nr_points, convex_hull_get_nr_vertices, convex_hull_get_nr_faces, convex_hull_get_area,
        convex_hull_get_volume, tetra_volume_new0, plane_get_distance_from_point, line_get_distance_from_point,
        triangle_get_area>(),
    row<clg_kill, convex_hull_kill, tetra_volume_kill, top_surface_kill>(last_of),
    row<clg_new>(about(1, 16), about(1, 4)),
    row<clg_add>(live, device, point()),
    row<clg_rule>(live, or_null(in(4)), number),
    row<clg_box>(live, out(6)),
    row<clg_inside, convex_hull_add, convex_hull_inside>(live, point()),
    row<clg_find>(live, point(), or_null(out(4)), distance()),
    row<clg_nearest>(live, point(), nearest(), or_null(out(4)), distance()),
    row<clg_colour>(live, device, out(3)),
    row<clg_fill_tetrad, clg_fill_tetrab>(live, of_four, or_null(in(3)), or_null(in(3))),
    row<convex_hull_add_points>(live, in(9), one_of(0, 1, 3, -1, INT_MIN)),
    row<convex_hull_nearest>(live, point(), nearest(), distance(), or_null(out(1)), or_null(out(3))),
    row<convex_hull_get_vertex>(live, about(0, 12), or_null(out(3)), or_null(out(1))),
    row<convex_hull_get_face>(live, about(0, 20), out(3)),
    row<proj_det_plane_abcd>(in(9), or_last(out(4))),
    row<proj_on_plane_abcd>(in(4), point(), or_last(out(3)), distance()),
    row<proj_on_plane>(in(5), in(4), or_last(out(4)), one_of(0, 1, 4, -1, INT_MIN), distance()),
    row<proj_on_plane_par, proj_on_plane_parline>(in(4), point(), point(), or_last(out(3)), distance()),
    row<proj_plane_intersect>(in(4), in(4), or_last(out(3)), out(3)),
    row<proj_on_line>(in(6), point(), or_last(out(3)), distance()),
    row<proj_on_line_par, proj_on_line_segm_par>(in(6), point(), point(), result(), distance()),
    row<proj_on_line_segm>(in(6), point(), result(), distance()),
    row<proj_on_triangle, proj_nearest_triangle, proj_on_triangle_bound>(in(9), point(), result(), distance()),
    row<proj_on_triangle_par, proj_on_triangle_parline, proj_on_triangle_bound_par>(in(9), point(), point(), result(),
                                                                                    distance()),
    row<proj_on_triangle_edge>(in(9), point(), about(-1, 2), result(), distance()),
    row<proj_on_tetra, proj_on_tetra_bound>(in(12), point(), result(), distance()),
    row<proj_on_tetra_par, proj_on_tetra_bound_par>(in(12), point(), point(), result(), distance()),
    row<proj>(in(12), about(1, 4), point(), result(), distance()),
    row<plane_new, tetra_volume_new, tetra_get_volume, tetra_get_true_volume>(or_null(live)),
    row<plane_new2>(corner(), corner(), corner()),
    row<tetra_new>(corner(), corner(), corner(), corner()),
    by<plane_kill>([](tetra_plane *made) { plane_kill(made); }, last_of),
    by<tetra_kill>([](tetra_rec *made) { tetra_kill(made); }, last_of),
    row<tetra_volume_new2>(or_null(live), one_of(0, 1, -1), one_of(select_some)),
    row<tetra_volume_add_plane>(no_volume(), corner(), corner(), corner()),
    row<tetra_volume_add_plane2>(no_volume(), or_null(live)),
    row<tetra_volume_add_tetra>(no_volume(), corner(), corner(), corner(), corner()),
    row<tetra_point_inside>(or_null(live), point(), nearest()),
    row<triangle_point_inside>(or_null(live), point()),
    row<plane_intersect_line, triangle_intersect_linesegment2>(or_null(live), point(), point(), out(3)),
    row<tetra_get_pointnr>(or_null(live), about(0, 3)),
    row<triangle_intersect_linesegment>(usual, usual, usual, point(), point(), out(3)),
    row<tetra_volume_get_nr_of_tetrahedrae, tetra_volume_get_volume, tetra_volume_get_true_volume>(no_volume()),
    row<tetra_volume_get_tetra>(no_volume(), point(), or_null(out(1))),
    row<tetra_volume_get_tetra2>(no_volume(), about(0, 9), or_null(out(1))),
    row<tetra_volume_point_inside>(no_volume(), point()),
    row<tetra_volume_line_intersect>(no_volume(), point(), point(), or_null(out(1))),
    row<tetra_volume_line_intersect2>(no_volume(), point(), point(), out(1), out(6), one_of(0, 1, 2)),
    row<tetra_volume_line_hasintersects>(no_volume(), point(), point()),
    by<tetra_volume_get_border_points>([](Draw &draw) {
        const tetra_volume *const v = draw.chance(6) ? nullptr : lend<tetra_volume>(draw, true);
        list_rec *points = nullptr;
        draw.call([&] { tetra_volume_get_border_points(v, nullptr, &points); },
                  [&] { return receive(draw, std::exchange(points, nullptr)); });
    }),
    row<tetra_volume_nearest>(no_volume(), point(), nearest(), distance(), or_null(out(1)), or_null(out(3))),
    by<tetra_volume_view>([](Draw &draw) {
        const tetra_volume *v = lend<tetra_volume>(draw, true);
        int *const flags = draw.room<int>(7 * v->nr_planes);
        in_order(tetra_volume_view, std::tuple{draw.chance(6) ? nullptr : v, draw.values<double>(3),
                                               draw.chance(6) ? nullptr : reinterpret_cast<int(*)[7]>(flags)});
    }),
    row<writeVRML>(no_volume(), or_null(path()), or_null(path())),
    row<tetra_volume_dump_to_file>(no_volume(), point(), or_null(path())),
    by<top_surface_new>([](Draw &draw) {
        double *levels[3];
        int counts[3];
        for (int i = 0; i < 3; ++i) {
            counts[i] = draw.chance(8) ? draw.random.below(4) - 2 : 2 + draw.random.below(3);
            levels[i] = draw.values<double>(4);
            std::generate(levels[i], levels[i] + 4,
                          [&, k = 4]() mutable { return draw.chance(20) ? draw.number() : --k / 3.0; });
        }
        const int colorants = draw.chance(8) ? -draw.random.below(3) : 2 + draw.random.below(2);
        const int vertical = draw.chance(8) ? 3 : draw.random.below(3);
        int *const user = draw.chance(2) ? counts : nullptr;
        const int steps = draw.chance(8) ? draw.random.below(4) - 1 : 5;
        calling(draw, [&] { return top_surface_new(colorants, levels, counts, vertical, a_device, user, steps); });
    }),
    row<top_surface_get_nr_parts, top_surface_edge>(kept),
    row<top_surface_get_part>(kept, about(0, 1), out(2)),
    feeding<top_surface_next_triangle>(kept, one_of(0, 0, 1), out(9), out(9)),
    row<top_surface_normalise>(kept, in(9), out(9), or_null(out(3)), one_of(0, 1, 3, -1, INT_MIN), one_of(0, 1)),
    row<top_surface_colour>(kept, in(9), out(9), one_of(0, 1, 3, -1, INT_MIN), one_of(0, 1)),
});

}  // namespace
