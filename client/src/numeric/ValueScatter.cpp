#include "ValueScatter.h"

#include "FourSums.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string>

namespace kyrOrvel {
namespace client {

namespace {

Status notFinite(unsigned int r, unsigned int c, std::size_t i)
{
    return {StatusCode::NotFinite,
            "block (" + std::to_string(r) + ", " + std::to_string(c) +
                ") holds an infinity or NaN in its row " + std::to_string(i),
            r, static_cast<unsigned int>(i)};
}

/// The first row of an m × n block, of a diagonal one its lower triangle, with a value that is not
/// finite, or m.
template <class T>
std::size_t findNotFinite(const T* from, std::size_t m, std::size_t n, bool diagonal)
{
    for (std::size_t i = 0; i < m; ++i)
        for (std::size_t j = 0; j < (diagonal ? i + 1 : n); ++j)
            if (!std::isfinite(from[i * n + j]))
                return i;
    return m;
}

// Copies of a block, N being the length of its rows where the compiler is to know it, else 0. What
// they return is zero if all they copied is finite.

template <int N, class T> T copyBlock(const T* from, T* to, std::size_t m, std::size_t n)
{
    FourSums<T> check;
    const std::size_t length = N > 0 ? N : n;
    for (std::size_t i = 0; i < m; ++i, from += length, to += length)
        for (std::size_t j = 0; j < length; ++j) {
            check.addTimesZero(j, from[j]);
            to[j] = from[j];
        }
    return check.total();
}

template <int N, class T> T copyTransposed(const T* from, T* to, std::size_t m, std::size_t n)
{
    FourSums<T> check;
    const std::size_t length = N > 0 ? N : n;
    for (std::size_t i = 0; i < m; ++i, from += length)
        for (std::size_t j = 0; j < length; ++j) {
            check.addTimesZero(j, from[j]);
            to[j * m + i] = from[j];
        }
    return check.total();
}

template <int N, class T> T copyLowerTriangle(const T* from, T* to, std::size_t n)
{
    FourSums<T> check;
    const std::size_t length = N > 0 ? N : n;
    for (std::size_t i = 0; i < length; ++i)
        for (std::size_t j = 0; j <= i; ++j) {
            check.addTimesZero(j, from[i * length + j]);
            to[i * length + j] = from[i * length + j];
        }
    return check.total();
}

template <int N, class T>
T copyAny(const T* from, T* to, std::size_t m, std::size_t n, bool diagonal, bool transposed)
{
    if (diagonal)
        return copyLowerTriangle<N>(from, to, n);
    return transposed ? copyTransposed<N>(from, to, m, n) : copyBlock<N>(from, to, m, n);
}

/// The slot of column c in block row r.
template <class T>
unsigned int slotOf(const SparseMatrix<T>& matrix, unsigned int r, unsigned int c)
{
    const unsigned int* const begin = matrix.blockColumns + matrix.rowStart[r];
    const unsigned int* const end = matrix.blockColumns + matrix.rowStart[r + 1];
    return static_cast<unsigned int>(std::lower_bound(begin, end, c) - matrix.blockColumns);
}

/// The pattern by columns: in each row r the rows that have an entry in column r, ascending, the
/// diagonal first.
struct UpperPattern {
    std::vector<unsigned int> rowStart;
    std::vector<unsigned int> columns;
};

UpperPattern transposed(const SkeletonMatrix& lower)
{
    const unsigned int n = lower.numBlockRows;
    const unsigned int entries = n == 0 ? 0 : lower.rowStart[n];
    UpperPattern upper{std::vector<unsigned int>(std::size_t(n) + 1, 0),
                       std::vector<unsigned int>(entries)};
    for (unsigned int e = 0; e < entries; ++e)
        ++upper.rowStart[lower.columnIndices[e] + 1];
    for (unsigned int r = 0; r < n; ++r)
        upper.rowStart[r + 1] += upper.rowStart[r];
    std::vector<unsigned int> next(upper.rowStart.begin(), upper.rowStart.end() - 1);
    for (unsigned int r = 0; r < n; ++r)
        for (unsigned int e = lower.rowStart[r]; e < lower.rowStart[r + 1]; ++e)
            upper.columns[next[lower.columnIndices[e]]++] = r;
    return upper;
}

/// Acquires the blocks of a pattern row by row.
template <class T>
void acquireBlocks(const unsigned int* rowStart, const unsigned int* columns,
                   const std::vector<unsigned int>& sizes, SparseMatrix<T>& target)
{
    const auto n = static_cast<unsigned int>(sizes.size());
    std::size_t values = 0;
    for (unsigned int r = 0; r < n; ++r)
        for (unsigned int e = rowStart[r]; e < rowStart[r + 1]; ++e)
            values += std::size_t(sizes[r]) * sizes[columns[e]];
    target.clear();
    target.setSize(n, 0, n == 0 ? 0 : rowStart[n], values);
    for (unsigned int r = 0; r < n; ++r)
        for (unsigned int e = rowStart[r]; e < rowStart[r + 1]; ++e)
            target.aquireBlock(r, columns[e], sizes[r], sizes[columns[e]], 0);
}

} // namespace

template <class T>
void ValueScatter<T>::prepare(const BlockMatrix<T>& A, const SkeletonMatrix& permuted,
                              const std::vector<unsigned int>& order,
                              const std::vector<unsigned int>& position, bool upper,
                              SparseMatrix<T>& target)
{
    std::vector<unsigned int> sizes;
    sizes.reserve(order.size());
    for (const unsigned int block : order)
        sizes.push_back(A.blockSize(block));
    if (upper) {
        const UpperPattern pattern = transposed(permuted);
        acquireBlocks(pattern.rowStart.data(), pattern.columns.data(), sizes, target);
    } else {
        acquireBlocks(permuted.rowStart, permuted.columnIndices, sizes, target);
    }

    m_targets.clear();
    m_targets.reserve(A.numBlocks());
    for (unsigned int r = 0; r < A.numBlockRows(); ++r)
        for (const auto& entry : A.row(r)) {
            const unsigned int k = position[r];
            const unsigned int q = position[entry.column];
            const unsigned int late = std::max(k, q);
            const unsigned int early = std::min(k, q);
            const unsigned int slot =
                upper ? slotOf(target, early, late) : slotOf(target, late, early);
            m_targets.push_back({target.blockData[slot], q > k});
        }
}

template <class T> Status ValueScatter<T>::run(const BlockMatrix<T>& A) const
{
    auto target = m_targets.begin();
    for (unsigned int r = 0; r < A.numBlockRows(); ++r) {
        const std::size_t m = A.blockSize(r);
        for (const auto& entry : A.row(r)) {
            const std::size_t n = A.blockSize(entry.column);
            const bool diagonal = entry.column == r;
            const auto copy = n == 3 ? copyAny<3, T> : n == 6 ? copyAny<6, T> : copyAny<0, T>;
            if (copy(entry.values, target->values, m, n, diagonal, target->transposed) != 0)
                return notFinite(r, entry.column, findNotFinite(entry.values, m, n, diagonal));
            ++target;
        }
    }
    return {};
}

template class ValueScatter<float>;
template class ValueScatter<double>;

} // namespace client
} // namespace kyrOrvel
