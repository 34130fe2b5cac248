#ifndef KYRORVEL_CLIENT_MATRIX_PATTERN_H
#define KYRORVEL_CLIENT_MATRIX_PATTERN_H

#include <kyrOrvelClient/BlockMatrix>
#include <kyrOrvelClient/Status>

#include <kyrOrvel/SkeletonMatrix>

#include <cstddef>
#include <vector>

namespace kyrOrvel {
namespace client {

/// The pattern of a BlockMatrix as it was when analysed, to tell later whether it still is the
/// same.
class MatrixPattern {
public:
    template <class T> explicit MatrixPattern(const BlockMatrix<T>& A);
    MatrixPattern() = default;

    /// Ok, or PatternMismatch with the first difference. O(blocks), allocates nothing when Ok.
    template <class T> Status compare(const BlockMatrix<T>& A) const;

    unsigned int numBlockRows() const { return static_cast<unsigned int>(m_sizes.size()); }
    unsigned int firstTrailing() const { return m_firstTrailing; }
    const std::vector<unsigned int>& sizes() const { return m_sizes; }

    /// The pattern with every diagonal block in it, stored or not.
    void fillSkeleton(SkeletonMatrix& skeleton) const;

    /// Per block: whether it has a diagonal block or no rows.
    std::vector<unsigned char> standsAlone() const;

private:
    std::vector<unsigned int> m_sizes;
    unsigned int m_firstTrailing = 0;
    std::vector<std::size_t> m_rowStart;
    std::vector<unsigned int> m_columns;
};

} // namespace client
} // namespace kyrOrvel

#endif
