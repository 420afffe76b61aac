#include "bezier_cpoly_det.h"
#include "bezierd_fit.h"
#include "bezierd_split.h"
#include "bezierd_vector.h"
#include "hostile/objects.h"

#include <cstdlib>

namespace teska_test
{

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

template <class T>
HostileRow dividing(std::string name, int (*divide)(const T *, double, T **, T **) noexcept)
{
    return {std::move(name), [divide](Draw &draw) {
                T *halves[2] = {};
                divide(lend<T>(draw, true), draw.chance(2) ? draw.number() : draw.random.unit(), &halves[0],
                       &halves[1]);
                for (T *half : halves)
                    receive(half, {});
            }};
}

const auto orders = [] { return one_of(static_cast<func_order>(after), static_cast<func_order>(nullptr)); };

const HostileRows rows({
    row<bezier_cpoly_det>(live, in(5), in(5)),
    row<bezier_new>(about(2, 4)),
    row<bezier_kill>(last_of),
    row<bezier_set_control_poly>(live, in(5), in(5)),
    row<bezier_set_endp>(live, about(0, 1)),
    row<bezier_set_controlp>(live, about(0, 2)),
    row<bezier_get_control_poly>(live, out(5), out(5)),
    row<bezier_get_endp>(live, about(0, 1)),
    row<bezier_get_controlp>(live, about(0, 2)),
    row<bezier_get>(kept),
    row<bezier_get_y>(kept, number, out(3)),
    row<bezier_get_x>(kept, number, out(3)),
    row<bezier_fget_y>(kept, number, out(4)),
    row<bezier_fget_x>(kept, number, out(4)),
    row<bezier_fit>(live, counts(6), in(6), in(6), one_of(0, 1), number, number, one_of(0, 1), number, number,
                    out(1), out(1), one_of(0, 1)),
    dividing(name_of<bezier_subdivide>(), bezier_subdivide),
    row<bezier_vector_error>(live),
    row<bezier_vector_fd>(live, bytes(9 * 40), one_of(0, 1, 8, -1, INT_MIN), one_of(0, 16, 40, 15, 1)),
    row<bezier_fvector_len>(kept),
    {name_of<bezier_fvector>(),
     [](Draw &draw) {
         bezier *b = lend<bezier>(draw, true);
         double *points = nullptr;
         bezier_fvector(b, drawable_bound(draw, b), &points);
         std::free(points);
     }},
    {name_of<bezier_vector>(),
     [](Draw &draw) {
         bezier *b = lend<bezier>(draw, true);
         dynar *points = nullptr;
         bezier_vector(b, drawable_bound(draw, b), &points);
         dynar_kill(points);
     }},

    row<func_new>(one_of(0, 1, 10, -1, INT_MIN), one_of(8), one_of(8, 1, 65535), orders()),
    row<func_kill>(last_of),
    row<func_insert>(live, in_as<double>(1), in_as<double>(1)),
    row<func_changep>(live, about(0, 5), in_as<double>(1), in_as<double>(1)),
    row<func_rem_point>(live, about(0, 5)),
    row<func_alloc>(live, one_of(0, 1, 10, 65535, 65536, -1, INT_MAX, INT_MIN)),
    row<func_num>(),
    row<func_pos>(live, in_as<double>(1)),
    row<func_get_point>(live, about(0, 5)),
    row<func_search_el>(live, in_as<double>(1), out(1), always(equal)),
    row<func_invert>(or_null(live), orders()),

    row<grad_tab_new_points>(in(8), one_of(0, 1, 4, -1, INT_MIN)),
    row<grad_tab_kill>(last_of),
    row<grad_tab_add_point>(live, in(2)),
    row<grad_tab_invert>(),
    row<grad_tab_list>(live, room_of(1, 0, 1, 16, 17, 100, -1, INT_MAX, INT_MIN), out(2)),
    row<grad_tab_do>(live, mid(12), one_of(0, 1, 3, -3), mid(12), one_of(0, 1, 3, -3), one_of(0, 1, 4, -1, INT_MIN)),
    row<grad_tab_do_inv>(live, mid(12), one_of(0, 1, 3, -3), mid(12), one_of(0, 1, 3, -3), one_of(0, 1, 4, -1)),
    row<grad_tab_save>(or_null(live)),

    row<hist_new>(one_of(0, 5, -3, INT_MIN), one_of(0, 6, INT_MIN)),
    row<hist_kill>(last_of),
    row<hist_point>(live, in(4), one_of(0, 1, 4, -1, INT_MIN)),
    row<hist_set>(),
    row<hist_get>(kept, or_null(out(1))),
    row<hist_med>(),
    row<hist_percentile>(),

    row<lin_interp_double_new>(one_of(0, 1, 10, -1, INT_MIN), orders()),
    row<lin_interp_double_kill>(last_of),
    row<lin_interp_double_insert>(or_null(live)),
    row<lin_interp_double_changep>(or_null(live), about(0, 5)),
    row<lin_interp_double_subst>(or_null(live)),
    row<lin_interp_double_getp>(or_null(live), about(0, 5)),
    row<lin_interp_double_num>(or_null(live)),
    row<lin_interp_double_inter>(or_null(live)),
    row<lin_interp_double_inextp>(or_null(live)),
    row<lin_interp_double_invert>(or_null(live), orders()),

    row<poly_bezier_new>(),
    row<poly_bezier_kill>(last_of),
    row<poly_bezier_copy>(),
    row<poly_bezier_fit>(counts(9), in(9), in(9), number, number, one_of(0, 1)),
    row<poly_bezier_spline>(counts(9), in(9), in(9), one_of(0, 1)),
    row<poly_bezier_monotone>(counts(3), in(3), in(3)),
    dividing(name_of<poly_bezier_split>(), poly_bezier_split),
    row<poly_bezier_add>(live, about(1, 3), in(3), in(3)),
    row<poly_bezier_append>(),
    row<poly_bezier_join>(live, or_last(live)),
    row<poly_bezier_reverse>(),
    row<poly_bezier_transform>(live, in(6)),
    row<poly_bezier_num>(),
    row<poly_bezier_closed>(),
    row<poly_bezier_segment>(live, about(0, 3), out(4), out(4)),
    row<poly_bezier_get_bezier>(live, about(0, 3)),
    row<poly_bezier_get>(),
    row<poly_bezier_slope>(),
    row<poly_bezier_get_y>(),
    row<poly_bezier_length>(),
    row<poly_bezier_at_length>(),
    row<poly_bezier_box>(live, out(4)),
    row<poly_bezier_nearest>(live, number, number, or_null(out(1)), or_null(out(1))),
    row<poly_bezier_line>(live, in(4), out(3), one_of(0, 1, 3)),
    row<poly_bezier_area>(),
    row<poly_bezier_winding>(),
    {name_of<poly_bezier_vector>(),
     [](Draw &draw) {
         const poly_bezier *p = lend<poly_bezier>(draw, true);
         double *points = nullptr;
         poly_bezier_vector(p, drawable_bound(draw, p), &points);
         std::free(points);
     }},
});

}  // namespace

}  // namespace teska_test
