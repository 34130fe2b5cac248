#ifndef KYRORVEL_CLIENT_TREE_MAPPING_H
#define KYRORVEL_CLIENT_TREE_MAPPING_H

#include <kyrOrvel/EliminationTree>

#include <cstdint>
#include <utility>
#include <vector>

namespace kyrOrvel {
namespace client {

/// Which thread factors which node of an elimination tree, and in which order.
struct TreeMapping {
    unsigned int numOwners = 1;
    std::vector<unsigned char> owner; ///< per node
    /// (node, owner): what each owner starts, in this order. A node stands for itself and those of
    /// its descendants, reachable through the owner's own nodes, that are not yet done.
    std::vector<std::pair<unsigned int, unsigned int>> assignment;
    std::uint64_t totalWork = 0;
    std::uint64_t makespan = 0; ///< work on the longest chain of nodes and waits, hand-over free
};

/// The most owners that a node's owner byte can tell apart.
constexpr unsigned int kMaxOwners = 255;

/// Maps a tree to owners. Whole subtrees go to single owners, heaviest first to the least loaded
/// (Geist, Ng 1989): starting from the roots, the heaviest subtree is replaced by its children as
/// long as that shortens the simulated run. The nodes above go to the owner of a child, whichever
/// can finish them first, so that few edges cross. Integer arithmetic only: the same tree, work and
/// number of owners give the same mapping everywhere.
///
/// No schedule deadlocks. Every owner first factors its subtrees, which wait for nobody. Then come
/// the nodes above, all owners together in ascending order of elimination. Suppose that some are
/// never finished, and take the first of them in that order: its children come before it, so they
/// are finished or are subtrees, and its owner has finished all that it has before it. So it is
/// factored, which contradicts.
///
/// @param work       per node, operations to factor it and to pass on its updates
/// @param numOwners  1 to kMaxOwners
/// O(nodes + splits · owners), splits at most a small multiple of owners.
TreeMapping mapTree(const EliminationTree& tree, const std::vector<std::uint64_t>& work,
                    unsigned int numOwners);

} // namespace client
} // namespace kyrOrvel

#endif
