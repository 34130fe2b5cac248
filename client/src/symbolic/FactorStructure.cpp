#include "FactorStructure.h"

#include <algorithm>
#include <cstddef>

namespace kyrOrvel {
namespace client {

namespace {

using Words = std::vector<unsigned int>;

/// Neighbouring columns of L of which each has the rows of the one before, but for the first: they
/// are found and written all at once.
class Supernodes {
public:
    Supernodes(const EliminationTree& tree, const std::vector<std::int64_t>& columnBlocks)
        : m_tree(tree), m_first(columnBlocks.size()), m_last(columnBlocks.size())
    {
        for (unsigned int c = 0; c < m_first.size(); ++c) {
            // The rows of a column are among those of its parent; here there are as many.
            const bool goesOn =
                c > 0 && tree.parent[c - 1] == c && columnBlocks[c - 1] == columnBlocks[c] + 1;
            m_first[c] = goesOn ? m_first[c - 1] : c;
            m_last[m_first[c]] = c;
        }
    }

    unsigned int firstOf(unsigned int column) const { return m_first[column]; }
    unsigned int lastOf(unsigned int first) const { return m_last[first]; }
    unsigned int parentOf(unsigned int first) const
    {
        return m_first[m_tree.parent[m_last[first]]];
    }

    template <class F> void forEach(F f) const
    {
        for (unsigned int first = 0; first < m_first.size(); first = m_last[first] + 1)
            f(first, m_last[first]);
    }

private:
    const EliminationTree& m_tree;
    Words m_first; ///< per column
    Words m_last;  ///< per first column
};

/// Calls f(r, first) for every supernode that row r of L crosses below it, rows ascending.
template <class F>
void forEachBelow(const SkeletonMatrix& pattern, const Supernodes& supernodes, F f)
{
    const unsigned int n = pattern.numBlockRows;
    Words visitedBy(n, kNone);
    for (unsigned int r = 0; r < n; ++r) {
        visitedBy[supernodes.firstOf(r)] = r;
        for (unsigned int e = pattern.rowStart[r]; e < pattern.rowStart[r + 1]; ++e)
            for (unsigned int first = supernodes.firstOf(pattern.columnIndices[e]);
                 visitedBy[first] != r; first = supernodes.parentOf(first)) {
                visitedBy[first] = r;
                f(r, first);
            }
    }
}

} // namespace

void fillStructure(const SkeletonMatrix& pattern, const EliminationTree& tree,
                   const std::vector<std::int64_t>& columnBlocks, FactorStructure structure)
{
    const unsigned int n = pattern.numBlockRows;
    Words& rowStart = structure.rowStart;
    Words& rowColumns = structure.rowColumns;
    SkeletonMatrix& columns = structure.columns;
    const Supernodes supernodes(tree, columnBlocks);
    Words starts(std::size_t(n) + 1, 0);
    for (unsigned int c = 0; c < n; ++c)
        starts[c + 1] = starts[c] + static_cast<unsigned int>(columnBlocks[c]);
    columns.releaseMemory();
    columns.allocateMemory(n, starts[n]);
    columns.numBlockRows = n;
    std::copy(starts.begin(), starts.end(), columns.rowStart);
    unsigned int* const rows = columns.columnIndices;

    // Rows come in ascending order, so every column list ascends.
    Words& next = starts;
    rowStart.assign(static_cast<std::size_t>(n) + 1, 0);
    supernodes.forEach([&](unsigned int first, unsigned int last) {
        for (unsigned int c = first; c <= last; ++c) {
            rows[next[first]++] = c;
            rowStart[c + 1] = c - first + 1;
        }
    });
    forEachBelow(pattern, supernodes, [&](unsigned int r, unsigned int first) {
        rows[next[first]++] = r;
        rowStart[r + 1] += supernodes.lastOf(first) - first + 1;
    });
    for (unsigned int r = 0; r < n; ++r)
        rowStart[r + 1] += rowStart[r];

    // Read back by columns, every row ascends and ends with its diagonal.
    rowColumns.resize(rowStart[n]);
    next.assign(rowStart.begin(), rowStart.end() - 1);
    supernodes.forEach([&](unsigned int first, unsigned int last) {
        const unsigned int* const begin = rows + columns.rowStart[first];
        const unsigned int* const end = rows + columns.rowStart[first + 1];
        for (unsigned int c = first + 1; c <= last; ++c)
            std::copy(begin + (c - first), end, rows + columns.rowStart[c]);
        for (const unsigned int* row = begin; row != end; ++row) {
            unsigned int at = next[*row];
            for (unsigned int c = first; c <= std::min(last, *row); ++c)
                rowColumns[at++] = c;
            next[*row] = at;
        }
    });
}

} // namespace client
} // namespace kyrOrvel
