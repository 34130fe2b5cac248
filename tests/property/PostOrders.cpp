#include "support/Forests.h"
#include "support/Orderings.h"
#include "support/Systems.h"

#include <kyrOrvel/Graph>
#include <kyrOrvel/Tree>

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

using kyrOrvel::Graph;
using kyrOrvel::kNone;
using kyrOrvel::Tree;
using support::Random;
using support::Rows;
using support::Words;

namespace {

/// Numbers the subtree of v: the children from the last to the first, then v.
void plainPostOrder(const Words& parents, unsigned int v, Words& ranks, unsigned int& counter)
{
    const Words children = support::childrenByParent(parents, v);
    for (auto c = children.rbegin(); c != children.rend(); ++c)
        plainPostOrder(parents, *c, ranks, counter);
    ranks[v] = counter++;
}

/// The safe post-order on plain lists, as it is described.
class PlainSafeOrder {
public:
    PlainSafeOrder(const Words& parents, const Rows& rows, unsigned int startNode)
        : ranks(parents.size(), kNone),
          m_parents(parents),
          m_table(support::denseTable(rows)),
          m_startNode(startNode),
          m_safe(parents.size())
    {
        for (unsigned int i = 0; i < parents.size(); ++i)
            m_safe[i] = i < startNode;
        for (unsigned int i = 0; i < parents.size(); ++i)
            if (parents[i] == i)
                handle(i);
    }

    Words ranks;

private:
    bool handle(unsigned int v)
    {
        const Words children = support::childrenByParent(m_parents, v);
        bool complete = true;
        for (const unsigned int c : children)
            if (!handle(c))
                complete = false;
        if (!complete) {
            makeNeighborsSafe(v);
            ranks[v] = m_counter++;
            for (const unsigned int c : children)
                if (ranks[c] == kNone)
                    handle(c);
        }
        if (ranks[v] != kNone)
            return true;
        if (m_safe[v]) {
            ranks[v] = m_counter++;
        } else {
            const unsigned int p = m_parents[v];
            if (support::childrenByParent(m_parents, p).size() >= 2)
                return false;
            ranks[p] = m_counter++;
            ranks[v] = m_counter++;
            makeNeighborsSafe(p);
        }
        if (v < m_startNode)
            makeNeighborsSafe(v);
        return true;
    }

    void makeNeighborsSafe(unsigned int v)
    {
        for (unsigned int u = 0; u < m_parents.size(); ++u)
            if (u != v && m_table[v][u] && (u >= m_startNode || v >= m_startNode))
                m_safe[u] = true;
    }

    Words m_parents;
    support::Table m_table;
    unsigned int m_startNode;
    std::vector<bool> m_safe;
    unsigned int m_counter = 0;
};

TEST(PostOrders, StructureListsEveryNodeOnceAscending)
{
    for (std::uint64_t seed = 1; seed <= 300; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const unsigned int n = random.integer(1, 40);
        const Words parents = support::randomForest(random, n, random.integer(1, 12));
        Tree tree;

        support::setForest(tree, parents);

        Words roots;
        for (unsigned int v = 0; v < n; ++v) {
            ASSERT_EQ(support::childList(tree, v), support::childrenByParent(parents, v)) << v;
            if (parents[v] == v)
                roots.push_back(v);
        }
        ASSERT_EQ(tree.roots, roots);
    }
}

TEST(PostOrders, PostOrderEqualsTheRecursiveOne)
{
    for (std::uint64_t seed = 1001; seed <= 1300; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const unsigned int n = random.integer(1, 60);
        const Words parents = support::randomForest(random, n, random.integer(1, 20));
        Words expected(n);
        unsigned int counter = 0;
        for (unsigned int v = 0; v < n; ++v)
            if (parents[v] == v)
                plainPostOrder(parents, v, expected, counter);
        Tree tree;
        support::setForest(tree, parents);

        tree.computePostOrder();

        ASSERT_EQ(support::words(tree.postOrder, n), expected);
        ASSERT_EQ(tree.marks.numMarked, 0u);
        ASSERT_EQ(Words(tree.marks.flags, tree.marks.flags + n), Words(n, 0));
    }
}

TEST(PostOrders, PostOrderPutsSubtreesTogetherAndChildrenFirst)
{
    for (std::uint64_t seed = 2001; seed <= 2200; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const unsigned int n = random.integer(1, 60);
        const Words parents = support::randomForest(random, n, random.integer(1, 20));
        Tree tree;
        support::setForest(tree, parents);

        tree.computePostOrder();

        const Words ranks = support::words(tree.postOrder, n);
        ASSERT_TRUE(support::isOrder(ranks, n));
        for (unsigned int v = 0; v < n; ++v) {
            const Words children = support::childrenByParent(parents, v);
            for (std::size_t i = 0; i < children.size(); ++i) {
                ASSERT_LT(ranks[children[i]], ranks[v]);
                ASSERT_TRUE(i == 0 || ranks[children[i - 1]] > ranks[children[i]]);
            }
        }
    }
}

TEST(PostOrders, SafePostOrderEqualsThePlainOneOnAnyForest)
{
    for (std::uint64_t seed = 3001; seed <= 3800; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const unsigned int n = random.integer(1, 14);
        const Words parents = support::randomForest(random, n, random.integer(1, 20));
        const Rows rows = support::randomRows(random, n, 0.5 * random.unit());
        const unsigned int startNode = random.integer(0, n);
        Tree tree;
        support::setForest(tree, parents);
        Graph graph;
        graph.rebuild(*support::makeSkeleton(rows), startNode);

        tree.computeSafePostOrder(graph);

        ASSERT_EQ(support::words(tree.postOrder, n),
                  PlainSafeOrder(parents, rows, startNode).ranks);
    }
}

TEST(PostOrders, SafePostOrderEqualsThePlainOneOnEliminationTrees)
{
    for (std::uint64_t seed = 4001; seed <= 4400; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const unsigned int n = random.integer(1, 30);
        const Rows rows = support::randomRows(random, n, 0.3 * random.unit());
        const Words parents = support::parentsOf(support::eliminated(rows));
        const unsigned int startNode = random.integer(0, n);
        Tree tree;
        support::setForest(tree, parents);
        Graph graph;
        graph.rebuild(*support::makeSkeleton(rows), startNode);

        tree.computeSafePostOrder(graph);

        ASSERT_EQ(support::words(tree.postOrder, n),
                  PlainSafeOrder(parents, rows, startNode).ranks);
    }
}

} // namespace
