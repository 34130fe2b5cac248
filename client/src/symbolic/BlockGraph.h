#ifndef KYRORVEL_CLIENT_BLOCK_GRAPH_H
#define KYRORVEL_CLIENT_BLOCK_GRAPH_H

#include <kyrOrvel/SkeletonMatrix>

#include <cstddef>
#include <vector>

namespace kyrOrvel {
namespace client {

/// A symmetric pattern as a graph: for each block all that it couples to, itself left out.
struct BlockGraph {
    BlockGraph() = default;

    /// @param lower  lower triangle by rows, diagonal last
    explicit BlockGraph(const SkeletonMatrix& lower);

    /// Of the lower triangle, the diagonal included.
    std::size_t numEntries() const { return start.size() - 1 + neighbours.size() / 2; }

    /// Calls f(b) for every block b that `block` couples to.
    template <class F> void forEachNeighbour(unsigned int block, F f) const
    {
        for (unsigned int e = start[block]; e < start[block + 1]; ++e)
            f(neighbours[e]);
    }

    std::vector<unsigned int> start{0}; ///< one more than blocks
    std::vector<unsigned int> neighbours;
};

} // namespace client
} // namespace kyrOrvel

#endif
