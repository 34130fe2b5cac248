#ifndef ORVEL_TREE_FIGURES_H
#define ORVEL_TREE_FIGURES_H

#include "PlotSubject.h"

#include <cstdint>
#include <string>
#include <vector>

namespace orvel {

/// An elimination tree with the work at its nodes. Children come before their parent.
struct TreeFigures {
    std::vector<unsigned int> parent; ///< a root is its own
    std::vector<unsigned int> depth;  ///< of a root 0
    std::vector<unsigned int> leaves; ///< below a node; of a leaf 1
    /// Multiply-subtract pairs to factor a node and to form its updates.
    std::vector<std::uint64_t> work;
    std::vector<unsigned int> owner; ///< the thread that factors a node; 0 without threads

    unsigned int numThreads = 1;
    unsigned int numRoots = 0;
    unsigned int height = 0; ///< levels
    unsigned int numLeaves = 0;
    std::uint64_t totalWork = 0;
    std::uint64_t leastWork = UINT64_MAX; ///< at one node
    std::uint64_t mostWork = 1;           ///< at one node
    std::uint64_t longestWay = 0;         ///< the most work on a way from a leaf to a root

    unsigned int numNodes() const { return static_cast<unsigned int>(parent.size()); }
    double shareOf(std::uint64_t part) const; ///< of the total work; 0 where there is none
    bool isRoot(unsigned int node) const { return parent[node] == node; }
};

/// The tree of an analysed subject. O(blocks of L).
TreeFigures treeFiguresOf(const PlotSubject& subject);

/// "20 nodes, 3 leaves, 9 levels; ..." about the tree as a whole.
std::string describeTree(const TreeFigures& tree);

} // namespace orvel

#endif
