#include "determinism/operations.h"

#include "interp_double.h"

namespace teska_test
{

namespace
{

void add_points(Digest &digest, const lin_interp_double *li)
{
    double point[2] = {};
    for (int i = 0; lin_interp_double_getp(li, i, &point[0], &point[1]) == 0; ++i)
        digest.add(point, sizeof point);
}

// 1000 values of either kind of continuation, a quarter of them outside the points.
void add_values(Digest &digest, const lin_interp_double *li, Generator &input)
{
    for (int i = 0; i < 1000; ++i) {
        const double x = input.between(-1.25, 1.25);
        double y[2] = {};
        lin_interp_double_inter(li, x, &y[0]);
        lin_interp_double_inextp(li, x, &y[1]);
        digest.add(y, sizeof y);
    }
}

const Operation curve_values("lin_interp_double_inter and inextp, 200 points and their inverse",
                             [](Generator &input, Digest &digest) {
                                 lin_interp_double *li = lin_interp_double_new(16, nullptr);
                                 // Two statements: compilers differ in which argument they compute first.
                                 for (int i = 0; i < 200; ++i) {
                                     const double x = input.between(-1, 1);
                                     lin_interp_double_insert(li, x, input.between(-1, 1));
                                 }
                                 lin_interp_double *inverse = lin_interp_double_invert(li, nullptr);
                                 add_values(digest, li, input);
                                 add_points(digest, inverse);
                                 add_values(digest, inverse, input);
                                 lin_interp_double_kill(inverse);
                                 lin_interp_double_kill(li);
                             });

const Operation nearest_points("lin_interp_double_subst, 500 points", [](Generator &input, Digest &digest) {
    lin_interp_double *li = lin_interp_double_new(16, nullptr);
    for (int i = 0; i < 500; ++i) {
        const double x = input.between(-1, 1);
        lin_interp_double_subst(li, x, input.unit(), 0.01);
    }
    add_points(digest, li);
    lin_interp_double_kill(li);
});

}  // namespace

}  // namespace teska_test
