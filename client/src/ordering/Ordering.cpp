#include "Ordering.h"

#include "../symbolic/EliminationCounts.h"
#include "ConstraintPlacement.h"
#include "ConstraintSpace.h"
#include "EarlyRule.h"
#include "NestedDissection.h"
#include "StructuralRank.h"
#include "TwoEnds.h"

#include <kyrOrvel/Reordering>

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <string>

namespace kyrOrvel {
namespace client {

namespace {

/// Rounds of repair before single blocks are delayed instead. A repaired ordering changes the tree,
/// which can make new leaves; two rounds settle every system seen.
constexpr int kMaxRepairs = 4;

/// Early elimination has to save that share of the operations: late elimination needs no luck.
constexpr double kWorthwhile = 0.95;

/// What eliminating a chain from both ends may cost, in operations of eliminating it from one:
/// constraints that need both of their bodies may have to wait.
constexpr double kBothEndsCost = 1.5;

using Order = std::vector<unsigned int>;

bool sameOrder(const Permutation& permutation, const std::vector<unsigned int>& order)
{
    return std::equal(order.begin(), order.end(), permutation.P);
}

/// The library's two repairs, again and again until they change nothing. Returns whether they got
/// there and every trailing block has something to lean on before it.
bool repair(const OrderingInput& input, ScratchPad& scratch, OrderingResult& result)
{
    Permutation& permutation = result.permutation;
    for (int round = 0; round < kMaxRepairs; ++round) {
        const std::vector<unsigned int> before(permutation.P, permutation.P + permutation.size);
        Reordering::modifyPermutation(input.pattern, input.firstTrailing, permutation);
        if (!Reordering::zeroLeafSwap(input.pattern, result.pattern, result.tree,
                                      input.firstTrailing, permutation, scratch))
            return false;
        if (sameOrder(permutation, before))
            return firstUnsafePosition(input, permutation.P) == kNone;
    }
    return false;
}

/// Moves blocks that couple to nothing to the end. They may stand anywhere; a matrix whose first
/// row couples to nothing would be mistaken for one in lower order.
void moveIsolatedLast(const SkeletonMatrix& S, Permutation& permutation)
{
    std::vector<unsigned char> coupled(S.numBlockRows, 0);
    for (unsigned int r = 0; r < S.numBlockRows; ++r)
        for (unsigned int e = S.rowStart[r]; e + 1 < S.rowStart[r + 1]; ++e)
            coupled[r] = coupled[S.columnIndices[e]] = 1;
    unsigned int next = 0;
    for (const bool wanted : {true, false})
        for (unsigned int k = 0; k < permutation.size; ++k)
            if ((coupled[permutation.P[k]] != 0) == wanted)
                permutation.Pi[next++] = permutation.P[k];
    std::copy_n(permutation.Pi, permutation.size, permutation.P);
}

/// Builds the permuted pattern and its tree for the permutation as it stands: with no trailing
/// block the swap has nothing to move.
void buildStructure(const OrderingInput& input, ScratchPad& scratch, OrderingResult& result)
{
    Reordering::zeroLeafSwap(input.pattern, result.pattern, result.tree, input.pattern.numBlockRows,
                             result.permutation, scratch);
}

Order orderIn(const Permutation& permutation)
{
    return Order(permutation.P, permutation.P + permutation.size);
}

void use(const Order& order, Permutation& permutation)
{
    const auto n = static_cast<unsigned int>(order.size());
    if (permutation.capacity < n) {
        for (unsigned int** array : {&permutation.P, &permutation.Pi}) {
            delete[] * array;
            *array = nullptr;
            permutation.capacity = 0;
        }
        permutation.P = new unsigned int[order.size() + 1];
        permutation.Pi = new unsigned int[order.size() + 1];
        permutation.capacity = n;
    }
    permutation.size = n;
    std::copy(order.begin(), order.end(), permutation.P);
}

Status symamd(const OrderingInput& input, ScratchPad& scratch, Permutation& permutation)
{
    if (!Reordering::computeSymamdPermutation(input.pattern, permutation, scratch))
        return {StatusCode::OutOfMemory,
                "the minimum degree ordering ran out of memory; no order was chosen", kNone, kNone};
    return {};
}

/// Minimum degree, and what it takes to give every trailing block something to lean on.
Status orderRepaired(const OrderingInput& input, ScratchPad& scratch, OrderingResult& result)
{
    Status status = symamd(input, scratch, result.permutation);
    result.method = OrderingMethod::Symamd;
    if (!status.ok() || input.firstTrailing == input.pattern.numBlockRows)
        return status;
    const Order wanted = orderIn(result.permutation);
    result.method = OrderingMethod::SymamdRepaired;
    if (repair(input, scratch, result))
        return {};
    result.method = OrderingMethod::SymamdDelayed;
    ConstraintPlacement placement(input, TrailingPlacement::AfterFirst, nullptr);
    status = placement.run(wanted);
    if (status.ok())
        use(placement.order(), result.permutation);
    return status;
}

/// Whether a factor has no more blocks than the matrix.
bool hasNoFill(const OrderingInput& input, const FactorCounts& counts)
{
    return counts.blocks == input.pattern.rowStart[input.pattern.numBlockRows];
}

/// An order of all blocks that may be taken.
struct Candidate {
    Order order;
    FactorCounts counts;
    unsigned int earlyBlocks = 0; ///< trailing blocks before an ordinary one that they couple to
};

/// Places the trailing blocks of an order of all blocks: as the rule lets them stay early, if that
/// gives no structurally zero pivot, and no fill at all or clearly fewer operations than late.
Status placeConstraints(const OrderingInput& input, const Order& wanted, const EarlyRule* rule,
                        EliminationCounts& counts, Candidate& placed)
{
    if (rule) {
        ConstraintPlacement early(input, TrailingPlacement::AfterLast, rule);
        if (early.run(wanted).ok() && early.earlyBlocks() > 0 &&
            firstStructurallyZeroPivot(input, early.order()) == kNone)
            placed = {early.order(), counts.count(early.order()), early.earlyBlocks()};
    }
    if (placed.earlyBlocks > 0 && hasNoFill(input, placed.counts))
        return {};
    ConstraintPlacement late(input, TrailingPlacement::AfterLast, nullptr);
    Status status = late.run(wanted);
    if (!status.ok())
        return status;
    const FactorCounts ofLate = counts.count(late.order());
    if (placed.earlyBlocks == 0 ||
        static_cast<double>(placed.counts.operations) >=
            kWorthwhile * static_cast<double>(ofLate.operations))
        placed = {late.order(), ofLate, 0};
    return {};
}

/// An order of the whole system with its trailing blocks placed, or one of the trailing blocks
/// behind all ordinary ones, whichever has fewer operations.
Status orderInSpaces(const OrderingInput& input, const OrderGraph& orderGraph,
                     const EarlyRule* rule, EliminationCounts& counts, Candidate& best)
{
    Order wanted;
    Status status = orderGraph(input, wanted);
    if (status.ok())
        status = placeConstraints(input, wanted, rule, counts, best);
    if (!status.ok() || hasNoFill(input, best.counts))
        return status;
    const ConstraintSpace space(input);
    if (!space.isUsable())
        return {};
    status = space.order(input, orderGraph, wanted);
    if (!status.ok())
        return status;
    const FactorCounts ofSpace = counts.count(wanted);
    if (ofSpace.operations < best.counts.operations &&
        firstUnsafePosition(input, wanted.data()) == kNone)
        best = {wanted, ofSpace, 0};
    return {};
}

void take(const Candidate& candidate, OrderingResult& result)
{
    use(candidate.order, result.permutation);
    result.earlyBlocks = candidate.earlyBlocks;
}

Status findByMinimumDegree(const OrderingInput& input, const EarlyRule* rule, ScratchPad& scratch,
                           EliminationCounts& counts, Candidate& best)
{
    Permutation permutation;
    const auto minimumDegree = [&](const OrderingInput& graph, Order& order) {
        Status status = symamd(graph, scratch, permutation);
        if (status.ok())
            order = orderIn(permutation);
        return status;
    };
    return orderInSpaces(input, minimumDegree, rule, counts, best);
}

Status orderConstraintAware(const OrderingInput& input, const EarlyRule* rule, ScratchPad& scratch,
                            EliminationCounts& counts, OrderingResult& result)
{
    Candidate best;
    result.method = OrderingMethod::ConstraintAware;
    Status status = findByMinimumDegree(input, rule, scratch, counts, best);
    if (status.ok())
        take(best, result);
    return status;
}

Status orderByDissection(const OrderingInput& input, const EarlyRule* rule,
                         EliminationCounts& counts, OrderingResult& result)
{
    Candidate best;
    result.method = OrderingMethod::NestedDissection;
    Status status = orderInSpaces(input, nestedDissection, rule, counts, best);
    if (status.ok())
        take(best, result);
    return status;
}

/// The better of the two, minimum degree if they are equal or if it is the only one there is.
Status orderBest(const OrderingInput& input, const EarlyRule* rule, ScratchPad& scratch,
                 EliminationCounts& counts, OrderingResult& result)
{
    if (!hasNestedDissection())
        return orderConstraintAware(input, rule, scratch, counts, result);
    Candidate dissected;
    Candidate byDegree;
    Status status = orderInSpaces(input, nestedDissection, rule, counts, dissected);
    if (status.ok())
        status = findByMinimumDegree(input, rule, scratch, counts, byDegree);
    if (!status.ok())
        return status;
    const bool better = byDegree.counts.operations <= dissected.counts.operations;
    result.method = better ? OrderingMethod::ConstraintAware : OrderingMethod::NestedDissection;
    take(better ? byDegree : dissected, result);
    return {};
}

/// An order in which the two ends of a chain are eliminated side by side, if the order counted last
/// is that of a chain and this does not cost too much. Each block of a chain waits for the one
/// before it; so two are at work at a time in the processor. (A rotation of the elimination tree,
/// Liu 1988.)
///
/// @return whether it is in `both`, and was counted last
bool takeBothEnds(const OrderingInput& input, const EarlyRule* rule, EliminationCounts& counts,
                  const Candidate& oneEnd, Candidate& both)
{
    if (!isPath(counts.parents()))
        return false;
    ConstraintPlacement placement(input, TrailingPlacement::AfterLast,
                                  oneEnd.earlyBlocks > 0 ? rule : nullptr);
    if (!placement.run(fromBothEnds(oneEnd.order)).ok() ||
        firstStructurallyZeroPivot(input, placement.order()) != kNone)
        return false;
    both = {placement.order(), counts.count(placement.order()), placement.earlyBlocks()};
    return areTwoPaths(counts.parents()) &&
           static_cast<double>(both.counts.operations) <
               kBothEndsCost * static_cast<double>(oneEnd.counts.operations);
}

/// Takes an order with its positions renumbered such that the elimination tree and the factor stay
/// the same.
void takeRenumbered(const Candidate& candidate, const EliminationCounts& counts,
                    const std::vector<unsigned int>& numbers, OrderingResult& result)
{
    const std::size_t n = numbers.size();
    Order order(n);
    result.columnBlocks.resize(n);
    for (std::size_t k = 0; k < n; ++k) {
        order[numbers[k]] = candidate.order[k];
        result.columnBlocks[numbers[k]] = counts.columnBlocks()[k];
    }
    result.counts = candidate.counts;
    result.earlyBlocks = candidate.earlyBlocks;
    use(order, result.permutation);
}

bool isOrder(const Order& order, std::size_t n)
{
    std::vector<unsigned char> seen(n, 0);
    for (const unsigned int block : order) {
        if (block >= n || seen[block])
            return false;
        seen[block] = 1;
    }
    return order.size() == n;
}

Status orderAsGiven(const OrderingInput& input, const Order& order, OrderingResult& result)
{
    Status status = checkOrder(input, order);
    if (status.ok())
        use(order, result.permutation);
    return status;
}

Status orderNaturally(const OrderingInput& input, OrderingResult& result)
{
    Order order(input.pattern.numBlockRows);
    std::iota(order.begin(), order.end(), 0u);
    result.method = OrderingMethod::Natural;
    return orderAsGiven(input, order, result);
}

Status choose(const OrderingInput& input, Ordering choice, const EarlyRule* rule,
              ScratchPad& scratch, EliminationCounts& counts, OrderingResult& result)
{
    const bool trailing = input.firstTrailing < input.pattern.numBlockRows;
    switch (choice) {
    case Ordering::Automatic:
        return trailing ? orderConstraintAware(input, rule, scratch, counts, result)
                        : orderRepaired(input, scratch, result);
    case Ordering::ConstraintAware:
        return orderConstraintAware(input, rule, scratch, counts, result);
    case Ordering::Symamd:
        return orderRepaired(input, scratch, result);
    case Ordering::NestedDissection:
        return orderByDissection(input, rule, counts, result);
    case Ordering::Natural:
        return orderNaturally(input, result);
    case Ordering::User:
        result.method = OrderingMethod::User;
        return orderAsGiven(input, input.userOrder, result);
    case Ordering::Best:
        return orderBest(input, rule, scratch, counts, result);
    }
    return {StatusCode::InvalidInput, "there is no such ordering", kNone, kNone};
}

} // namespace

Status checkOrder(const OrderingInput& input, const std::vector<unsigned int>& order)
{
    const std::size_t n = input.pattern.numBlockRows;
    if (!isOrder(order, n))
        return {StatusCode::InvalidInput,
                "the order does not name each of the " + std::to_string(n) + " blocks once", kNone,
                kNone};
    const unsigned int block = firstStructurallyZeroPivot(input, order);
    if (block == kNone)
        return {};
    return {StatusCode::Singular,
            "in this order block " + std::to_string(block) +
                " has a zero pivot whatever the values: what it couples to comes later or has "
                "fewer rows; move it behind all blocks that it couples to",
            block, kNone};
}

Status computeOrdering(const OrderingInput& input, Ordering choice, const EarlyRule* rule,
                       ScratchPad& scratch, OrderingResult& result)
{
    result.earlyBlocks = 0;
    result.inTurn = false;
    EliminationCounts counts(input.pattern, input.sizes);
    Status status = choose(input, choice, rule, scratch, counts, result);
    if (!status.ok())
        return status;
    moveIsolatedLast(input.pattern, result.permutation);
    Candidate found{orderIn(result.permutation), {}, result.earlyBlocks};
    found.counts = counts.count(found.order);
    Candidate both;
    if (choice == Ordering::User || choice == Ordering::Natural) {
        std::vector<unsigned int> same(found.order.size());
        std::iota(same.begin(), same.end(), 0u);
        takeRenumbered(found, counts, same, result);
    } else if (result.method == OrderingMethod::ConstraintAware &&
               takeBothEnds(input, rule, counts, found, both)) {
        takeRenumbered(both, counts, inTurn(counts.parents()), result);
        result.inTurn = true;
    } else {
        // Every subtree becomes a range of positions, which threads and caches like (Liu 1990).
        counts.count(found.order);
        takeRenumbered(found, counts, counts.postOrder(), result);
    }
    buildStructure(input, scratch, result);
    return {};
}

unsigned int firstUnsafePosition(const OrderingInput& input, const unsigned int* order)
{
    const Couplings couplings(input);
    std::vector<unsigned int> missing = couplings.needs(input, TrailingPlacement::AfterFirst);
    for (unsigned int k = 0; k < input.pattern.numBlockRows; ++k) {
        const unsigned int block = order[k];
        if (missing[block] > 0)
            return k;
        couplings.forEachLeaning(block, [&](unsigned int t) { missing[t] = 0; });
    }
    return kNone;
}

} // namespace client
} // namespace kyrOrvel
