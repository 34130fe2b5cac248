#ifndef KYRORVEL_CLIENT_FACTOR_STRUCTURE_H
#define KYRORVEL_CLIENT_FACTOR_STRUCTURE_H

#include <kyrOrvel/EliminationTree>
#include <kyrOrvel/SkeletonMatrix>

#include <cstdint>
#include <vector>

namespace kyrOrvel {
namespace client {

/// The block structure of the factor of a permuted pattern.
struct FactorStructure {
    std::vector<unsigned int>& rowStart;
    std::vector<unsigned int>& rowColumns; ///< columns ascending, the diagonal last
    /// List k names k, then every row r > k with a block L(r, k), ascending.
    SkeletonMatrix& columns;
};

/// Fills both patterns, whose blocks together must fit 32 bits.
///
/// Row r of L is the row subtree of r: the tree paths from every column of A's row r up to r
/// (Liu 1986; Davis 2006, section 4). The walk stops where an earlier path of the same row has
/// been, so the time is proportional to the number of blocks in L.
///
/// @param pattern       lower triangle by rows, diagonal last, in elimination order
/// @param tree          its elimination tree
/// @param columnBlocks  blocks of L in each column, the diagonal block among them
void fillStructure(const SkeletonMatrix& pattern, const EliminationTree& tree,
                   const std::vector<std::int64_t>& columnBlocks, FactorStructure structure);

} // namespace client
} // namespace kyrOrvel

#endif
