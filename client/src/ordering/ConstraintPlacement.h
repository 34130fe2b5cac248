#ifndef KYRORVEL_CLIENT_CONSTRAINT_PLACEMENT_H
#define KYRORVEL_CLIENT_CONSTRAINT_PLACEMENT_H

#include "Couplings.h"
#include "Ordering.h"

#include <vector>

namespace kyrOrvel {
namespace client {

/// Puts trailing blocks into an order of all blocks: every one behind enough of what it leans on.
class ConstraintPlacement {
public:
    /// @param rule  for TrailingPlacement::AfterLast: lets trailing blocks follow their first
    ///              ordinary block at once; may be null
    ConstraintPlacement(const OrderingInput& input, TrailingPlacement placement,
                        const EarlyRule* rule);

    /// Goes through `wanted`, an order of all blocks, and places each block or lets it wait.
    /// Singular if a block waits for ever. O(couplings).
    Status run(const std::vector<unsigned int>& wanted);

    const std::vector<unsigned int>& order() const { return m_order; }
    unsigned int earlyBlocks() const { return m_earlyBlocks; }

private:
    enum State : unsigned char { kUnseen, kWaiting, kPlaced };

    void findLastWanted(const std::vector<unsigned int>& wanted);
    void offer(unsigned int block);
    void place(unsigned int block);
    void placeFollowers(unsigned int block);
    void placeEarly(unsigned int body);
    void append(unsigned int block);
    bool isTrailing(unsigned int block) const { return block >= m_input.firstTrailing; }
    bool goesAtOnce(unsigned int t) const;

    const OrderingInput& m_input;
    const Couplings m_couplings;
    const EarlyRule* m_rule;
    const bool m_directly; ///< whether a complete trailing block is placed at once
    std::vector<unsigned int> m_missing;
    std::vector<unsigned char> m_state;
    std::vector<unsigned char> m_begun; ///< whether an ordinary block it leans on is placed
    std::vector<unsigned char>
        m_wantsEarly; ///< whether `wanted` has it before an ordinary coupling
    std::vector<unsigned int> m_order;
    std::vector<unsigned int> m_candidates;
    std::vector<unsigned int> m_taken;
    unsigned int m_earlyBlocks = 0;
};

} // namespace client
} // namespace kyrOrvel

#endif
