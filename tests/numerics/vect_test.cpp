#include "vect.h"

#include "support/test.h"

using Values = std::vector<double>;
using Ints = std::vector<int>;

TEST(VectSums, GoFromTheFirstValueOn)
{
    const Values a{1e16, 1, -1e16, 3}, b{1, 1, 1, 2}, odd{2, NAN, 1, 3};
    EXPECT_EQ(vect_scalar_product(a.data(), b.data(), 4), 6);  // the 1 is lost
    EXPECT_EQ(vect_calc_norm(Values{3, 4}.data(), 2), 5);
    EXPECT_EQ(vect_Min(odd.data(), 4), 1);
    EXPECT_EQ(vect_Max(odd.data(), 4), 3);
    EXPECT_EQ(vect_Min(nullptr, 0) + vect_Max(nullptr, 0), 0);
}

TEST(VectVectorProduct, StandsAtRightAnglesUpToThePivotsThatReplaceZero)
{
    const std::pair<Values, Values> rows[] = {{{3, 0, 0, 1, 1, 0, 0}, {1e-40, 1, -1e-20}},
                                              {{3.9, 1, 2, 3, 4, 5, 6}, {-2.9999999999999982, 6, -3}},
                                              {{1}, {1}}};
    for (const auto &[in, expected] : rows) {
        Values out(expected.size());
        EXPECT_EQ(vect_vector_product(in.data(), out.data()), 0);
        EXPECT_EQ(out, expected);
    }
    double untouched = 8;
    for (const double n : {double{NAN}, 0.9, -3.0, 4097.0, 1e300})
        EXPECT_EQ(vect_vector_product(&n, &untouched), -1);
    EXPECT_EQ(untouched, 8);
}

TEST(VectLocate, FindsTheFirstValueThatIsNotLess)
{
    teska_test::Generator random(4801);
    for (unsigned n = 0; n < 20; ++n) {
        Ints a(n);
        std::generate(a.begin(), a.end(), [&] { return random.below(8); });
        std::sort(a.begin(), a.end());
        const std::vector<short> shorts(a.begin(), a.end());
        const Values doubles(a.begin(), a.end());
        for (short x = -1; x < 10; ++x) {
            unsigned in_ints = 99, in_doubles = 99;
            short in_shorts = 99;
            const int results = vect_locate_in_array(a.data(), x, n, &in_ints) |
                                vect_locate_in_double_array(doubles.data(), x, n, &in_doubles) |
                                vect_locate_in_sh_array(shorts.data(), x, static_cast<unsigned short>(n), &in_shorts);
            EXPECT_EQ(results, 0);
            const std::vector<std::int64_t> found{in_ints, in_doubles, in_shorts};
            EXPECT_EQ(found, std::vector<std::int64_t>(3, std::lower_bound(a.begin(), a.end(), x) - a.begin())) << x;
        }
    }
    unsigned place = 99;
    vect_locate_in_double_array(Values{1, 2, 3, 4}.data(), NAN, 4, &place);
    EXPECT_EQ(place, 3U);
}

TEST(VectInsert, KeepsTheOrderAndTellsThePlace)
{
    Ints a{1, 3, 5, 7, 0};
    int place = 5;
    EXPECT_EQ(vect_insert_in_array(a.data(), 4, &place), 0);
    EXPECT_EQ(place, 2);
    EXPECT_EQ(a, (Ints{1, 3, 4, 5, 7}));
    short shorts[] = {9, 9};
    for (const int count : {INT_MIN, 2}) {
        place = count;
        EXPECT_EQ(vect_insert_in_sh_array(shorts, 5, &place), 0);
        EXPECT_EQ(place, 0);
        EXPECT_EQ(shorts[count == 2], 5);
    }
}

TEST(VectShiftRight0, FillsUpWithZero)
{
    const std::pair<int, Ints> rows[] = {{1, {0, 1, 2, 3}}, {-1, {1, 2, 3, 4}}, {3, {0, 0, 0, 1}}, {INT_MAX, Ints(4)}};
    for (const auto &[k, shifted] : rows) {
        Ints a{1, 2, 3, 4};
        EXPECT_EQ(vect_shift_right_0(a.data(), 4, k), 0);
        EXPECT_EQ(a, shifted);
    }
}

TEST(VectNextPointSelection, VisitsEverySubsetInOrder)
{
    for (int n = 0; n <= 7; ++n)
        for (int m = 0; m <= n; ++m) {
            Ints mask(static_cast<std::size_t>(n), 5), selection(static_cast<std::size_t>(m), -1), model(mask.size());
            // Masks of m ones in descending order, as std::prev_permutation gives them.
            std::fill_n(model.begin(), m, 1);
            Ints chosen;
            unsigned first = 1;
            do {
                ASSERT_EQ(vect_next_point_selection(m, n, std::exchange(first, 0), selection.data(), mask.data()), 0);
                chosen.clear();
                for (int i = 0; i < n; ++i)
                    if (model.data()[i] == 1)
                        chosen.push_back(i);
                EXPECT_EQ(mask, model) << m << " of " << n;
                EXPECT_EQ(selection, chosen) << m << " of " << n;
            } while (std::prev_permutation(model.begin(), model.end()));
            for (int again = 0; again < 2; ++again)
                EXPECT_EQ(vect_next_point_selection(m, n, 0, selection.data(), mask.data()), -2);
            EXPECT_EQ(mask, Ints(mask.size()));
            EXPECT_EQ(selection, chosen);
        }
}
