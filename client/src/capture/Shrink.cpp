#include "../OutOfMemory.h"
#include "Outcome.h"
#include "Subsystem.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <string>
#include <utility>

namespace kyrOrvel {
namespace client {

namespace {

/// Whether two outcomes are failures of the same kind.
bool failsAlike(const CapturedOutcome& a, const CapturedOutcome& b)
{
    return a.status.code == b.status.code && a.factored == b.factored &&
           (a.status.row == kNone) == (b.status.row == kNone);
}

/// The search. The blocks kept always fail in the same way as the whole.
template <class T> class Shrinker {
public:
    Shrinker(const CapturedSystem<T>& whole, const CapturedOutcome& failure,
             const ShrinkCallback& callback)
        : m_whole(whole),
          m_failure(failure),
          m_andSolve(endsWithSolve(whole, failure)),
          m_callback(callback),
          m_kept(whole.matrix.numBlockRows())
    {
        std::iota(m_kept.begin(), m_kept.end(), 0u);
    }

    void run()
    {
        std::size_t chunk = std::max<std::size_t>(m_kept.size() / 2, 1);
        bool removed = true;
        while (!m_stopped && (chunk > 1 || removed)) {
            removed = leaveOutChunks(chunk);
            if (chunk > 1) {
                chunk /= 2;
                removed = true;
            }
        }
    }

    const std::vector<unsigned int>& kept() const { return m_kept; }

private:
    /// Tries to do without every chunk in turn, the last blocks first: the trailing ones, on which
    /// no other depends. Returns whether that worked for any.
    bool leaveOutChunks(std::size_t chunk)
    {
        bool removed = false;
        for (std::size_t end = m_kept.size(); end > 0 && !m_stopped;) {
            const std::size_t begin = end > chunk ? end - chunk : 0;
            removed |= leaveOut(begin, end);
            end = begin;
        }
        return removed;
    }

    /// Tries to do without the blocks kept at places from begin to end.
    bool leaveOut(std::size_t begin, std::size_t end)
    {
        const std::vector<unsigned int> rest = without(begin, end);
        if (rest.empty())
            return false;
        const bool fails = failsAlike(client::run(subsystem(m_whole, rest), m_andSolve), m_failure);
        if (fails)
            m_kept = rest;
        ++m_tried;
        if (m_callback)
            m_stopped = !m_callback({static_cast<unsigned int>(m_kept.size()), m_tried});
        return fails;
    }

    std::vector<unsigned int> without(std::size_t begin, std::size_t end) const
    {
        std::vector<unsigned char> keeps(m_whole.matrix.numBlockRows(), 0);
        for (std::size_t k = 0; k < m_kept.size(); ++k)
            keeps[m_kept[k]] = k < begin || k >= end;
        std::vector<unsigned int> rest;
        for (const unsigned int r : m_kept)
            if (keeps[r] && mayStay(r, keeps))
                rest.push_back(r);
        return rest;
    }

    /// Of a singular system a trailing block stays if all its ordinary blocks do.
    bool mayStay(unsigned int r, const std::vector<unsigned char>& keeps) const
    {
        const BlockMatrix<T>& A = m_whole.matrix;
        if (m_failure.status.code != StatusCode::Singular || r < A.firstTrailing())
            return true;
        return std::all_of(A.row(r).begin(), A.row(r).end(), [&](const auto& entry) {
            return entry.column >= A.firstTrailing() || keeps[entry.column];
        });
    }

    const CapturedSystem<T>& m_whole;
    const CapturedOutcome& m_failure;
    const bool m_andSolve;
    const ShrinkCallback& m_callback;
    std::vector<unsigned int> m_kept;
    std::size_t m_tried = 0;
    bool m_stopped = false;
};

template <class T> std::vector<unsigned int> allBlocks(const CapturedSystem<T>& system)
{
    std::vector<unsigned int> blocks(system.matrix.numBlockRows());
    std::iota(blocks.begin(), blocks.end(), 0u);
    return blocks;
}

/// A copy that fails as captured: with its own order, or else in the order captured.
template <class T>
Status findFailing(const CapturedSystem<T>& system, const CapturedOutcome& failure,
                   CapturedSystem<T>& failing)
{
    failing = subsystem(system, allBlocks(system));
    const bool andSolve = endsWithSolve(system, failure);
    const CapturedOutcome outcome = run(failing, andSolve);
    if (failsAlike(outcome, failure))
        return {};
    failing.settings.ordering = Ordering::User;
    failing.settings.order = failure.order;
    if (!failure.order.empty() && failsAlike(run(failing, andSolve), failure))
        return {};
    return {StatusCode::InvalidInput,
            std::string("the system does not fail as captured: its status is ") +
                statusName(outcome.status.code) + ", and was " + statusName(failure.status.code),
            kNone, kNone};
}

template <class T>
Status shrinkSystem(const CapturedSystem<T>& system, const CapturedOutcome& failure,
                    const ShrinkCallback& callback, Capture& smallest)
{
    CapturedSystem<T> whole;
    Status status = findFailing(system, failure, whole);
    if (!status.ok())
        return status;
    Shrinker<T> shrinker(whole, failure, callback);
    shrinker.run();
    Capture result;
    CapturedSystem<T> part = subsystem(whole, shrinker.kept());
    result.outcome = run(part, endsWithSolve(whole, failure));
    result.system = std::move(part);
    smallest = std::move(result);
    return {};
}

} // namespace

Status shrink(const Capture& capture, Capture& smallest, const ShrinkCallback& callback)
{
    if (capture.outcome.status.ok())
        return {StatusCode::InvalidInput, "the system captured did not fail: nothing to shrink",
                kNone, kNone};
    return guardMemory([&] {
        return std::visit(
            [&](const auto& system) {
                return shrinkSystem(system, capture.outcome, callback, smallest);
            },
            capture.system);
    });
}

} // namespace client
} // namespace kyrOrvel
