#ifndef KYRORVEL_TESTS_MULTIFRONTAL_PROBLEM_H
#define KYRORVEL_TESTS_MULTIFRONTAL_PROBLEM_H

// A system with a schedule, as factorMF takes it.

#include "PlainMultifrontal.h"
#include "Schedule.h"
#include "Trees.h"

#include "support/Systems.h"

#include <kyrOrvel/Orvel>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace support {

/// A system whose elimination tree has the given parents; diagonally dominant.
template <class T>
System<T> systemOfTree(Random& random, const Words& parents, unsigned int smallest,
                       unsigned int largest)
{
    System<T> system;
    system.sizes =
        randomSizes(random, static_cast<unsigned int>(parents.size()), smallest, largest);
    system.rows = rowsOfTree(random, parents, 0.15);
    system.factorRows = eliminated(system.rows);
    system.blocks = drawBlocks<T>(system.sizes, system.rows, [&] { return random.scalar<T>(); });
    makeDominant(system, std::vector<bool>(system.numRows(), false));
    return system;
}

/// The rows below each column's diagonal, the diagonal first.
inline Rows columnsOf(const Rows& factorRows)
{
    Rows columns(factorRows.size());
    for (unsigned int r = 0; r < factorRows.size(); ++r)
        for (const unsigned int c : factorRows[r])
            if (c <= r)
                columns[c].push_back(r);
    return columns;
}

inline void setColumnPattern(kyrOrvel::SkeletonMatrix& pattern, const Rows& columns)
{
    unsigned int entries = 0;
    for (const auto& column : columns)
        entries += static_cast<unsigned int>(column.size());
    pattern.releaseMemory();
    pattern.allocateMemory(static_cast<unsigned int>(columns.size()), entries);
    pattern.numBlockRows = static_cast<unsigned int>(columns.size());
    unsigned int e = 0;
    for (unsigned int c = 0; c < columns.size(); ++c) {
        for (const unsigned int r : columns[c])
            pattern.columnIndices[e++] = r;
        pattern.rowStart[c + 1] = e;
    }
}

/// Fills A in upper block-row order.
template <class T> void fillUpper(kyrOrvel::SparseMatrix<T>& matrix, const System<T>& system)
{
    std::size_t values = 0;
    for (const auto& [place, block] : system.blocks)
        values += block.size();
    matrix.clear();
    matrix.setSize(system.numRows(), 0, system.blocks.size(), values);
    for (unsigned int c = 0; c < system.numRows(); ++c)
        for (unsigned int r = c; r < system.numRows(); ++r)
            if (const auto block = system.blocks.find({r, c}); block != system.blocks.end()) {
                T* const to = matrix.aquireBlock(c, r, system.sizes[c], system.sizes[r], 0);
                std::copy(block->second.begin(), block->second.end(), to);
            }
}

/// Every node an entry of its own, in ascending order: it cannot deadlock, whatever the owners.
inline kyrOrvel::client::TreeMapping listedOneByOne(const std::vector<unsigned char>& owner,
                                                    unsigned int owners)
{
    kyrOrvel::client::TreeMapping mapping;
    mapping.numOwners = owners;
    mapping.owner = owner;
    for (unsigned int k = 0; k < owner.size(); ++k)
        mapping.assignment.emplace_back(k, owner[k]);
    return mapping;
}

inline std::vector<unsigned char> randomOwners(Random& random, std::size_t n, unsigned int owners)
{
    std::vector<unsigned char> owner(n);
    for (unsigned char& o : owner)
        o = static_cast<unsigned char>(random.integer(0, owners - 1));
    return owner;
}

inline PlainSchedule plainSchedule(const kyrOrvel::client::TreeMapping& mapping,
                                   const Words& parents)
{
    return {parents, Words(mapping.owner.begin(), mapping.owner.end()), mapping.assignment};
}

template <class T> struct Problem {
    System<T> system;
    kyrOrvel::client::TreeMapping mapping;
    kyrOrvel::OrvelData<T> data;
    kyrOrvel::client::Schedule<T> schedule;

    explicit Problem(System<T> s) : system(std::move(s))
    {
        setFactorPattern(data, system.factorRows);
        data.eliminationTree.computeTreeStructure();
        setColumnPattern(data.columnPattern, columnsOf(system.factorRows));
        fillUpper(data.matrix, system);
    }

    Words parents() const { return parentsOf(system.factorRows); }

    void map(unsigned int owners)
    {
        mapping = kyrOrvel::client::mapTree(
            data.eliminationTree, kyrOrvel::client::workPerNode(data.columnPattern, system.sizes),
            owners);
        build();
    }

    void use(const kyrOrvel::client::TreeMapping& chosen)
    {
        mapping = chosen;
        build();
    }

    void build(kyrOrvel::client::SyncMode mode = kyrOrvel::client::SyncMode::Blocking)
    {
        const kyrOrvel::client::Status status = schedule.build(mapping, system.sizes, mode, data);
        ASSERT_TRUE(status.ok()) << status.message;
        data.numThreads = mapping.numOwners;
    }

    /// What the schedule makes of the system, computed on this thread.
    PlainFactors<T> plainFactors() const
    {
        const PlainSchedule plain = plainSchedule(mapping, parents());
        const Words order = jointOrder(plain, nodesOfThreads(plain, mapping.numOwners));
        EXPECT_EQ(order.size(), system.numRows()) << "the schedule deadlocks";
        return PlainMultifrontal<T>(system, plain).run(order);
    }
};

} // namespace support

#endif
