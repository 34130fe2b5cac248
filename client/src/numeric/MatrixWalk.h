#ifndef KYRORVEL_CLIENT_MATRIX_WALK_H
#define KYRORVEL_CLIENT_MATRIX_WALK_H

#include <kyrOrvel/SparseMatrix>

namespace kyrOrvel {
namespace client {

/// Calls f(late, early, block) for every stored block of a matrix in either block-row order, late
/// >= early: the block is size(late) × size(early), row-major. Diagonal blocks count by their lower
/// triangle.
///
/// @param upper  whether the matrix is in upper block-row order
template <class T, class F> void forEachBlock(const SparseMatrix<T>& A, bool upper, F f)
{
    for (unsigned int r = 0; r < A.numBlockRows; ++r)
        for (unsigned int slot = A.rowStart[r]; slot < A.rowStart[r + 1]; ++slot) {
            const unsigned int c = A.blockColumns[slot];
            f(upper ? c : r, upper ? r : c, A.blockData[slot]);
        }
}

/// Block (r, r); every row has one, last in lower order, first in upper order.
template <class T> T* diagonalBlock(const SparseMatrix<T>& A, bool upper, unsigned int r)
{
    return A.blockData[upper ? A.rowStart[r] : A.rowStart[r + 1] - 1];
}

} // namespace client
} // namespace kyrOrvel

#endif
