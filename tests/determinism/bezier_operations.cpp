#include "determinism/operations.h"

#include "bezier_cpoly_det.h"
#include "bezierd_split.h"
#include "bezierd_vector.h"

#include <cstdlib>

namespace teska_test
{

namespace
{

bezier *curve_through(Generator &input, int degree)
{
    double p[10];
    for (double &value : p)
        value = input.between(-1, 1);
    bezier *b = bezier_new(degree, 0, 0, 0, 0);
    bezier_cpoly_det(b, p, p + 5);
    return b;
}

const Operation lines_met("bezier_get, bezier_fget_y and bezier_get_x of curves through points",
                          [](Generator &input, Digest &digest) {
                              for (int i = 0; i < 900; ++i) {
                                  bezier *b = curve_through(input, 2 + i % 3);
                                  double values[10] = {};
                                  bezier_get(b, input.unit(), &values[0], &values[1]);
                                  bezier_fget_y(b, input.between(-1, 1), values + 2);
                                  if (i % 3 == 0)
                                      bezier_get_x(b, input.between(-1, 1), values + 6);
                                  digest.add(values, sizeof values);
                                  bezier_kill(b);
                              }
                          });

const Operation polylines("bezier_vector and bezier_fvector", [](Generator &input, Digest &digest) {
    for (int i = 0; i < 300; ++i) {
        bezier *b = curve_through(input, 3);
        const double bound = input.between(0.001, 0.1);
        dynar *line = nullptr;
        const int segments = bezier_vector(b, bound, &line);
        digest.add(dynar_ptr(line, 0), static_cast<std::size_t>(segments + 1) * 16);
        double *points = nullptr;
        const int sections = bezier_fvector(b, bound, &points);
        digest.add(points, static_cast<std::size_t>(sections + 1) * 16);
        std::free(points);
        dynar_kill(line);
        bezier_kill(b);
    }
});

}  // namespace

}  // namespace teska_test
