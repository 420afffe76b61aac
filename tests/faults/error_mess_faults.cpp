#include "faults/sweep.h"

#include "faults/injector.h"

#include "error_mess.h"

#include <gtest/gtest.h>

#include <string>

namespace teska_test
{

namespace
{

// The queue itself is under test here, so the sweep's own collecting cannot serve: these tests arm the
// injector directly.
class FullQueue : public testing::Test
{
protected:
    FullQueue() : previous_(error_set(2))
    {
        for (int i = 0; i < 50; ++i)
            report(std::to_string(100 + i));
    }
    ~FullQueue() override { error_set(previous_); }

    static void report(const std::string &message) { error_mess_fl(message.c_str(), "", 0); }

    static int drain()
    {
        int count = 0;
        while (error_get() != nullptr)
            ++count;
        return count;
    }

private:
    int previous_;
};

TEST_F(FullQueue, KeptLosesTheLineAndQueuesTheListsComplaint)
{
    const std::string lost = "z";
    arm(fault_kind::memory, 0, false);
    report(lost);
    EXPECT_EQ(disarm(), 1);
    // Descending order: the complaint of the list comes before the numbers.
    EXPECT_STREQ(error_get(), "ERROR : 'list_insert : Unable to extend list, insufficient resources'");
    EXPECT_STREQ(error_get(), "ERROR : '149'");
    EXPECT_EQ(drain(), 49);
}

TEST_F(FullQueue, StopsNestingWhenMemoryStaysShort)
{
    const std::string lost = "z";
    arm(fault_kind::memory, 0, true);
    report(lost);
    EXPECT_EQ(disarm(), 16);
    EXPECT_EQ(drain(), 50);
    report(lost);
    EXPECT_STREQ(error_get(), "ERROR : 'z'");
}

TEST(ErrorSet, StaysInItsModeWhenTheQueueCannotBeMade)
{
    const int before = error_set(3);
    for (const int n : {0, 1}) {
        arm(fault_kind::memory, n, false);
        EXPECT_EQ(error_set(2), 3);
        EXPECT_EQ(disarm(), 1);
        EXPECT_EQ(error_get(), nullptr) << "the list's complaint is dropped";
        EXPECT_EQ(error_set(3), 3);
    }
    error_set(before);
}

}  // namespace

}  // namespace teska_test
