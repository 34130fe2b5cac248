#ifndef KYRORVEL_DETAIL_SOLVE_STEPS_H
#define KYRORVEL_DETAIL_SOLVE_STEPS_H

#include "BlockVectorOps.h"
#include "FactorTasks.h"
#include "ZeroTest.h"

#include <kyrOrvel/SparseMatrix>

namespace kyrOrvel {
namespace detail {

/// The first block row with an element that does not count as zero; the last row if there is none.
template <class T> unsigned int firstNonzeroRow(const SparseMatrix<T>& L, const T* x)
{
    for (unsigned int r = 0; r < L.numBlockRows; ++r) {
        const T* v = x + L.blockOffsets[r];
        for (unsigned int i = 0; i < L.blockSizes[r]; ++i)
            if (!countsAsZero(v[i]))
                return r;
    }
    return L.numBlockRows - 1;
}

/// A factor as the fast steps see it.
template <class T> SolveFactor<T> solveFactor(const SparseMatrix<T>& matrix)
{
    return {matrix.numBlockRows, matrix.rowStart,     matrix.blockColumns,
            matrix.blockSizes,   matrix.blockOffsets, matrix.blockData};
}

// The solve as its order of operations is defined.

/// x_r := L(r, r)⁻¹ · (x_r - Σ over the row's columns c of L(r, c)·x_c).
template <class T> void plainForwardRow(const SparseMatrix<T>& L, unsigned int r, T* x)
{
    const unsigned int m = L.blockSizes[r];
    T* const xr = x + L.blockOffsets[r];
    const unsigned int diagonal = L.rowStart[r + 1] - 1;
    for (unsigned int slot = L.rowStart[r]; slot < diagonal; ++slot) {
        const unsigned int c = L.blockColumns[slot];
        BlockVectorOps<T>::subtractAx(L.blockData[slot], x + L.blockOffsets[c], xr, m,
                                      L.blockSizes[c]);
    }
    BlockVectorOps<T>::solveUnitLower(L.blockData[diagonal], xr, m);
}

/// Finishes x_r with the diagonal block of S = L·D, which divides by the pivots, and scatters it
/// into the earlier rows.
template <class T> void plainBackwardRow(const SparseMatrix<T>& S, unsigned int r, T* x)
{
    const unsigned int m = S.blockSizes[r];
    T* const xr = x + S.blockOffsets[r];
    const unsigned int diagonal = S.rowStart[r + 1] - 1;
    BlockVectorOps<T>::solveLowerTransposed(S.blockData[diagonal], xr, m);
    for (unsigned int slot = S.rowStart[r]; slot < diagonal; ++slot) {
        const unsigned int c = S.blockColumns[slot];
        BlockVectorOps<T>::subtractAtx(S.blockData[slot], xr, x + S.blockOffsets[c], m,
                                       S.blockSizes[c]);
    }
}

} // namespace detail
} // namespace kyrOrvel

#endif
