#ifndef KYRORVEL_DETAIL_FACTOR_STORAGE_H
#define KYRORVEL_DETAIL_FACTOR_STORAGE_H

#include "Arrays.h"
#include "FactorPattern.h"

#include <kyrOrvel/Orvel>

#include <cstddef>

namespace kyrOrvel {
namespace detail {

/// Spare scalars in both factors, beyond what their blocks take.
constexpr unsigned long kValueSlack = 64;

/// Sizes both factors for the factor pattern and empties them.
template <class T> void sizeFactors(OrvelData<T>& data)
{
    const SparseMatrix<T>& A = data.matrix;
    const unsigned int n = A.numBlockRows;
    unsigned long values = kValueSlack;
    for (unsigned int r = 0; r < n; ++r)
        forEachFactorColumn(data, r, [&](unsigned int c) {
            values += static_cast<unsigned long>(A.blockSizes[c]) * A.blockSizes[r];
        });
    for (SparseMatrix<T>* matrix : {&data.factor, &data.scaledFactor}) {
        matrix->clear();
        matrix->setSize(n, A.sizeHint, data.factorColumns.size(), values);
    }
}

/// Acquires the blocks of factor row r in both factors, in pattern order, and calls f(c, block)
/// with each block of `factor`.
template <class T, class F> void acquireFactorRow(OrvelData<T>& data, unsigned int r, F f)
{
    const unsigned int m = data.matrix.blockSizes[r];
    forEachFactorColumn(data, r, [&](unsigned int c) {
        const unsigned int p = data.matrix.blockSizes[c];
        T* const block = data.factor.aquireBlock(r, c, m, p, 0);
        data.scaledFactor.aquireBlock(r, c, m, p, 0);
        f(c, block);
    });
}

/// Sizes the pivots to the total scalar dimension; they only grow.
template <class T> void sizePivots(OrvelData<T>& data)
{
    const SparseMatrix<T>& A = data.matrix;
    AlignedArray<T>& pivots = data.pivots;
    const unsigned int N = A.numBlockRows == 0 ? 0 : A.blockSizes[A.numBlockRows];
    if (N > pivots.capacity) {
        pivots.capacity = 0;
        pivots.data = nullptr;
        static_assert(__STDCPP_DEFAULT_NEW_ALIGNMENT__ >= 16,
                      "one spare element leaves no room to move the start up to 16 bytes");
        renew(pivots.storage, static_cast<std::size_t>(N) + 1);
        pivots.data = alignedTo<16>(pivots.storage);
        pivots.capacity = N;
    }
    pivots.size = N;
}

} // namespace detail
} // namespace kyrOrvel

#endif
