#include "teska_version.h"

#include <gtest/gtest.h>

TEST(Version, TextNumberAndMacrosAgree)
{
    const std::string text = std::to_string(TESKA_VERSION_MAJOR) + "." + std::to_string(TESKA_VERSION_MINOR) + "." +
                             std::to_string(TESKA_VERSION_PATCH);
    EXPECT_EQ(TESKA_VERSION, text);
    EXPECT_EQ(teska_version(), text);
    EXPECT_EQ(teska_version_number(), TESKA_VERSION_NUMBER);
    static_assert(TESKA_VERSION_NUMBER_OF(1, 2, 3) == 10203);
    static_assert(TESKA_VERSION_NUMBER_OF(1, 99, 99) < TESKA_VERSION_NUMBER_OF(2, 0, 0));
}
