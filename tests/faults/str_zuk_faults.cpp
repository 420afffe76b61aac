#include "faults/injector.h"
#include "str_zuk.h"

#include <gtest/gtest.h>

namespace teska_test
{

TEST(StrSearchZuk, AnswersWithoutMemoryAndThenKnowsNothing)
{
    for (const bool before : {false, true}) {
        const char *text = "[b]\nk=1\n[cc]\nk=2\n[b]\nk=3";
        char value[257];
        str_search_zuk_cache_reset();
        if (before)
            str_search_zuk(&text, "b", "k", value);
        arm(fault_kind::memory, 0, true);
        EXPECT_EQ(str_search_zuk(&text, "cc", "k", value), 1);
        EXPECT_EQ(disarm(), 1);
        EXPECT_STREQ(value, "2");
        EXPECT_EQ(str_search_zuk(&text, "b", "k", value), 1);
        EXPECT_STREQ(value, "1") << "searched from the start";
    }
}

}  // namespace teska_test
