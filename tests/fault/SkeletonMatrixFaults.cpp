#include "support/Allocations.h"

#include <kyrOrvel/SkeletonMatrix>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>

using kyrOrvel::SkeletonMatrix;

namespace {

void expectUsable(SkeletonMatrix& pattern)
{
    pattern.releaseMemory();
    pattern.allocateMemory(2, 3);
    EXPECT_EQ(pattern.rowCapacity, 2u);
    EXPECT_EQ(pattern.entryCapacity, 3u);
    std::fill_n(pattern.rowStart, 3, 1u);
    std::fill_n(pattern.rowAttributes, 2, 1u);
    std::fill_n(pattern.columnIndices, 3, 1u);
    std::fill_n(pattern.entryFlags, 3, static_cast<unsigned char>(1));
}

TEST(SkeletonMatrixFaults, EveryFailureLeavesAUsablePattern)
{
    const std::size_t live = support::liveAllocations();
    std::size_t n = 0;
    for (bool failed = true; failed;) {
        SkeletonMatrix pattern;
        failed = support::failsOnAllocation(++n, [&] { pattern.allocateMemory(3, 5); });

        expectUsable(pattern);
    }
    EXPECT_EQ(n, 5u); // four arrays
    EXPECT_EQ(support::liveAllocations(), live);
}

TEST(SkeletonMatrixFaults, PatternMayBeClearedAfterEveryFailure)
{
    std::size_t n = 0;
    for (bool failed = true; failed;) {
        SkeletonMatrix pattern;
        failed = support::failsOnAllocation(++n, [&] { pattern.allocateMemory(3, 5); });

        pattern.clear();

        EXPECT_EQ(pattern.numBlockRows, 0u);
    }
}

TEST(SkeletonMatrixFaults, EveryFailureOfNothingLeavesAUsablePattern)
{
    const std::size_t live = support::liveAllocations();
    std::size_t n = 0;
    for (bool failed = true; failed;) {
        SkeletonMatrix pattern;
        failed = support::failsOnAllocation(++n, [&] { pattern.allocateMemory(0, 0); });

        pattern.clear();
        expectUsable(pattern);
    }
    EXPECT_EQ(n, 5u);
    EXPECT_EQ(support::liveAllocations(), live);
}

TEST(SkeletonMatrixFaults, PatternWithoutRowsOrEntriesIsFreedWhole)
{
    const std::size_t live = support::liveAllocations();
    for (const unsigned int rows : {0u, 3u})
        for (const unsigned int entries : {0u, 5u}) {
            SkeletonMatrix pattern;
            pattern.allocateMemory(rows, entries);
            pattern.releaseMemory();
            EXPECT_EQ(support::liveAllocations(), live);
            pattern.allocateMemory(rows, entries);
        }
    EXPECT_EQ(support::liveAllocations(), live);
}

TEST(SkeletonMatrixFaults, ClearAllocatesNothing)
{
    SkeletonMatrix pattern;
    pattern.allocateMemory(3, 5);
    const support::AllocationCount count;

    pattern.clear();

    EXPECT_EQ(count.allocations(), 0u);
}

} // namespace
