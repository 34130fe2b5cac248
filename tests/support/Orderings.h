#ifndef KYRORVEL_TESTS_SUPPORT_ORDERINGS_H
#define KYRORVEL_TESTS_SUPPORT_ORDERINGS_H

#include "Forests.h"
#include "Patterns.h"

#include <kyrOrvel/Permutation>
#include <kyrOrvel/SkeletonMatrix>

#include <algorithm>
#include <cstddef>
#include <vector>

namespace support {

/// Gives an empty permutation the order P. Pi is filled with a word that is no index, since nobody
/// may rely on it.
inline void setOrder(kyrOrvel::Permutation& perm, const Words& P, unsigned int spare = 0)
{
    perm.size = static_cast<unsigned int>(P.size());
    perm.capacity = perm.size + spare;
    perm.P = new unsigned int[std::size_t(perm.capacity) + 1]();
    perm.Pi = new unsigned int[std::size_t(perm.capacity) + 1];
    std::fill_n(perm.Pi, std::size_t(perm.capacity) + 1, kyrOrvel::kNone);
    std::copy(P.begin(), P.end(), perm.P);
}

inline Words orderOf(const kyrOrvel::Permutation& perm)
{
    return words(perm.P, perm.size);
}

inline Words inverseOf(const Words& order)
{
    Words inverse(order.size());
    for (unsigned int k = 0; k < order.size(); ++k)
        inverse[order[k]] = k;
    return inverse;
}

inline Words identity(unsigned int n)
{
    Words order(n);
    for (unsigned int i = 0; i < n; ++i)
        order[i] = i;
    return order;
}

/// Whether every one of 0 .. n-1 occurs once.
inline bool isOrder(Words order, unsigned int n)
{
    std::sort(order.begin(), order.end());
    return order == identity(n);
}

/// The columns of each row of a pattern.
inline Rows rowsOf(const kyrOrvel::SkeletonMatrix& pattern)
{
    Rows rows(pattern.numBlockRows);
    for (unsigned int r = 0; r < pattern.numBlockRows; ++r)
        rows[r].assign(pattern.columnIndices + pattern.rowStart[r],
                       pattern.columnIndices + pattern.rowStart[r + 1]);
    return rows;
}

/// A symmetric pattern as a full table.
using Table = std::vector<std::vector<bool>>;

inline Table denseTable(const Rows& rows)
{
    Table table(rows.size(), std::vector<bool>(rows.size(), false));
    for (unsigned int r = 0; r < rows.size(); ++r)
        for (const unsigned int c : rows[r])
            table[r][c] = table[c][r] = true;
    return table;
}

/// The lower triangle of the table with its rows and columns taken in the given order.
inline Rows permutedRows(const Rows& rows, const Words& order)
{
    const Table table = denseTable(rows);
    Rows permuted(rows.size());
    for (unsigned int k = 0; k < rows.size(); ++k)
        for (unsigned int q = 0; q <= k; ++q)
            if (table[order[k]][order[q]])
                permuted[k].push_back(q);
    return permuted;
}

} // namespace support

#endif
