#include <kyrOrvel/Reordering>

#include "detail/Arrays.h"
#include "detail/FatalMessages.h"
#include "detail/PermutationOperations.h"

#include <kyr/Abort>

#include <suitesparse/colamd.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <iostream>
#include <memory>

namespace kyrOrvel {

namespace {

/// Room for n entries and the one that symamd writes past them.
void sizePermutation(Permutation& perm, unsigned int n)
{
    perm.size = 0; // until the arrays are there
    if (n > perm.capacity) {
        perm.capacity = 0;
        detail::release(perm.P);
        detail::release(perm.Pi);
    }
    const unsigned int capacity = std::max(n, perm.capacity);
    for (unsigned int** array : {&perm.P, &perm.Pi})
        if (!*array)
            detail::renew(*array, static_cast<std::size_t>(capacity) + 1);
    perm.capacity = capacity;
    perm.size = n;
}

/// The strictly lower triangle of a pattern by columns. Row 0 holds only its diagonal.
struct LowerColumns {
    int* colStart;
    int* rowIndex;
};

void countColumns(const SkeletonMatrix& S, unsigned int* count)
{
    for (unsigned int r = 1; r < S.numBlockRows; ++r)
        for (unsigned int e = S.rowStart[r]; e + 1 < S.rowStart[r + 1]; ++e)
            ++count[S.columnIndices[e]];
}

void fillColumns(const SkeletonMatrix& S, unsigned int* count, const LowerColumns& lower)
{
    for (unsigned int r = 1; r < S.numBlockRows; ++r) {
        for (unsigned int e = S.rowStart[r]; e + 1 < S.rowStart[r + 1]; ++e) {
            const unsigned int col = S.columnIndices[e];
            lower.rowIndex[static_cast<unsigned int>(lower.colStart[col]) + count[col]++] =
                static_cast<int>(r);
        }
    }
}

[[noreturn]] void abortNotEnabled()
{
    std::cerr << detail::kNotEnabled << std::endl;
    kyr::abort();
}

/// Position of the first of v's coupled blocks, looked up in Pi. A row that holds only its diagonal
/// yields v's own position.
unsigned int nearestCoupling(const SkeletonMatrix& S, const Permutation& perm, unsigned int v)
{
    const unsigned int first = S.rowStart[v];
    int m = static_cast<int>(perm.Pi[S.columnIndices[first]]);
    for (unsigned int e = first + 1; e + 1 < S.rowStart[v + 1]; ++e)
        m = std::min(m, static_cast<int>(perm.Pi[S.columnIndices[e]]));
    return static_cast<unsigned int>(m);
}

bool hasCouplingDone(const SkeletonMatrix& S, const unsigned char* done, unsigned int v)
{
    for (unsigned int e = S.rowStart[v]; e + 1 < S.rowStart[v + 1]; ++e)
        if (done[S.columnIndices[e]])
            return true;
    return false;
}

} // namespace

bool Reordering::computeSymamdPermutation(const SkeletonMatrix& S, Permutation& perm,
                                          ScratchPad& scratch)
{
    const unsigned int n = S.numBlockRows;
    const unsigned int entries = n == 0 ? 0 : S.rowStart[n];
    const LowerColumns lower{scratch.getIntArray(0, static_cast<unsigned long>(n) + 1),
                             scratch.getIntArray(1, entries)};
    sizePermutation(perm, n);
    unsigned int* const count = perm.P; // free until symamd fills it
    std::fill_n(lower.colStart, static_cast<std::size_t>(n) + 1, 0);
    std::fill_n(count, n, 0u);
    countColumns(S, count);
    for (unsigned int c = 0; c < n; ++c)
        lower.colStart[c + 1] = lower.colStart[c] + static_cast<int>(count[c]);
    std::fill_n(count, n, 0u);
    fillColumns(S, count, lower);

    int stats[COLAMD_STATS];
    if (symamd(static_cast<int>(n), lower.rowIndex, lower.colStart, reinterpret_cast<int*>(perm.P),
               nullptr, stats, &std::calloc, &std::free) == 1)
        return true;
    colamd_report(stats);
    detail::resetToIdentity(perm);
    return false;
}

void Reordering::modifyPermutation(const SkeletonMatrix& S, unsigned long firstTrailing,
                                   Permutation& perm)
{
    const unsigned int n = perm.size;
    const std::unique_ptr<unsigned char[]> done(new unsigned char[n]());
    detail::computeInverse(perm);
    for (unsigned int k = 0; k < n; ++k) {
        const unsigned int v = perm.P[k];
        if (done[v])
            continue;
        // Pi is deliberately not updated after a swap: it speaks of the ordering at entry.
        if (detail::isTrailing(v, firstTrailing) && !hasCouplingDone(S, done.get(), v))
            std::swap(perm.P[k], perm.P[nearestCoupling(S, perm, v)]);
        done[v] = 1;
    }
}

void Reordering::computeModifiedAmdPermutation(const SkeletonMatrix& /*S*/, Permutation& /*perm*/)
{
    abortNotEnabled();
}

void Reordering::computeOrvelPermutation(const SkeletonMatrix& /*S*/, Permutation& /*perm*/)
{
    abortNotEnabled();
}

} // namespace kyrOrvel
