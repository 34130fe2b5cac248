#include "StructuralRank.h"

#include <algorithm>
#include <cstddef>

namespace kyrOrvel {
namespace client {

namespace {

/// Rows of the eliminated blocks, assigned to their columns.
class RowAssignment {
public:
    explicit RowAssignment(const OrderingInput& input)
        : m_input(input),
          m_start(static_cast<std::size_t>(input.pattern.numBlockRows) + 1, 0),
          m_eliminated(input.pattern.numBlockRows, 0),
          m_free(input.sizes),
          m_reachedFrom(input.pattern.numBlockRows, kNone),
          m_heldColumn(input.pattern.numBlockRows, kNone)
    {
        const unsigned int n = input.pattern.numBlockRows;
        forEachEdge([&](unsigned int r, unsigned int /*c*/) { ++m_start[r + 1]; });
        for (unsigned int r = 0; r < n; ++r)
            m_start[r + 1] += m_start[r];
        m_columns.resize(m_start[n]);
        m_units.assign(m_start[n], 0);
        std::vector<std::size_t> next(m_start.begin(), m_start.end() - 1);
        forEachEdge([&](unsigned int r, unsigned int c) { m_columns[next[r]++] = c; });
    }

    /// Adds a block's rows and columns; false if its rows find no columns of their own.
    bool add(unsigned int block)
    {
        m_eliminated[block] = 1;
        unsigned int missing = m_input.sizes[block];
        if (m_input.standsAlone[block] && missing > 0) { // its own columns are free
            m_free[block] = 0;
            m_units[m_start[block]] = missing; // a diagonal block comes first
            return true;
        }
        while (missing > 0) {
            const unsigned int moved = augment(block, missing);
            if (moved == 0)
                return false;
            missing -= moved;
        }
        return true;
    }

private:
    /// Calls f(r, c) for every stored block, from both sides; a block with a diagonal names itself
    /// first.
    template <class F> void forEachEdge(F f) const
    {
        const SkeletonMatrix& S = m_input.pattern;
        for (unsigned int r = 0; r < S.numBlockRows; ++r)
            if (m_input.standsAlone[r])
                f(r, r);
        for (unsigned int r = 0; r < S.numBlockRows; ++r)
            for (unsigned int e = S.rowStart[r]; e + 1 < S.rowStart[r + 1]; ++e) {
                f(r, S.columnIndices[e]);
                f(S.columnIndices[e], r);
            }
    }

    /// Finds the shortest way from `row` to a column with room, and moves up to `wanted` units
    /// along it: each row on the way hands its column to the one before and takes the next.
    unsigned int augment(unsigned int row, unsigned int wanted)
    {
        m_queue.assign(1, row);
        m_heldColumn[row] = row;
        unsigned int found = kNone;
        for (std::size_t head = 0; head < m_queue.size() && found == kNone; ++head)
            found = expand(m_queue[head]);
        const unsigned int moved = found == kNone ? 0 : moveAlong(row, found, wanted);
        for (const unsigned int r : m_queue)
            m_heldColumn[r] = kNone;
        for (const unsigned int c : m_reached)
            m_reachedFrom[c] = kNone;
        m_reached.clear();
        return moved;
    }

    /// Reaches the columns of a row, and through them the rows that hold these. Returns a column
    /// with room if there is one.
    unsigned int expand(unsigned int row)
    {
        for (std::size_t e = m_start[row]; e < m_start[row + 1]; ++e) {
            const unsigned int c = m_columns[e];
            if (!m_eliminated[c] || m_reachedFrom[c] != kNone)
                continue;
            m_reachedFrom[c] = row;
            m_reached.push_back(c);
            if (m_free[c] > 0)
                return c;
            // The rows that hold column c are among those coupled to it.
            for (std::size_t h = m_start[c]; h < m_start[c + 1]; ++h) {
                const unsigned int holder = m_columns[h];
                if (m_heldColumn[holder] == kNone && unitsOf(holder, c) > 0) {
                    m_heldColumn[holder] = c;
                    m_queue.push_back(holder);
                }
            }
        }
        return kNone;
    }

    unsigned int moveAlong(unsigned int start, unsigned int end, unsigned int wanted)
    {
        unsigned int moved = std::min(wanted, m_free[end]);
        for (unsigned int r = m_reachedFrom[end]; r != start; r = m_reachedFrom[m_heldColumn[r]])
            moved = std::min(moved, unitsOf(r, m_heldColumn[r]));
        m_free[end] -= moved;
        unsigned int column = end;
        for (unsigned int r = m_reachedFrom[end]; r != start; r = m_reachedFrom[column]) {
            unitsOf(r, column) += moved;
            column = m_heldColumn[r];
            unitsOf(r, column) -= moved;
        }
        unitsOf(start, column) += moved;
        return moved;
    }

    unsigned int& unitsOf(unsigned int row, unsigned int c)
    {
        std::size_t e = m_start[row];
        while (m_columns[e] != c)
            ++e;
        return m_units[e];
    }

    const OrderingInput& m_input;
    std::vector<std::size_t> m_start;
    std::vector<unsigned int> m_columns; ///< per block row: what it couples to
    std::vector<unsigned int> m_units;   ///< per coupling: how many of the row's scalars hold it
    std::vector<unsigned char> m_eliminated;
    std::vector<unsigned int> m_free; ///< per column: scalars not held

    // Of the search: rows to look at, columns reached, and how.
    std::vector<unsigned int> m_queue;
    std::vector<unsigned int> m_reached;
    std::vector<unsigned int> m_reachedFrom; ///< per column: the row from which
    std::vector<unsigned int> m_heldColumn;  ///< per row: the column it holds through which
};

/// Whether every trailing block can trade its columns for as many of blocks before it that it
/// couples to, each of these its own for no more than it has. Then all have rows and columns, at
/// any step; most orders show it at once.
bool allCanTrade(const OrderingInput& input, const std::vector<unsigned int>& order)
{
    std::vector<unsigned int> spare(order.size(), 0); ///< of the blocks so far: columns not traded
    for (const unsigned int block : order) {
        unsigned int missing = input.sizes[block];
        if (input.standsAlone[block]) {
            spare[block] = missing;
            continue;
        }
        input.graph.forEachNeighbour(block, [&](unsigned int other) {
            const unsigned int traded = std::min(spare[other], missing);
            spare[other] -= traded;
            missing -= traded;
        });
        if (missing > 0)
            return false;
    }
    return true;
}

} // namespace

unsigned int firstStructurallyZeroPivot(const OrderingInput& input,
                                        const std::vector<unsigned int>& order)
{
    if (allCanTrade(input, order))
        return kNone;
    RowAssignment assignment(input);
    for (const unsigned int block : order)
        if (!assignment.add(block))
            return block;
    return kNone;
}

} // namespace client
} // namespace kyrOrvel
