#ifndef KYRORVEL_CLIENT_BLOCK_GRAPH_H
#define KYRORVEL_CLIENT_BLOCK_GRAPH_H

#include <kyrOrvel/SkeletonMatrix>

#include <vector>

namespace kyrOrvel {
namespace client {

/// A symmetric pattern as a graph: for each block all that it couples to, itself left out.
struct BlockGraph {
    BlockGraph() = default;

    /// @param lower  lower triangle by rows, diagonal last
    explicit BlockGraph(const SkeletonMatrix& lower);

    std::vector<unsigned int> start{0}; ///< one more than blocks
    std::vector<unsigned int> neighbours;
};

} // namespace client
} // namespace kyrOrvel

#endif
