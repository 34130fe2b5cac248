#include <kyrOrvel/Orvel>

#include "detail/FactorPattern.h"

namespace kyrOrvel {

namespace {

/// Lays the factor out with a 1 × 1 block per pattern entry; returns how many are fill-in.
template <class T> unsigned int layOutSymbolically(OrvelData<T>& data)
{
    const SparseMatrix<T>& A = data.matrix;
    const unsigned int n = A.numBlockRows;
    const unsigned long entries = data.factorColumns.size();
    data.factor.clear();
    data.factor.setSize(n, A.sizeHint, entries, 8 * entries);
    data.scaledIsProduct = 0;
    data.onlyValuesChanged = 0; // the blocks have moved, whatever the caller vouches for
    unsigned int fill = 0;
    for (unsigned int r = 0; r < n; ++r) {
        detail::InputCursor<T> input(A, r);
        detail::forEachFactorColumn(data, r, [&](unsigned int c) {
            data.factor.aquireBlock(r, c, 1, 1, 0);
            if (!input.pass(c))
                ++fill;
        });
    }
    return fill;
}

/// The dense updates of the factorization: one per common column of two rows that meet in a block,
/// and one of the diagonal per off-diagonal block.
template <class T> unsigned int countUpdates(const SparseMatrix<T>& L)
{
    unsigned int updates = 0;
    for (unsigned int r = 0; r < L.numBlockRows; ++r) {
        for (unsigned int j = L.rowStart[r]; j + 1 < L.rowStart[r + 1]; ++j) {
            detail::forEachCommonColumn(L, r, L.blockColumns[j],
                                        [&](unsigned int, unsigned int) { ++updates; });
            ++updates;
        }
    }
    return updates;
}

} // namespace

template <class T> unsigned int Orvel::estimateWork(OrvelData<T>& data, unsigned int* updates)
{
    const unsigned int fill = layOutSymbolically(data);
    if (updates)
        *updates = countUpdates(data.factor);
    return fill;
}

template unsigned int Orvel::estimateWork<float>(OrvelData<float>&, unsigned int*);
template unsigned int Orvel::estimateWork<double>(OrvelData<double>&, unsigned int*);

} // namespace kyrOrvel
