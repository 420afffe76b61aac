#include "determinism/operations.h"

#include "mat.h"
#include "vect.h"

namespace teska_test
{

namespace
{

std::vector<double> between(Generator &input, int count)
{
    std::vector<double> values;
    for (int i = 0; i < count; ++i)
        values.push_back(input.between(-1, 1));
    return values;
}

const Operation systems("mat_solve_set, mat_det_det and mat_invert, 1 to 70 rows",
                        [](Generator &input, Digest &digest) {
                            for (int n = 1; n <= 70; ++n) {
                                mat *m = mat_new(between(input, n * n).data(), n);
                                std::vector<double> x = between(input, n);
                                double det = 0.0;
                                int flag = 0;
                                mat_solve_set(m, x.data(), &flag);
                                mat_det_det(m, &det);
                                mat *inverse = mat_invert(m, &flag);
                                digest.add(x.data(), x.size() * sizeof(double));
                                digest.add(&det, sizeof det);
                                digest.add(mat_get_row(inverse, 0), x.size() * x.size() * sizeof(double));
                                mat_kill(inverse);
                                mat_kill(m);
                            }
                        });

const Operation vectors("vect_vector_product, vect_distance and vect_scalar_product",
                        [](Generator &input, Digest &digest) {
                            for (int n = 2; n <= 12; ++n) {
                                std::vector<double> in = between(input, n * (n - 1) + 1);
                                in[0] = n;
                                std::vector<double> out(static_cast<std::size_t>(n));
                                vect_vector_product(in.data(), out.data());
                                out.push_back(vect_distance(in.data(), out.data(), n));
                                out.push_back(vect_scalar_product(in.data(), out.data(), n));
                                digest.add(out.data(), out.size() * sizeof(double));
                            }
                        });

}  // namespace

}  // namespace teska_test
