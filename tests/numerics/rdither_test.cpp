#include "rdither.h"

#include "support/reports.h"

#include <gtest/gtest.h>

#include <climits>
#include <memory>
#include <utility>
#include <vector>

using teska_test::lines;
using teska_test::Reports;

namespace
{

using Cell = std::vector<int>;

const Cell matrix = {0, 8, 2, 10, 12, 4, 14, 6, 3, 11, 1, 9, 15, 7, 13, 5};

// The cell of one level; rows and columns are asked for far out in the picture.
Cell shown(const rdither *table, unsigned level)
{
    Cell cell;
    for (unsigned a = 0; a < 4; ++a)
        for (unsigned b = 0; b < 4; ++b)
            cell.push_back(rdither_val(table, UINT_MAX - 3 + a, 400 + b, level));
    return cell;
}

// The same in whole numbers: f = g / n.
Cell exact(long long n, long long m, long long level)
{
    Cell cell;
    const long long k = (2 * level * m + n) / (2 * n);
    const long long g = level * m - k * n;
    for (const int d : matrix)
        cell.push_back(static_cast<int>(k + (d * n < 16 * g && k < m ? 1 : -d * n > 16 * g && k > 0 ? -1 : 0)));
    return cell;
}

}  // namespace

TEST(RditherNew, HoldsWhatWholeNumbersGive)
{
    for (const auto &[n, m] :
         {std::pair{4U, 1U}, {1U, 0U}, {16U, 1U}, {255U, 15U}, {255U, 254U}, {65535U, 3U}, {65535U, 65534U}}) {
        const std::unique_ptr<rdither, int (*)(rdither *)> table(rdither_new(n, m), rdither_kill);
        for (unsigned level = 0; level <= n; level += 1 + n / 500)
            ASSERT_EQ(shown(table.get(), level), exact(n, m, level)) << level << " of " << n << " to " << m;
        EXPECT_EQ(shown(table.get(), n), Cell(16, static_cast<int>(m)));
    }
    EXPECT_EQ(rdither_kill(nullptr), 0);
}

TEST(RditherNew, KeptLetsSmallEntriesLeaveTheNearestLevelFirst)
{
    const std::unique_ptr<rdither, int (*)(rdither *)> table(rdither_new(16, 1), rdither_kill);
    for (unsigned level = 0; level <= 16; ++level)
        for (unsigned p = 0; p < 16; ++p) {
            const auto d = static_cast<unsigned>(matrix[p]);
            EXPECT_EQ(shown(table.get(), level)[p], level < 8 ? d < level : d >= 16 - level) << level << ", " << d;
        }
}

TEST(RditherNew, RefusesLevelsOutsideTheirRange)
{
    Reports reports;
    for (const auto &[n, m] : {std::pair{0U, 0U}, {3U, 3U}, {3U, 4U}, {65536U, 1U}, {UINT_MAX, 0U}, {1U, UINT_MAX}})
        EXPECT_EQ(rdither_new(n, m), nullptr) << n << " to " << m;
    EXPECT_EQ(reports.take(), lines(6, "rdither_new: param error"));
}
