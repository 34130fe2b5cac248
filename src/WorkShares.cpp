#include "detail/WorkShares.h"

#include <algorithm>
#include <cstddef>
#include <queue>
#include <utility>

namespace kyrOrvel {
namespace detail {

namespace {

/// Divisions per thread that are tried. Trees that need more are paths with little beside them.
constexpr unsigned int kMostDivisions = 64;

/// A forest that is being divided.
class Division {
public:
    Division(const std::vector<unsigned int>& parent, const std::vector<double>& work)
        : m_work(work),
          m_subtree(work),
          m_firstChild(parent.size(), kNoNode),
          m_nextSibling(parent.size(), kNoNode)
    {
        const auto n = static_cast<unsigned int>(parent.size());
        for (unsigned int k = 0; k < n; ++k)
            if (parent[k] != k)
                m_subtree[parent[k]] += m_subtree[k];
        for (unsigned int k = n; k-- > 0;) {
            m_total += work[k];
            if (parent[k] == k) {
                push(k);
            } else {
                m_nextSibling[k] = m_firstChild[parent[k]];
                m_firstChild[parent[k]] = k;
            }
        }
    }

    /// Replaces the heaviest subtree by its children, and theirs for as long as there is only one.
    /// False if it is a path down to its leaf, or there is none: then nothing is done.
    bool divide()
    {
        if (m_subtrees.empty())
            return false;
        const unsigned int root = m_subtrees.top().second;
        unsigned int last = root;
        while (m_firstChild[last] != kNoNode && m_nextSibling[m_firstChild[last]] == kNoNode)
            last = m_firstChild[last];
        if (m_firstChild[last] == kNoNode)
            return false;
        m_subtrees.pop();
        for (unsigned int k = root;; k = m_firstChild[k]) {
            m_above.push_back(k);
            m_workAbove += m_work[k];
            if (k == last)
                break;
        }
        for (unsigned int c = m_firstChild[last]; c != kNoNode; c = m_nextSibling[c])
            push(c);
        return true;
    }

    /// About what the longest thread has to do.
    double estimate(unsigned int threads, double aboveShare) const
    {
        const double heaviest = m_subtrees.empty() ? 0 : m_subtrees.top().first;
        const double evenly = (m_total - m_workAbove) / threads;
        return std::max(heaviest, evenly) + aboveShare * m_workAbove;
    }

    WorkShares shares() const
    {
        WorkShares result;
        result.subtreeStart.push_back(0);
        for (const unsigned int root : subtrees()) {
            const std::size_t first = result.nodes.size();
            result.nodes.push_back(root);
            for (std::size_t i = first; i < result.nodes.size(); ++i)
                for (unsigned int c = m_firstChild[result.nodes[i]]; c != kNoNode;
                     c = m_nextSibling[c])
                    result.nodes.push_back(c);
            std::sort(result.nodes.begin() + static_cast<std::ptrdiff_t>(first),
                      result.nodes.end());
            result.subtreeStart.push_back(static_cast<unsigned int>(result.nodes.size()));
        }
        result.above = m_above;
        std::sort(result.above.begin(), result.above.end());
        return result;
    }

private:
    static constexpr unsigned int kNoNode = 0xFFFFFFFFu;

    void push(unsigned int node) { m_subtrees.push({m_subtree[node], node}); }

    /// Heaviest first.
    std::vector<unsigned int> subtrees() const
    {
        std::vector<unsigned int> result;
        for (auto rest = m_subtrees; !rest.empty(); rest.pop())
            result.push_back(rest.top().second);
        return result;
    }

    const std::vector<double>& m_work;
    std::vector<double> m_subtree; ///< work of a node and all below it
    std::vector<unsigned int> m_firstChild;
    std::vector<unsigned int> m_nextSibling;
    std::priority_queue<std::pair<double, unsigned int>> m_subtrees;
    std::vector<unsigned int> m_above;
    double m_workAbove = 0;
    double m_total = 0;
};

} // namespace

WorkShares shareWork(const std::vector<unsigned int>& parent, const std::vector<double>& work,
                     unsigned int threads, double aboveShare)
{
    Division trial(parent, work);
    double least = trial.estimate(threads, aboveShare);
    unsigned int best = 0;
    for (unsigned int step = 1; step <= kMostDivisions * threads && trial.divide(); ++step)
        if (trial.estimate(threads, aboveShare) < least) {
            least = trial.estimate(threads, aboveShare);
            best = step;
        }
    Division division(parent, work);
    for (unsigned int step = 0; step < best; ++step)
        division.divide();
    return division.shares();
}

} // namespace detail
} // namespace kyrOrvel
