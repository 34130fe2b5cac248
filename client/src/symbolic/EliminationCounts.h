#ifndef KYRORVEL_CLIENT_ELIMINATION_COUNTS_H
#define KYRORVEL_CLIENT_ELIMINATION_COUNTS_H

#include <kyrOrvel/SkeletonMatrix>

#include <cstdint>
#include <vector>

namespace kyrOrvel {
namespace client {

/// Counts of a factor, in 64 bits.
struct FactorCounts {
    std::uint64_t blocks = 0;     ///< blocks of L
    std::uint64_t scalars = 0;    ///< scalars in them, diagonal blocks full
    std::uint64_t operations = 0; ///< multiply-subtract pairs to compute them
};

/// What eliminating a pattern in one order or another leads to: elimination tree and counts of the
/// factor, without the factor's pattern. The time is that of the matrix, times the inverse of
/// Ackermann's function: the columns of L are counted by leaves of row subtrees and their least
/// common ancestors (Gilbert, Ng, Peyton 1994, SIAM J. Matrix Anal. Appl. 15(4) 1075-1091).
class EliminationCounts {
public:
    /// @param pattern  lower triangle by rows, diagonal last
    /// @param sizes    scalar size of each block; must live as long as this object
    EliminationCounts(const SkeletonMatrix& pattern, const std::vector<unsigned int>& sizes);

    /// Counts for an order of all blocks; at once if it is the one counted last.
    const FactorCounts& count(const std::vector<unsigned int>& order);

    // Of the order counted last, per position:

    /// Parents in the elimination tree; roots are their own.
    const std::vector<unsigned int>& parents() const { return m_parent; }
    /// Numbers in post-order, siblings descending, as the library numbers its trees.
    const std::vector<unsigned int>& postOrder() const { return m_postOrder; }
    /// Blocks of L in each column, the diagonal block among them.
    const std::vector<std::int64_t>& columnBlocks() const { return m_blocks; }

private:
    void place(const std::vector<unsigned int>& order);
    void findParents();
    void numberInPostOrder();
    void countColumns(const std::vector<unsigned int>& order);
    unsigned int leastCommonAncestor(unsigned int finished);

    const std::vector<unsigned int>& m_sizes;
    // Of the pattern, both triangles, without the diagonal.
    std::vector<unsigned int> m_rowStart;
    std::vector<unsigned int> m_columns;

    std::vector<unsigned int> m_order; ///< counted last
    std::vector<unsigned int> m_position;
    std::vector<unsigned int> m_start;      ///< of the neighbours of each position
    std::vector<unsigned int> m_neighbours; ///< positions
    std::vector<unsigned int> m_parent;
    std::vector<unsigned int> m_ancestor;
    std::vector<unsigned int> m_subtree; ///< number of nodes
    std::vector<unsigned int> m_postOrder;
    std::vector<unsigned int> m_byPostOrder;
    std::vector<unsigned int> m_begin; ///< of the subtree, in post-order
    std::vector<unsigned int> m_lastLeaf;
    std::vector<std::int64_t> m_blocks;
    std::vector<std::int64_t> m_scalars; ///< scalar rows of each column
    FactorCounts m_counts;
};

} // namespace client
} // namespace kyrOrvel

#endif
