#include "ConstraintSpace.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <numeric>

namespace kyrOrvel {
namespace client {

namespace {

/// The pattern may have that many pairs for each entry of the system's.
constexpr std::uint64_t kMostPairsPerEntry = 16;

constexpr std::uint64_t kMostPairs = 0x7FFFFFFF; ///< each is in the graph twice

} // namespace

ConstraintSpace::ConstraintSpace(const OrderingInput& input)
    : m_firstTrailing(input.firstTrailing),
      m_sizes(input.sizes.begin() + m_firstTrailing, input.sizes.end())
{
    m_usable = m_firstTrailing > 0 && !m_sizes.empty() && isSmall(input.graph) && isSafe(input);
    if (m_usable)
        build(input.graph);
}

/// Whether no two ordinary blocks couple and the pattern is not too large.
bool ConstraintSpace::isSmall(const BlockGraph& couplings) const
{
    std::uint64_t pairs = 0;
    for (unsigned int b = 0; b < m_firstTrailing; ++b) {
        bool amongOrdinary = false;
        couplings.forEachNeighbour(b,
                                   [&](unsigned int c) { amongOrdinary |= c < m_firstTrailing; });
        if (amongOrdinary)
            return false;
        const std::uint64_t count = couplings.start[b + 1] - couplings.start[b];
        pairs += count * count / 2;
    }
    const std::uint64_t entries = couplings.numEntries();
    return pairs + entries <= std::min(kMostPairsPerEntry * entries, kMostPairs);
}

/// Whether every trailing block has a pivot once all ordinary ones are eliminated.
bool ConstraintSpace::isSafe(const OrderingInput& input) const
{
    for (unsigned int t = m_firstTrailing; t < input.pattern.numBlockRows; ++t) {
        bool safe = input.standsAlone[t] != 0;
        input.graph.forEachNeighbour(t, [&](unsigned int c) { safe |= c < m_firstTrailing; });
        if (!safe)
            return false;
    }
    return true;
}

void ConstraintSpace::build(const BlockGraph& couplings)
{
    const auto count = static_cast<unsigned int>(m_sizes.size());
    std::vector<unsigned int> seenBy(count, kNone);
    m_graph.start.reserve(std::size_t(count) + 1);
    for (unsigned int t = 0; t < count; ++t) {
        seenBy[t] = t;
        const auto add = [&](unsigned int block) {
            const unsigned int other = block - m_firstTrailing;
            if (seenBy[other] != t) {
                seenBy[other] = t;
                m_graph.neighbours.push_back(other);
            }
        };
        couplings.forEachNeighbour(t + m_firstTrailing, [&](unsigned int c) {
            if (c < m_firstTrailing)
                couplings.forEachNeighbour(c, add);
            else
                add(c);
        });
        m_graph.start.push_back(static_cast<unsigned int>(m_graph.neighbours.size()));
    }
}

Status ConstraintSpace::order(const OrderGraph& orderGraph, std::vector<unsigned int>& order) const
{
    std::vector<unsigned int> found;
    Status status = orderGraph({m_graph, m_sizes, false}, found);
    if (!status.ok())
        return status;
    order.resize(m_firstTrailing);
    std::iota(order.begin(), order.end(), 0u);
    for (const unsigned int t : found)
        order.push_back(t + m_firstTrailing);
    return {};
}

} // namespace client
} // namespace kyrOrvel
