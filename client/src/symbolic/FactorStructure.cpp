#include "FactorStructure.h"

#include <cstddef>

namespace kyrOrvel {
namespace client {

/// Calls f(r, c) for every block L(r, c), r > c, rows ascending, until it returns false; returns
/// whether it never did.
template <class F> bool FactorStructure::forEachBelowDiagonal(F f) const
{
    const unsigned int n = m_pattern.numBlockRows;
    std::vector<unsigned int> visitedBy(n, kNone);
    for (unsigned int r = 0; r < n; ++r) {
        visitedBy[r] = r;
        for (unsigned int e = m_pattern.rowStart[r]; e < m_pattern.rowStart[r + 1]; ++e)
            for (unsigned int c = m_pattern.columnIndices[e]; visitedBy[c] != r;
                 c = m_tree.parent[c]) {
                visitedBy[c] = r;
                if (!f(r, c))
                    return false;
            }
    }
    return true;
}

FactorStructure::FactorStructure(const SkeletonMatrix& pattern, const EliminationTree& tree,
                                 const std::vector<unsigned int>& blockSizes,
                                 std::uint64_t maxBlocks)
    : m_pattern(pattern), m_tree(tree), m_columnCounts(pattern.numBlockRows, 0)
{
    std::vector<std::uint64_t> columnHeight(pattern.numBlockRows, 0); // scalar rows below
    std::uint64_t below = 0;
    m_counts.complete = forEachBelowDiagonal([&](unsigned int r, unsigned int c) {
        ++m_columnCounts[c];
        columnHeight[c] += blockSizes[r];
        return ++below <= maxBlocks;
    });
    for (unsigned int c = 0; c < pattern.numBlockRows; ++c) {
        const std::uint64_t width = blockSizes[c];
        const std::uint64_t height = columnHeight[c];
        m_counts.blocks += 1 + m_columnCounts[c];
        m_counts.scalars += width * (width + height);
        // Column c updates the lower triangle of its rows, solves against its own block, factors
        // it.
        m_counts.operations +=
            width * (height * (height + 1) / 2 + height * width / 2) + width * width * width / 6;
    }
}

void FactorStructure::fill(std::vector<unsigned int>& rowStart,
                           std::vector<unsigned int>& rowColumns, SkeletonMatrix& columns) const
{
    const unsigned int n = m_pattern.numBlockRows;
    const auto blocks = static_cast<unsigned int>(m_counts.blocks);
    columns.releaseMemory();
    columns.allocateMemory(n, blocks);
    columns.numBlockRows = n;
    for (unsigned int c = 0; c < n; ++c)
        columns.rowStart[c + 1] =
            columns.rowStart[c] + 1 + static_cast<unsigned int>(m_columnCounts[c]);

    // Rows come in ascending order, so every column list ascends.
    std::vector<unsigned int> next(columns.rowStart, columns.rowStart + n);
    rowStart.assign(static_cast<std::size_t>(n) + 1, 0);
    for (unsigned int c = 0; c < n; ++c) {
        columns.columnIndices[next[c]++] = c;
        ++rowStart[c + 1];
    }
    forEachBelowDiagonal([&](unsigned int r, unsigned int c) {
        columns.columnIndices[next[c]++] = r;
        ++rowStart[r + 1];
        return true;
    });

    // Read back by columns, every row ascends and ends with its diagonal.
    for (unsigned int r = 0; r < n; ++r)
        rowStart[r + 1] += rowStart[r];
    rowColumns.resize(blocks);
    next.assign(rowStart.begin(), rowStart.end() - 1);
    for (unsigned int c = 0; c < n; ++c)
        for (unsigned int e = columns.rowStart[c]; e < columns.rowStart[c + 1]; ++e)
            rowColumns[next[columns.columnIndices[e]]++] = c;
}

} // namespace client
} // namespace kyrOrvel
