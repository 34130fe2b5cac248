#include <kyrOrvel/Reordering>

#include "detail/Arrays.h"
#include "detail/PermutationOperations.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace kyrOrvel {

namespace {

/// Gives `dst` room for the pattern `src` and copies its arrays.
void sizePattern(const SkeletonMatrix& src, SkeletonMatrix& dst)
{
    const unsigned int n = src.numBlockRows;
    const unsigned int entries = n == 0 ? 0 : src.rowStart[n];
    dst.numBlockRows = 0; // until the arrays are there
    const bool absent = !dst.rowStart || !dst.columnIndices || !dst.entryFlags;
    if (n > dst.rowCapacity || entries > dst.entryCapacity || absent) {
        dst.releaseMemory();
        detail::renew(dst.rowStart, static_cast<std::size_t>(n) + 1);
        detail::renew(dst.rowAttributes, n);
        detail::renew(dst.columnIndices, entries);
        detail::renew(dst.entryFlags, entries);
        dst.rowCapacity = n;
        dst.entryCapacity = entries;
    }
    if (!dst.rowAttributes)
        detail::renew(dst.rowAttributes, dst.rowCapacity);
    dst.numBlockRows = n;
    if (n > 0)
        std::copy_n(src.rowStart, static_cast<std::size_t>(n) + 1, dst.rowStart);
    std::copy_n(src.columnIndices, entries, dst.columnIndices);
    if (src.rowAttributes)
        std::copy_n(src.rowAttributes, n, dst.rowAttributes);
    std::fill_n(dst.entryFlags, dst.entryCapacity, static_cast<unsigned char>(0));
}

/// Counts the entries of every permuted row, then turns the counts into row starts.
void countPermutedRows(const SkeletonMatrix& src, SkeletonMatrix& dst, const Permutation& perm,
                       int* count)
{
    const unsigned int n = src.numBlockRows;
    std::fill_n(dst.rowStart, n, 0u);
    std::fill_n(count, n, 0);
    for (unsigned int k = 0; k < n; ++k) {
        const unsigned int r = perm.P[k];
        for (unsigned int e = src.rowStart[r]; e < src.rowStart[r + 1]; ++e)
            ++count[std::max(k, perm.Pi[src.columnIndices[e]])];
    }
    dst.rowStart[0] = 0;
    for (unsigned int i = 0; i < n; ++i)
        dst.rowStart[i + 1] = dst.rowStart[i] + static_cast<unsigned int>(count[i]);
}

/// Moves the entry at pos towards the start of its row to where its column belongs.
void sinkEntry(SkeletonMatrix& dst, unsigned int rowBegin, unsigned int pos)
{
    for (; pos > rowBegin && dst.columnIndices[pos] < dst.columnIndices[pos - 1]; --pos) {
        std::swap(dst.columnIndices[pos], dst.columnIndices[pos - 1]);
        std::swap(dst.entryFlags[pos], dst.entryFlags[pos - 1]);
    }
}

/// Writes the permuted entries. Those that land in a later row arrive with ascending columns; those
/// of the row at hand are sorted in. So every row ends ascending with its diagonal last.
void fillPermutedRows(const SkeletonMatrix& src, SkeletonMatrix& dst, const Permutation& perm,
                      int* count)
{
    const unsigned int n = src.numBlockRows;
    std::fill_n(dst.columnIndices, dst.rowStart[n], 0u);
    std::fill_n(dst.entryFlags, dst.rowStart[n], static_cast<unsigned char>(0));
    std::fill_n(count, n, 0);
    for (unsigned int k = 0; k < n; ++k) {
        const unsigned int r = perm.P[k];
        for (unsigned int e = src.rowStart[r]; e < src.rowStart[r + 1]; ++e) {
            const unsigned int q = perm.Pi[src.columnIndices[e]];
            const unsigned int row = std::max(k, q);
            const unsigned int pos = dst.rowStart[row] + static_cast<unsigned int>(count[row]++);
            dst.columnIndices[pos] = std::min(k, q);
            dst.entryFlags[pos] = q > k ? 1 : 0;
            if (row == k)
                sinkEntry(dst, dst.rowStart[row], pos);
        }
    }
}

void permuteAttributes(SkeletonMatrix& dst, const Permutation& perm, int* temporary)
{
    const unsigned int n = dst.numBlockRows;
    for (unsigned int k = 0; k < n; ++k)
        temporary[k] = static_cast<int>(dst.rowAttributes[perm.P[k]]);
    for (unsigned int k = 0; k < n; ++k)
        dst.rowAttributes[k] = static_cast<unsigned int>(temporary[k]);
}

void permutePattern(const SkeletonMatrix& src, SkeletonMatrix& dst, const Permutation& perm,
                    ScratchPad& scratch)
{
    sizePattern(src, dst);
    int* const count = scratch.getIntArray(0, src.numBlockRows);
    countPermutedRows(src, dst, perm, count);
    fillPermutedRows(src, dst, perm, count);
    permuteAttributes(dst, perm, count);
}

void resetTree(EliminationTree& etree, unsigned int n)
{
    etree.clear();
    if (etree.capacity < n) {
        etree.numNodes = 0; // until there is room for more
        etree.releaseMemory();
        etree.allocateMemory(n);
        etree.numNodes = n;
    }
    etree.clear();
    etree.numNodes = n;
}

/// The `ancestor` of a node, brought up to date.
unsigned int setOf(EliminationTree& etree, unsigned int node)
{
    if (etree.parent[node] != node)
        etree.ancestor[node] = etree.findRoot(etree.ancestor[node]);
    return etree.ancestor[node];
}

/// Joins the sets ri and rj. The rank that rises is that of the set just attached, not that of the
/// surviving root: every root then keeps rank 0, the first branch is never taken, and a set always
/// goes below the later node j. Ordinary union by rank would not give the elimination tree.
void unite(EliminationTree& etree, unsigned int ri, unsigned int rj)
{
    if (etree.setRank[ri] > etree.setRank[rj]) {
        etree.ancestor[rj] = ri;
        etree.parent[rj] = ri;
        return;
    }
    etree.ancestor[ri] = rj;
    etree.parent[ri] = rj;
    if (etree.setRank[ri] == etree.setRank[rj])
        ++etree.setRank[ri];
}

/// Elimination tree of a lower pattern by union-find with path compression (Liu 1986).
void buildTree(const SkeletonMatrix& pattern, EliminationTree& etree)
{
    resetTree(etree, pattern.numBlockRows);
    for (unsigned int j = 0; j < pattern.numBlockRows; ++j) {
        for (unsigned int e = pattern.rowStart[j]; e < pattern.rowStart[j + 1]; ++e) {
            const unsigned int i = pattern.columnIndices[e];
            if (i > j)
                break;
            const unsigned int rj = setOf(etree, j);
            const unsigned int ri = setOf(etree, i);
            if (ri != rj)
                unite(etree, ri, rj);
        }
    }
    etree.computeTreeStructure();
    etree.computePostOrder();
}

enum class Place : unsigned char { Ordinary = 1, Trailing = 2, Emitted = 4 };

/// The positions in their repaired order. A trailing leaf is emitted by its ordinary parent alone,
/// right after it; one under a trailing parent or without a parent is missing from the result.
std::vector<unsigned int> repairedOrder(const EliminationTree& etree, const Permutation& perm,
                                        unsigned long firstTrailing)
{
    const unsigned int n = etree.numNodes;
    std::vector<Place> places(n);
    for (unsigned int k = 0; k < n; ++k)
        places[k] =
            detail::isTrailing(perm.P[k], firstTrailing) ? Place::Trailing : Place::Ordinary;
    std::vector<unsigned int> order;
    order.reserve(n);
    const auto emit = [&](unsigned int k) {
        order.push_back(k);
        places[k] = Place::Emitted;
    };
    for (unsigned int k = 0; k < n; ++k) {
        if (places[k] == Place::Trailing && etree.firstChild[k] != kNone) {
            emit(k);
        } else if (places[k] == Place::Ordinary) {
            emit(k);
            // Children come before their parent, so those not yet emitted are trailing leaves.
            for (unsigned int c = etree.firstChild[k]; c != kNone; c = etree.nextSibling[c])
                if (places[c] != Place::Emitted)
                    emit(c);
        }
    }
    return order;
}

} // namespace

bool Reordering::zeroLeafSwap(const SkeletonMatrix& src, SkeletonMatrix& dst,
                              EliminationTree& etree, unsigned long firstTrailing,
                              Permutation& perm, ScratchPad& scratch)
{
    const unsigned int n = src.numBlockRows;
    detail::computeInverse(perm);
    permutePattern(src, dst, perm, scratch);
    buildTree(dst, etree);

    const std::vector<unsigned int> order = repairedOrder(etree, perm, firstTrailing);
    if (order.size() != n) {
        detail::resetToIdentity(perm);
        return false;
    }
    // Pi serves as the buffer, and so ends as a copy of the new P.
    for (unsigned int k = 0; k < n; ++k)
        perm.Pi[k] = perm.P[order[k]];
    std::copy_n(perm.Pi, n, perm.P);
    return true;
}

} // namespace kyrOrvel
