#include "BlockGraph.h"

namespace kyrOrvel {
namespace client {

BlockGraph::BlockGraph(const SkeletonMatrix& lower)
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
    neighbours.resize(start.back());
    std::vector<unsigned int> next(start.begin(), start.end() - 1);
    forEachCoupling([&](unsigned int from, unsigned int to) { neighbours[next[from]++] = to; });
}

} // namespace client
} // namespace kyrOrvel
