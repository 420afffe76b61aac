#include "hostile/objects.h"

using namespace teska_test;

namespace
{

int equal(const void *element, const void *key)
{
    return *static_cast<const double *>(element) != *static_cast<const double *>(key);
}

// A bound that does not ask for millions of points.
double drawable_bound(Draw &draw, bezier *b)
{
    const double bound = draw.number();
    return bezier_fvector_len(b, bound) < 10000 ? bound : 0;
}

double drawable_bound(Draw &draw, const poly_bezier *p)
{
    double box[4];
    poly_bezier_box(p, box);
    const double bound = draw.number(), size = std::abs(box[2] - box[0]) + std::abs(box[3] - box[1]);
    return size < 1e4 * bound ? bound : -bound;
}

// Points in a block of the caller's.
template <class Call>
void drawn(Draw &draw, Call call)
{
    calling(draw, [&] {
        double *points = nullptr;
        const int result = call(&points);
        EXPECT_TRUE(points != nullptr || result <= 0);
        return std::free(points), result;
    });
}

template <auto divide, class T>
void divided(Draw &draw, T *curve)
{
    T *halves[2] = {};
    const double at = draw.chance(2) ? draw.number() : draw.random.unit();
    draw.call([&] { divide(curve, at, &halves[0], &halves[1]); },
              [&] { return receive(draw, halves[0]) + 3 * receive(draw, halves[1]); });
}

// A chain of three segments from where another one ends.
poly_bezier *going_on(const poly_bezier *p)
{
    double x[4] = {0, 1, 2, 3}, y[4] = {};
    const int degree = poly_bezier_segment(p, poly_bezier_num(p) - 1, x, y);
    poly_bezier *made = poly_bezier_new(x[degree], y[degree]);
    for (int i = 0; i < 3; ++i)
        poly_bezier_add(made, 3, x, y);
    return made;
}

const auto orders = [] { return or_null(one_of(after)); };

const HostileRows rows({
    row<func_num, grad_tab_invert, hist_set, hist_med, hist_percentile, poly_bezier_new, poly_bezier_copy,
        poly_bezier_reverse, poly_bezier_num, poly_bezier_closed, poly_bezier_get, poly_bezier_slope, poly_bezier_get_y,
        poly_bezier_length, poly_bezier_at_length, poly_bezier_area, poly_bezier_winding>(),
    row<bezier_kill, func_kill, grad_tab_kill, hist_kill, lin_interp_double_kill, poly_bezier_kill>(last_of),
    row<bezier_cpoly_det, bezier_set_control_poly>(live, in(5), in(5)),
    row<bezier_new>(about(2, 4)),
    row<bezier_set_endp, bezier_get_endp>(live, about(0, 1)),
    row<bezier_set_controlp, bezier_get_controlp>(live, about(0, 2)),
    row<bezier_get_control_poly>(live, out(5), out(5)),
    row<bezier_get, bezier_fvector_len>(kept),
    row<bezier_get_y, bezier_get_x>(kept, number, out(3)),
    row<bezier_fget_y, bezier_fget_x>(kept, number, out(4)),
    row<bezier_fit>(live, counts(6), in(6), in(6), one_of(0, 1), number, number, one_of(0, 1), number, number, out(1),
                    out(1), one_of(0, 1)),
    by<bezier_subdivide>([](Draw &draw) { divided<bezier_subdivide>(draw, lend<bezier>(draw, true)); }),
    row<bezier_vector_error>(live),
    row<bezier_vector_fd>(live, out(9 * 40), one_of(0, 1, 8, -1, INT_MIN), one_of(0, 16, 40, 15, 1)),
    by<bezier_fvector>([](Draw &draw) {
        bezier *b = lend<bezier>(draw, true);
        drawn(draw, [b, bound = drawable_bound(draw, b)](double **points) { return bezier_fvector(b, bound, points); });
    }),
    by<bezier_vector>([](Draw &draw) {
        bezier *b = lend<bezier>(draw, true);
        const double bound = drawable_bound(draw, b);
        dynar *points = nullptr;
        int sections = 0;
        draw.call([&] { sections = bezier_vector(b, bound, &points); },
                  [&] { return receive(draw, sections) ^ receive(draw, std::exchange(points, nullptr)); });
    }),
    row<func_new>(one_of(0, 1, 10, -1, INT_MIN), one_of(8), one_of(8, 1, 65535), orders()),
    row<func_insert>(live, in<double>(1), in<double>(1)),
    row<func_changep>(live, about(0, 5), in<double>(1), in<double>(1)),
    row<func_rem_point, func_get_point>(live, about(0, 5)),
    row<func_alloc>(live, one_of(0, 1, 10, 65535, 65536, -1, INT_MAX, INT_MIN)),
    row<func_pos>(live, in<double>(1)),
    row<func_search_el>(live, in<double>(1), out(1), one_of(equal)),
    row<func_invert, lin_interp_double_invert>(or_null(live), orders()),
    row<grad_tab_new_points>(in(8), one_of(0, 1, 4, -1, INT_MIN)),
    row<grad_tab_add_point>(live, in(2)),
    row<grad_tab_list>(live, room_of(1, 0, 1, 16, 17, 100, -1, INT_MAX, INT_MIN), out(2)),
    row<grad_tab_do>(live, mid(12), one_of(0, 1, 3, -3), mid(12), one_of(0, 1, 3, -3), one_of(0, 1, 4, -1, INT_MIN)),
    row<grad_tab_do_inv>(live, mid(12), one_of(0, 1, 3, -3), mid(12), one_of(0, 1, 3, -3), one_of(0, 1, 4, -1)),
    row<grad_tab_save, lin_interp_double_insert, lin_interp_double_subst, lin_interp_double_num,
        lin_interp_double_inter, lin_interp_double_inextp>(or_null(live)),
    row<hist_new>(one_of(0, 5, -3, INT_MIN), one_of(0, 6, INT_MIN)),
    row<hist_point>(live, in(4), one_of(0, 1, 4, -1, INT_MIN)),
    row<hist_get>(kept, or_null(out(1))),
    row<lin_interp_double_new>(one_of(0, 1, 10, -1, INT_MIN), orders()),
    row<lin_interp_double_changep, lin_interp_double_getp>(or_null(live), about(0, 5)),
    row<poly_bezier_fit>(counts(9), in(9), in(9), number, number, one_of(0, 1)),
    row<poly_bezier_spline>(counts(9), in(9), in(9), one_of(0, 1)),
    row<poly_bezier_monotone>(counts(3), in(3), in(3)),
    by<poly_bezier_split>([](Draw &draw) { divided<poly_bezier_split>(draw, lend<poly_bezier>(draw, true)); }),
    row<poly_bezier_add>(live, about(1, 3), in(3), in(3)),
    by<poly_bezier_join>([](Draw &draw) {
        poly_bezier *p = lend<poly_bezier>(draw, false), *last = draw.chance(4) ? p : lend<poly_bezier>(draw, true);
        poly_bezier *const fitting = draw.chance(2) ? going_on(p) : nullptr;
        calling(draw, [=] { return poly_bezier_join(p, fitting != nullptr ? fitting : last); });
        poly_bezier_kill(fitting);
    }),
    by<poly_bezier_append>([](Draw &draw) {
        poly_bezier *p = lend<poly_bezier>(draw, false), *const fitting = going_on(p);
        bezier *const next = draw.chance(2) ? poly_bezier_get_bezier(fitting, 0) : nullptr;
        const bezier *const b = next != nullptr ? next : lend<bezier>(draw, true);
        calling(draw, [=] { return poly_bezier_append(p, b); });
        bezier_kill(next);
        poly_bezier_kill(fitting);
    }),
    row<poly_bezier_transform>(live, in(6)),
    row<poly_bezier_segment>(live, about(0, 3), out(4), out(4)),
    row<poly_bezier_get_bezier>(live, about(0, 3)),
    row<poly_bezier_box>(live, out(4)),
    row<poly_bezier_nearest>(live, number, number, or_null(out(1)), or_null(out(1))),
    row<poly_bezier_line>(live, in(4), out(3), one_of(0, 1, 3)),
    by<poly_bezier_vector>([](Draw &draw) {
        const poly_bezier *p = lend<poly_bezier>(draw, true);
        drawn(draw,
              [p, bound = drawable_bound(draw, p)](double **points) { return poly_bezier_vector(p, bound, points); });
    }),
});

}  // namespace
