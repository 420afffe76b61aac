#include "special_functions.h"

#include "Source/special_functions/gamma.h"
#include "support/test.h"

using teska_test::lines, teska_test::Reports;
using Values = std::vector<double>;

namespace
{

struct Line {
    double a, b, siga, sigb, chi2, q;
};

Line fitted(const Values &x, const Values &y, const Values &sig = {}, int n = -1)
{
    Line r = {7, 7, 7, 7, 7, 7};
    EXPECT_EQ(least_square_fit(x.data(), y.data(), n == -1 ? static_cast<int>(x.size()) : n, sig.data(), !sig.empty(),
                               &r.a, &r.b, &r.siga, &r.sigb, &r.chi2, &r.q),
              0);
    return r;
}

}  // namespace

TEST(LeastSquareFit, GivesNumbersThatAreNoneWhereNothingCanBeComputed)
{
    Reports reports;
    const Values x = {1, 2, 4}, y = {1, 3, 2}, one = {1, 1, 1};
    for (const Values &sig : {Values(), one}) {
        const Line none = fitted(x, y, sig, INT_MIN);
        EXPECT_TRUE(std::isnan(none.a));
        EXPECT_EQ(none.chi2, 0);
        EXPECT_EQ(none.q, 1);
        EXPECT_EQ(fitted({0, 1}, {1, 3}, sig).q, 1);
    }
    // Of three points with errors; the hashes hold the other numbers.
    const Line far = fitted({0, 1, 2}, {1, -2, 1}, one);
    EXPECT_NEAR(far.q, teska::gammq(0.5, 3), 1e-14);
    const Line exact = fitted({0, 1}, {1, 3});
    for (const double value : {exact.siga, exact.sigb, fitted({1}, {1}).siga, fitted({2, 2, 2}, y).b,
                               fitted(x, {1, NAN, 2}).chi2, fitted({1, 2, INFINITY}, y).chi2})
        EXPECT_TRUE(std::isnan(value)) << value;
    EXPECT_EQ(reports.take(), lines{});
    for (const double odd : {0.0, std::nan("")})
        EXPECT_TRUE(std::isnan(fitted(x, y, {1, odd, 1}).q)) << odd;
    EXPECT_EQ(reports.take(), lines(2, "a too large, ITMAX too small in gcf"));
}

TEST(Gammq, AgreesWithAReferenceTableOrReportsAndGoesOn)
{
    // GNU Scientific Library 2.7, gsl_sf_gamma_inc_Q
    const std::array<double, 3> reference[] = {
        {0.5, 0.01, 0.887537083981715}, {0.5, 1.25, 0.113846298006658},   {1, 1, 0.367879441171442},
        {1.5, 1.8, 0.308022171558993},  {5, 0.1, 0.999999923321983},      {5, 12.5, 0.00534550548713406},
        {50, 30, 0.999481108537452},    {50, 125, 7.7669364035392e-15},   {250, 200, 0.99963792954171},
        {250, 250, 0.491589373031008},  {250, 375, 2.68472182849765e-12}, {2.5, 1.5, 0.69998583844538587}};
    Reports reports;
    for (const auto &[a, x, q] : reference)
        EXPECT_NEAR(teska::gammq(a, x), q, 1e-6 * q) << a << ", " << x;
    const std::tuple<double, double, double, double, lines> cases[] = {
        {1, -1, 1, 0, {"Invalid arguments in routine gammq", "x less than 0 in routine gser"}},
        {0, 2, 0, 0, {"Invalid arguments in routine gammq"}},
        {3, 0, 1, 0, {}},
        {1, 800, 0, 0, {}},
        {2000, 2000, 0.51, 0.01, {"a too large, ITMAX too small in routine gser"}},
        {1e6, 1e6 + 1, 0.8, 0.1, {"a too large, ITMAX too small in gcf"}}};
    for (const auto &[a, x, q, error, reported] : cases) {
        EXPECT_NEAR(teska::gammq(a, x), q, error) << a << ", " << x;
        EXPECT_EQ(reports.take(), reported) << a << ", " << x;
    }
}
