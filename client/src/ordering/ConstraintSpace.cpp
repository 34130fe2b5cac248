#include "ConstraintSpace.h"

#include <algorithm>
#include <cstdint>
#include <numeric>

namespace kyrOrvel {
namespace client {

namespace {

/// The pattern may have that many pairs for each entry of the system's.
constexpr std::uint64_t kMostPairsPerEntry = 16;

} // namespace

ConstraintSpace::ConstraintSpace(const OrderingInput& input) : m_firstTrailing(input.firstTrailing)
{
    const unsigned int n = input.pattern.numBlockRows;
    m_usable = m_firstTrailing > 0 && m_firstTrailing < n && isSmall(input);
    if (m_usable)
        buildPattern(input);
}

/// Whether no two ordinary blocks couple and the pattern is not too large.
bool ConstraintSpace::isSmall(const OrderingInput& input) const
{
    const SkeletonMatrix& S = input.pattern;
    std::vector<std::uint64_t> couplings(m_firstTrailing, 0);
    for (unsigned int r = 0; r < S.numBlockRows; ++r)
        for (unsigned int e = S.rowStart[r]; e + 1 < S.rowStart[r + 1]; ++e) {
            if (r < m_firstTrailing)
                return false;
            if (S.columnIndices[e] < m_firstTrailing)
                ++couplings[S.columnIndices[e]];
        }
    std::uint64_t pairs = 0;
    for (const std::uint64_t count : couplings)
        pairs += count * count / 2;
    return pairs <= kMostPairsPerEntry * S.rowStart[S.numBlockRows];
}

void ConstraintSpace::buildPattern(const OrderingInput& input)
{
    const SkeletonMatrix& S = input.pattern;
    const unsigned int count = S.numBlockRows - m_firstTrailing;
    std::vector<std::vector<unsigned int>> onBody(m_firstTrailing); // trailing blocks, ascending
    std::vector<unsigned int> columns;
    std::vector<unsigned int> starts(1, 0);
    std::vector<unsigned int> seen(count, kNone);
    for (unsigned int t = 0; t < count; ++t) {
        const unsigned int r = t + m_firstTrailing;
        const auto add = [&](unsigned int other) {
            if (seen[other] != t) {
                seen[other] = t;
                columns.push_back(other);
            }
        };
        for (unsigned int e = S.rowStart[r]; e + 1 < S.rowStart[r + 1]; ++e) {
            const unsigned int c = S.columnIndices[e];
            if (c >= m_firstTrailing) {
                add(c - m_firstTrailing);
                continue;
            }
            for (const unsigned int other : onBody[c])
                add(other);
            onBody[c].push_back(t);
        }
        std::sort(columns.begin() + starts.back(), columns.end());
        columns.push_back(t);
        starts.push_back(static_cast<unsigned int>(columns.size()));
    }
    m_pattern.allocateMemory(count, starts.back());
    m_pattern.numBlockRows = count;
    std::copy(starts.begin(), starts.end(), m_pattern.rowStart);
    std::copy(columns.begin(), columns.end(), m_pattern.columnIndices);
}

Status ConstraintSpace::order(const OrderingInput& input, const OrderGraph& orderGraph,
                              std::vector<unsigned int>& order) const
{
    const std::vector<unsigned int> sizes(input.sizes.begin() + m_firstTrailing, input.sizes.end());
    const std::vector<unsigned char> standsAlone(sizes.size(), 1);
    const OrderingInput trailing{m_pattern, m_pattern.numBlockRows, standsAlone, sizes,
                                 input.userOrder};
    std::vector<unsigned int> found;
    Status status = orderGraph(trailing, found);
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
