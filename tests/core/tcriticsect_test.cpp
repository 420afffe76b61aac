#include "tcriticsect.h"

#include "support/test.h"

#include "teska_time.h"

#include <stdexcept>

using teska_test::Folder;

TEST(TCriticSect, TakesPathsOf255Bytes)
{
    EXPECT_NO_THROW(TCriticSect(std::string(255, 'x').c_str(), 0));
    try {
        TCriticSect(std::string(256, 'x').c_str(), 0);
        ADD_FAILURE() << "a longer path was taken";
    } catch (const std::out_of_range &e) {
        EXPECT_STREQ(e.what(), "Lock path too long");
    }
}

// That other processes are excluded as well is tested with the companion's handles.
TEST(TCriticSect, ExcludesOtherObjectsOfTheProcessUntilItIsLeft)
{
    const Folder folder;
    const std::string path = folder.path("\xc3\xb6.lck");
    TCriticSect first(path.c_str(), 100), second(path.c_str(), 100);
    EXPECT_EQ(first.Enter(0), 0);
    const int start = time_get_elapsed_time();
    EXPECT_EQ(second.Enter(2), 1);
    EXPECT_NEAR(time_get_elapsed_time() - start, 5000, 3050) << "2 to 3 seconds on an idle machine";
    second.Leave();
    EXPECT_EQ(first.Enter(-1), 1) << "is inside already, and stays there";
    EXPECT_EQ(second.Enter(std::nan("")), 1);
    first.Leave();
    EXPECT_EQ(second.Enter(0), 0);
    first.Leave();
    EXPECT_EQ(first.Enter(-1), 1) << "leaving twice lets nobody else's place go";
    second.Leave();
    EXPECT_EQ(first.Enter(0), 0);
    std::thread leaving([&] {
        waitmsec(300);
        first.Leave();
    });
    EXPECT_EQ(second.Enter(20), 0) << "left while it was waited for";
    leaving.join();
    second.Leave();
    EXPECT_EQ(TCriticSect(path.c_str(), 0).Enter(0), 0);
    EXPECT_EQ(first.Enter(-1), 0) << "a destroyed object has left";
    EXPECT_EQ(TCriticSect(folder.path("missing/lock").c_str(), -7).Enter(0), 1);
}
