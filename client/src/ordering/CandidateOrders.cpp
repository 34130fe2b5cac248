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

/// Couplings per block from which an order of the constraints by themselves is as good as taken. Of
/// 3,100 systems with more, 2 % were worse off by 5 % of the operations and 1 % by a fifth; it
/// takes half of the time of an analysis to know.
constexpr double kManyCouplings = 1.06;

/// What an order that pays no heed to what is trailing has to have of the operations of one that
/// does, at the most: it loses digits.
constexpr double kWorthDigits = 0.25;

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
        const bool fits = early.run(wanted).ok();
        if (fits && early.earlyBlocks() == 0) { // as without the rule
            placed = {counts.count(early.order()), 0};
            return {};
        }
        if (fits && firstStructurallyZeroPivot(input, early.order()) == kNone)
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

/// Whether there are many couplings beyond those that connect everything.
bool hasManyLoops(const OrderingInput& input)
{
    const double n = input.pattern.numBlockRows;
    const double couplings = input.pattern.rowStart[input.pattern.numBlockRows] - n;
    return couplings > kManyCouplings * n;
}

bool isNone(const Candidate& candidate)
{
    return candidate.elimination.order.empty();
}

/// An order of the trailing blocks behind all ordinary ones: none if that is not possible.
Status orderConstraints(const OrderingInput& input, const OrderGraph& orderGraph,
                        EliminationCounts& counts, Candidate& found)
{
    const ConstraintSpace space(input);
    if (!space.isUsable())
        return {};
    std::vector<unsigned int> order;
    Status status = space.order(orderGraph, order);
    if (status.ok())
        found = {counts.count(std::move(order)), 0};
    return status;
}

Status orderPlaced(const OrderingInput& input, const OrderGraph& orderGraph, ManyLoops manyLoops,
                   const EarlyRule* rule, EliminationCounts& counts, Candidate& best)
{
    const bool decided = manyLoops == ManyLoops::Decide && hasManyLoops(input);
    if (decided) {
        Status status = orderConstraints(input, orderGraph, counts, best);
        if (!status.ok() || !isNone(best))
            return status;
    }
    std::vector<unsigned int> wanted;
    const bool isWishList = input.firstTrailing < input.pattern.numBlockRows;
    Status status = orderGraph({input.graph, input.sizes, isWishList}, wanted);
    if (status.ok() && !isWishList) {
        best = {counts.count(std::move(wanted)), 0};
        return {};
    }
    if (status.ok())
        status = placeConstraints(input, wanted, rule, counts, best);
    if (!status.ok() || decided || fillOf(input, best) <= kLittleFill)
        return status;
    Candidate inSpace;
    status = orderConstraints(input, orderGraph, counts, inSpace);
    if (!isNone(inSpace) && operationsOf(inSpace) < operationsOf(best))
        best = std::move(inSpace);
    return status;
}

bool areAllSoft(const OrderingInput& input, const EarlyRule& rule)
{
    for (unsigned int t = input.firstTrailing; t < input.pattern.numBlockRows; ++t)
        if (!rule.isSoft(t))
            return false;
    return true;
}

/// Trailing blocks before an ordinary one that they couple to.
unsigned int countEarly(const OrderingInput& input, const std::vector<unsigned int>& order)
{
    std::vector<bool> waits(order.size(), false); // for an ordinary block
    unsigned int count = 0;
    for (const unsigned int block : order) {
        waits[block] = block >= input.firstTrailing;
        if (!waits[block])
            input.graph.forEachNeighbour(block, [&](unsigned int t) {
                count += waits[t];
                waits[t] = false;
            });
    }
    return count;
}

Status orderFreely(const OrderingInput& input, const OrderGraph& orderGraph,
                   EliminationCounts& counts, Candidate& best)
{
    std::vector<unsigned int> order;
    Status status = orderGraph({input.graph, input.sizes, false}, order);
    if (!status.ok())
        return status;
    const unsigned int early = countEarly(input, order);
    Candidate candidate{counts.count(std::move(order)), early, true};
    if (early > 0 && operationsOf(candidate) < kWorthDigits * operationsOf(best))
        best = std::move(candidate);
    return {};
}

} // namespace

Status orderInSpaces(const OrderingInput& input, const OrderGraph& orderGraph, ManyLoops manyLoops,
                     const EarlyRule* rule, EliminationCounts& counts, Candidate& best)
{
    Status status = orderPlaced(input, orderGraph, manyLoops, rule, counts, best);
    const bool compliant = status.ok() && rule &&
                           input.firstTrailing < input.pattern.numBlockRows &&
                           fillOf(input, best) > kLittleFill && areAllSoft(input, *rule);
    return compliant ? orderFreely(input, orderGraph, counts, best) : status;
}

bool takeBothEnds(const OrderingInput& input, const EarlyRule* rule, EliminationCounts& counts,
                  const Candidate& oneEnd, Candidate& both)
{
    if (oneEnd.free || !isPath(oneEnd.elimination.parents))
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
