#include "Ordering.h"

#include "CandidateOrders.h"
#include "ConstraintPlacement.h"
#include "MinimumFill.h"
#include "NestedDissection.h"
#include "StructuralRank.h"
#include "TwoEnds.h"

#include <kyrOrvel/Reordering>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <numeric>
#include <string>
#include <utility>

namespace kyrOrvel {
namespace client {

namespace {

/// Rounds of repair before single blocks are delayed instead. A repaired ordering changes the tree,
/// which can make new leaves; two rounds settle every system seen.
constexpr int kMaxRepairs = 4;

/// Operations per entry of the pattern that make another order worthwhile, from the other end as it
/// were: the factorization takes fifty times as long as to find one. They differ by up to a fifth.
constexpr double kLongFactorization = 120000;

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

/// Moves blocks that couple to nothing to the end; returns whether that changed the order. They may
/// stand anywhere; a matrix whose first row couples to nothing would be mistaken for one in lower
/// order.
bool moveIsolatedLast(const BlockGraph& graph, Order& order)
{
    const auto isCoupled = [&](unsigned int block) {
        return graph.start[block] < graph.start[block + 1];
    };
    if (std::is_partitioned(order.begin(), order.end(), isCoupled))
        return false;
    Order moved;
    moved.reserve(order.size());
    std::copy_if(order.begin(), order.end(), std::back_inserter(moved), isCoupled);
    std::remove_copy_if(order.begin(), order.end(), std::back_inserter(moved), isCoupled);
    order = std::move(moved);
    return true;
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

/// Minimum degree, and what it takes to give every trailing block something to lean on.
Status orderRepaired(const OrderingInput& input, ScratchPad& scratch, OrderingResult& result,
                     Order& order)
{
    if (!Reordering::computeSymamdPermutation(input.pattern, result.permutation, scratch))
        return {StatusCode::OutOfMemory,
                "the minimum degree ordering ran out of memory; no order was chosen", kNone, kNone};
    result.method = OrderingMethod::Symamd;
    order = orderIn(result.permutation);
    if (input.firstTrailing == input.pattern.numBlockRows)
        return {};
    result.method = OrderingMethod::SymamdRepaired;
    if (repair(input, scratch, result)) {
        order = orderIn(result.permutation);
        return {};
    }
    result.method = OrderingMethod::SymamdDelayed;
    ConstraintPlacement placement(input, TrailingPlacement::AfterFirst, nullptr);
    Status status = placement.run(order);
    if (status.ok())
        order = placement.order();
    return status;
}

Status orderByFill(const GraphToOrder& graph, Order& order)
{
    // Sizes would mislead where trailing blocks are moved behind larger ones, which they tie
    // together.
    const Order alike(graph.isWishList ? graph.sizes.size() : 0, 1);
    const Order& weights = graph.isWishList ? alike : graph.sizes;
    FillOrder found = minimumFill(graph.couplings, weights, FirstOfEqual::Lowest);
    const auto entries = static_cast<double>(graph.couplings.numEntries());
    if (!graph.isWishList && found.operations > kLongFactorization * entries) {
        FillOrder other = minimumFill(graph.couplings, weights, FirstOfEqual::Highest);
        if (other.operations < found.operations)
            found = std::move(other);
    }
    order = std::move(found.order);
    return {};
}

Status orderConstraintAware(const OrderingInput& input, const EarlyRule* rule,
                            EliminationCounts& counts, OrderingResult& result, Candidate& best)
{
    result.method = input.firstTrailing < input.pattern.numBlockRows
                        ? OrderingMethod::ConstraintAware
                        : OrderingMethod::MinimumFill;
    return orderInSpaces(input, orderByFill, ManyLoops::Decide, rule, counts, best);
}

/// The better of the two, minimum fill if they are equal or if it is the only one there is.
Status orderBest(const OrderingInput& input, const EarlyRule* rule, EliminationCounts& counts,
                 OrderingResult& result, Candidate& best)
{
    Status status = orderConstraintAware(input, rule, counts, result, best);
    if (!status.ok() || !hasNestedDissection())
        return status;
    Candidate dissected;
    status = orderInSpaces(input, nestedDissection, ManyLoops::Compare, rule, counts, dissected);
    if (status.ok() &&
        dissected.elimination.counts.operations < best.elimination.counts.operations) {
        best = std::move(dissected);
        result.method = OrderingMethod::NestedDissection;
    }
    return status;
}

/// Takes an order with its positions renumbered such that the elimination tree and the factor stay
/// the same.
void takeRenumbered(const Candidate& candidate, const std::vector<unsigned int>& numbers,
                    OrderingResult& result)
{
    const std::size_t n = numbers.size();
    Order order(n);
    result.columnBlocks.resize(n);
    for (std::size_t k = 0; k < n; ++k) {
        order[numbers[k]] = candidate.elimination.order[k];
        result.columnBlocks[numbers[k]] = candidate.elimination.columnBlocks[k];
    }
    result.counts = candidate.elimination.counts;
    result.earlyBlocks = candidate.earlyBlocks;
    result.free = candidate.free;
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

Status choose(const OrderingInput& input, Ordering choice, const EarlyRule* rule,
              ScratchPad& scratch, EliminationCounts& counts, OrderingResult& result,
              Candidate& found)
{
    Order& order = found.elimination.order;
    switch (choice) {
    case Ordering::Automatic:
    case Ordering::ConstraintAware:
        return orderConstraintAware(input, rule, counts, result, found);
    case Ordering::Symamd:
        return orderRepaired(input, scratch, result, order);
    case Ordering::NestedDissection:
        result.method = OrderingMethod::NestedDissection;
        return orderInSpaces(input, nestedDissection, ManyLoops::Compare, rule, counts, found);
    case Ordering::Natural:
        result.method = OrderingMethod::Natural;
        order.resize(input.pattern.numBlockRows);
        std::iota(order.begin(), order.end(), 0u);
        return checkOrder(input, order);
    case Ordering::User:
        result.method = OrderingMethod::User;
        order = input.userOrder;
        return checkOrder(input, order);
    case Ordering::Best:
        return orderBest(input, rule, counts, result, found);
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
    EliminationCounts counts(input.graph, input.sizes);
    Candidate found;
    Status status = choose(input, choice, rule, scratch, counts, result, found);
    if (!status.ok())
        return status;
    Elimination& elimination = found.elimination;
    const bool moved = moveIsolatedLast(input.graph, elimination.order);
    if (moved || elimination.parents.size() != elimination.order.size())
        elimination = counts.count(std::move(elimination.order));
    Candidate both;
    result.inTurn = result.method == OrderingMethod::ConstraintAware &&
                    takeBothEnds(input, rule, counts, found, both);
    if (result.inTurn) {
        takeRenumbered(both, inTurn(both.elimination.parents), result);
    } else if (choice == Ordering::User || choice == Ordering::Natural) {
        Order same(elimination.order.size());
        std::iota(same.begin(), same.end(), 0u);
        takeRenumbered(found, same, result);
    } else {
        // Every subtree becomes a range of positions, which threads and caches like (Liu 1990).
        takeRenumbered(found, elimination.postOrder, result);
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
