#include "BlockPattern.h"

#include <algorithm>

namespace orvel {

namespace {

BlockKind kindOf(const PlotSubject& subject, unsigned int r, unsigned int c)
{
    if (subject.isTrailing(r) != subject.isTrailing(c))
        return kCoupling;
    return subject.isTrailing(r) ? kTrailing : kOrdinary;
}

/// Calls f(r, c, kind) for every block of A's lower triangle, in the user's numbers.
template <class F> void forEachStored(const PlotSubject& subject, F f)
{
    const auto& A = subject.matrix;
    for (unsigned int r = 0; r < A.numBlockRows(); ++r) {
        bool diagonal = false;
        for (const auto& entry : A.row(r)) {
            f(r, entry.column, kindOf(subject, r, entry.column));
            diagonal = diagonal || entry.column == r;
        }
        if (!diagonal)
            f(r, r, subject.isTrailing(r) ? kZeroDiagonal : kOrdinary);
    }
}

/// @param position  position[b]: the row of block b
BlockPattern arrange(const PlotSubject& subject, const std::vector<unsigned int>& position)
{
    BlockPattern pattern;
    pattern.start.assign(position.size() + 1, 0);
    forEachStored(subject, [&](unsigned int r, unsigned int c, BlockKind) {
        ++pattern.start[std::max(position[r], position[c]) + 1];
    });
    for (std::size_t r = 0; r < position.size(); ++r)
        pattern.start[r + 1] += pattern.start[r];
    pattern.columns.resize(pattern.start.back());
    pattern.kinds.resize(pattern.start.back());
    std::vector<std::size_t> next = pattern.start;
    forEachStored(subject, [&](unsigned int r, unsigned int c, BlockKind kind) {
        const std::size_t e = next[std::max(position[r], position[c])]++;
        pattern.columns[e] = std::min(position[r], position[c]);
        pattern.kinds[e] = kind;
    });
    return pattern;
}

} // namespace

BlockPattern patternAsGiven(const PlotSubject& subject)
{
    std::vector<unsigned int> asNumbered(subject.matrix.numBlockRows());
    for (unsigned int b = 0; b < asNumbered.size(); ++b)
        asNumbered[b] = b;
    return arrange(subject, asNumbered);
}

BlockPattern patternInOrder(const PlotSubject& subject)
{
    return arrange(subject, subject.analysis().position);
}

} // namespace orvel
