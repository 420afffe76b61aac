#include "hostile/objects.h"

using namespace teska_test;

namespace
{

double edge(double x) { return x < 0.3 ? 1 - x : x; }
double far_from_done(dhsm *, void *, void *, int, int) { return 1; }

const HostileRows rows({
    row<random_new, random_val, real_atan2PI, real_atan>(),
    row<dhsm_kill, mat_kill, random_kill, rdither_kill, restriction_kill, vect_lobe_kill>(last_of),
    row<condirmin_set_abs_tol>(one_of(0), number, or_null(out(1))),
    row<condirmin>(out(2), one_of(2, -1, INT_MIN), one_of(1e-8, 0.1, 1e300), out(1), out(1), one_of(bowl)),
    row<condirmin_restr>(out(3), one_of(0, 1, 2, 3, -1), one_of(1e-8, 0.1), live, or_null(live), or_null(live),
                         one_of(bowl)),
    row<dhsm_new>(or_null(one_of(bowl)), or_null(one_of(far_from_done)), one_of(2, 3, 0, -1, INT_MIN)),
    row<dhsm_init>(live, or_null(in(2)), or_null(in(2)), in(2), in(2), in(2), in(2)),
    row<dhsm_solve>(live, one_of(nullptr), one_of(nullptr), number, out(2), one_of(0, 1, 20, -1, INT_MIN), out(1)),
    row<mat_gen_new>(or_null(in(16)), counts(4), counts(4)),
    row<mat_new>(or_null(in(16)), one_of(0, 1, 3, 4, -1, INT_MIN)),
    row<mat_set_mat>(live, in(9)),
    row<mat_set_row, mat_set_col>(live, one_of(0, 2), in(3)),
    row<mat_set_element>(live, one_of(0, 2), one_of(0, 2)),
    row<mat_get_element>(live, about(0, 2), about(0, 2)),
    row<mat_get_row, mat_get_col>(kept, about(0, 2)),
    row<mat_mulvec, restriction_makeX>(live, in(3), out(3)),
    row<mat_ludcmp, mat_det_det, mat_invert>(kept),
    row<mat_solve_set>(kept, out(3)),
    row<rdither_new>(one_of(0, 1, 255, 65535, 65536, -1), one_of(0, 1, 15, 254, 65534, -1)),
    row<rdither_val>(live, usual, usual, one_of(0, 1, 128, 255)),
    row<restriction_new>(about(1, 3), one_of(0, 1, 2, -1), in(10), one_of(0, 1, 2, -1), in(10)),
    row<restriction_get_num_of_var>(or_null(live)),
    row<restriction_new_check>(live, or_null(live), in(3), in(3), out(1)),
    by<restriction_get_back>([](Draw &draw) {
        const restriction *current = lend<restriction>(draw, true);
        double alpha;
        restriction *reduced = in_order(restriction_new_check, std::tuple{current, nullptr, draw.values<double>(3),
                                                                          draw.values<double>(3), &alpha});
        restriction_get_back(reduced != nullptr ? reduced : current, current, draw.values<double>(3),
                             draw.room<double>(3));
        restriction_kill(reduced);
    }),
    row<gaussd>(out(16), out(4), one_of(0, 1, 3, 4, -1, INT_MIN)),
    row<fthird_order_eq>(in(4), out(1)),
    row<gsect_min>(number, number, number, number, one_of(edge)),
    row<least_square_fit>(in(5), in(5), counts(5), in(5), one_of(0, 1)),
    row<vect_Min, vect_Max>(in(4), one_of(0, 1, 4)),
    row<vect_calc_norm>(in(4), one_of(0, 1, 4, -1, INT_MIN)),
    row<vect_scalar_product, vect_square_distance, vect_distance>(in(4), or_last(in(4)), one_of(0, 1, 4, -1, INT_MIN)),
    by<vect_vector_product>([](Draw &draw) {
        double *in = draw.values<double>(13);
        in[0] = draw.chance(3) ? draw.number() : draw.random.unit() * 5.9 - 1;
        double *const out = draw.room<double>(4);
        if (!(in[0] >= 5 && in[0] < 4097))
            calling(draw, [=] { return vect_vector_product(in, out); });
    }),
    row<vect_locate_in_sh_array, vect_locate_in_array, vect_locate_in_double_array>(in(5), usual, one_of(0, 1, 5)),
    row<vect_insert_in_sh_array, vect_insert_in_array>(out(7), usual, room_of(1, 0, 1, 7, -1, INT_MIN)),
    row<vect_shift_right_0>(out(7), one_of(0, 1, 7), one_of(0, 1, 6, 7, 8, -1, INT_MIN, INT_MAX)),
    row<vect_next_point_selection>(one_of(0, 2, 5, 6, -1), one_of(0, 5, -1, INT_MIN), one_of(0, 1), out(5),
                                   room_of(5, 0, 1)),
    row<vect_lobe_new>(one_of(1, 3, 4, 0, 65, -1, INT_MAX, INT_MIN), in(4), or_null(in(4))),
    row<vect_lobe_weight, vect_lobe_limit>(live, in(3)),
    row<vect_lobe_gradient>(live, in(3), or_last(out(3))),
    row<vect_lobe_stretch>(live, in(3), in(3), or_last(out(3))),
    row<vect_lobe_stretch_rel>(live, number, in(3), or_last(out(3))),
    row<vect_normalise>(out(4), one_of(0, 1, 4, -1, INT_MIN)),
});

}  // namespace
