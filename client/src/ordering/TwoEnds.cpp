#include "TwoEnds.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace kyrOrvel {
namespace client {

namespace {

/// Blocks of the shortest chain that is halved. Solves of shorter ones hardly gain.
constexpr unsigned int kShortest = 16;

/// The longest path to the root, as a share of all nodes, that counts as half of them.
constexpr double kHalf = 0.7;

} // namespace

bool isPath(const EliminationTree& tree)
{
    if (tree.numNodes < kShortest)
        return false;
    for (unsigned int k = 0; k + 1 < tree.numNodes; ++k)
        if (tree.parent[k] != k + 1)
            return false;
    return true;
}

std::vector<unsigned int> fromBothEnds(const std::vector<unsigned int>& order)
{
    const auto middle = order.begin() + static_cast<std::ptrdiff_t>(order.size() / 2);
    std::vector<unsigned int> result(order.begin(), middle);
    result.insert(result.end(), order.rbegin(), std::make_reverse_iterator(middle));
    return result;
}

bool areTwoPaths(const EliminationTree& tree)
{
    std::vector<unsigned int> height(tree.numNodes, 1); // children come before their parents
    unsigned int longest = 0;
    for (unsigned int k = 0; k < tree.numNodes; ++k) {
        longest = std::max(longest, height[k]);
        if (tree.parent[k] != k)
            height[tree.parent[k]] = std::max(height[tree.parent[k]], height[k] + 1);
    }
    return longest < kHalf * tree.numNodes;
}

std::vector<unsigned int> inTurn(const std::vector<unsigned int>& order,
                                 const EliminationTree& tree)
{
    std::vector<unsigned int> waitsFor(tree.numNodes, 0);
    for (unsigned int k = 0; k < tree.numNodes; ++k)
        if (tree.parent[k] != k)
            ++waitsFor[tree.parent[k]];
    std::vector<unsigned int> ready; // in the order of the result
    ready.reserve(order.size());
    for (unsigned int k = 0; k < tree.numNodes; ++k)
        if (waitsFor[k] == 0)
            ready.push_back(k);
    for (std::size_t next = 0; next < ready.size(); ++next) {
        const unsigned int parent = tree.parent[ready[next]];
        if (parent != ready[next] && --waitsFor[parent] == 0)
            ready.push_back(parent);
    }
    std::vector<unsigned int> result;
    result.reserve(order.size());
    for (const unsigned int k : ready)
        result.push_back(order[k]);
    return result;
}

} // namespace client
} // namespace kyrOrvel
