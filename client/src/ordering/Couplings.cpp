#include "Couplings.h"

namespace kyrOrvel {
namespace client {

namespace {

/// Calls f(r, c) for every coupling r > c of the pattern that touches a trailing block.
template <class F> void forEachCoupling(const OrderingInput& input, F f)
{
    const SkeletonMatrix& S = input.pattern;
    for (unsigned int r = input.firstTrailing; r < S.numBlockRows; ++r)
        for (unsigned int e = S.rowStart[r]; e + 1 < S.rowStart[r + 1]; ++e)
            f(r, S.columnIndices[e]);
}

} // namespace

Couplings::Couplings(const OrderingInput& input)
    : m_firstTrailing(input.firstTrailing),
      m_numOrdinary(input.pattern.numBlockRows - input.firstTrailing, 0),
      m_start(static_cast<std::size_t>(input.pattern.numBlockRows) + 1, 0)
{
    forEachCoupling(input, [&](unsigned int r, unsigned int c) {
        if (!isTrailing(c))
            ++m_numOrdinary[r - m_firstTrailing];
    });
    forEachSupport(input, [&](unsigned int /*t*/, unsigned int s) { ++m_start[s + 1]; });
    for (unsigned int b = 0; b < input.pattern.numBlockRows; ++b)
        m_start[b + 1] += m_start[b];
    m_leaning.resize(m_start.back());
    std::vector<std::size_t> next(m_start.begin(), m_start.end() - 1);
    forEachSupport(input, [&](unsigned int t, unsigned int s) { m_leaning[next[s]++] = t; });
}

std::vector<unsigned int> Couplings::needs(const OrderingInput& input,
                                           TrailingPlacement placement) const
{
    std::vector<unsigned int> result(input.pattern.numBlockRows, 0);
    for (unsigned int t = m_firstTrailing; t < input.pattern.numBlockRows; ++t) {
        const unsigned int ordinary = m_numOrdinary[t - m_firstTrailing];
        if (ordinary > 0)
            result[t] = placement == TrailingPlacement::AfterLast ? ordinary : 1;
        else
            result[t] = input.standsAlone[t] ? 0 : 1;
    }
    return result;
}

/// Calls f(t, s) for every trailing block t and every block s that it leans on.
template <class F> void Couplings::forEachSupport(const OrderingInput& input, F f) const
{
    forEachCoupling(input, [&](unsigned int r, unsigned int c) {
        if (!isTrailing(c)) {
            f(r, c);
            return;
        }
        if (m_numOrdinary[r - m_firstTrailing] == 0)
            f(r, c);
        if (m_numOrdinary[c - m_firstTrailing] == 0)
            f(c, r);
    });
}

} // namespace client
} // namespace kyrOrvel
