#include "support/Orderings.h"
#include "support/Systems.h"

#include <kyrOrvel/Graph>
#include <kyrOrvel/Tree>

#include <gtest/gtest.h>

#include <cstdint>
#include <queue>
#include <utility>
#include <vector>

using kyrOrvel::Graph;
using kyrOrvel::kNone;
using kyrOrvel::Tree;
using support::Random;
using support::Rows;
using support::Words;

namespace {

/// The neighbours of v, ascending: all it is coupled to, but for couplings of two ordinary blocks.
std::vector<Words> neighborLists(const Rows& rows, unsigned int startNode)
{
    const support::Table table = support::denseTable(rows);
    std::vector<Words> lists(rows.size());
    for (unsigned int v = 0; v < rows.size(); ++v)
        for (unsigned int u = 0; u < rows.size(); ++u)
            if (u != v && table[v][u] && (u >= startNode || v >= startNode))
                lists[v].push_back(u);
    return lists;
}

struct Forest {
    Words parents;
    Words roots;
    std::vector<std::pair<unsigned int, unsigned int>> edges; ///< in order of admission
};

/// A trailing node joins when all its neighbours but one have seen it, counting how often it was
/// seen while still outside.
Forest plainSearch(const std::vector<Words>& lists, unsigned int startNode, unsigned int start)
{
    const auto n = static_cast<unsigned int>(lists.size());
    Forest forest;
    forest.parents.assign(n, kNone);
    std::vector<std::size_t> seen(n, 0);
    Words candidates{start};
    for (unsigned int i = 0; i < n; ++i)
        candidates.push_back(i);
    for (const unsigned int root : candidates) {
        if (forest.parents[root] != kNone)
            continue;
        forest.roots.push_back(root);
        forest.parents[root] = root;
        std::queue<unsigned int> queue;
        queue.push(root);
        for (; !queue.empty(); queue.pop()) {
            const unsigned int v = queue.front();
            for (const unsigned int u : lists[v]) {
                if (forest.parents[u] != kNone)
                    continue;
                if (u >= startNode && ++seen[u] != lists[u].size() - 1)
                    continue;
                forest.parents[u] = v;
                forest.edges.emplace_back(v, u);
                queue.push(u);
            }
        }
    }
    return forest;
}

struct Problem {
    explicit Problem(Random& random)
        : n(random.integer(1, 25)),
          rows(support::randomRows(random, n, 0.6 * random.unit())),
          startNode(random.integer(0, n + 1)),
          lists(neighborLists(rows, startNode))
    {
    }

    unsigned int n;
    Rows rows;
    unsigned int startNode;
    std::vector<Words> lists;
};

TEST(GraphAgainstPattern, ListsHoldTheCouplingsInvolvingATrailingBlock)
{
    Graph graph; // one for all: what a pattern leaves behind must not matter to the next
    for (std::uint64_t seed = 1; seed <= 300; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const Problem problem(random);

        graph.rebuild(*support::makeSkeleton(problem.rows), problem.startNode);

        ASSERT_EQ(graph.numNodes, problem.n);
        ASSERT_EQ(graph.adjacencyStart[0], 0u);
        for (unsigned int v = 0; v < problem.n; ++v) {
            const Words list(graph.adjacency.begin() + graph.adjacencyStart[v],
                             graph.adjacency.begin() + graph.adjacencyStart[v + 1]);
            ASSERT_EQ(list, problem.lists[v]) << v;
            ASSERT_EQ(graph.nodes[v].status, v < problem.startNode ? 0x100 : 0x200) << v;
            ASSERT_EQ(graph.nodes[v].tag, 0) << v;
            ASSERT_EQ(graph.degree[v], 0u) << v;
        }
    }
}

TEST(GraphAgainstPattern, SearchEqualsThePlainOne)
{
    Graph graph;
    Tree tree;
    for (std::uint64_t seed = 1001; seed <= 1400; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const Problem problem(random);
        const unsigned int start = random.integer(0, problem.n - 1);
        const Forest expected = plainSearch(problem.lists, problem.startNode, start);
        graph.rebuild(*support::makeSkeleton(problem.rows), problem.startNode);

        graph.breadthFirstSearch(start, tree);

        ASSERT_EQ(support::words(tree.parent, problem.n), expected.parents);
        ASSERT_EQ(tree.roots, expected.roots);
        ASSERT_EQ(graph.marks.numMarked, expected.edges.size());
        for (unsigned int i = 0; i < graph.marks.numMarked; ++i) {
            const unsigned int e = graph.marks.markedList[i];
            ASSERT_EQ(graph.marks.flags[e], 1);
            ASSERT_EQ(graph.adjacency[e], expected.edges[i].second);
            ASSERT_GE(e, graph.adjacencyStart[expected.edges[i].first]);
            ASSERT_LT(e, graph.adjacencyStart[expected.edges[i].first + 1]);
        }
    }
}

} // namespace
