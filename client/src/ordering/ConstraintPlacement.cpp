#include "ConstraintPlacement.h"

#include "EarlyRule.h"

#include <algorithm>
#include <string>

namespace kyrOrvel {
namespace client {

namespace {

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

} // namespace

ConstraintPlacement::ConstraintPlacement(const OrderingInput& input, TrailingPlacement placement,
                                         const EarlyRule* rule)
    : m_input(input),
      m_couplings(input),
      m_rule(rule),
      m_directly(placement == TrailingPlacement::AfterLast),
      m_missing(m_couplings.needs(input, placement)),
      m_state(m_missing.size(), kUnseen),
      m_begun(m_missing.size(), 0),
      m_wantsEarly(m_missing.size(), 0)
{
    m_order.reserve(m_missing.size());
}

Status ConstraintPlacement::run(const std::vector<unsigned int>& wanted)
{
    if (m_rule)
        findLastWanted(wanted);
    for (const unsigned int block : wanted)
        offer(block);
    const auto waiting = std::find(m_state.begin(), m_state.end(), kWaiting);
    if (waiting != m_state.end())
        return structurallySingular(m_input, static_cast<unsigned int>(waiting - m_state.begin()));
    return {};
}

/// Minimum degree votes for an early elimination by putting a trailing block before an ordinary one
/// that it couples to.
void ConstraintPlacement::findLastWanted(const std::vector<unsigned int>& wanted)
{
    std::vector<unsigned char> passed(wanted.size(), 0);
    for (const unsigned int block : wanted) {
        passed[block] = 1;
        if (!isTrailing(block))
            m_couplings.forEachLeaning(block, [&](unsigned int t) {
                if (passed[t])
                    m_wantsEarly[t] = 1;
            });
    }
}

/// The block's turn in the incoming order: it is placed now, or waits.
void ConstraintPlacement::offer(unsigned int block)
{
    if (m_state[block] == kPlaced)
        return;
    m_state[block] = kWaiting;
    if (m_missing[block] == 0)
        place(block);
}

/// Places a block and, one after the other, all that waited for it alone.
void ConstraintPlacement::place(unsigned int block)
{
    std::size_t done = m_order.size();
    append(block);
    for (; done < m_order.size(); ++done)
        placeFollowers(m_order[done]);
}

void ConstraintPlacement::placeFollowers(unsigned int block)
{
    const bool ordinary = !isTrailing(block);
    m_candidates.clear();
    m_taken.clear();
    m_couplings.forEachLeaning(block, [&](unsigned int t) {
        if (m_state[t] == kPlaced)
            return;
        if (m_missing[t] > 0)
            --m_missing[t];
        const bool begins = ordinary && !m_begun[t];
        if (ordinary)
            m_begun[t] = 1;
        if (m_missing[t] == 0 && goesAtOnce(t)) {
            append(t);
            if (begins)
                m_taken.push_back(t);
        } else if (begins) {
            m_candidates.push_back(t);
        }
    });
    if (m_rule && ordinary)
        placeEarly(block);
}

/// A trailing block that its ordinary blocks complete does not wait for its turn: there it would
/// only be carried along.
bool ConstraintPlacement::goesAtOnce(unsigned int t) const
{
    return m_state[t] == kWaiting || (m_directly && m_begun[t]);
}

void ConstraintPlacement::placeEarly(unsigned int body)
{
    for (const unsigned int t : m_candidates)
        if (m_wantsEarly[t] && m_rule->accepts(body, m_taken, t)) {
            m_taken.push_back(t);
            append(t);
            ++m_earlyBlocks;
        }
}

void ConstraintPlacement::append(unsigned int block)
{
    m_state[block] = kPlaced;
    m_order.push_back(block);
}

} // namespace client
} // namespace kyrOrvel
