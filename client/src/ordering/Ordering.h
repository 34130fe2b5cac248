#ifndef KYRORVEL_CLIENT_ORDERING_H
#define KYRORVEL_CLIENT_ORDERING_H

#include "../symbolic/BlockGraph.h"
#include "../symbolic/EliminationCounts.h"

#include <kyrOrvelClient/Analysis>
#include <kyrOrvelClient/Status>

#include <kyrOrvel/EliminationTree>
#include <kyrOrvel/Permutation>
#include <kyrOrvel/ScratchPad>
#include <kyrOrvel/SkeletonMatrix>

#include <cstdint>
#include <vector>

namespace kyrOrvel {
namespace client {

class EarlyRule;

/// A block pattern (lower triangle by rows, columns ascending, diagonal last) with its trailing
/// class.
struct OrderingInput {
    const SkeletonMatrix& pattern;
    const BlockGraph& graph; ///< of the pattern
    unsigned int firstTrailing;
    /// Per block: whether a pivot of its own is to be expected, because it has a diagonal block or
    /// no rows. Such a trailing block needs nothing before it if it couples to no ordinary block.
    const std::vector<unsigned char>& standsAlone;
    const std::vector<unsigned int>& sizes;     ///< scalar size of each block
    const std::vector<unsigned int>& userOrder; ///< for Ordering::User
};

/// An elimination order with the structure that belongs to it.
struct OrderingResult {
    OrderingMethod method = OrderingMethod::MinimumFill;
    unsigned int earlyBlocks = 0; ///< trailing blocks before an ordinary one that they couple to
    bool free = false;            ///< whether trailing blocks are wherever fill is least
    bool inTurn = false;          ///< whether blocks of two ends of a chain alternate
    Permutation permutation;      ///< P alone is in step
    SkeletonMatrix pattern;       ///< the input permuted by P; flags mark transposed entries
    EliminationTree tree;         ///< elimination tree of `pattern`
    FactorCounts counts;
    std::vector<std::int64_t> columnBlocks; ///< of L, per position, the diagonal among them
};

/// Chooses an elimination order in which no trailing block is eliminated before something that
/// gives it pivots; Analysis explains the choices.
///
/// The default with trailing blocks is constraint-aware: a minimum fill order of all blocks, in
/// which every trailing block is moved to directly behind the last ordinary block that it couples
/// to, unless the rule lets it stay early. Then
///
///  - behind the last one it is safe. Let K be the leading part of the matrix up to some pivot. If
///    all its constraints are complete, K = [M Gᵀ; G 0] with M positive definite and G whole rows
///    of the Jacobian; where those are independent, G·M⁻¹·Gᵀ is positive definite and the pivot,
///    positive for a body and negative for a multiplier. Nor is it smaller than need be: G·M⁻¹·Gᵀ
///    is a principal submatrix of the whole system's, so its condition is no worse.
///  - early, directly behind its first body, is safe if for every body the rows of the constraints
///    that begin there are independent on that body alone: sorted by first body, G is block upper
///    triangular with full-rank diagonal blocks. Constraints placed late are not covered by that
///    argument, so a rule is an estimate, and the pivots have the last word.
///
/// Early is cheaper on trees, where it makes no fill at all; elsewhere both orders are built and
/// the one with fewer operations wins, late on a tie of 5 %. Where ordinary blocks do not couple to
/// each other, an order of the trailing blocks behind all of them competes too unless there is
/// little fill: as safe as late ones, and on nets, walls and heaps with a fifth of the operations.
/// Where there are many loops it is the only one. Where all trailing blocks are soft and that saves
/// three quarters of the operations, they go wherever fill is least. A chain is taken from both of
/// its ends in turn. O(minimum fill + blocks of the matrix), almost.
///
/// A trailing block that couples to trailing blocks only is put behind one that is itself in place.
/// Where that is not possible either, its first pivot is zero whatever the values: Singular, naming
/// the first such block. An order of the user's is taken as it is: Singular, naming the block, if a
/// pivot in it is zero whatever the values.
///
/// @param rule  lets trailing blocks be early; null: none is
Status computeOrdering(const OrderingInput& input, Ordering choice, const EarlyRule* rule,
                       ScratchPad& scratch, OrderingResult& result);

/// Ok if no pivot in `order` is zero whatever the values; Singular, naming the block, or
/// InvalidInput if it is no order of all blocks.
Status checkOrder(const OrderingInput& input, const std::vector<unsigned int>& order);

/// The position of the first trailing block in `order` that has no block to lean on before it, or
/// kNone. O(entries).
unsigned int firstUnsafePosition(const OrderingInput& input, const unsigned int* order);

} // namespace client
} // namespace kyrOrvel

#endif
