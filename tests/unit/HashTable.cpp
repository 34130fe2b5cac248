// Lookup and insertion; growth and the shrinking clear are tested in HashTableGrowth.cpp.

#include "support/Tables.h"

#include <kyr/HashTable>

#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <vector>

using support::IdentityTable;
using support::layoutOf;
using support::setBuckets;

namespace {

TEST(DefaultHashFunctions, HashIsTheOneOfThirtyTwoBitIntegers)
{
    // Computed by hand from the six steps in unsigned 32-bit arithmetic.
    const kyr::DefaultHashFunctions functions;
    EXPECT_EQ(functions.hash(0), 0xCAA3CAA3u);
    EXPECT_EQ(functions.hash(1), 0x12D60BF6u);
    EXPECT_EQ(functions.hash(2), 0x25AC1FE5u);
    EXPECT_EQ(functions.hash(3), 0x3882835Cu);
    EXPECT_EQ(functions.hash(7), 0x83DB0B08u);
    EXPECT_EQ(functions.hash(0x12345678), 0xC7E424BAu);
    EXPECT_EQ(functions.hash(0x80000000), 0x6551E551u);
    EXPECT_EQ(functions.hash(0xFFFFFFFF), 0xBD55FC18u);
}

TEST(DefaultHashFunctions, OnlyTheLowWordOfAKeyCounts)
{
    const kyr::DefaultHashFunctions functions;
    const unsigned long high = 1ul << (std::numeric_limits<unsigned long>::digits - 1);
    EXPECT_EQ(functions.hash(high + 7), functions.hash(7));
}

TEST(HashTable, IsBuiltEmpty)
{
    IdentityTable table;

    EXPECT_EQ(table.count, 0u);
    EXPECT_EQ(table.bucketCount, 0u);
    EXPECT_EQ(table.buckets, nullptr);
    EXPECT_EQ(table.maxProbe, 0u);
    EXPECT_EQ(table.averageCount, 0.0f);
    EXPECT_EQ(table.find(0), nullptr);
}

TEST(HashTable, InsertedKeysAreFound)
{
    IdentityTable table;
    table.insert(5, 50);
    table.insert(6, 60);

    ASSERT_NE(table.find(5), nullptr);
    ASSERT_NE(table.find(6), nullptr);
    EXPECT_EQ(*table.find(5), 50);
    EXPECT_EQ(*table.find(6), 60);
    EXPECT_EQ(table.find(7), nullptr);
    EXPECT_EQ(table.count, 2u);
}

TEST(HashTable, ExistingKeyGetsTheNewValueAndCountStays)
{
    IdentityTable table;
    table.insert(5, 50);

    table.insert(5, 51);

    EXPECT_EQ(*table.find(5), 51);
    EXPECT_EQ(table.count, 1u);
}

TEST(HashTable, KeysThatDifferInTheHighWordAreDifferent)
{
    kyr::HashTable<unsigned long, int, kyr::DefaultHashFunctions, kyr::ByteAllocator> table;
    const unsigned long high = 1ul << (std::numeric_limits<unsigned long>::digits - 1);
    table.insert(7, 1);
    table.insert(high + 7, 2);

    EXPECT_EQ(*table.find(7), 1);
    EXPECT_EQ(*table.find(high + 7), 2);
    EXPECT_EQ(table.count, 2u);
}

TEST(HashTable, EntryGoesToTheSlotOfItsHash)
{
    IdentityTable table;
    setBuckets(table, 7);

    table.insert(10, 0);

    EXPECT_EQ(layoutOf(table), (std::vector<long>{-1, -1, -1, 10, -1, -1, -1}));
    EXPECT_EQ(table.buckets[3].state, 2);
    EXPECT_EQ(table.maxProbe, 0u);
}

TEST(HashTable, CollidingKeysMoveOnBySquares)
{
    // Slots 2, 2+1, 2+4 and 2+9 of eleven: the last is slot 0.
    IdentityTable table;
    setBuckets(table, 11);

    for (const unsigned long key : {2ul, 13ul, 24ul, 35ul})
        table.insert(key, static_cast<int>(key));

    EXPECT_EQ(layoutOf(table), (std::vector<long>{35, -1, 2, 13, -1, -1, 24, -1, -1, -1, -1}));
    EXPECT_EQ(table.maxProbe, 3u);
    for (const unsigned long key : {2ul, 13ul, 24ul, 35ul})
        EXPECT_EQ(*table.find(key), static_cast<int>(key));
}

TEST(HashTable, ProbeWrapsInUnsignedThirtyTwoBitArithmetic)
{
    // The hash is 2³²-1: step 1 is slot (2³²-1 + 1) mod 2³² = 0.
    IdentityTable table;
    setBuckets(table, 7);
    const unsigned long key = 0xFFFFFFFFul; // slot 3

    table.insert(3, 0);
    table.insert(key, 1);

    EXPECT_EQ(layoutOf(table), (std::vector<long>{static_cast<long>(key), -1, -1, 3, -1, -1, -1}));
    EXPECT_EQ(*table.find(key), 1);
}

TEST(HashTable, LookupStopsAtAnEmptySlot)
{
    IdentityTable table;
    setBuckets(table, 11);
    for (const unsigned long key : {2ul, 13ul, 24ul})
        table.insert(key, 1);

    table.buckets[3].state = 0; // where 13 is

    EXPECT_NE(table.find(2), nullptr);
    EXPECT_EQ(table.find(13), nullptr);
    EXPECT_EQ(table.find(24), nullptr); // hidden behind the gap
}

TEST(HashTable, LookupPassesAFreedSlot)
{
    IdentityTable table;
    setBuckets(table, 11);
    for (const unsigned long key : {2ul, 13ul, 24ul})
        table.insert(key, 1);

    table.buckets[3].state = 1; // where 13 is

    EXPECT_EQ(table.find(13), nullptr);
    EXPECT_NE(table.find(24), nullptr);
}

TEST(HashTable, LookupGoesNoDeeperThanMaxProbe)
{
    IdentityTable table;
    setBuckets(table, 11);
    for (const unsigned long key : {2ul, 13ul, 24ul})
        table.insert(key, 1);

    table.maxProbe = 1;

    EXPECT_NE(table.find(13), nullptr);
    EXPECT_EQ(table.find(24), nullptr);
}

TEST(HashTable, InsertReusesAFreedSlot)
{
    IdentityTable table;
    setBuckets(table, 11);
    for (const unsigned long key : {2ul, 13ul, 24ul})
        table.insert(key, 1);
    table.buckets[3].state = 1; // where 13 was
    table.count = 2;

    table.insert(35, 4);

    EXPECT_EQ(layoutOf(table), (std::vector<long>{-1, -1, 2, 35, -1, -1, 24, -1, -1, -1, -1}));
    EXPECT_EQ(table.count, 3u);
    EXPECT_EQ(table.maxProbe, 2u);
}

TEST(HashTable, KeyBehindAFreedSlotIsOverwrittenInPlace)
{
    IdentityTable table;
    setBuckets(table, 11);
    for (const unsigned long key : {2ul, 13ul, 24ul})
        table.insert(key, 1);
    table.buckets[3].state = 1; // where 13 was
    table.count = 2;

    table.insert(24, 9);

    EXPECT_EQ(layoutOf(table), (std::vector<long>{-1, -1, 2, -1, -1, -1, 24, -1, -1, -1, -1}));
    EXPECT_EQ(*table.find(24), 9);
    EXPECT_EQ(table.count, 2u);
}

TEST(HashTable, MaxProbeIsTheStepAtWhichProbingStopped)
{
    // Key 2 takes step 0; a second probe for slot 2 stops at step 1. The entry of key 5 is placed
    // at step 0, yet probing goes on to maxProbe, and maxProbe stays.
    IdentityTable table;
    setBuckets(table, 11);

    table.insert(2, 0);
    EXPECT_EQ(table.maxProbe, 0u);
    table.insert(13, 0);
    EXPECT_EQ(table.maxProbe, 1u);
    table.insert(5, 0);
    EXPECT_EQ(table.maxProbe, 1u);
    table.insert(24, 0);
    EXPECT_EQ(table.maxProbe, 2u);
}

TEST(HashTable, BehavesAsAMap)
{
    kyr::HashTable<unsigned long, int, kyr::DefaultHashFunctions, kyr::ByteAllocator> table;
    std::map<unsigned long, int> map;
    for (int i = 0; i < 3000; ++i) {
        const unsigned long key = static_cast<unsigned long>(i) * 7919 % 1009;
        table.insert(key, i);
        map[key] = i;
    }

    EXPECT_EQ(table.count, map.size());
    EXPECT_LE(table.maxProbe, 10u);
    for (unsigned long key = 0; key < 1100; ++key) {
        const auto expected = map.find(key);
        const int* const value = table.find(key);
        ASSERT_EQ(value != nullptr, expected != map.end()) << "key " << key;
        if (value) {
            EXPECT_EQ(*value, expected->second) << "key " << key;
        }
    }
}

} // namespace
