#include "CandidateOrders.h"

#include "ConstraintPlacement.h"
#include "ConstraintSpace.h"
#include "EarlyRule.h"
#include "StructuralRank.h"
#include "TwoEnds.h"

#include <utility>

namespace kyrOrvel {
namespace client {

namespace {

/// Early elimination has to save that share of the operations: late elimination needs no luck.
constexpr double kWorthwhile = 0.95;

/// What eliminating a chain from both ends may cost, in operations of eliminating it from one:
/// constraints that need both of their bodies may have to wait.
constexpr double kBothEndsCost = 1.5;

/// Blocks of the factor per block of the matrix up to which no other order is looked for. Of 16,000
/// systems with less, half would have been factored with 2 % fewer operations at the most, nine in
/// ten with 9 %; it takes a quarter of the time of an analysis.
constexpr double kLittleFill = 1.75;

double operationsOf(const Candidate& candidate)
{
    return static_cast<double>(candidate.elimination.counts.operations);
}

/// Blocks of the factor per block of the matrix.
double fillOf(const OrderingInput& input, const Candidate& candidate)
{
    return static_cast<double>(candidate.elimination.counts.blocks) /
           input.pattern.rowStart[input.pattern.numBlockRows];
}

/// Places the trailing blocks of an order of all blocks: as the rule lets them stay early, if that
/// gives no structurally zero pivot, and no fill at all or clearly fewer operations than late.
Status placeConstraints(const OrderingInput& input, const std::vector<unsigned int>& wanted,
                        const EarlyRule* rule, EliminationCounts& counts, Candidate& placed)
{
    if (rule) {
        ConstraintPlacement early(input, TrailingPlacement::AfterLast, rule);
        if (early.run(wanted).ok() && early.earlyBlocks() > 0 &&
            firstStructurallyZeroPivot(input, early.order()) == kNone)
            placed = {counts.count(early.order()), early.earlyBlocks()};
    }
    if (placed.earlyBlocks > 0 && fillOf(input, placed) <= 1)
        return {};
    ConstraintPlacement placement(input, TrailingPlacement::AfterLast, nullptr);
    Status status = placement.run(wanted);
    if (!status.ok())
        return status;
    Candidate late{counts.count(placement.order()), 0};
    if (placed.earlyBlocks == 0 || operationsOf(placed) >= kWorthwhile * operationsOf(late))
        placed = std::move(late);
    return {};
}

} // namespace

Status orderInSpaces(const OrderingInput& input, const OrderGraph& orderGraph,
                     const EarlyRule* rule, EliminationCounts& counts, Candidate& best)
{
    std::vector<unsigned int> wanted;
    Status status = orderGraph(input, wanted);
    if (status.ok())
        status = placeConstraints(input, wanted, rule, counts, best);
    if (!status.ok() || fillOf(input, best) <= kLittleFill)
        return status;
    const ConstraintSpace space(input);
    if (!space.isUsable())
        return {};
    status = space.order(input, orderGraph, wanted);
    if (!status.ok())
        return status;
    Candidate inSpace{counts.count(std::move(wanted)), 0};
    if (operationsOf(inSpace) < operationsOf(best) &&
        firstUnsafePosition(input, inSpace.elimination.order.data()) == kNone)
        best = std::move(inSpace);
    return {};
}

bool takeBothEnds(const OrderingInput& input, const EarlyRule* rule, EliminationCounts& counts,
                  const Candidate& oneEnd, Candidate& both)
{
    if (!isPath(oneEnd.elimination.parents))
        return false;
    ConstraintPlacement placement(input, TrailingPlacement::AfterLast,
                                  oneEnd.earlyBlocks > 0 ? rule : nullptr);
    if (!placement.run(fromBothEnds(oneEnd.elimination.order)).ok() ||
        firstStructurallyZeroPivot(input, placement.order()) != kNone)
        return false;
    both = {counts.count(placement.order()), placement.earlyBlocks()};
    return areTwoPaths(both.elimination.parents) &&
           operationsOf(both) < kBothEndsCost * operationsOf(oneEnd);
}

} // namespace client
} // namespace kyrOrvel
