#include "teska_time.h"

#include <gtest/gtest.h>

#include <climits>
#include <ctime>
#include <string>

namespace
{

TEST(GetDiffSystemTime, CountsMillisecondsTowardsZero)
{
    system_time_rec start;
    get_system_time(&start);
    EXPECT_EQ(start.microseconds % 1000, 0);
    EXPECT_NEAR(start.seconds * 1000 + start.microseconds / 1000, time_get_elapsed_time(), 500);
    // The moment is moved by seconds and microseconds; what passes meanwhile makes the differences larger.
    const std::tuple<int, int, int> cases[] = {{0, 0, 0},        {-5, 0, 5000},   {3, 0, -3000},   {-1, 999000, 1},
                                               {1, -1000999, 0}, {-5, 999, 5000}, {-5, -999, 5000}};
    for (const auto &[seconds, microseconds, expected] : cases) {
        int passed = INT_MIN;
        EXPECT_EQ(get_diff_system_time(&passed, start.seconds + seconds, start.microseconds + microseconds), 0);
        EXPECT_GE(passed, expected);
        EXPECT_LE(passed, expected + 500);
    }
}

TEST(Waiting, LastsAsLongAsAskedFor)
{
    const int start = time_get_elapsed_time(), used = time_get_time();
    EXPECT_EQ(waitmsec(300), 0);
    EXPECT_GE(time_get_elapsed_time() - start, 299);
    EXPECT_LT(time_get_time() - used, 200) << "sleeps";
    const std::time_t now = std::time(nullptr);
    waitsec(1);
    EXPECT_GE(std::time(nullptr), now + 1);
}

std::string local_date()
{
    const std::time_t now = std::time(nullptr);
    char text[64] = "";
    std::strftime(text, sizeof text, "%A %d-%b-%Y at %H-%M-%S", std::localtime(&now));
    return text;
}

TEST(TimeGetDate, NamesDayDateAndTime)
{
    const std::string before = local_date(), date = time_get_date();
    EXPECT_TRUE(date == before || date == local_date()) << date;
}

}  // namespace
