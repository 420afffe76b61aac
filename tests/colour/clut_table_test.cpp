#include "clut_table.h"

#include "support/owned_clut.h"
#include "support/runs.h"

using teska_test::Generator, teska_test::Reports;

TEST(ClutTableNew, RefusesWhatNoTableHas)
{
    Reports reports;
    for (const auto &[n, last, m] : {std::array{0, 3, 1}, {17, 3, 1}, {2, 3, 0}, {2, 3, 256}, {2, 256, 1}, {2, 1, 1}}) {
        const int points[] = {2, last};
        EXPECT_EQ(reports.refusal(clut_table_new(n, points, m, nullptr)), "clut_table_new: illegal dimension")
            << n << ' ' << last << ' ' << m;
    }
    const int huge[] = {255, 255, 255, 255};
    EXPECT_EQ(reports.refusal(clut_table_new(4, huge, 1, nullptr)), "clut_table_new: insufficient memory");
}

TEST(ClutTableInterp, GivesTheBitsOfTheClassInAnyLayoutAndInPlace)
{
    Generator random(5);
    for (const int n : {1, 2, 3, 4, 7}) {
        std::vector<int> points(static_cast<std::size_t>(n));
        std::generate(points.begin(), points.end(), [&] { return 2 + random.below(3); });
        const int m = 1 + random.below(5), step = std::max(n, m) + random.below(3);
        const teska::handle<clut_table, clut_table_kill> table(clut_table_new(n, points.data(), m, nullptr));
        int size = 0;
        float *data = clut_table_dataptr(table.get(), &size);
        EXPECT_EQ(std::count(data, data + size, 0.0F), size);
        std::generate_n(data, size, [&] { return static_cast<float>(random.between(-0.1, 1.1)); });
        teska_test::OwnedClut model(std::vector<unsigned char>(points.begin(), points.end()), m,
                                    std::vector<float>(data, data + size));
        for (int i = 0; i < 8; ++i)
            teska_test::check_run<double, double>(
                {n, m, 50 * i - 50, i % 3 == 0 ? n : -step, i % 5 == 0 ? m : step, i % 2 == 0, i % 4 < 2}, random,
                [&] { return random.between(-0.1, 1.1); },
                [&](int, const std::vector<double> &pixel) {
                    std::vector<double> result(static_cast<std::size_t>(m));
                    model.Interpolate(result.data(), pixel.data());
                    return result;
                },
                [&](auto... arguments) { return clut_table_interp(table.get(), arguments...); });
    }
}
