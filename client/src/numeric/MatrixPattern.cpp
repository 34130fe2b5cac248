#include "MatrixPattern.h"

#include <string>

namespace kyrOrvel {
namespace client {

namespace {

Status mismatch(const std::string& what, unsigned int block)
{
    return {StatusCode::PatternMismatch, what + "; call analyzePattern for the new pattern", block,
            kNone};
}

} // namespace

template <class T>
MatrixPattern::MatrixPattern(const BlockMatrix<T>& A)
    : m_sizes(A.blockSizes()), m_firstTrailing(A.firstTrailing()), m_hash(hashOf(A))
{
    m_rowStart.reserve(m_sizes.size() + 1);
    m_columns.reserve(A.numBlocks());
    m_rowStart.push_back(0);
    for (unsigned int r = 0; r < numBlockRows(); ++r) {
        for (const auto& entry : A.row(r))
            m_columns.push_back(entry.column);
        m_rowStart.push_back(m_columns.size());
    }
}

/// FNV-1a over words instead of bytes: a comparison follows wherever hashes agree.
template <class T> std::uint64_t MatrixPattern::hashOf(const BlockMatrix<T>& A)
{
    std::uint64_t hash = 0xCBF29CE484222325u;
    const auto add = [&](std::uint64_t word) { hash = (hash ^ word) * 0x100000001B3u; };
    add(A.numBlockRows());
    add(A.firstTrailing());
    for (unsigned int r = 0; r < A.numBlockRows(); ++r) {
        add(A.blockSize(r));
        add(A.row(r).size());
        for (const auto& entry : A.row(r))
            add(entry.column);
    }
    return hash;
}

template <class T> Status MatrixPattern::compare(const BlockMatrix<T>& A) const
{
    if (A.blockSizes() != m_sizes || A.firstTrailing() != m_firstTrailing)
        return mismatch("the matrix has other blocks than the one analysed", kNone);
    for (unsigned int r = 0; r < numBlockRows(); ++r) {
        const auto& row = A.row(r);
        const std::size_t begin = m_rowStart[r];
        bool same = row.size() == m_rowStart[r + 1] - begin;
        for (std::size_t i = 0; same && i < row.size(); ++i)
            same = row[i].column == m_columns[begin + i];
        if (!same)
            return mismatch("block row " + std::to_string(r) +
                                " holds other blocks than when it was analysed",
                            r);
    }
    return {};
}

void MatrixPattern::fillSkeleton(SkeletonMatrix& skeleton) const
{
    const unsigned int n = numBlockRows();
    skeleton.releaseMemory();
    skeleton.allocateMemory(n, static_cast<unsigned int>(m_columns.size() + n));
    skeleton.numBlockRows = n;
    unsigned int e = 0;
    for (unsigned int r = 0; r < n; ++r) {
        for (std::size_t i = m_rowStart[r]; i < m_rowStart[r + 1] && m_columns[i] < r; ++i)
            skeleton.columnIndices[e++] = m_columns[i];
        skeleton.columnIndices[e++] = r;
        skeleton.rowStart[r + 1] = e;
    }
}

std::vector<unsigned char> MatrixPattern::standsAlone() const
{
    std::vector<unsigned char> result(m_sizes.size(), 0);
    for (unsigned int r = 0; r < numBlockRows(); ++r) {
        const std::size_t end = m_rowStart[r + 1];
        const bool hasDiagonal = end > m_rowStart[r] && m_columns[end - 1] == r;
        result[r] = hasDiagonal || m_sizes[r] == 0;
    }
    return result;
}

bool MatrixPattern::signsAreKnown() const
{
    const std::vector<unsigned char> diagonal = standsAlone();
    for (unsigned int r = m_firstTrailing; r < numBlockRows(); ++r)
        for (std::size_t e = m_rowStart[r]; e < m_rowStart[r + 1]; ++e)
            if (m_columns[e] >= m_firstTrailing && !(diagonal[r] && diagonal[m_columns[e]]))
                return false;
    return true;
}

template MatrixPattern::MatrixPattern(const BlockMatrix<float>&);
template MatrixPattern::MatrixPattern(const BlockMatrix<double>&);
template std::uint64_t MatrixPattern::hashOf(const BlockMatrix<float>&);
template std::uint64_t MatrixPattern::hashOf(const BlockMatrix<double>&);
template Status MatrixPattern::compare(const BlockMatrix<float>&) const;
template Status MatrixPattern::compare(const BlockMatrix<double>&) const;

} // namespace client
} // namespace kyrOrvel
