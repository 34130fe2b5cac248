#include <kyrOrvel/Orvel>

#include "detail/FactorOnDemand.h"
#include "detail/SolveSteps.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace kyrOrvel {

namespace {

using detail::SolveFactor;

#include "detail/SolveRows.h"

/// The last block row reached when the sizes are added up until they cover `start` scalars. On a
/// boundary that is the row that ends there, not the one that begins.
template <class T> unsigned int rowCovering(const SparseMatrix<T>& L, unsigned int start)
{
    unsigned long total = 0;
    unsigned int r = 0;
    for (; r < L.numBlockRows; ++r) {
        total += L.blockSizes[r];
        if (total >= start)
            return r;
    }
    return L.numBlockRows - 1;
}

template <class T> unsigned int startingRow(const SparseMatrix<T>& L, const T* x, int start)
{
    if (start < 0)
        return detail::firstNonzeroRow(L, x);
    return start == 0 ? 0 : rowCovering(L, static_cast<unsigned int>(start));
}

/// The rows from s to the root of its tree. No ancestor of any of them is left out.
std::vector<int> pathToRoot(const EliminationTree& tree, unsigned int s, unsigned int n)
{
    std::vector<int> path;
    path.reserve(n);
    unsigned int row = s;
    path.push_back(static_cast<int>(row));
    while (tree.parent[row] != row) {
        row = tree.parent[row];
        path.push_back(static_cast<int>(row));
    }
    return path;
}

} // namespace

template <class T> unsigned long Orvel::unitSolve(OrvelData<T>& data, T* x, int start)
{
    detail::factorOnDemand(data);
    const SparseMatrix<T>& L = data.factor;
    const unsigned int n = L.numBlockRows;
    if (n == 0)
        return 0;
    if (L.numBlocks == 0)
        return L.blockSizes[n];

    const std::vector<int> path = pathToRoot(data.eliminationTree, startingRow(L, x, start), n);
    // marks[r] == 1: the unknowns of block row r may be nonzero.
    unsigned char* const marks = data.scratch.getUCharArray(0, n);
    std::fill_n(marks, n, static_cast<unsigned char>(0));
    for (const int r : path)
        marks[r] = 1;

    const SolveFactor<T> factor = detail::solveFactor(L);
    unsigned int first = L.blockSizes[n];
    for (const int r : path) {
        const auto row = static_cast<unsigned int>(r);
        first = std::min(first, L.blockOffsets[row]);
        forwardRow(
            factor, row, x, [&](unsigned int c) { return marks[c] != 0; }, NothingAhead());
    }

    const SolveFactor<T> S = detail::solveFactor(data.scaledFactor);
    for (unsigned int r = static_cast<unsigned int>(path.back()) + 1; r-- > 0;) {
        if (!marks[r])
            continue;
        first = std::min(first, S.offsets[r]);
        const auto mark = [&](unsigned int c) {
            marks[c] = 1;
            first = std::min(first, S.offsets[c]);
        };
        backwardRow<StoredProduct>(S, x, r, x, mark, NothingAhead());
    }
    return first;
}

template unsigned long Orvel::unitSolve<float>(OrvelData<float>&, float*, int);
template unsigned long Orvel::unitSolve<double>(OrvelData<double>&, double*, int);

} // namespace kyrOrvel
