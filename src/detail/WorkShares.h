#ifndef KYRORVEL_DETAIL_WORK_SHARES_H
#define KYRORVEL_DETAIL_WORK_SHARES_H

#include <vector>

namespace kyrOrvel {
namespace detail {

/// The nodes of a forest in shares for threads: whole subtrees, which need nothing of each other,
/// and the nodes above them.
struct WorkShares {
    std::vector<unsigned int> nodes;        ///< subtree by subtree, children before parents
    std::vector<unsigned int> subtreeStart; ///< heaviest subtree first; one more than subtrees
    std::vector<unsigned int> above;        ///< children before parents

    unsigned int numSubtrees() const { return static_cast<unsigned int>(subtreeStart.size()) - 1; }
};

/// Divides a forest: starting from the roots, the heaviest subtree is replaced by its children, as
/// long as that shortens what threads are expected to take that fetch subtrees heaviest first
/// (Geist, Ng 1989). No bit depends on it, unlike on the schedules of multifrontal factorizations:
/// an estimate in floating point will do.
///
/// @param parent     per node, above it in number; its own number for a root
/// @param work       per node
/// @param aboveShare what a thread has to do of the nodes above: 1 if one thread does them all
/// O(nodes log nodes).
WorkShares shareWork(const std::vector<unsigned int>& parent, const std::vector<double>& work,
                     unsigned int threads, double aboveShare);

} // namespace detail
} // namespace kyrOrvel

#endif
