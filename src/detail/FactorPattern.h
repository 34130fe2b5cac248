#ifndef KYRORVEL_DETAIL_FACTOR_PATTERN_H
#define KYRORVEL_DETAIL_FACTOR_PATTERN_H

#include <kyrOrvel/Orvel>

#include <cstddef>

namespace kyrOrvel {
namespace detail {

/// Calls f(c) for the pattern entries of block row r in order, up to the diagonal: the first
/// column beyond it ends the walk.
template <class T, class F> void forEachFactorColumn(const OrvelData<T>& data, unsigned int r, F f)
{
    for (unsigned int e = data.factorRowStart[r]; e < data.factorRowStart[r + 1]; ++e) {
        const unsigned int c = data.factorColumns[e];
        if (c > r)
            return;
        f(c);
    }
}

/// Walks a block row of the input matrix alongside its factor row.
template <class T> class InputCursor {
public:
    InputCursor(const SparseMatrix<T>& matrix, unsigned int r)
        : m_matrix(matrix), m_slot(matrix.rowStart[r]), m_end(matrix.rowStart[r + 1])
    {
    }

    /// Whether the input has a block in column c: false for fill-in. Steps on after a match; a
    /// column that the pattern lacks is never passed.
    bool pass(unsigned int c)
    {
        if (m_slot >= m_end || m_matrix.blockColumns[m_slot] != c)
            return false;
        ++m_slot;
        return true;
    }

    /// The same; the block's values, or null. Blocks without values may have a null, too.
    const T* take(unsigned int c) { return pass(c) ? m_matrix.blockData[m_slot - 1] : nullptr; }

private:
    const SparseMatrix<T>& m_matrix;
    unsigned int m_slot;
    unsigned int m_end;
};

/// Calls f(j_r, j_c) for the slots of every column k < c that block rows r and c of L share, k
/// ascending. Both rows are sorted; the merge ends at column c or at row c's diagonal block.
template <class T, class F>
void forEachCommonColumn(const SparseMatrix<T>& L, unsigned int r, unsigned int c, F f)
{
    unsigned int a = L.rowStart[r];
    unsigned int b = L.rowStart[c];
    const unsigned int diagonal = L.rowStart[c + 1] - 1;
    while (b < diagonal && L.blockColumns[a] < c && L.blockColumns[b] < c) {
        const unsigned int columnA = L.blockColumns[a];
        const unsigned int columnB = L.blockColumns[b];
        if (columnA == columnB)
            f(a, b);
        // Both step on at a match, the smaller one otherwise.
        a += columnA <= columnB;
        b += columnB <= columnA;
    }
}

} // namespace detail
} // namespace kyrOrvel

#endif
