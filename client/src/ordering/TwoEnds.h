#ifndef KYRORVEL_CLIENT_TWO_ENDS_H
#define KYRORVEL_CLIENT_TWO_ENDS_H

#include <vector>

namespace kyrOrvel {
namespace client {

// Trees are given by the parent of each node, which comes after it; roots are their own.

/// Whether an elimination tree is one path long enough to be worth halving: each node but the root
/// is the only child of the next.
bool isPath(const std::vector<unsigned int>& parents);

/// The first half of an order, then the second half backwards.
std::vector<unsigned int> fromBothEnds(const std::vector<unsigned int>& order);

/// Whether no path from a leaf to the root is much longer than half of the tree.
bool areTwoPaths(const std::vector<unsigned int>& parents);

/// New numbers for the nodes, with which those that wait for none of each other are next to each
/// other: leaves first, then each node behind those that became ready before it.
std::vector<unsigned int> inTurn(const std::vector<unsigned int>& parents);

} // namespace client
} // namespace kyrOrvel

#endif
