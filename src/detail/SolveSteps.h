#ifndef KYRORVEL_DETAIL_SOLVE_STEPS_H
#define KYRORVEL_DETAIL_SOLVE_STEPS_H

#include "BlockVectorOps.h"
#include "FixedSizes.h"
#include "ZeroTest.h"

#include <kyrOrvel/SparseMatrix>

#include <cstddef>

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

/// Lets blocks be read when it is their turn.
struct NothingAhead {
    template <class T> void operator()(const T*, std::size_t) const {}
};

/// The steps of one block row, for rows of any size; those of M scalars follow.
template <class T, class Filter>
void forwardRowOfAnySize(const SparseMatrix<T>& L, unsigned int r, T* x, Filter reads)
{
    const unsigned int m = L.blockSizes[r];
    T* const xr = x + L.blockOffsets[r];
    const unsigned int diagonal = L.rowStart[r + 1] - 1;
    for (unsigned int slot = L.rowStart[r]; slot < diagonal; ++slot) {
        const unsigned int c = L.blockColumns[slot];
        if (reads(c))
            BlockVectorOps<T>::subtractAx(L.blockData[slot], x + L.blockOffsets[c], xr, m,
                                          L.blockSizes[c]);
    }
    BlockVectorOps<T>::solveUnitLower(L.blockData[diagonal], xr, m);
}

template <int M, class T, class Filter, class Ahead>
[[gnu::always_inline]] inline void forwardRowOfSize(const SparseMatrix<T>& L, unsigned int r, T* x,
                                                    Filter reads, Ahead ahead)
{
    T* const xr = x + L.blockOffsets[r];
    T y[M];
#pragma GCC unroll 8
    for (int i = 0; i < M; ++i)
        y[i] = xr[i];
    const unsigned int diagonal = L.rowStart[r + 1] - 1;
    for (unsigned int slot = L.rowStart[r]; slot < diagonal; ++slot) {
        const unsigned int c = L.blockColumns[slot];
        ahead(L.blockData[slot], M * std::size_t(L.blockSizes[c]));
        if (reads(c))
            subtractAx<M>(L.blockData[slot], x + L.blockOffsets[c], y, L.blockSizes[c]);
    }
    const T* const F = L.blockData[diagonal];
#pragma GCC unroll 8
    for (int i = 1; i < M; ++i)
#pragma GCC unroll 8
        for (int j = 0; j < i; ++j)
            y[i] -= F[i * M + j] * y[j];
#pragma GCC unroll 8
    for (int i = 0; i < M; ++i)
        xr[i] = y[i];
}

/// x_r := L(r, r)⁻¹ · (x_r - Σ over the row's columns c of L(r, c)·x_c). Columns for which
/// `reads(c)` is false are left out: their x is known to be zero. `ahead(block, scalars)` is told
/// of blocks that are about to be read.
template <class T, class Filter, class Ahead = NothingAhead>
[[gnu::always_inline]] inline void forwardRow(const SparseMatrix<T>& L, unsigned int r, T* x,
                                              Filter reads, Ahead ahead = {})
{
    const bool fixed = withFixedSize(
        L.blockSizes[r], [&](auto size) __attribute__((always_inline)) {
            forwardRowOfSize<decltype(size)::value>(L, r, x, reads, ahead);
        });
    if (!fixed)
        forwardRowOfAnySize(L, r, x, reads);
}

template <class T, class Visitor>
void backwardRowOfAnySize(const SparseMatrix<T>& S, unsigned int r, T* x, Visitor writes)
{
    const unsigned int m = S.blockSizes[r];
    T* const xr = x + S.blockOffsets[r];
    const unsigned int diagonal = S.rowStart[r + 1] - 1;
    BlockVectorOps<T>::solveLowerTransposed(S.blockData[diagonal], xr, m);
    for (unsigned int slot = S.rowStart[r]; slot < diagonal; ++slot) {
        const unsigned int c = S.blockColumns[slot];
        writes(c);
        BlockVectorOps<T>::subtractAtx(S.blockData[slot], xr, x + S.blockOffsets[c], m,
                                       S.blockSizes[c]);
    }
}

template <int M, class T, class Visitor, class Ahead>
[[gnu::always_inline]] inline void backwardRowOfSize(const SparseMatrix<T>& S, unsigned int r, T* x,
                                                     Visitor writes, Ahead ahead)
{
    T* const xr = x + S.blockOffsets[r];
    T y[M];
#pragma GCC unroll 8
    for (int i = 0; i < M; ++i)
        y[i] = xr[i];
    const unsigned int diagonal = S.rowStart[r + 1] - 1;
    const T* const F = S.blockData[diagonal];
#pragma GCC unroll 8
    for (int done = 0; done < M; ++done) {
        const int i = M - 1 - done;
        y[i] = y[i] / F[i * M + i];
#pragma GCC unroll 8
        for (int j = 0; j < i; ++j)
            y[j] -= y[i] * F[i * M + j];
    }
#pragma GCC unroll 8
    for (int i = 0; i < M; ++i)
        xr[i] = y[i];
    for (unsigned int slot = S.rowStart[r]; slot < diagonal; ++slot) {
        const unsigned int c = S.blockColumns[slot];
        ahead(S.blockData[slot], M * std::size_t(S.blockSizes[c]));
        writes(c);
        subtractAtx<M>(S.blockData[slot], y, x + S.blockOffsets[c], S.blockSizes[c]);
    }
}

/// Finishes x_r with the diagonal block of S = L·D, which divides by the pivots, and scatters it
/// into the earlier rows. `writes(c)` is told of every row c before it is changed, `ahead` as in
/// forwardRow.
template <class T, class Visitor, class Ahead = NothingAhead>
[[gnu::always_inline]] inline void backwardRow(const SparseMatrix<T>& S, unsigned int r, T* x,
                                               Visitor writes, Ahead ahead = {})
{
    const bool fixed = withFixedSize(
        S.blockSizes[r], [&](auto size) __attribute__((always_inline)) {
            backwardRowOfSize<decltype(size)::value>(S, r, x, writes, ahead);
        });
    if (!fixed)
        backwardRowOfAnySize(S, r, x, writes);
}

} // namespace detail
} // namespace kyrOrvel

#endif
