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

bool isPath(const std::vector<unsigned int>& parents)
{
    if (parents.size() < kShortest)
        return false;
    for (unsigned int k = 0; k + 1 < parents.size(); ++k)
        if (parents[k] != k + 1)
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

bool areTwoPaths(const std::vector<unsigned int>& parents)
{
    const auto n = static_cast<unsigned int>(parents.size());
    std::vector<unsigned int> height(n, 1); // children come before their parents
    unsigned int longest = 0;
    for (unsigned int k = 0; k < n; ++k) {
        longest = std::max(longest, height[k]);
        if (parents[k] != k)
            height[parents[k]] = std::max(height[parents[k]], height[k] + 1);
    }
    return longest < kHalf * n;
}

std::vector<unsigned int> inTurn(const std::vector<unsigned int>& parents)
{
    const auto n = static_cast<unsigned int>(parents.size());
    std::vector<unsigned int> waitsFor(n, 0);
    for (unsigned int k = 0; k < n; ++k)
        if (parents[k] != k)
            ++waitsFor[parents[k]];
    std::vector<unsigned int> ready;
    ready.reserve(n);
    for (unsigned int k = 0; k < n; ++k)
        if (waitsFor[k] == 0)
            ready.push_back(k);
    for (std::size_t next = 0; next < ready.size(); ++next) {
        const unsigned int parent = parents[ready[next]];
        if (parent != ready[next] && --waitsFor[parent] == 0)
            ready.push_back(parent);
    }
    std::vector<unsigned int> numbers(n);
    for (unsigned int i = 0; i < n; ++i)
        numbers[ready[i]] = i;
    return numbers;
}

} // namespace client
} // namespace kyrOrvel
