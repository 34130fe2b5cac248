#ifndef KYRORVEL_CLIENT_TWO_ENDS_H
#define KYRORVEL_CLIENT_TWO_ENDS_H

#include <kyrOrvel/EliminationTree>

#include <vector>

namespace kyrOrvel {
namespace client {

/// Whether an elimination tree is one path long enough to be worth halving: each node but the root
/// is the only child of the next.
bool isPath(const EliminationTree& tree);

/// The first half of an order, then the second half backwards.
std::vector<unsigned int> fromBothEnds(const std::vector<unsigned int>& order);

/// Whether no path from a leaf to the root is much longer than half of the tree.
bool areTwoPaths(const EliminationTree& tree);

/// An order with the same tree in which blocks that wait for none of each other are next to each
/// other: leaves first, then each block behind those that became ready before it.
///
/// @param tree  of the order as it is given
std::vector<unsigned int> inTurn(const std::vector<unsigned int>& order,
                                 const EliminationTree& tree);

} // namespace client
} // namespace kyrOrvel

#endif
