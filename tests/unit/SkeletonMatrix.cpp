#include <kyrOrvel/SkeletonMatrix>

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

using kyrOrvel::SkeletonMatrix;

namespace {

TEST(SkeletonMatrix, IsBuiltEmpty)
{
    const SkeletonMatrix pattern;

    EXPECT_EQ(pattern.columnIndices, nullptr);
    EXPECT_EQ(pattern.rowStart, nullptr);
    EXPECT_EQ(pattern.rowAttributes, nullptr);
    EXPECT_EQ(pattern.entryFlags, nullptr);
    EXPECT_EQ(pattern.numBlockRows, 0u);
    EXPECT_EQ(pattern.rowCapacity, 0u);
    EXPECT_EQ(pattern.entryCapacity, 0u);
}

TEST(SkeletonMatrix, AllocateMemoryMakesFourZeroedArrays)
{
    SkeletonMatrix pattern;

    pattern.allocateMemory(3, 5);

    EXPECT_EQ(pattern.numBlockRows, 0u);
    EXPECT_EQ(pattern.rowCapacity, 3u);
    EXPECT_EQ(pattern.entryCapacity, 5u);
    EXPECT_EQ(std::count(pattern.rowStart, pattern.rowStart + 4, 0u), 4);
    EXPECT_EQ(std::count(pattern.rowAttributes, pattern.rowAttributes + 3, 0u), 3);
    EXPECT_EQ(std::count(pattern.columnIndices, pattern.columnIndices + 5, 0u), 5);
    EXPECT_EQ(std::count(pattern.entryFlags, pattern.entryFlags + 5, 0), 5);
}

TEST(SkeletonMatrix, AllocateMemoryOfNothingStillMakesTheEndOfTheLastRow)
{
    SkeletonMatrix pattern;

    pattern.allocateMemory(0, 0);

    ASSERT_NE(pattern.rowStart, nullptr);
    EXPECT_EQ(pattern.rowStart[0], 0u);
    EXPECT_EQ(pattern.rowCapacity, 0u);
    EXPECT_EQ(pattern.entryCapacity, 0u);
}

TEST(SkeletonMatrix, ClearKeepsTheStorageAndZeroesIt)
{
    SkeletonMatrix pattern;
    pattern.allocateMemory(2, 3);
    pattern.numBlockRows = 2;
    std::fill_n(pattern.rowStart, 3, 7u);
    std::fill_n(pattern.rowAttributes, 2, 7u);
    std::fill_n(pattern.columnIndices, 3, 7u);
    std::fill_n(pattern.entryFlags, 3, static_cast<unsigned char>(7));
    const unsigned int* const rowStart = pattern.rowStart;

    pattern.clear();

    EXPECT_EQ(pattern.numBlockRows, 0u);
    EXPECT_EQ(pattern.rowCapacity, 2u);
    EXPECT_EQ(pattern.entryCapacity, 3u);
    EXPECT_EQ(pattern.rowStart, rowStart);
    EXPECT_EQ(std::count(pattern.rowStart, pattern.rowStart + 3, 0u), 3);
    EXPECT_EQ(std::count(pattern.rowAttributes, pattern.rowAttributes + 2, 0u), 2);
    EXPECT_EQ(std::count(pattern.columnIndices, pattern.columnIndices + 3, 0u), 3);
    EXPECT_EQ(std::count(pattern.entryFlags, pattern.entryFlags + 3, 0), 3);
}

TEST(SkeletonMatrix, ClearOfAnEmptyPatternIsHarmless)
{
    SkeletonMatrix pattern;

    pattern.clear();

    EXPECT_EQ(pattern.rowStart, nullptr);
    EXPECT_EQ(pattern.numBlockRows, 0u);
}

TEST(SkeletonMatrix, ClearAllowsForAbsentRowAttributes)
{
    SkeletonMatrix pattern;
    pattern.allocateMemory(2, 3);
    delete[] pattern.rowAttributes;
    pattern.rowAttributes = nullptr;

    pattern.clear();

    EXPECT_EQ(pattern.rowAttributes, nullptr);
    EXPECT_EQ(pattern.rowCapacity, 2u);
}

TEST(SkeletonMatrix, ReleaseMemoryForgetsTheArraysAndMayBeRepeated)
{
    SkeletonMatrix pattern;
    pattern.allocateMemory(2, 3);

    for (int time = 0; time < 2; ++time) {
        pattern.releaseMemory();

        EXPECT_EQ(pattern.columnIndices, nullptr);
        EXPECT_EQ(pattern.rowStart, nullptr);
        EXPECT_EQ(pattern.rowAttributes, nullptr);
        EXPECT_EQ(pattern.entryFlags, nullptr);
        EXPECT_EQ(pattern.rowCapacity, 0u);
        EXPECT_EQ(pattern.entryCapacity, 0u);
    }
}

TEST(SkeletonMatrix, MayBeSizedAgainAfterRelease)
{
    SkeletonMatrix pattern;
    pattern.allocateMemory(2, 3);
    pattern.releaseMemory();

    pattern.allocateMemory(4, 6);

    EXPECT_EQ(pattern.rowCapacity, 4u);
    EXPECT_EQ(pattern.entryCapacity, 6u);
    EXPECT_EQ(std::count(pattern.rowStart, pattern.rowStart + 5, 0u), 5);
}

// The sanitizers' leak check is what would notice an array that is not freed.
TEST(SkeletonMatrix, TakesOverArraysOfItsClient)
{
    SkeletonMatrix pattern;
    pattern.rowStart = new unsigned int[2]{0, 1};
    pattern.columnIndices = new unsigned int[1]{0};
    pattern.entryFlags = new unsigned char[1]{0};
    pattern.numBlockRows = 1;

    pattern.releaseMemory();

    EXPECT_EQ(pattern.rowStart, nullptr);
    EXPECT_EQ(pattern.columnIndices, nullptr);
    EXPECT_EQ(pattern.entryFlags, nullptr);
}

} // namespace
