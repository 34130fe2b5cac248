#ifndef KYRORVEL_CLIENT_CANDIDATE_ORDERS_H
#define KYRORVEL_CLIENT_CANDIDATE_ORDERS_H

#include "ConstraintSpace.h"
#include "Ordering.h"

namespace kyrOrvel {
namespace client {

/// An order of all blocks that may be taken.
struct Candidate {
    Elimination elimination;
    unsigned int earlyBlocks = 0; ///< trailing blocks before an ordinary one that they couple to
    bool free = false;            ///< whether trailing blocks, all soft, are wherever fill is least
};

/// What many loops in a system say.
enum class ManyLoops {
    Decide, ///< that the trailing blocks behind all ordinary ones are best: no other order is made
    Compare ///< nothing
};

/// An order of the whole system with its trailing blocks placed, or one of the trailing blocks
/// behind all ordinary ones, whichever has fewer operations. The second is not made where the first
/// has little fill. Or one that pays no heed to what is trailing, where the rule finds all of that
/// soft and it has far fewer operations yet: boxes with compliant contacts on one platform.
Status orderInSpaces(const OrderingInput& input, const OrderGraph& orderGraph, ManyLoops manyLoops,
                     const EarlyRule* rule, EliminationCounts& counts, Candidate& best);

/// An order in which the two ends of a chain are eliminated side by side, if `oneEnd` is that of a
/// chain and this does not cost too much. Each block of a chain waits for the one before it; so two
/// are at work at a time in the processor. (A rotation of the elimination tree, Liu 1988.)
///
/// @return whether there is one
bool takeBothEnds(const OrderingInput& input, const EarlyRule* rule, EliminationCounts& counts,
                  const Candidate& oneEnd, Candidate& both);

} // namespace client
} // namespace kyrOrvel

#endif
