#include "clut_table.h"

#include "support/generator.h"
#include "support/owned_clut.h"
#include "support/reports.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>

using teska_test::Generator, teska_test::lines, teska_test::Reports;

namespace
{

using Doubles = std::vector<double>;

TEST(ClutTableNew, RefusesWhatNoTableHas)
{
    Reports reports;
    for (const auto &[n, last, m] : {std::array{0, 3, 1}, {17, 3, 1}, {2, 3, 0}, {2, 3, 256}, {2, 256, 1}, {2, 1, 1}}) {
        const int points[] = {2, last};
        EXPECT_EQ(clut_table_new(n, points, m, nullptr), nullptr) << n << ' ' << last << ' ' << m;
    }
    EXPECT_EQ(reports.take(), lines(6, "clut_table_new: illegal dimension"));
    const int huge[] = {255, 255, 255, 255};
    EXPECT_EQ(clut_table_new(4, huge, 1, nullptr), nullptr);
    EXPECT_EQ(reports.take(), lines{"clut_table_new: insufficient memory"});
}

TEST(ClutTableInterp, GivesTheBitsOfTheClassAtAnyStepAndInPlace)
{
    Generator random(5);
    for (const int n : {1, 2, 3, 4, 7}) {
        std::vector<int> points(static_cast<std::size_t>(n));
        std::generate(points.begin(), points.end(), [&] { return 2 + random.below(3); });
        const int m = 1 + random.below(5), count = 50, step = std::max(n, m) + random.below(3);
        const std::unique_ptr<clut_table, clut_table *(*)(clut_table *)> table(
            clut_table_new(n, points.data(), m, nullptr), clut_table_kill);
        int size = 0;
        float *data = clut_table_dataptr(table.get(), &size);
        EXPECT_EQ(std::count(data, data + size, 0.0F), size);
        std::generate_n(data, size, [&] { return static_cast<float>(random.between(-0.1, 1.1)); });
        teska_test::OwnedClut model(std::vector<unsigned char>(points.begin(), points.end()), m,
                                    std::vector<float>(data, data + size));
        Doubles pixels(static_cast<std::size_t>(count * step));
        std::generate(pixels.begin(), pixels.end(), [&] { return random.between(-0.1, 1.1); });
        Doubles expected(pixels), result(static_cast<std::size_t>(m));
        for (int p = 0; p < count; ++p) {
            model.Interpolate(result.data(), &expected[static_cast<std::size_t>(p * step)]);
            std::copy(result.begin(), result.end() - (m > 1 ? 1 : 0), expected.begin() + p * step);
        }
        std::vector<double *> at;
        for (int c = 0; c < std::max(n, m); ++c)
            at.push_back(pixels.data() + c);
        std::vector<double *> out(at.begin(), at.begin() + m);
        if (m > 1)
            out.back() = nullptr;  // the last output is left out
        EXPECT_EQ(clut_table_interp(table.get(), at.data(), step, out.data(), step, count), 1);
        EXPECT_EQ(pixels, expected) << n << " inputs, " << m << " outputs";
    }
}

}  // namespace
