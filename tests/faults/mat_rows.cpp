#include "faults/sweep.h"
#include "mat.h"
#include "vect.h"

#include <memory>

namespace teska_test
{

namespace
{

using Matrix = std::shared_ptr<mat>;

Matrix fresh()
{
    const double elements[] = {2, 1, 4, 3};
    return {mat_new(elements, 2), mat_kill};
}

std::string contents(const Matrix &m)
{
    return std::to_string(mat_get_row(m.get(), 0)[0]) + " " + std::to_string(mat_get_row(m.get(), 1)[1]);
}

// The call's result with what it must not write before it succeeds.
bool solves(const Matrix &m)
{
    double b[] = {3, 7};
    int flag = 0;
    const int result = mat_solve_set(m.get(), b, &flag);
    return gave(0, result) && b[0] == 1 && b[1] == 1;
}

bool inverts(const Matrix &m)
{
    int flag = 0;
    return made(mat_invert(m.get(), &flag), mat_kill);
}

const lines no_resources{
    "nr: 1, kind: 0, sys: 12, file: Private/Source/mat.cpp, line: #, info: No resources available"};

Matrix decomposed()
{
    Matrix m = fresh();
    int flag = 0;
    mat_ludcmp(m.get(), &flag);
    return m;
}

SweepRow row(const char *name, bool (*call)(const Matrix &m), int allocations, Matrix (*make)() = fresh)
{
    return changing<Matrix>(name, make, call, contents, {{.count = allocations, .once = no_resources}});
}

const SweepRows rows({
    calling("mat_new", [] { return made(mat_new(nullptr, 3), mat_kill); }, {{.count = 2, .once = no_resources}}),
    row("mat_solve_set", solves, 3),
    row(
        "mat_det_det",
        [](const Matrix &m) {
            double det = 0;
            return gave(0, mat_det_det(m.get(), &det)) && det == 2;
        },
        3),
    row(
        "mat_get_col", [](const Matrix &m) { return mat_get_col(m.get(), 1) != nullptr; }, 1),
    row(
        "mat_ludcmp",
        [](const Matrix &m) {
            int flag = 0;
            return gave(0, mat_ludcmp(m.get(), &flag));
        },
        3),
    row("mat_invert", inverts, 3, decomposed),
    calling("vect_vector_product",
            [] {
                const double in[] = {2, 3, 4};
                double out[2];
                return gave(0, vect_vector_product(in, out));
            },
            {{.count = 5, .once = no_resources}}),
});

}  // namespace

}  // namespace teska_test
