#ifndef KYRORVEL_CLIENT_CONSTRAINT_SPACE_H
#define KYRORVEL_CLIENT_CONSTRAINT_SPACE_H

#include "Ordering.h"

#include <kyrOrvel/SkeletonMatrix>

#include <functional>
#include <vector>

namespace kyrOrvel {
namespace client {

/// Orders a graph: fills in an order of the blocks of an input without trailing ones.
using OrderGraph = std::function<Status(const OrderingInput&, std::vector<unsigned int>&)>;

/// The pattern that the trailing blocks have among themselves once all ordinary blocks are
/// eliminated: G·M⁻¹·Gᵀ. Where ordinary blocks do not couple to each other, as rigid bodies do not,
/// it says all about the fill-in of such an order, so that an ordering of it alone often leads to a
/// fifth of the operations of one of the whole system, which has to be mended afterwards.
class ConstraintSpace {
public:
    /// O(entries + entries of the pattern).
    explicit ConstraintSpace(const OrderingInput& input);

    /// False if ordinary blocks couple to each other, if there are none or no trailing ones, or if
    /// the pattern would be much larger than the system's: an ordinary block with very many
    /// couplings is better eliminated late.
    bool isUsable() const { return m_usable; }

    /// All ordinary blocks, then the trailing ones in the order that `orderGraph` finds.
    Status order(const OrderingInput& input, const OrderGraph& orderGraph,
                 std::vector<unsigned int>& order) const;

private:
    bool isSmall(const OrderingInput& input) const;
    void buildPattern(const OrderingInput& input);

    bool m_usable = false;
    unsigned int m_firstTrailing;
    SkeletonMatrix m_pattern;
};

} // namespace client
} // namespace kyrOrvel

#endif
