#ifndef KYRORVEL_CLIENT_ORDERING_H
#define KYRORVEL_CLIENT_ORDERING_H

#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/Status>

#include <kyrOrvel/EliminationTree>
#include <kyrOrvel/Permutation>
#include <kyrOrvel/ScratchPad>
#include <kyrOrvel/SkeletonMatrix>

#include <vector>

namespace kyrOrvel {
namespace client {

/// A block pattern (lower triangle by rows, columns ascending, diagonal last) with its trailing
/// class.
struct OrderingInput {
    const SkeletonMatrix& pattern;
    unsigned int firstTrailing;
    /// Per block: whether a pivot of its own is to be expected, because it has a diagonal block or
    /// no rows. Such a trailing block needs nothing before it if it couples to no ordinary block.
    const std::vector<unsigned char>& standsAlone;
};

/// An elimination order with the structure that belongs to it.
struct OrderingResult {
    OrderingMethod method = OrderingMethod::Symamd;
    Permutation permutation; ///< P alone is in step
    SkeletonMatrix pattern;  ///< the input permuted by P; flags mark transposed entries
    EliminationTree tree;    ///< elimination tree of `pattern`
};

/// Where trailing blocks go.
enum class TrailingPlacement {
    /// Behind the first ordinary block that they couple to: cheap, and structurally enough.
    AfterFirst,
    /// Behind the last one. With positive definite ordinary blocks and constraints that do not
    /// depend on each other every pivot is then safe, whatever the values: the leading matrix of
    /// each step is one of complete constraints on positive definite bodies, which is nonsingular.
    AfterLast
};

/// Orders by minimum degree, then puts every trailing block behind ordinary blocks that it couples
/// to. AfterFirst: by the library's two repairs where they manage, by delaying single blocks where
/// not. AfterLast: by delaying.
///
/// A trailing block that couples to trailing blocks only is put behind one that is itself in place.
/// Where that is not possible either, its first pivot is zero whatever the values: Singular, naming
/// the first such block.
Status computeOrdering(const OrderingInput& input, TrailingPlacement placement, ScratchPad& scratch,
                       OrderingResult& result);

/// The position of the first trailing block in `order` that has no block to lean on before it, or
/// kNone. O(entries).
unsigned int firstUnsafePosition(const OrderingInput& input, const unsigned int* order);

} // namespace client
} // namespace kyrOrvel

#endif
