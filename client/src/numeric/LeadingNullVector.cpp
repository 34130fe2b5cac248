#include "LeadingNullVector.h"

#include <algorithm>
#include <cmath>

namespace kyrOrvel {
namespace client {

namespace {

/// w -= row·value, and magnitudes of that added to u.
template <class T> void subtractRow(const T* row, T value, unsigned int size, T* w, T* u)
{
    for (unsigned int c = 0; c < size; ++c) {
        const T product = row[c] * value;
        w[c] -= product;
        u[c] += std::abs(product);
    }
}

/// The same for m rows of a size that the compiler knows.
template <unsigned int Size, class T>
void subtractRows(const T* rows, const T* values, unsigned int m, T* w, T* u)
{
    T ownW[Size];
    T ownU[Size];
    std::copy_n(w, Size, ownW);
    std::copy_n(u, Size, ownU);
    for (unsigned int j = 0; j < m; ++j)
        subtractRow(rows + std::size_t(j) * Size, values[j], Size, ownW, ownU);
    std::copy_n(ownW, Size, w);
    std::copy_n(ownU, Size, u);
}

} // namespace

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
    m_first = r;
    m_w[L.blockOffsets[r] + i] = 1;
    for (unsigned int q = r + 1; q-- > m_first;)
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
        subtractRow(row, value, j, w + own, u + own);
    }
    if (L.rowStart[r] < diagonal)
        m_first = std::min(m_first, L.blockColumns[L.rowStart[r]]); // they ascend
    for (unsigned int slot = L.rowStart[r]; slot < diagonal; ++slot) {
        const unsigned int column = L.blockColumns[slot];
        const unsigned int p = L.blockSizes[column];
        const unsigned int to = L.blockOffsets[column];
        m_marked[column] = 1;
        switch (p) { // as in most rows
        case 3:
            subtractRows<3>(L.blockData[slot], w + own, m, w + to, u + to);
            break;
        case 6:
            subtractRows<6>(L.blockData[slot], w + own, m, w + to, u + to);
            break;
        default:
            for (std::size_t j = 0; j < m; ++j)
                subtractRow(L.blockData[slot] + j * p, w[own + j], p, w + to, u + to);
        }
        m_cost += std::size_t(m) * p;
    }
}

template class LeadingNullVector<float>;
template class LeadingNullVector<double>;

} // namespace client
} // namespace kyrOrvel
