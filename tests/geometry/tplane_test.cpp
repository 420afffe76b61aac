#include "tplane.h"

#include <gtest/gtest.h>

TEST(TPlane, Stands) { EXPECT_EQ(TPlane(2, 2, TPlane::ConstLPlane, 0, 0, 1, 0, 1).W(), 2); }
