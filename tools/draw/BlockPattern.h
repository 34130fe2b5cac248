#ifndef ORVEL_BLOCK_PATTERN_H
#define ORVEL_BLOCK_PATTERN_H

#include "PlotSubject.h"

#include <kyrOrvel/Orvel>

#include <cstddef>
#include <vector>

namespace orvel {

/// What a block of A or L belongs to.
enum BlockKind : unsigned char {
    kOrdinary,     ///< ordinary blocks alone
    kTrailing,     ///< trailing blocks alone
    kZeroDiagonal, ///< the diagonal of a trailing block that A does not store
    kCoupling,     ///< an ordinary and a trailing block
    kFill          ///< of L alone
};
constexpr std::size_t kBlockKinds = 5;

/// The lower triangle of A's pattern, zero diagonals of trailing blocks included: row r has the
/// entries start[r] to start[r + 1] - 1, in any order.
struct BlockPattern {
    std::vector<std::size_t> start;
    std::vector<unsigned int> columns;
    std::vector<BlockKind> kinds;

    unsigned int numRows() const { return static_cast<unsigned int>(start.size() - 1); }
};

/// A as it was given.
BlockPattern patternAsGiven(const PlotSubject& subject);

/// A with its rows and columns in elimination order; the subject has been analysed.
BlockPattern patternInOrder(const PlotSubject& subject);

/// Calls f(r, c, kind) for every entry.
template <class F> void forEachBlock(const BlockPattern& pattern, F f)
{
    for (unsigned int r = 0; r < pattern.numRows(); ++r)
        for (std::size_t e = pattern.start[r]; e < pattern.start[r + 1]; ++e)
            f(r, pattern.columns[e], pattern.kinds[e]);
}

/// Calls f(r, c, kind) for every block of L, fill-in of a kind of its own.
///
/// @param ordered  patternInOrder(subject)
template <class F>
void forEachFactorBlock(const PlotSubject& subject, const BlockPattern& ordered, F f)
{
    const kyrOrvel::OrvelData<double>& data = subject.solver.data();
    std::vector<BlockKind> kindOf(ordered.numRows(), kFill); // of this row's blocks in A
    for (unsigned int r = 0; r < ordered.numRows(); ++r) {
        for (std::size_t e = ordered.start[r]; e < ordered.start[r + 1]; ++e)
            kindOf[ordered.columns[e]] = ordered.kinds[e];
        for (unsigned int e = data.factorRowStart[r]; e < data.factorRowStart[r + 1]; ++e)
            f(r, data.factorColumns[e], kindOf[data.factorColumns[e]]);
        for (std::size_t e = ordered.start[r]; e < ordered.start[r + 1]; ++e)
            kindOf[ordered.columns[e]] = kFill;
    }
}

} // namespace orvel

#endif
