#ifndef KYRORVEL_CLIENT_MATRIX_PATTERN_H
#define KYRORVEL_CLIENT_MATRIX_PATTERN_H

#include <kyrOrvelClient/BlockMatrix>
#include <kyrOrvelClient/Status>

#include <kyrOrvel/SkeletonMatrix>

#include <cstddef>
#include <cstdint>
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

    /// A number that equal patterns share and others hardly ever do. O(blocks).
    template <class T> static std::uint64_t hashOf(const BlockMatrix<T>& A);

    std::uint64_t hash() const { return m_hash; }

    unsigned int numBlockRows() const { return static_cast<unsigned int>(m_sizes.size()); }
    unsigned int firstTrailing() const { return m_firstTrailing; }
    const std::vector<unsigned int>& sizes() const { return m_sizes; }

    /// The pattern with every diagonal block in it, stored or not.
    void fillSkeleton(SkeletonMatrix& skeleton) const;

    /// Per block: whether it has a diagonal block or no rows.
    std::vector<unsigned char> standsAlone() const;

    /// Whether the signs of the pivots are known beforehand, given positive definite ordinary
    /// blocks: no two trailing blocks couple unless both have diagonal blocks.
    bool signsAreKnown() const;

private:
    std::vector<unsigned int> m_sizes;
    unsigned int m_firstTrailing = 0;
    std::uint64_t m_hash = 0;
    std::vector<std::size_t> m_rowStart;
    std::vector<unsigned int> m_columns;
};

} // namespace client
} // namespace kyrOrvel

#endif
