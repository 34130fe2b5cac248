#ifndef KYRORVEL_TESTS_SUPPORT_TABLES_H
#define KYRORVEL_TESTS_SUPPORT_TABLES_H

#include <kyr/ByteAllocator>
#include <kyr/HashTable>

#include <new>
#include <vector>

namespace support {

/// Makes a key its own hash, so that a test can say where an entry goes: step j of key k visits
/// slot (k + j·j) mod bucketCount.
struct IdentityHash {
    unsigned int hash(unsigned long key) const { return static_cast<unsigned int>(key); }
};

using IdentityTable = kyr::HashTable<unsigned long, int, IdentityHash, kyr::ByteAllocator>;

/// Gives an empty table an entry array of n zeroed entries, which it frees as its own.
template <class Table> void setBuckets(Table& table, unsigned int n)
{
    using Entry = typename Table::Entry;
    auto* const entries = static_cast<Entry*>(table.allocator.allocateBytes(n * sizeof(Entry), 16));
    for (unsigned int i = 0; i < n; ++i)
        new (entries + i) Entry{};
    table.buckets = entries;
    table.bucketCount = n;
}

/// The keys by slot, -1 for a slot that is not occupied.
template <class Table> std::vector<long> layoutOf(const Table& table)
{
    std::vector<long> keys;
    for (unsigned int i = 0; i < table.bucketCount; ++i)
        keys.push_back(table.buckets[i].state == 2 ? static_cast<long>(table.buckets[i].key) : -1);
    return keys;
}

} // namespace support

#endif
