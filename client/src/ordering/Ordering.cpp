#include "Ordering.h"

#include "Couplings.h"

#include <kyrOrvel/Reordering>

#include <algorithm>
#include <string>

namespace kyrOrvel {
namespace client {

namespace {

/// Rounds of repair before single blocks are delayed instead. A repaired ordering changes the tree,
/// which can make new leaves; two rounds settle every system seen.
constexpr int kMaxRepairs = 4;

/// Emits blocks into an order, each trailing block once enough of what it leans on is placed.
class DelayedOrder {
public:
    DelayedOrder(const OrderingInput& input, const Couplings& couplings,
                 TrailingPlacement placement)
        : m_couplings(couplings),
          m_missing(couplings.needs(input, placement)),
          m_state(m_missing.size(), kUnseen)
    {
        m_order.reserve(m_missing.size());
    }

    /// The block's turn in the incoming order: it is placed now, or waits.
    void offer(unsigned int block)
    {
        m_state[block] = kWaiting;
        if (m_missing[block] == 0)
            place(block);
    }

    const std::vector<unsigned int>& order() const { return m_order; }

    /// The first block that is still waiting, or kNone.
    unsigned int firstWaiting() const
    {
        const auto waiting = std::find(m_state.begin(), m_state.end(), kWaiting);
        return waiting == m_state.end() ? kNone
                                        : static_cast<unsigned int>(waiting - m_state.begin());
    }

private:
    enum State : unsigned char { kUnseen, kWaiting, kPlaced };

    /// Places a block and, one after the other, all that waited for it alone.
    void place(unsigned int block)
    {
        std::size_t done = m_order.size();
        append(block);
        for (; done < m_order.size(); ++done)
            m_couplings.forEachLeaning(m_order[done], [&](unsigned int t) {
                if (m_missing[t] > 0)
                    --m_missing[t];
                if (m_missing[t] == 0 && m_state[t] == kWaiting)
                    append(t);
            });
    }

    void append(unsigned int block)
    {
        m_state[block] = kPlaced;
        m_order.push_back(block);
    }

    const Couplings& m_couplings;
    std::vector<unsigned int> m_missing;
    std::vector<unsigned char> m_state;
    std::vector<unsigned int> m_order;
};

/// Whether a block couples to any other, numbered before it or after it.
bool isCoupled(const SkeletonMatrix& S, unsigned int block)
{
    const unsigned int* const later = S.columnIndices + S.rowStart[block + 1];
    const unsigned int* const end = S.columnIndices + S.rowStart[S.numBlockRows];
    return S.rowStart[block + 1] - S.rowStart[block] > 1 || std::find(later, end, block) != end;
}

Status structurallySingular(const OrderingInput& input, unsigned int block)
{
    const bool coupled = isCoupled(input.pattern, block);
    return {StatusCode::Singular,
            "trailing block " + std::to_string(block) +
                (coupled ? " couples to no ordinary block, neither directly nor through others, "
                           "and none of those has a diagonal block: whichever is eliminated first "
                           "has zero pivots; "
                         : " couples to no other block and has no diagonal block: the matrix is "
                           "singular whatever its values; ") +
                "couple it to an ordinary block, give it a diagonal block (a compliance), or leave "
                "it out",
            block, kNone};
}

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

Status delay(const OrderingInput& input, TrailingPlacement placement,
             const std::vector<unsigned int>& order, Permutation& permutation)
{
    const Couplings couplings(input);
    DelayedOrder delayed(input, couplings, placement);
    for (const unsigned int block : order)
        delayed.offer(block);
    const unsigned int waiting = delayed.firstWaiting();
    if (waiting != kNone)
        return structurallySingular(input, waiting);
    std::copy(delayed.order().begin(), delayed.order().end(), permutation.P);
    return {};
}

} // namespace

Status computeOrdering(const OrderingInput& input, TrailingPlacement placement, ScratchPad& scratch,
                       OrderingResult& result)
{
    Permutation& permutation = result.permutation;
    if (!Reordering::computeSymamdPermutation(input.pattern, permutation, scratch))
        return {StatusCode::OutOfMemory,
                "the minimum degree ordering ran out of memory; no order was chosen", kNone, kNone};
    result.method = OrderingMethod::Symamd;
    if (input.firstTrailing < input.pattern.numBlockRows) {
        const std::vector<unsigned int> symamd(permutation.P, permutation.P + permutation.size);
        const bool early = placement == TrailingPlacement::AfterFirst;
        if (early && repair(input, scratch, result)) {
            result.method = OrderingMethod::SymamdRepaired;
        } else {
            Status status = delay(input, placement, symamd, permutation);
            if (!status.ok())
                return status;
            result.method =
                early ? OrderingMethod::SymamdDelayed : OrderingMethod::SymamdAfterCoupled;
        }
    }
    moveIsolatedLast(input.pattern, permutation);
    buildStructure(input, scratch, result);
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
