#include "support/Allocations.h"
#include "support/Tables.h"

#include <gtest/gtest.h>

#include <cstddef>

using support::IdentityTable;

namespace {

void insertMultiples(IdentityTable& table, unsigned long factor, unsigned long n)
{
    for (unsigned long i = 0; i < n; ++i)
        table.insert(factor * i, static_cast<int>(i));
}

void expectMultiples(IdentityTable& table, unsigned long factor, unsigned long n)
{
    EXPECT_EQ(table.count, n);
    for (unsigned long i = 0; i < n; ++i) {
        const int* const value = table.find(factor * i);
        ASSERT_NE(value, nullptr) << "key " << factor * i;
        EXPECT_EQ(*value, static_cast<int>(i));
    }
}

TEST(HashTableFaults, FailureOfTheFirstInsertLeavesTheTableEmpty)
{
    const std::size_t live = support::liveAllocations();
    {
        IdentityTable table;

        EXPECT_TRUE(support::failsOnAllocation(1, [&] { table.insert(5, 50); }));

        EXPECT_EQ(table.count, 0u);
        EXPECT_EQ(table.find(5), nullptr);
        table.insert(5, 50);
        ASSERT_NE(table.find(5), nullptr);
        EXPECT_EQ(*table.find(5), 50);
    }
    EXPECT_EQ(support::liveAllocations(), live);
}

TEST(HashTableFaults, EveryFailureOfGrowthKeepsTheEntries)
{
    const std::size_t live = support::liveAllocations();
    for (const unsigned long full : {1ul, 5ul, 13ul, 29ul}) {
        std::size_t n = 0;
        for (bool failed = true; failed;) {
            IdentityTable table;
            insertMultiples(table, 1, full);

            failed = support::failsOnAllocation(
                ++n, [&] { table.insert(full, static_cast<int>(full)); });

            expectMultiples(table, 1, failed ? full : full + 1);
            table.insert(full, static_cast<int>(full));
            expectMultiples(table, 1, full + 1);
        }
        EXPECT_EQ(n, 2u);
    }
    EXPECT_EQ(support::liveAllocations(), live);
}

// The multiples of 37 lie apart in 17 slots, where thirteen are the most; in 37 slots, the next
// size, they collide, and the growth has to grow again before it is through with the old entries.
TEST(HashTableFaults, EveryFailureOfGrowthInsideGrowthKeepsTheEntries)
{
    const std::size_t live = support::liveAllocations();
    std::size_t n = 0;
    for (bool failed = true; failed;) {
        IdentityTable table;
        insertMultiples(table, 37, 13);

        failed = support::failsOnAllocation(++n, [&] { table.insert(37 * 13, 13); });

        expectMultiples(table, 37, failed ? 13 : 14);
        table.insert(37 * 13, 13);
        expectMultiples(table, 37, 14);
    }
    EXPECT_EQ(n, 3u);
    EXPECT_EQ(support::liveAllocations(), live);
}

TEST(HashTableFaults, FailureToShrinkLeavesAUsableTable)
{
    const std::size_t live = support::liveAllocations();
    {
        IdentityTable table;
        support::setBuckets(table, 101);
        table.insert(5, 50);

        EXPECT_TRUE(support::failsOnAllocation(1, [&] { table.clear(); }));

        table.insert(6, 60);
        ASSERT_NE(table.find(6), nullptr);
        EXPECT_EQ(*table.find(6), 60);
        table.clear();
        EXPECT_EQ(table.find(6), nullptr);
    }
    EXPECT_EQ(support::liveAllocations(), live);
}

TEST(HashTableFaults, FailureToShrinkLeavesAnEmptyTableWithoutAnArray)
{
    IdentityTable table;
    support::setBuckets(table, 101);
    table.insert(5, 50);
    table.insert(106, 60); // at the next step
    ASSERT_EQ(table.maxProbe, 1u);

    EXPECT_TRUE(support::failsOnAllocation(1, [&] { table.clear(); }));

    EXPECT_EQ(table.count, 0u);
    EXPECT_EQ(table.bucketCount, 0u);
    EXPECT_EQ(table.buckets, nullptr);
    EXPECT_EQ(table.maxProbe, 0u);
    EXPECT_EQ(table.find(5), nullptr);
}

TEST(HashTableFaults, LookupReplacementAndClearInPlaceAllocateNothing)
{
    IdentityTable table;
    insertMultiples(table, 1, 10);
    const support::AllocationCount count;

    table.find(3);
    table.find(1000);
    table.insert(3, 7);
    table.clear();
    insertMultiples(table, 1, 10);

    EXPECT_EQ(count.allocations(), 0u);
}

} // namespace
