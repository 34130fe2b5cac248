#include "Ordering.h"

#include "../symbolic/FactorStructure.h"
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

/// An order with that many times the blocks of another's factor is not looked at further: waiting
/// for the hub of a large star would fill the matrix.
constexpr std::uint64_t kHopeless = 8;

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

/// Renumbers the positions in post-order of the elimination tree. Coupled blocks keep their order
/// among themselves, so fill-in and pivots stay what they are; but every subtree becomes a range of
/// positions, which threads and caches like (Liu 1990).
void applyPostOrder(OrderingResult& result)
{
    Permutation& permutation = result.permutation;
    for (unsigned int k = 0; k < permutation.size; ++k)
        permutation.Pi[result.tree.postOrder[k]] = permutation.P[k];
    std::copy_n(permutation.Pi, permutation.size, permutation.P);
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

Status symamd(const OrderingInput& input, ScratchPad& scratch, OrderingResult& result)
{
    if (!Reordering::computeSymamdPermutation(input.pattern, result.permutation, scratch))
        return {StatusCode::OutOfMemory,
                "the minimum degree ordering ran out of memory; no order was chosen", kNone, kNone};
    return {};
}

/// Minimum degree, and what it takes to give every trailing block something to lean on.
Status orderRepaired(const OrderingInput& input, ScratchPad& scratch, OrderingResult& result)
{
    Status status = symamd(input, scratch, result);
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

/// The factor's structure, up to that many blocks, for the order as it stands.
FactorStructure structureOf(const OrderingInput& input, const OrderingResult& result,
                            std::uint64_t maxBlocks = UINT64_MAX)
{
    std::vector<unsigned int> sizes;
    sizes.reserve(result.permutation.size);
    for (unsigned int k = 0; k < result.permutation.size; ++k)
        sizes.push_back(input.sizes[result.permutation.P[k]]);
    return FactorStructure(result.pattern, result.tree, sizes, maxBlocks);
}

/// Operations and blocks of the factor that an order leads to, unless it has more than `maxBlocks`.
/// Leaves `result` with its structure.
FactorCounts countsOf(const OrderingInput& input, const Order& order, ScratchPad& scratch,
                      OrderingResult& result, std::uint64_t maxBlocks = UINT64_MAX)
{
    use(order, result.permutation);
    buildStructure(input, scratch, result);
    return structureOf(input, result, maxBlocks).counts();
}

/// Whether trailing blocks may stay where early elimination put them: no structurally zero pivot,
/// and no fill at all or clearly fewer operations than late elimination.
bool earlyIsBetter(const OrderingInput& input, const Order& early, const Order& late,
                   ScratchPad& scratch, OrderingResult& result)
{
    if (firstStructurallyZeroPivot(input, early) != kNone)
        return false;
    const FactorCounts counts = countsOf(input, early, scratch, result);
    if (counts.blocks == input.pattern.rowStart[input.pattern.numBlockRows])
        return true;
    const FactorCounts ofLate = countsOf(input, late, scratch, result, kHopeless * counts.blocks);
    return !ofLate.complete || static_cast<double>(counts.operations) <
                                   kWorthwhile * static_cast<double>(ofLate.operations);
}

/// Places the trailing blocks of an order of all blocks.
Status placeConstraints(const OrderingInput& input, const Order& wanted, const EarlyRule* rule,
                        ScratchPad& scratch, OrderingResult& result)
{
    ConstraintPlacement late(input, TrailingPlacement::AfterLast, nullptr);
    Status status = late.run(wanted);
    if (!status.ok())
        return status;
    result.earlyBlocks = 0;
    if (rule) {
        ConstraintPlacement early(input, TrailingPlacement::AfterLast, rule);
        status = early.run(wanted);
        if (status.ok() && early.earlyBlocks() > 0 &&
            earlyIsBetter(input, early.order(), late.order(), scratch, result)) {
            result.earlyBlocks = early.earlyBlocks();
            use(early.order(), result.permutation);
            return {};
        }
    }
    use(late.order(), result.permutation);
    return {};
}

/// An order of the whole system with its trailing blocks placed, or one of the trailing blocks
/// behind all ordinary ones, whichever has fewer operations.
Status orderInSpaces(const OrderingInput& input, const OrderGraph& orderGraph,
                     const EarlyRule* rule, ScratchPad& scratch, OrderingResult& result)
{
    Order wanted;
    Status status = orderGraph(input, wanted);
    if (status.ok())
        status = placeConstraints(input, wanted, rule, scratch, result);
    if (!status.ok())
        return status;
    const ConstraintSpace space(input);
    if (!space.isUsable())
        return {};
    const Order placed = orderIn(result.permutation);
    const FactorCounts counts = countsOf(input, placed, scratch, result);
    if (counts.blocks == input.pattern.rowStart[input.pattern.numBlockRows])
        return {}; // no fill-in at all
    status = space.order(input, orderGraph, wanted);
    if (!status.ok())
        return status;
    const FactorCounts ofSpace =
        countsOf(input, wanted, scratch, result, kHopeless * counts.blocks);
    const bool better = ofSpace.complete && ofSpace.operations < counts.operations &&
                        firstUnsafePosition(input, wanted.data()) == kNone;
    if (better)
        result.earlyBlocks = 0;
    else
        use(placed, result.permutation);
    return {};
}

Status orderConstraintAware(const OrderingInput& input, const EarlyRule* rule, ScratchPad& scratch,
                            OrderingResult& result)
{
    result.method = OrderingMethod::ConstraintAware;
    const auto minimumDegree = [&](const OrderingInput& graph, Order& order) {
        Status status = symamd(graph, scratch, result);
        if (status.ok())
            order = orderIn(result.permutation);
        return status;
    };
    return orderInSpaces(input, minimumDegree, rule, scratch, result);
}

Status orderByDissection(const OrderingInput& input, const EarlyRule* rule, ScratchPad& scratch,
                         OrderingResult& result)
{
    result.method = OrderingMethod::NestedDissection;
    return orderInSpaces(input, nestedDissection, rule, scratch, result);
}

/// The better of the two, minimum degree if they are equal or if it is the only one there is.
Status orderBest(const OrderingInput& input, const EarlyRule* rule, ScratchPad& scratch,
                 OrderingResult& result)
{
    if (!hasNestedDissection())
        return orderConstraintAware(input, rule, scratch, result);
    Status status = orderByDissection(input, rule, scratch, result);
    if (!status.ok())
        return status;
    const Order dissected = orderIn(result.permutation);
    const unsigned int earlyInDissected = result.earlyBlocks;
    const std::uint64_t operations = countsOf(input, dissected, scratch, result).operations;
    status = orderConstraintAware(input, rule, scratch, result);
    if (!status.ok() ||
        countsOf(input, orderIn(result.permutation), scratch, result).operations <= operations)
        return status;
    use(dissected, result.permutation);
    result.earlyBlocks = earlyInDissected;
    result.method = OrderingMethod::NestedDissection;
    return {};
}

/// Takes a chain from both of its ends, block by block in turn, unless that costs too much. Each
/// block of a chain waits for the one before it; so two are at work at a time in the processor. (A
/// rotation of the elimination tree, Liu 1988.)
///
/// @return whether it did; the structure belongs to the order either way
bool takeBothEnds(const OrderingInput& input, const EarlyRule* rule, ScratchPad& scratch,
                  OrderingResult& result)
{
    if (!isPath(result.tree))
        return false;
    const Order oneEnd = orderIn(result.permutation);
    const FactorCounts counts = structureOf(input, result).counts();
    ConstraintPlacement placement(input, TrailingPlacement::AfterLast,
                                  result.earlyBlocks > 0 ? rule : nullptr);
    if (!placement.run(fromBothEnds(oneEnd)).ok() ||
        firstStructurallyZeroPivot(input, placement.order()) != kNone)
        return false;
    const FactorCounts ofBoth =
        countsOf(input, placement.order(), scratch, result, kHopeless * counts.blocks);
    const bool better = ofBoth.complete && areTwoPaths(result.tree) &&
                        static_cast<double>(ofBoth.operations) <
                            kBothEndsCost * static_cast<double>(counts.operations);
    use(better ? inTurn(placement.order(), result.tree) : oneEnd, result.permutation);
    buildStructure(input, scratch, result);
    if (better)
        result.earlyBlocks = placement.earlyBlocks();
    return better;
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
              ScratchPad& scratch, OrderingResult& result)
{
    const bool trailing = input.firstTrailing < input.pattern.numBlockRows;
    switch (choice) {
    case Ordering::Automatic:
        return trailing ? orderConstraintAware(input, rule, scratch, result)
                        : orderRepaired(input, scratch, result);
    case Ordering::ConstraintAware:
        return orderConstraintAware(input, rule, scratch, result);
    case Ordering::Symamd:
        return orderRepaired(input, scratch, result);
    case Ordering::NestedDissection:
        return orderByDissection(input, rule, scratch, result);
    case Ordering::Natural:
        return orderNaturally(input, result);
    case Ordering::User:
        result.method = OrderingMethod::User;
        return orderAsGiven(input, input.userOrder, result);
    case Ordering::Best:
        return orderBest(input, rule, scratch, result);
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
    Status status = choose(input, choice, rule, scratch, result);
    if (!status.ok())
        return status;
    moveIsolatedLast(input.pattern, result.permutation);
    buildStructure(input, scratch, result);
    if (choice == Ordering::User || choice == Ordering::Natural)
        return {};
    result.inTurn = result.method == OrderingMethod::ConstraintAware &&
                    takeBothEnds(input, rule, scratch, result);
    if (result.inTurn)
        return {};
    applyPostOrder(result);
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
