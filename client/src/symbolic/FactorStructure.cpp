#include "FactorStructure.h"

#include <algorithm>
#include <cstddef>

namespace kyrOrvel {
namespace client {

namespace {

/// Calls f(r, c) for every block L(r, c), r > c, rows ascending.
template <class F>
void forEachBelowDiagonal(const SkeletonMatrix& pattern, const EliminationTree& tree, F f)
{
    const unsigned int n = pattern.numBlockRows;
    std::vector<unsigned int> visitedBy(n, kNone);
    for (unsigned int r = 0; r < n; ++r) {
        visitedBy[r] = r;
        for (unsigned int e = pattern.rowStart[r]; e < pattern.rowStart[r + 1]; ++e)
            for (unsigned int c = pattern.columnIndices[e]; visitedBy[c] != r; c = tree.parent[c]) {
                visitedBy[c] = r;
                f(r, c);
            }
    }
}

} // namespace

void fillStructure(const SkeletonMatrix& pattern, const EliminationTree& tree,
                   const std::vector<std::int64_t>& columnBlocks, FactorStructure structure)
{
    const unsigned int n = pattern.numBlockRows;
    std::vector<unsigned int>& rowStart = structure.rowStart;
    std::vector<unsigned int>& rowColumns = structure.rowColumns;
    SkeletonMatrix& columns = structure.columns;
    std::vector<unsigned int> starts(std::size_t(n) + 1, 0);
    for (unsigned int c = 0; c < n; ++c)
        starts[c + 1] = starts[c] + static_cast<unsigned int>(columnBlocks[c]);
    columns.releaseMemory();
    columns.allocateMemory(n, starts[n]);
    columns.numBlockRows = n;
    std::copy(starts.begin(), starts.end(), columns.rowStart);

    // Rows come in ascending order, so every column list ascends.
    std::vector<unsigned int>& next = starts;
    rowStart.assign(static_cast<std::size_t>(n) + 1, 0);
    for (unsigned int c = 0; c < n; ++c) {
        columns.columnIndices[next[c]++] = c;
        ++rowStart[c + 1];
    }
    forEachBelowDiagonal(pattern, tree, [&](unsigned int r, unsigned int c) {
        columns.columnIndices[next[c]++] = r;
        ++rowStart[r + 1];
    });

    // Read back by columns, every row ascends and ends with its diagonal.
    for (unsigned int r = 0; r < n; ++r)
        rowStart[r + 1] += rowStart[r];
    rowColumns.resize(rowStart[n]);
    next.assign(rowStart.begin(), rowStart.end() - 1);
    for (unsigned int c = 0; c < n; ++c)
        for (unsigned int e = columns.rowStart[c]; e < columns.rowStart[c + 1]; ++e)
            rowColumns[next[columns.columnIndices[e]]++] = c;
}

} // namespace client
} // namespace kyrOrvel
