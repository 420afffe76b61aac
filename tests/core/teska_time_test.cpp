#include "teska_time.h"

#include "support/test.h"

#include <ctime>

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
    // A busy machine may come back late, but not each time.
    std::time_t lasted = 0;
    for (int i = 0; i < 5 && lasted != 1; ++i) {
        const std::time_t now = std::time(nullptr);
        waitsec(1);
        lasted = std::time(nullptr) - now;
        EXPECT_GE(lasted, 1);
    }
    EXPECT_EQ(lasted, 1);
    EXPECT_GE(time_get_time() - used, 1) << "waitsec works, though a busy machine gives it less than all of the time";
    EXPECT_LT(time_get_time() - used, 20000);
}

TEST(TimeGetDate, NamesDayDateAndTime)
{
    char dates[2][64];
    const std::time_t now = std::time(nullptr);
    const std::string date = time_get_date();
    for (const int later : {0, 1}) {
        const std::time_t then = now + later;
        std::strftime(dates[later], sizeof dates[later], "%A %d-%b-%Y at %H-%M-%S", std::localtime(&then));
    }
    EXPECT_EQ(date, date == dates[0] ? dates[0] : dates[1]);
}
