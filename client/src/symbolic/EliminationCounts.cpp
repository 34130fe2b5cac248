#include "EliminationCounts.h"

#include <cstddef>
#include <utility>

namespace kyrOrvel {
namespace client {

EliminationCounts::EliminationCounts(const BlockGraph& graph,
                                     const std::vector<unsigned int>& sizes)
    : m_graph(graph), m_sizes(sizes)
{
    const std::size_t n = sizes.size();
    m_start.resize(n + 1);
    m_neighbours.resize(m_graph.neighbours.size());
    for (auto* const array :
         {&m_position, &m_ancestor, &m_subtree, &m_byPostOrder, &m_begin, &m_lastLeaf})
        array->resize(n);
    m_scalars.resize(n);
}

Elimination EliminationCounts::count(std::vector<unsigned int> order)
{
    Elimination result;
    result.order = std::move(order);
    place(result.order);
    findParents(result.parents);
    numberInPostOrder(result);
    countColumns(result);
    for (std::size_t k = 0; k < result.order.size(); ++k) {
        const std::uint64_t width = m_sizes[result.order[k]];
        const std::uint64_t height = static_cast<std::uint64_t>(m_scalars[k]) - width;
        result.counts.blocks += static_cast<std::uint64_t>(result.columnBlocks[k]);
        result.counts.scalars += width * (width + height);
        // Column k updates the lower triangle of its rows, solves against its own block, factors
        // it.
        result.counts.operations +=
            width * (height * (height + 1) / 2 + height * width / 2) + width * width * width / 6;
    }
    return result;
}

/// The neighbours of each position.
void EliminationCounts::place(const std::vector<unsigned int>& order)
{
    const auto n = static_cast<unsigned int>(order.size());
    for (unsigned int k = 0; k < n; ++k)
        m_position[order[k]] = k;
    unsigned int end = 0;
    for (unsigned int k = 0; k < n; ++k) {
        m_start[k] = end;
        m_graph.forEachNeighbour(
            order[k], [&](unsigned int other) { m_neighbours[end++] = m_position[other]; });
    }
    m_start[n] = end;
}

/// The elimination tree, by shortened paths (Liu 1986).
void EliminationCounts::findParents(std::vector<unsigned int>& parents)
{
    const auto n = static_cast<unsigned int>(m_position.size());
    parents.resize(n);
    for (unsigned int k = 0; k < n; ++k) {
        parents[k] = k;
        m_ancestor[k] = kNone;
        for (unsigned int e = m_start[k]; e < m_start[k + 1]; ++e)
            for (unsigned int i = m_neighbours[e]; i < k;) { // kNone ends it, too
                const unsigned int next = m_ancestor[i];
                m_ancestor[i] = k;
                if (next == kNone)
                    parents[i] = k;
                i = next;
            }
    }
}

/// Parents come after their children: subtrees are measured on the way up, and get their ranges of
/// numbers on the way down.
void EliminationCounts::numberInPostOrder(Elimination& result)
{
    const std::vector<unsigned int>& parents = result.parents;
    const auto n = static_cast<unsigned int>(parents.size());
    result.postOrder.resize(n);
    m_subtree.assign(n, 1);
    unsigned int roots = 0;
    for (unsigned int k = 0; k < n; ++k) {
        if (parents[k] == k) {
            m_begin[k] = roots;
            roots += m_subtree[k];
        } else {
            m_subtree[parents[k]] += m_subtree[k];
        }
    }
    std::vector<unsigned int>& next = m_ancestor; // per node: where its next child's range begins
    for (unsigned int k = n; k-- > 0;) {
        if (parents[k] != k) {
            m_begin[k] = next[parents[k]];
            next[parents[k]] += m_subtree[k];
        }
        next[k] = m_begin[k];
        result.postOrder[k] = m_begin[k] + m_subtree[k] - 1;
        m_byPostOrder[result.postOrder[k]] = k;
    }
}

/// Row i of L is a subtree with root i. To count it in each of its columns, its size is added at
/// the leaves and taken away where two of them meet, and above the root; then everything is summed
/// up the tree.
void EliminationCounts::countColumns(Elimination& result)
{
    const std::vector<unsigned int>& order = result.order;
    const std::vector<unsigned int>& parents = result.parents;
    std::vector<std::int64_t>& blocks = result.columnBlocks;
    const auto n = static_cast<unsigned int>(order.size());
    blocks.resize(n);
    for (unsigned int k = 0; k < n; ++k) {
        const bool leaf = m_subtree[k] == 1;
        blocks[k] = leaf ? 1 : 0;
        m_scalars[k] = leaf ? m_sizes[order[k]] : 0;
        m_lastLeaf[k] = kNone;
        m_ancestor[k] = k;
    }
    for (unsigned int p = 0; p < n; ++p) {
        const unsigned int k = m_byPostOrder[p];
        for (unsigned int e = m_start[k]; e < m_start[k + 1]; ++e) {
            const unsigned int i = m_neighbours[e];
            const unsigned int last = m_lastLeaf[i];
            // Not a leaf of the row's subtree if one of that was in the subtree of k.
            if (i < k || (last != kNone && result.postOrder[last] >= m_begin[k]))
                continue;
            m_lastLeaf[i] = k;
            const std::int64_t size = m_sizes[order[i]];
            ++blocks[k];
            m_scalars[k] += size;
            if (last != kNone) {
                const unsigned int meeting = leastCommonAncestor(last);
                --blocks[meeting];
                m_scalars[meeting] -= size;
            }
        }
        if (parents[k] != k) {
            --blocks[parents[k]];
            m_scalars[parents[k]] -= m_sizes[order[k]];
            m_ancestor[k] = parents[k];
        }
    }
    for (unsigned int k = 0; k < n; ++k)
        if (parents[k] != k) {
            blocks[parents[k]] += blocks[k];
            m_scalars[parents[k]] += m_scalars[k];
        }
}

/// Of a node that is finished and the one at hand: the root of what is finished of its tree.
unsigned int EliminationCounts::leastCommonAncestor(unsigned int finished)
{
    unsigned int root = finished;
    while (m_ancestor[root] != root)
        root = m_ancestor[root];
    while (m_ancestor[finished] != root && finished != root) {
        const unsigned int next = m_ancestor[finished];
        m_ancestor[finished] = root;
        finished = next;
    }
    return root;
}

} // namespace client
} // namespace kyrOrvel
