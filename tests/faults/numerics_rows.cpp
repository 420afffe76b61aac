// Matrices, solvers, random numbers and powers when memory is short
#include "condirmin.h"
#include "dhsm.h"
#include "faults/sweep.h"
#include "mat.h"
#include "random.h"
#include "rdither.h"
#include "tfastpow.h"
#include "vect.h"
#include "vect_lobe.h"

using namespace teska_test;

namespace
{

using Matrix = std::shared_ptr<mat>;
using Restriction = std::shared_ptr<restriction>;

template <bool decomposed>
Matrix fresh()
{
    const double elements[] = {2, 1, 4, 3};
    Matrix m(mat_new(elements, 2), mat_kill);
    int flag = 0;
    if (decomposed)
        mat_ludcmp(m.get(), &flag);
    return m;
}

std::string contents(const Matrix &m)
{
    return std::to_string(mat_get_row(m.get(), 0)[0]) + " " + std::to_string(mat_get_row(m.get(), 1)[1]);
}

const lines no_resources{
    "nr: 1, kind: 0, sys: 12, file: Private/Source/mat.cpp, line: #, info: No resources available"};

// The call's result with what it must not write before it succeeds.
template <bool decomposed = false>
SweepRow on_matrix(const char *name, bool (*call)(mat *m, int *flag, double *result))
{
    const auto run = [=](const Matrix &m) {
        double result[] = {3, 7};
        int flag = 0;
        return call(m.get(), &flag, result);
    };
    return changing(name, fresh<decomposed>, run, contents, {no_resources});
}

double constant(void *, void *, const double *) { return 5; }

// From (1, 2) on level ground, where a search moves along every line for which there is memory. Returns whether it did.
bool search()
{
    const int level = teska_warn_level(1);
    double x[] = {1, 2}, least = 0;
    int passes = 0;
    const int result = condirmin(x, 2, 1e-8, &passes, &least, constant, nullptr, nullptr);
    teska_warn_level(level);
    return result == 1 && x[0] != 1 && x[1] != 2;
}

Restriction corner()
{
    const double ineq[] = {1, 0, 0.5, 0, 1, 0.5};
    return {restriction_new(2, 0, nullptr, 2, ineq), restriction_kill};
}

const double origin[] = {0, 0}, step[] = {1, 0, 0};

// Half a step, with a restriction; without memory no step, and nothing.
bool stops(const Restriction &r)
{
    double alpha = -1;
    const bool reduced = made(restriction_new_check(r.get(), nullptr, origin, step, &alpha), restriction_kill);
    EXPECT_EQ(alpha, reduced ? 0.5 : 0.0);
    return reduced;
}

bool multiplies()
{
    const double in[] = {2, 3, 4};
    double out[2];
    return gave(0, vect_vector_product(in, out));
}

const std::string no_line = "linmin: malloc failed";
const SweepRows rows({
    creating("mat_new", mat_new, mat_kill, {no_resources}, nullptr, 3),
    on_matrix("mat_solve_set", [](mat *m, int *flag,
                                  double *b) { return gave(0, mat_solve_set(m, b, flag)) && b[0] == 1 && b[1] == 1; }),
    on_matrix("mat_det_det", [](mat *m, int *, double *det) { return gave(0, mat_det_det(m, det)) && *det == 2; }),
    on_matrix("mat_get_col", [](mat *m, int *, double *) { return mat_get_col(m, 1) != nullptr; }),
    on_matrix("mat_ludcmp", [](mat *m, int *flag, double *) { return gave(0, mat_ludcmp(m, flag)); }),
    on_matrix<true>("mat_invert", [](mat *m, int *flag, double *) { return made(mat_invert(m, flag), mat_kill); }),
    calling("vect_vector_product", multiplies, {no_resources}),
    creating("vect_lobe_new", vect_lobe_new, vect_lobe_kill, {{"vect_lobe_new: malloc failure"}}, 2, origin, step, 2,
             1),
    calling("condirmin", search, {{"condirmin: malloc failed"}, {no_line}, {no_line, no_line}}),
    creating("restriction_new", restriction_new, restriction_kill, {{"restriction_new: malloc failed"}}, 2, 1, step, 0,
             nullptr),
    changing("restriction_new_check", corner, stops, nullptr, {{"restriction_new: malloc failed"}}),
    creating("dhsm_new", dhsm_new, dhsm_kill,
             {{"nr: 1, kind: 0, sys: 12, file: Private/Source/dhsm.cpp, line: #, info: No resources available"}},
             constant, nullptr, 3),
    creating("random_new", random_new, random_kill, {{"Random_new : allocation failed"}}, 1),
    creating("rdither_new", rdither_new, rdither_kill,
             {{"rdither_new:unable to create rdither"}, {"rdither_new: malloc failed"}}, 4U, 1U),
});

TEST(TFastPow, GivesTheSamePowersWithoutATable)
{
    TFastPow whole(3, 2);
    each_allocation(2, [&](const auto &fire) {
        fire();
        TFastPow power(3, 2);
        const bool fired = disarm() > 0;
        for (unsigned short value = 0; value < 65000; value += 1000)
            EXPECT_EQ(power.Calculate(value, 0x5555), whole.Calculate(value, 0x5555)) << value;
        return fired;
    });
}

}  // namespace
