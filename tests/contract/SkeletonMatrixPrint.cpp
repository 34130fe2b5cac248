#include "support/Patterns.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string printed(const kyrOrvel::SkeletonMatrix& pattern)
{
    testing::internal::CaptureStdout();
    pattern.print();
    return testing::internal::GetCapturedStdout();
}

TEST(SkeletonMatrixPrint, FlaggedEntriesAreT)
{
    const auto pattern = support::drawSkeleton({"X", "X X"});
    pattern->entryFlags[0] = 1;

    EXPECT_EQ(printed(*pattern), "Skeleton Matrix, 2x2\n"
                                 "T 0 \n"
                                 "1 1 \n");
}

TEST(SkeletonMatrixPrint, EveryNonzeroFlagIsT)
{
    const auto pattern = support::drawSkeleton({"X", "X X"});
    pattern->entryFlags[1] = 255;
    pattern->entryFlags[2] = 2;

    EXPECT_EQ(printed(*pattern), "Skeleton Matrix, 2x2\n"
                                 "1 0 \n"
                                 "T T \n");
}

TEST(SkeletonMatrixPrint, AbsentEntriesAreZero)
{
    const auto pattern = support::drawSkeleton({"X",     //
                                                ". X",   //
                                                "X . X", //
                                                ". X . X"});

    EXPECT_EQ(printed(*pattern), "Skeleton Matrix, 4x4\n"
                                 "1 0 0 0 \n"
                                 "0 1 0 0 \n"
                                 "1 0 1 0 \n"
                                 "0 1 0 1 \n");
}

TEST(SkeletonMatrixPrint, EntriesRightOfTheDiagonalArePrinted)
{
    const auto pattern = support::makeSkeleton({{0, 2}, {1}, {2}});

    EXPECT_EQ(printed(*pattern), "Skeleton Matrix, 3x3\n"
                                 "1 0 1 \n"
                                 "0 1 0 \n"
                                 "0 0 1 \n");
}

// The entry after the last one of a row belongs to the next row, though its column may come.
TEST(SkeletonMatrixPrint, RowsDoNotRunIntoTheNext)
{
    const auto pattern = support::makeSkeleton({{0}, {1, 2}, {}});

    EXPECT_EQ(printed(*pattern), "Skeleton Matrix, 3x3\n"
                                 "1 0 0 \n"
                                 "0 1 1 \n"
                                 "0 0 0 \n");
}

TEST(SkeletonMatrixPrint, RowWithoutEntriesIsAllZero)
{
    const auto pattern = support::makeSkeleton({{}, {0, 1}});

    EXPECT_EQ(printed(*pattern), "Skeleton Matrix, 2x2\n"
                                 "0 0 \n"
                                 "1 1 \n");
}

TEST(SkeletonMatrixPrint, EntryThatDoesNotAscendIsNotReached)
{
    const auto pattern = support::makeSkeleton({{0}, {1, 0}});

    EXPECT_EQ(printed(*pattern), "Skeleton Matrix, 2x2\n"
                                 "1 0 \n"
                                 "0 1 \n");
}

TEST(SkeletonMatrixPrint, NoBlockRowsPrintTheHeadingAlone)
{
    const kyrOrvel::SkeletonMatrix pattern;

    EXPECT_EQ(printed(pattern), "Skeleton Matrix, 0x0\n");
}

} // namespace
