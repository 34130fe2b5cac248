#include "TreeMapping.h"

#include <algorithm>
#include <cstddef>
#include <queue>

namespace kyrOrvel {
namespace client {

namespace {

/// Splits that bring no better mapping before the search ends. A chain of single children needs as
/// many splits as it is long before its tree branches.
constexpr unsigned int kPatience = 64;

/// Work of every node with all its descendants. Children come before their parent.
std::vector<std::uint64_t> subtreeWork(const EliminationTree& tree,
                                       const std::vector<std::uint64_t>& work)
{
    std::vector<std::uint64_t> total = work;
    for (unsigned int k = 0; k < tree.numNodes; ++k)
        if (tree.parent[k] != k)
            total[tree.parent[k]] += total[k];
    return total;
}

/// A set of disjoint subtrees that covers the leaves of the tree; the nodes above them are split.
class Frontier {
public:
    Frontier(const EliminationTree& tree, const std::vector<std::uint64_t>& subtree)
        : m_tree(tree), m_subtree(subtree)
    {
        for (const unsigned int root : tree.roots)
            push(root);
    }

    /// Replaces the heaviest subtree by its children; false if it is a single node.
    bool split()
    {
        if (m_queue.empty() || m_tree.firstChild[m_queue.top().second] == kNone)
            return false;
        const unsigned int node = m_queue.top().second;
        m_queue.pop();
        m_above.push_back(node);
        for (unsigned int c = m_tree.firstChild[node]; c != kNone; c = m_tree.nextSibling[c])
            push(c);
        return true;
    }

    /// The roots of the subtrees, heaviest first.
    std::vector<unsigned int> subtrees() const
    {
        std::vector<unsigned int> result;
        result.reserve(m_queue.size());
        for (auto rest = m_queue; !rest.empty(); rest.pop())
            result.push_back(rest.top().second);
        return result;
    }

    /// The nodes above them, in ascending order.
    std::vector<unsigned int> above() const
    {
        std::vector<unsigned int> result = m_above;
        std::sort(result.begin(), result.end());
        return result;
    }

private:
    void push(unsigned int node) { m_queue.push({m_subtree[node], node}); }

    const EliminationTree& m_tree;
    const std::vector<std::uint64_t>& m_subtree;
    std::priority_queue<std::pair<std::uint64_t, unsigned int>> m_queue;
    std::vector<unsigned int> m_above;
};

/// Owners of a frontier's subtrees and of the nodes above, by simulating the run.
class Simulation {
public:
    Simulation(const EliminationTree& tree, const std::vector<std::uint64_t>& work,
               const std::vector<std::uint64_t>& subtree, unsigned int numOwners)
        : m_tree(tree),
          m_work(work),
          m_subtree(subtree),
          m_free(numOwners, 0),
          m_finish(work.size(), 0),
          m_owner(work.size(), 0)
    {
    }

    void run(const std::vector<unsigned int>& subtrees, const std::vector<unsigned int>& above)
    {
        std::vector<std::uint64_t> load(m_free.size(), 0);
        for (const unsigned int root : subtrees) {
            const auto least = std::min_element(load.begin(), load.end());
            *least += m_subtree[root];
            m_owner[root] = static_cast<unsigned char>(least - load.begin());
        }
        // Given out heaviest first, they are factored in ascending order.
        std::vector<unsigned int> ascending = subtrees;
        std::sort(ascending.begin(), ascending.end());
        for (const unsigned int root : ascending)
            m_finish[root] = m_free[m_owner[root]] += m_subtree[root];
        for (const unsigned int node : above)
            placeAbove(node);
    }

    std::uint64_t makespan() const { return *std::max_element(m_free.begin(), m_free.end()); }
    unsigned char ownerOf(unsigned int node) const { return m_owner[node]; }

private:
    /// A node above the subtrees can start when its children are done and its owner is free. All
    /// its children's owners are asked; the first child with the earliest finish wins.
    void placeAbove(unsigned int node)
    {
        std::uint64_t ready = 0;
        for (unsigned int c = m_tree.firstChild[node]; c != kNone; c = m_tree.nextSibling[c])
            ready = std::max(ready, m_finish[c]);
        std::uint64_t best = UINT64_MAX;
        for (unsigned int c = m_tree.firstChild[node]; c != kNone; c = m_tree.nextSibling[c]) {
            const std::uint64_t start = std::max(ready, m_free[m_owner[c]]);
            if (start < best) {
                best = start;
                m_owner[node] = m_owner[c];
            }
        }
        m_finish[node] = best + m_work[node];
        m_free[m_owner[node]] = m_finish[node];
    }

    const EliminationTree& m_tree;
    const std::vector<std::uint64_t>& m_work;
    const std::vector<std::uint64_t>& m_subtree;
    std::vector<std::uint64_t> m_free; ///< per owner: when it has done all that it was given
    std::vector<std::uint64_t> m_finish;
    std::vector<unsigned char> m_owner;
};

struct Candidate {
    std::vector<unsigned int> subtrees;
    std::vector<unsigned int> above;
    std::uint64_t makespan = UINT64_MAX;
};

/// The frontier with the shortest simulated run among those that splitting reaches.
Candidate bestFrontier(const EliminationTree& tree, const std::vector<std::uint64_t>& work,
                       const std::vector<std::uint64_t>& subtree, unsigned int numOwners)
{
    Candidate best;
    Frontier frontier(tree, subtree);
    unsigned int sinceBest = 0;
    // The more subtrees, the less a single split can change: try them in growing steps.
    unsigned int step = 1;
    for (unsigned int splits = 0;;) {
        Candidate candidate{frontier.subtrees(), frontier.above(), 0};
        Simulation simulation(tree, work, subtree, numOwners);
        simulation.run(candidate.subtrees, candidate.above);
        candidate.makespan = simulation.makespan();
        if (candidate.makespan < best.makespan) {
            best = std::move(candidate);
            sinceBest = 0;
        } else if (++sinceBest > kPatience) {
            return best;
        }
        for (unsigned int s = 0; s < step; ++s, ++splits)
            if (!frontier.split())
                return best;
        step = 1 + splits / 16;
    }
}

} // namespace

TreeMapping mapTree(const EliminationTree& tree, const std::vector<std::uint64_t>& work,
                    unsigned int numOwners)
{
    const std::vector<std::uint64_t> subtree = subtreeWork(tree, work);
    TreeMapping mapping;
    mapping.numOwners = numOwners;
    mapping.owner.assign(tree.numNodes, 0);
    if (tree.numNodes == 0)
        return mapping;
    Candidate best = bestFrontier(tree, work, subtree, numOwners);
    Simulation simulation(tree, work, subtree, numOwners);
    simulation.run(best.subtrees, best.above);
    mapping.makespan = simulation.makespan();
    for (const unsigned int root : tree.roots)
        mapping.totalWork += subtree[root];

    // From the top down every node takes the owner of its subtree.
    std::vector<unsigned char> decided(tree.numNodes, 0);
    for (const auto* nodes : {&best.subtrees, &best.above})
        for (const unsigned int node : *nodes) {
            mapping.owner[node] = simulation.ownerOf(node);
            decided[node] = 1;
        }
    for (unsigned int k = tree.numNodes; k-- > 0;)
        if (!decided[k])
            mapping.owner[k] = mapping.owner[tree.parent[k]];

    std::sort(best.subtrees.begin(), best.subtrees.end());
    for (const auto* nodes : {&best.subtrees, &best.above})
        for (const unsigned int node : *nodes)
            mapping.assignment.emplace_back(node, mapping.owner[node]);
    return mapping;
}

} // namespace client
} // namespace kyrOrvel
