#include "LeadingNullVector.h"

#include <algorithm>
#include <cmath>

namespace kyrOrvel {
namespace client {

template <class T> void LeadingNullVector<T>::reserve(std::size_t dimension, unsigned int blocks)
{
    m_w.assign(dimension, 0);
    m_u.assign(dimension, 0);
    m_marked.assign(blocks, 0);
    m_rows.clear();
    m_rows.reserve(blocks);
}

template <class T>
void LeadingNullVector<T>::compute(const OrvelData<T>& data, unsigned int r, unsigned int i)
{
    const SparseMatrix<T>& L = data.factor;
    clear(L);
    m_block = r;
    m_row = i;
    m_cost = 0;
    m_marked[r] = 1;
    m_w[L.blockOffsets[r] + i] = 1;
    for (unsigned int q = r + 1; q-- > 0;)
        if (m_marked[q]) {
            m_rows.push_back(q);
            take(L, q, q == r ? i + 1 : L.blockSizes[q]);
        }
}

template <class T> T LeadingNullVector<T>::magnitude(const OrvelData<T>& data) const
{
    const SparseMatrix<T>& L = data.factor;
    T sum = 0;
    for (const unsigned int q : m_rows) {
        const unsigned int m = q == m_block ? m_row + 1 : L.blockSizes[q];
        for (unsigned int s = L.blockOffsets[q]; s < L.blockOffsets[q] + m; ++s)
            sum += std::abs(data.pivots.data[s]) * m_u[s] * m_u[s];
    }
    return sum;
}

template <class T> void LeadingNullVector<T>::clear(const SparseMatrix<T>& L)
{
    for (const unsigned int q : m_rows) {
        std::fill_n(m_w.begin() + L.blockOffsets[q], L.blockSizes[q], T(0));
        std::fill_n(m_u.begin() + L.blockOffsets[q], L.blockSizes[q], T(0));
        m_marked[q] = 0;
    }
    m_rows.clear();
}

/// Takes the first m rows of block row r, whose w is final once the rows below are taken, out of
/// everything before them.
template <class T>
void LeadingNullVector<T>::take(const SparseMatrix<T>& L, unsigned int r, unsigned int m)
{
    T* const w = m_w.data();
    T* const u = m_u.data();
    const unsigned int own = L.blockOffsets[r];
    const unsigned int diagonal = L.rowStart[r + 1] - 1;
    for (unsigned int j = m; j-- > 0;) {
        const T value = w[own + j];
        u[own + j] += std::abs(value);
        const T* const row = L.blockData[diagonal] + std::size_t(j) * L.blockSizes[r];
        for (unsigned int c = 0; c < j; ++c) {
            w[own + c] -= row[c] * value;
            u[own + c] += std::abs(row[c] * value);
        }
    }
    for (unsigned int slot = L.rowStart[r]; slot < diagonal; ++slot) {
        const unsigned int column = L.blockColumns[slot];
        const std::size_t p = L.blockSizes[column];
        const unsigned int to = L.blockOffsets[column];
        m_marked[column] = 1;
        for (unsigned int j = 0; j < m; ++j) {
            const T value = w[own + j];
            const T* const row = L.blockData[slot] + j * p;
            for (std::size_t c = 0; c < p; ++c) {
                w[to + c] -= row[c] * value;
                u[to + c] += std::abs(row[c] * value);
            }
        }
        m_cost += m * p;
    }
}

template class LeadingNullVector<float>;
template class LeadingNullVector<double>;

} // namespace client
} // namespace kyrOrvel
