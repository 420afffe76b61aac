#include "mat.h"

#include "support/levels.h"

namespace
{

using Values = std::vector<double>;
using Matrix = std::unique_ptr<mat, int (*)(mat *)>;

Matrix square(const Values &elements)
{
    return {mat_new(elements.data(), static_cast<int>(std::lround(std::sqrt(elements.size())))), mat_kill};
}

struct Solution {
    int flag;
    Values x;
    double determinant;
};

Solution solve(mat *m, Values b)
{
    Solution s{-9, std::move(b), NAN};
    EXPECT_EQ(mat_solve_set(m, s.x.data(), &s.flag), 0);
    EXPECT_EQ(mat_det_det(m, &s.determinant), 0);
    return s;
}

}  // namespace

// The hashes hold the bits of the promised steps; here the solution is one.
TEST(MatSolveSet, SolvesWithTheSameBitsAtEveryLevel)
{
    teska_test::Generator random(4101);
    for (std::size_t n = 1; n <= 40; ++n) {
        Values a(n * n), x(n), b(n), scalar;
        for (Values *const values : {&a, &x})
            std::generate(values->begin(), values->end(), [&] { return random.between(-1, 1); });
        for (std::size_t i = 0; i < n; ++i)
            b[i] = std::inner_product(x.begin(), x.end(), a.begin() + static_cast<std::ptrdiff_t>(i * n), 0.0);
        teska_test::at_every_level([&](teska::simd_level level) {
            const Solution found = solve(square(a).get(), b);
            EXPECT_EQ(found.flag, 0);
            for (std::size_t i = 0; level == teska::simd_level::scalar && i < n; ++i)
                EXPECT_NEAR(found.x[i], x[i], 1e-11) << n << " rows";
            EXPECT_EQ(found.x, level == teska::simd_level::scalar ? found.x : scalar) << n << " rows";
            scalar = found.x;
        });
    }
}

TEST(MatSolveSet, TellsRegularFromSingularMatrices)
{
    const std::tuple<Values, Values, int, int, Values, Values, double> rows[] = {
        {{2, 1, 4, 3}, {3, 7}, 0, 0, {1, 1}, {1, 1}, 2},
        {{0, 0, 3, 4}, {3, 7}, -1, -1, {3, 7}, {3, 7}, 0},
        {{1, 1, 1, 1}, {3, 7}, -2, 0, {3, 7}, {-4e20, 4e20}, 1e-20},
        {{1e-30, 0, 0, 1}, {1, 1}, -2, 0, {1, 1}, {1e20, 1}, 1e-20},
        {{2, 8, 1, 1}, {10, 2}, 0, 0, {1, 1}, {1, 1}, -6}};  // a row counts by its largest element
    for (const auto &[a, b, flag, again, x, x_again, determinant] : rows) {
        const Matrix m = square(a);
        const Solution first = solve(m.get(), b), second = solve(m.get(), b);
        EXPECT_EQ(first.flag, flag) << testing::PrintToString(a);
        EXPECT_EQ(first.x, x) << testing::PrintToString(a);
        EXPECT_EQ(first.determinant, determinant) << testing::PrintToString(a);
        EXPECT_EQ(second.flag, again) << "Kept: a replaced pivot is told once";
        EXPECT_EQ(second.x, x_again);
    }
    // The last pivot is exactly 0 only when the sums are formed first.
    EXPECT_EQ(solve(square({1, 2, 3, 4, 5, 6, 7, 8, 9}).get(), {1, 1, 1}).flag, -2);
    for (const double odd : {double{NAN}, HUGE_VAL})
        EXPECT_EQ(solve(square({odd, odd, 1, odd}).get(), {1, 1}).flag, 0);
}

TEST(MatInvert, FillsOneObjectAnewAfterEveryChange)
{
    const Matrix m = square({2, 1, 0, 4});
    int flag = -9;
    const Matrix inverse(mat_invert(m.get(), &flag), mat_kill);
    const auto elements = [&] { return Values(mat_get_row(inverse.get(), 0), mat_get_row(inverse.get(), 0) + 4); };
    EXPECT_EQ(elements(), (Values{0.5, -0.125, 0, 0.25}));
    EXPECT_EQ(solve(inverse.get(), {1, 0}).flag, 0);  // its factors must go with its elements
    mat_get_row(inverse.get(), 0)[0] = 7;
    EXPECT_EQ(mat_invert(m.get(), &flag), inverse.get());
    EXPECT_EQ(elements()[0], 7) << "nothing changed: nothing is computed";
    mat_set_element(m.get(), 1, 0, 1);
    EXPECT_EQ(mat_invert(m.get(), &flag), inverse.get());
    EXPECT_EQ(mat_set_row(m.get(), 0, Values{2, 0}.data()), 0);
    EXPECT_EQ(mat_invert(m.get(), &flag), inverse.get());
    EXPECT_EQ(elements(), (Values{0.5, 0, -0.125, 0.25}));
    EXPECT_EQ(solve(inverse.get(), {1, 0}).x, (Values{2, 1}));
    EXPECT_EQ(mat_invert(inverse.get(), &flag), m.get());
    EXPECT_EQ(mat_get_element(m.get(), 1, 1, &flag), 4);
    EXPECT_EQ(mat_invert(m.get(), &flag), inverse.get());
    EXPECT_EQ(mat_set_mat(m.get(), Values{1, 1, 1, 1}.data()), 0);
    EXPECT_EQ(mat_invert(m.get(), &flag), inverse.get());
    EXPECT_EQ(flag, 0) << "Kept: a singular matrix is refused only at its first decomposition";
    EXPECT_EQ(elements(), (Values{1, -1e20, 0, 1e20}));
    EXPECT_EQ(mat_get_col(inverse.get(), 1)[0], -1e20);
    EXPECT_EQ(mat_invert(square({1, 1, 1, 1}).get(), &flag), nullptr);
    EXPECT_EQ(flag, -2);
}

TEST(MatKill, EndsTheLinkBetweenAMatrixAndItsInverse)
{
    int flag = 0;
    Matrix m = square({2, 0, 0, 4});
    mat_kill(mat_invert(m.get(), &flag));
    const Matrix inverse(mat_invert(m.get(), &flag), mat_kill);
    m.reset();
    const Matrix back(mat_invert(inverse.get(), &flag), mat_kill);
    EXPECT_EQ(mat_get_row(back.get(), 1)[1], 4);
}

TEST(MatGetElement, KeptComparesTheColumnWithTheRows)
{
    Values counted(20);
    std::iota(counted.begin(), counted.end(), 0);
    const Matrix tall(mat_gen_new(counted.data(), 5, 4), mat_kill);
    const Matrix wide(mat_gen_new(counted.data(), 2, 4), mat_kill);
    const std::tuple<const Matrix &, int, int, int, double> rows[] = {
        {tall, 0, 3, 0, 3}, {tall, 0, 4, 0, 4},   {tall, 4, 4, 0, 0},  {wide, 0, 3, -1, 0},
        {wide, 1, 1, 0, 5}, {tall, -1, 0, -1, 0}, {tall, 5, 0, -1, 0}, {tall, 0, -1, -1, 0}};
    for (const auto &[m, i, j, expected, value] : rows) {
        int err = -9;
        EXPECT_EQ(mat_get_element(m.get(), i, j, &err), value);
        EXPECT_EQ(err, expected);
    }
    EXPECT_EQ(mat_get_col(wide.get(), 3)[1], 7);
    EXPECT_EQ(mat_set_col(wide.get(), 0, Values{-1, -2}.data()), 0);
    Values y(2);
    EXPECT_EQ(mat_mulvec(wide.get(), Values{1, 10, 100, 1000}.data(), y.data()), 0);
    EXPECT_EQ(y, (Values{3209, 7648}));
    // Not square: what there is of it, and zeros.
    EXPECT_EQ(solve(wide.get(), {1, 1}).determinant, -3);
    EXPECT_EQ(solve(tall.get(), Values(5)).flag, -2);
    EXPECT_EQ(solve(Matrix(mat_gen_new(Values{1, 2}.data(), 2, 1), mat_kill).get(), {1, 1}).flag, -2);
    const Matrix column(mat_gen_new(Values{1, NAN}.data(), 2, 1), mat_kill);
    EXPECT_EQ(solve(column.get(), {1, 1}).flag, -1) << "Kept: beside the zeros NaN does not count";
}
