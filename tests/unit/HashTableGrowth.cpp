// When the entry array of a hash table grows and shrinks, and what becomes of the entries.

#include "support/Tables.h"

#include <kyr/HashTable>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <map>
#include <utility>
#include <vector>

using support::IdentityTable;
using support::layoutOf;
using support::setBuckets;

namespace {

/// Notes every call; checks that an array goes back with the size with which it was made.
class WatchedAllocator {
public:
    void* allocateBytes(std::size_t bytes, std::size_t alignment)
    {
        alignments.push_back(alignment);
        void* const pointer = m_allocator.allocateBytes(bytes, alignment);
        held[pointer] = bytes;
        mostHeld = std::max(mostHeld, held.size());
        return pointer;
    }
    void deallocateBytes(void* pointer, std::size_t bytes)
    {
        const auto found = held.find(pointer);
        sizesAgree = sizesAgree && found != held.end() && found->second == bytes;
        held.erase(pointer);
        m_allocator.deallocateBytes(pointer, bytes);
    }

    std::vector<std::size_t> alignments;
    std::map<void*, std::size_t> held;
    std::size_t mostHeld = 0; ///< arrays held at the same time
    bool sizesAgree = true;

private:
    kyr::ByteAllocator m_allocator;
};

using WatchedTable = kyr::HashTable<unsigned long, int, support::IdentityHash, WatchedAllocator>;

TEST(HashTableGrowth, FirstInsertMakesTwoEntries)
{
    IdentityTable table;

    table.insert(5, 50);

    EXPECT_EQ(table.bucketCount, 2u);
    EXPECT_EQ(layoutOf(table), (std::vector<long>{-1, 5}));
}

TEST(HashTableGrowth, TableGrowsBeforeTheInsertThatFindsItFourFifthsFull)
{
    // Consecutive keys never collide. Entries before the insert, and the entry array after it:
    // 0.8·2 = 1, nextPrime(6) = 7; 0.8·7 = 5, nextPrime(16) = 17; 0.8·17 = 13, nextPrime(36) = 37;
    // 0.8·37 = 29, nextPrime(76) = 79; 0.8·79 = 63, nextPrime(160) = 163.
    const std::map<unsigned int, unsigned int> growth = {{0, 2},   {1, 7},   {5, 17},
                                                         {13, 37}, {29, 79}, {63, 163}};
    IdentityTable table;
    unsigned int expected = 0;
    for (unsigned int n = 0; n < 100; ++n) {
        if (growth.count(n))
            expected = growth.at(n);

        table.insert(n, 0);

        ASSERT_EQ(table.bucketCount, expected) << "after insert " << n;
        ASSERT_EQ(table.count, n + 1);
    }
}

TEST(HashTableGrowth, FullTableGrowsEvenForAKeyThatItHolds)
{
    IdentityTable table;
    table.insert(5, 50);

    table.insert(5, 51);

    EXPECT_EQ(table.bucketCount, 7u);
    EXPECT_EQ(table.count, 1u);
    EXPECT_EQ(*table.find(5), 51);
}

TEST(HashTableGrowth, GrowthAtFourFifthsAddsOneBeforeDoubling)
{
    // 2·(23+1) = 48, the next prime is 53; without the one it would be 47.
    IdentityTable table;
    setBuckets(table, 23);
    for (unsigned long key = 0; key < 18; ++key)
        table.insert(key, 0);
    ASSERT_EQ(table.bucketCount, 23u);

    table.insert(18, 0);

    EXPECT_EQ(table.bucketCount, 53u);
    EXPECT_EQ(table.count, 19u);
}

TEST(HashTableGrowth, ElevenTakenSlotsMakeTheTableDouble)
{
    // Multiples of 23 all start at slot 0: the twelfth finds eleven slots taken. The next prime to
    // 2·23 = 46 is 47.
    IdentityTable table;
    setBuckets(table, 23);
    for (unsigned long i = 0; i < 11; ++i)
        table.insert(23 * i, static_cast<int>(i));
    ASSERT_EQ(table.bucketCount, 23u);
    ASSERT_EQ(table.maxProbe, 10u);

    table.insert(23 * 11, 11);

    EXPECT_EQ(table.bucketCount, 47u);
    EXPECT_EQ(table.count, 12u);
    for (unsigned long i = 0; i < 12; ++i) {
        ASSERT_NE(table.find(23 * i), nullptr) << i;
        EXPECT_EQ(*table.find(23 * i), static_cast<int>(i));
    }
}

TEST(HashTableGrowth, KeyAtTheLastStepIsStillReplacedInPlace)
{
    IdentityTable table;
    setBuckets(table, 23);
    for (unsigned long i = 0; i < 11; ++i)
        table.insert(23 * i, 0);

    table.insert(23 * 10, 7);

    EXPECT_EQ(table.bucketCount, 23u);
    EXPECT_EQ(*table.find(23 * 10), 7);
}

TEST(HashTableGrowth, EntriesAreInsertedAgainInTheirOldSlotOrder)
{
    // Multiples of 17, at slots 0, 2, 3, 5, 6 of seven: 0, 51, 17, 68, 34. In 17 slots they all
    // start at 0 and follow each other at steps 0 to 4.
    IdentityTable table;
    setBuckets(table, 7);
    for (unsigned long i = 0; i < 5; ++i)
        table.insert(17 * i, 0);
    ASSERT_EQ(layoutOf(table), (std::vector<long>{0, -1, 51, 17, -1, 68, 34}));

    table.insert(2, 0);

    std::vector<long> expected(17, -1);
    expected[0] = 0;
    expected[1] = 51;
    expected[4] = 17;
    expected[9] = 68;
    expected[16] = 34;
    expected[2] = 2;
    EXPECT_EQ(layoutOf(table), expected);
    EXPECT_EQ(table.maxProbe, 4u);
}

TEST(HashTableGrowth, FreedSlotsAreLeftBehind)
{
    IdentityTable table;
    setBuckets(table, 7);
    for (unsigned long key = 0; key < 5; ++key)
        table.insert(key, 0);
    table.buckets[2].state = 1;

    table.insert(5, 0);

    EXPECT_EQ(table.bucketCount, 17u);
    EXPECT_EQ(table.count, 5u);
    EXPECT_EQ(table.find(2), nullptr);
}

TEST(HashTableGrowth, GrowthMayHaveToGrowAgain)
{
    // Twelve multiples of 37 lie apart in 17 slots, all start at slot 0 of 37, and lie apart in 79.
    IdentityTable table;
    for (unsigned long i = 0; i < 13; ++i)
        table.insert(37 * i, static_cast<int>(i));
    ASSERT_EQ(table.bucketCount, 17u);

    table.insert(37 * 13, 13);

    EXPECT_EQ(table.bucketCount, 79u);
    EXPECT_EQ(table.count, 14u);
    for (unsigned long i = 0; i < 14; ++i) {
        ASSERT_NE(table.find(37 * i), nullptr) << i;
        EXPECT_EQ(*table.find(37 * i), static_cast<int>(i));
    }
}

TEST(HashTableGrowth, ArraysAreAlignedAndGoBackWithTheirSize)
{
    WatchedTable table;
    for (unsigned long key = 0; key < 100; ++key)
        table.insert(key * key, 0);
    for (int time = 0; time < 10; ++time)
        table.clear();

    EXPECT_GT(table.allocator.alignments.size(), 6u);
    for (const std::size_t alignment : table.allocator.alignments)
        EXPECT_EQ(alignment, 16u);
    EXPECT_TRUE(table.allocator.sizesAgree);
    ASSERT_EQ(table.allocator.held.size(), 1u);
    EXPECT_EQ(table.allocator.held.begin()->first, table.buckets);
    EXPECT_EQ(table.allocator.held.begin()->second,
              table.bucketCount * sizeof(WatchedTable::Entry));
}

TEST(HashTableClear, FreshTableStaysAsItIs)
{
    IdentityTable table;

    table.clear();

    EXPECT_EQ(table.buckets, nullptr);
    EXPECT_EQ(table.bucketCount, 0u);
    EXPECT_EQ(table.averageCount, 0.0f);
    table.insert(5, 50);
    EXPECT_EQ(*table.find(5), 50);
}

TEST(HashTableClear, EntriesAreZeroedInPlace)
{
    IdentityTable table;
    for (unsigned long key = 0; key < 8; ++key)
        table.insert(17 * key, 7); // all of them start at slot 0
    const auto* const buckets = table.buckets;

    table.clear();

    EXPECT_EQ(table.buckets, buckets);
    EXPECT_EQ(table.bucketCount, 17u);
    EXPECT_EQ(table.count, 0u);
    EXPECT_EQ(table.maxProbe, 0u);
    for (unsigned int i = 0; i < 17; ++i) {
        EXPECT_EQ(table.buckets[i].state, 0);
        EXPECT_EQ(table.buckets[i].key, 0u);
        EXPECT_EQ(table.buckets[i].value, 0);
    }
    EXPECT_EQ(table.find(17), nullptr);
}

TEST(HashTableClear, AverageRisesAtOnceAndDecaysByAFifth)
{
    // In single precision, to the bit; 0.8 and 1 - 0.8 are not the powers of two that would make
    // 64 - 12.8 exact.
    const std::pair<unsigned int, float> steps[] = {
        {100, 100.0f},       {0, 80.0f},          {0, 64.0f},
        {0, 0x1.99999ap+5f}, {0, 0x1.47ae16p+5f}, {0, 0x1.0624dep+5f},
        {0, 0x1.a36e3p+4f},  {3, 0x1.5924f4p+4f}, {5, 0x1.241d9p+4f}};
    IdentityTable table;
    for (const auto& [count, average] : steps) {
        for (unsigned long key = 0; key < count; ++key)
            table.insert(key, 0);
        table.clear();
        EXPECT_EQ(table.averageCount, average);
    }
}

TEST(HashTableClear, WeightOfTheCountIsOneMinusFourFifths)
{
    // In single precision 1 - 0.8 is a little less than 0.2: with that, it would be more than 13.
    IdentityTable table;
    for (unsigned long key = 0; key < 13; ++key)
        table.insert(key, 0);

    table.clear();

    EXPECT_EQ(table.averageCount, 13.0f);
}

TEST(HashTableClear, LargeArrayShrinksAfterAPeriodOfFewEntries)
{
    // 163 entries after 100 keys. Averages 100, 80, 64, 51.2, 40.96; a quarter of 163 is 40.75. The
    // next one, 32.768, is below: nextPrime(32) = 37.
    IdentityTable table;
    for (unsigned long key = 0; key < 100; ++key)
        table.insert(key, 0);
    for (int time = 0; time < 5; ++time) {
        table.clear();
        ASSERT_EQ(table.bucketCount, 163u) << "clear " << time;
    }

    table.clear();

    EXPECT_EQ(table.bucketCount, 37u);
    EXPECT_EQ(layoutOf(table), std::vector<long>(37, -1));
    for (unsigned int i = 0; i < 37; ++i)
        EXPECT_EQ(table.buckets[i].state, 0);
    table.insert(5, 50);
    EXPECT_EQ(*table.find(5), 50);
}

TEST(HashTableClear, ArrayOfFourTimesTheAverageIsKept)
{
    // A quarter of 8 is not more than 2. (0.8·2 + 0.2·2 is 2 in single precision.)
    IdentityTable table;
    setBuckets(table, 8);
    table.insert(1, 0);
    table.insert(2, 0);

    table.clear();

    ASSERT_EQ(table.averageCount, 2.0f);
    EXPECT_EQ(table.bucketCount, 8u);
}

TEST(HashTableClear, ArrayOfMoreThanFourTimesTheAverageShrinks)
{
    IdentityTable table;
    setBuckets(table, 9);
    table.insert(1, 0);
    table.insert(2, 0);

    table.clear();

    ASSERT_EQ(table.averageCount, 2.0f);
    EXPECT_EQ(table.bucketCount, 2u);
    EXPECT_EQ(table.count, 0u);
    EXPECT_EQ(table.maxProbe, 0u);
}

TEST(HashTableClear, ShrinkingGivesTheOldArrayBackFirst)
{
    WatchedTable table;
    setBuckets(table, 9);
    table.insert(1, 0);
    table.insert(2, 0);

    table.clear();

    ASSERT_EQ(table.bucketCount, 2u);
    EXPECT_EQ(table.allocator.mostHeld, 1u);
}

TEST(HashTableClear, AverageBelowOneKeepsTheArray)
{
    IdentityTable table;
    setBuckets(table, 101);

    table.clear();

    EXPECT_EQ(table.averageCount, 0.0f);
    EXPECT_EQ(table.bucketCount, 101u);

    table.averageCount = 1.125f; // 0.9 after the decay
    table.clear();
    EXPECT_LT(table.averageCount, 1.0f);
    EXPECT_EQ(table.bucketCount, 101u);
}

TEST(HashTableClear, AverageOfOneShrinksToTwoEntries)
{
    IdentityTable table;
    setBuckets(table, 101);
    table.insert(5, 0);

    table.clear();

    ASSERT_GE(table.averageCount, 1.0f);
    EXPECT_EQ(table.bucketCount, 2u);
}

} // namespace
