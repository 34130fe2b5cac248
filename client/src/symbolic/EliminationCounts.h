#ifndef KYRORVEL_CLIENT_ELIMINATION_COUNTS_H
#define KYRORVEL_CLIENT_ELIMINATION_COUNTS_H

#include "BlockGraph.h"

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

/// What eliminating a pattern in an order leads to. Per position, but for the counts.
struct Elimination {
    std::vector<unsigned int> order;     ///< the blocks
    std::vector<unsigned int> parents;   ///< in the elimination tree; roots are their own
    std::vector<unsigned int> postOrder; ///< numbers, siblings descending as in the library's trees
    std::vector<std::int64_t> columnBlocks; ///< of L, the diagonal block among them
    FactorCounts counts;
};

/// Counts what eliminating a pattern in one order or another leads to, without the factor's
/// pattern. The columns of L are counted by leaves of row subtrees and their least common ancestors
/// (Gilbert, Ng, Peyton 1994, SIAM J. Matrix Anal. Appl. 15(4) 1075-1091). With paths shortened but
/// sets not ranked, that takes O(e·log n) for e entries at worst, and hardly more than O(e).
class EliminationCounts {
public:
    /// @param graph  of the pattern; it and the sizes must live as long as this object
    /// @param sizes  scalar size of each block
    EliminationCounts(const BlockGraph& graph, const std::vector<unsigned int>& sizes);

    /// @param order  of all blocks
    Elimination count(std::vector<unsigned int> order);

private:
    void place(const std::vector<unsigned int>& order);
    void findParents(std::vector<unsigned int>& parents);
    void numberInPostOrder(Elimination& result);
    void countColumns(Elimination& result);
    unsigned int leastCommonAncestor(unsigned int finished);

    const BlockGraph& m_graph;
    const std::vector<unsigned int>& m_sizes;
    std::vector<unsigned int> m_position;
    std::vector<unsigned int> m_start;      ///< of the neighbours of each position
    std::vector<unsigned int> m_neighbours; ///< positions
    std::vector<unsigned int> m_ancestor;
    std::vector<unsigned int> m_subtree; ///< number of nodes
    std::vector<unsigned int> m_byPostOrder;
    std::vector<unsigned int> m_begin; ///< of the subtree, in post-order
    std::vector<unsigned int> m_lastLeaf;
    std::vector<std::int64_t> m_scalars; ///< scalar rows of each column
};

} // namespace client
} // namespace kyrOrvel

#endif
