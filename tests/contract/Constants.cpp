#include <kyrOrvel/Export>

#include <gtest/gtest.h>

TEST(Constants, NoneIsTheLargestWordAndPrintsAsMinusOne)
{
    EXPECT_EQ(kyrOrvel::kNone, 0xFFFFFFFFu);
    EXPECT_EQ(static_cast<int>(kyrOrvel::kNone), -1);
}
