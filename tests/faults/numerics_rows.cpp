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

#include <memory>

namespace teska_test
{

namespace
{

using Matrix = std::shared_ptr<mat>;
using Restriction = std::shared_ptr<restriction>;

Matrix fresh()
{
    const double elements[] = {2, 1, 4, 3};
    return {mat_new(elements, 2), mat_kill};
}

Matrix decomposed()
{
    Matrix m = fresh();
    int flag = 0;
    mat_ludcmp(m.get(), &flag);
    return m;
}

std::string contents(const Matrix &m)
{
    return std::to_string(mat_get_row(m.get(), 0)[0]) + " " + std::to_string(mat_get_row(m.get(), 1)[1]);
}

const lines no_resources{
    "nr: 1, kind: 0, sys: 12, file: Private/Source/mat.cpp, line: #, info: No resources available"};

SweepRow on_matrix(const char *name, bool (*call)(const Matrix &m), Matrix (*make)() = fresh)
{
    return changing<Matrix>(name, make, call, contents, {no_resources});
}

// The call's result with what it must not write before it succeeds.
bool solves(const Matrix &m)
{
    double b[] = {3, 7};
    int flag = 0;
    const int result = mat_solve_set(m.get(), b, &flag);
    return gave(0, result) && b[0] == 1 && b[1] == 1;
}

bool determines(const Matrix &m)
{
    double det = 0;
    return gave(0, mat_det_det(m.get(), &det)) && det == 2;
}

bool decomposes(const Matrix &m)
{
    int flag = 0;
    return gave(0, mat_ludcmp(m.get(), &flag));
}

bool inverts(const Matrix &m)
{
    int flag = 0;
    return made(mat_invert(m.get(), &flag), mat_kill);
}

bool multiplies()
{
    const double in[] = {2, 3, 4};
    double out[2];
    return gave(0, vect_vector_product(in, out));
}

double constant(void *, void *, const double *) { return 5; }

// From (1, 2) on level ground, where a search moves along every line for which there is memory. Returns whether it did.
bool search()
{
    const int level = teska_warn_level(1);
    double x[] = {1, 2};
    double least = 0;
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

const double origin[] = {0, 0};
const double step[] = {1, 0, 0};

// Half a step, with a restriction; without memory no step, and nothing.
bool stops(const Restriction &r)
{
    double alpha = -1;
    restriction *reduced = restriction_new_check(r.get(), nullptr, origin, step, &alpha);
    EXPECT_EQ(alpha, reduced != nullptr ? 0.5 : 0.0);
    return restriction_kill(reduced), alpha == 0.5;
}

const lines no_search{"condirmin: malloc failed"}, no_line{"linmin: malloc failed"};
const SweepRows rows({
    calling("mat_new", [] { return made(mat_new(nullptr, 3), mat_kill); }, {no_resources}),
    on_matrix("mat_solve_set", solves),
    on_matrix("mat_det_det", determines),
    on_matrix("mat_get_col", [](const Matrix &m) { return mat_get_col(m.get(), 1) != nullptr; }),
    on_matrix("mat_ludcmp", decomposes),
    on_matrix("mat_invert", inverts, decomposed),
    calling("vect_vector_product", multiplies, {no_resources}),
    calling("vect_lobe_new", [] { return made(vect_lobe_new(2, origin, step, 2, 1), vect_lobe_kill); },
            {{"vect_lobe_new: malloc failure"}}),
    {.name = "condirmin",
     .make = [] { return SweepCase{.call = search}; },
     .once = {no_search, no_line},
     .sticky = {no_search, lines(2, no_line[0])}},
    calling("restriction_new", [] { return made(restriction_new(2, 1, step, 0, nullptr), restriction_kill); },
            {{"restriction_new: malloc failed"}}),
    changing<Restriction>("restriction_new_check", corner, stops, nullptr, {{"restriction_new: malloc failed"}}),
    calling("dhsm_new", [] { return made(dhsm_new(constant, nullptr, 3), dhsm_kill); },
            {{"nr: 1, kind: 0, sys: 12, file: Private/Source/dhsm.cpp, line: #, info: No resources available"}}),
    calling("random_new", [] { return made(random_new(1), random_kill); }, {{"Random_new : allocation failed"}}),
    calling("rdither_new", [] { return made(rdither_new(4, 1), rdither_kill); },
            {{"rdither_new:unable to create rdither"}, {"rdither_new: malloc failed"}}),
});

TEST(TFastPow, GivesTheSamePowersWithoutATable)
{
    TFastPow whole(3, 2);
    for (const bool sticky : {false, true}) {
        const int rounds = each_fault(fault_kind::memory, sticky, {}, [&](const auto &fire) {
            track_memory();
            fire();
            bool fired = false;
            {
                TFastPow power(3, 2);
                fired = disarm() > 0;
                for (unsigned short value = 0; value < 65000; value += 1000)
                    EXPECT_EQ(power.Calculate(value, 0x5555), whole.Calculate(value, 0x5555)) << value;
            }
            EXPECT_EQ(live_blocks(), 0);
            return fired;
        });
        EXPECT_GT(rounds, 1);
    }
}

}  // namespace

}  // namespace teska_test
