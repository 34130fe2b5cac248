#include "Couplings.h"

namespace kyrOrvel {
namespace client {

Couplings::Couplings(const OrderingInput& input)
    : m_graph(input.graph),
      m_firstTrailing(input.firstTrailing),
      m_numOrdinary(input.sizes.size() - input.firstTrailing, 0)
{
    for (unsigned int b = 0; b < m_firstTrailing; ++b)
        m_graph.forEachNeighbour(b, [&](unsigned int t) {
            if (isTrailing(t))
                ++m_numOrdinary[t - m_firstTrailing];
        });
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

} // namespace client
} // namespace kyrOrvel
