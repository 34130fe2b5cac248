#ifndef KYRORVEL_CLIENT_BOTH_TRIANGLES_H
#define KYRORVEL_CLIENT_BOTH_TRIANGLES_H

#include <kyrOrvel/SkeletonMatrix>

#include <cstddef>
#include <vector>

namespace kyrOrvel {
namespace client {

/// A symmetric pattern as a graph: for each block all that it couples to, itself left out.
template <class Index> struct BothTriangles {
    /// @param lower  lower triangle by rows, diagonal last
    explicit BothTriangles(const SkeletonMatrix& lower)
        : start(static_cast<std::size_t>(lower.numBlockRows) + 1, 0)
    {
        const auto forEachCoupling = [&](auto f) {
            for (unsigned int r = 0; r < lower.numBlockRows; ++r)
                for (unsigned int e = lower.rowStart[r]; e + 1 < lower.rowStart[r + 1]; ++e) {
                    f(r, lower.columnIndices[e]);
                    f(lower.columnIndices[e], r);
                }
        };
        forEachCoupling([&](unsigned int from, unsigned int /*to*/) { ++start[from + 1]; });
        for (unsigned int r = 0; r < lower.numBlockRows; ++r)
            start[r + 1] += start[r];
        neighbours.resize(static_cast<std::size_t>(start.back()));
        std::vector<Index> next(start.begin(), start.end() - 1);
        forEachCoupling([&](unsigned int from, unsigned int to) {
            neighbours[static_cast<std::size_t>(next[from]++)] = static_cast<Index>(to);
        });
    }

    std::vector<Index> start; ///< one more than blocks
    std::vector<Index> neighbours;
};

} // namespace client
} // namespace kyrOrvel

#endif
