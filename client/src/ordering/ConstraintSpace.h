#ifndef KYRORVEL_CLIENT_CONSTRAINT_SPACE_H
#define KYRORVEL_CLIENT_CONSTRAINT_SPACE_H

#include "../symbolic/BlockGraph.h"
#include "Ordering.h"

#include <functional>
#include <vector>

namespace kyrOrvel {
namespace client {

/// What an ordering is asked to order.
struct GraphToOrder {
    const BlockGraph& couplings;
    const std::vector<unsigned int>& sizes; ///< scalars of each block
    bool isWishList;                        ///< whether some of the blocks will be moved afterwards
};

/// Orders a graph.
using OrderGraph = std::function<Status(const GraphToOrder&, std::vector<unsigned int>&)>;

/// The pattern that the trailing blocks have among themselves once all ordinary blocks are
/// eliminated: G·M⁻¹·Gᵀ. Where ordinary blocks do not couple to each other, as rigid bodies do not,
/// it says all about the fill-in of such an order, so that an ordering of it alone often leads to a
/// fifth of the operations of one of the whole system, which has to be mended afterwards.
class ConstraintSpace {
public:
    /// O(entries + entries of the pattern).
    explicit ConstraintSpace(const OrderingInput& input);

    /// False if ordinary blocks couple to each other, if there are none or no trailing ones, if the
    /// pattern would be much larger than the system's (an ordinary block with very many couplings
    /// is better eliminated late), or if some trailing block has to wait for another one.
    bool isUsable() const { return m_usable; }

    /// All ordinary blocks, then the trailing ones in the order that `orderGraph` finds.
    Status order(const OrderGraph& orderGraph, std::vector<unsigned int>& order) const;

private:
    bool isSmall(const BlockGraph& couplings) const;
    bool isSafe(const OrderingInput& input) const;
    void build(const BlockGraph& couplings);

    unsigned int m_firstTrailing;
    std::vector<unsigned int> m_sizes; ///< of the trailing blocks
    BlockGraph m_graph;
    bool m_usable = false;
};

} // namespace client
} // namespace kyrOrvel

#endif
