#include "error_mess.h"
#include "faults/injector.h"

#include <gtest/gtest.h>

#include <string>

namespace teska_test
{

namespace
{

// The queue itself is under test here: these tests arm the injector directly.
void fill_queue()
{
    error_set(2);
    for (int i = 100; i < 150; ++i)
        error_mess_fl(std::to_string(i).c_str(), "", 0);
}

int drain()
{
    int count = 0;
    while (error_get() != nullptr)
        ++count;
    return count;
}

TEST(ErrorMess, KeptLosesTheLineAndQueuesTheListsComplaintWhenTheQueueCannotGrow)
{
    fill_queue();
    arm(fault_kind::memory, 0, false);
    error_mess_fl("z", "", 0);
    EXPECT_EQ(disarm(), 1);
    // Descending order: the complaint of the list comes before the numbers.
    EXPECT_STREQ(error_get(), "ERROR : 'list_insert : Unable to extend list, insufficient resources'");
    EXPECT_STREQ(error_get(), "ERROR : '149'");
    EXPECT_EQ(drain(), 49);
    error_set(1);
}

TEST(ErrorMess, StopsNestingWhenMemoryStaysShort)
{
    fill_queue();
    arm(fault_kind::memory, 0, true);
    error_mess_fl("z", "", 0);
    EXPECT_EQ(disarm(), 16);
    EXPECT_EQ(drain(), 50);
    error_mess_fl("z", "", 0);
    EXPECT_STREQ(error_get(), "ERROR : 'z'");
    error_set(1);
}

TEST(ErrorSet, StaysInItsModeWhenTheQueueCannotBeMade)
{
    error_set(3);
    for (const int n : {0, 1}) {
        arm(fault_kind::memory, n, false);
        EXPECT_EQ(error_set(2), 3);
        EXPECT_EQ(disarm(), 1);
        EXPECT_EQ(error_get(), nullptr) << "the list's complaint is dropped";
        EXPECT_EQ(error_set(3), 3);
    }
    error_set(1);
}

TEST(ErrorSetThread, ChangesNothingWithoutMemoryAndThenReportsWithoutAny)
{
    error_set_thread(3);
    error_mess_fl("kept", "", 0);
    arm(fault_kind::memory, 0, true);
    EXPECT_EQ(error_set_thread(2), TESKA_ERROR_NO_MEMORY);
    EXPECT_EQ(disarm(), 1);
    EXPECT_STREQ(error_get(), "ERROR : 'kept'");
    EXPECT_EQ(error_set_thread(2), 3);
    arm(fault_kind::memory, 0, true);
    error_mess_fl("queued", "", 0);
    EXPECT_EQ(disarm(), 0);
    EXPECT_STREQ(error_get(), "ERROR : 'queued'");
    EXPECT_EQ(error_set_thread(TESKA_ERROR_PROCESS_WIDE), 2);
}

}  // namespace

}  // namespace teska_test
