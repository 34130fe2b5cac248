#ifndef KYRORVEL_CLIENT_COUPLINGS_H
#define KYRORVEL_CLIENT_COUPLINGS_H

#include "Ordering.h"

#include <vector>

namespace kyrOrvel {
namespace client {

/// Where trailing blocks go.
enum class TrailingPlacement {
    AfterFirst, ///< behind the first ordinary block that they couple to: structurally enough
    AfterLast   ///< behind the last one
};

/// Which trailing blocks lean on which blocks: a trailing block must follow one of those that it
/// leans on. It leans on its ordinary couplings; one without any, on its trailing ones.
class Couplings {
public:
    explicit Couplings(const OrderingInput& input);

    /// Per block: how many of those that it leans on must come before it. 0 for a block that needs
    /// none; a block that leans on trailing ones needs one, wherever it is placed.
    std::vector<unsigned int> needs(const OrderingInput& input, TrailingPlacement placement) const;

    /// Calls f(t) for every trailing block t that may follow `block`.
    template <class F> void forEachLeaning(unsigned int block, F f) const
    {
        m_graph.forEachNeighbour(block, [&](unsigned int t) {
            if (isTrailing(t) && (!isTrailing(block) || m_numOrdinary[t - m_firstTrailing] == 0))
                f(t);
        });
    }

private:
    bool isTrailing(unsigned int block) const { return block >= m_firstTrailing; }

    const BlockGraph& m_graph;
    unsigned int m_firstTrailing;
    std::vector<unsigned int> m_numOrdinary; ///< per trailing block: ordinary couplings
};

} // namespace client
} // namespace kyrOrvel

#endif
