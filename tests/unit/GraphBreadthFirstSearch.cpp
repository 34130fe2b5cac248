#include "support/CountingTree.h"
#include "support/Forests.h"
#include "support/Patterns.h"

#include <kyrOrvel/EliminationTree>
#include <kyrOrvel/Graph>
#include <kyrOrvel/Tree>

#include <gtest/gtest.h>

using kyrOrvel::EliminationTree;
using kyrOrvel::Graph;
using kyrOrvel::kNone;
using kyrOrvel::Tree;
using support::Words;

namespace {

Words parents(const Tree& tree)
{
    return support::words(tree.parent, tree.numNodes);
}

Words tags(const Graph& graph)
{
    Words values;
    for (unsigned int i = 0; i < graph.numNodes; ++i)
        values.push_back(graph.nodes[i].tag);
    return values;
}

// A chain of ordinary blocks, each two joined by a trailing one:
// 0 - 3 - 1 - 4 - 2
//   X
//   . X
//   . . X
//   X X . X
//   . X X . X
const support::Rows kChain = support::drawnRows({"X", ". X", ". . X", "X X . X", ". X X . X"});

TEST(GraphBreadthFirstSearch, ChainBecomesAPathFromTheStart)
{
    Graph graph;
    graph.rebuild(*support::makeSkeleton(kChain), 3);
    Tree tree;

    graph.breadthFirstSearch(0, tree);

    EXPECT_EQ(parents(tree), (Words{0, 3, 4, 0, 1}));
    EXPECT_EQ(tree.roots, (Words{0}));
}

TEST(GraphBreadthFirstSearch, StartInTheMiddleBecomesTheRoot)
{
    Graph graph;
    graph.rebuild(*support::makeSkeleton(kChain), 3);
    Tree tree;

    graph.breadthFirstSearch(1, tree);

    EXPECT_EQ(parents(tree), (Words{3, 1, 4, 1, 1}));
    EXPECT_EQ(tree.roots, (Words{1}));
}

TEST(GraphBreadthFirstSearch, NodesAreTakenFirstInFirstOut)
{
    // Two ways from 0 to 3: 0 - 4 - 1 - 6 - 3 and 0 - 5 - 2 - 7 - 3. The first found comes first.
    //   X
    //   . X
    //   . . X
    //   . . . X
    //   X X . . X
    //   X . X . . X
    //   . X . X . . X
    //   . . X X . . . X
    const auto S = support::drawSkeleton({"X", ". X", ". . X", ". . . X", "X X . . X",
                                          "X . X . . X", ". X . X . . X", ". . X X . . . X"});
    Graph graph;
    graph.rebuild(*S, 4);
    Tree tree;

    graph.breadthFirstSearch(0, tree);

    EXPECT_EQ(parents(tree), (Words{0, 4, 5, 6, 0, 0, 1, 2}));
}

TEST(GraphBreadthFirstSearch, TrailingNodeWithThreeNeighboursJoinsOnItsSecondSighting)
{
    // X
    // . X
    // . . X
    // X X X X
    const auto S = support::drawSkeleton({"X", ". X", ". . X", "X X X X"});
    Graph graph;
    graph.rebuild(*S, 3);
    Tree tree;

    graph.breadthFirstSearch(0, tree);

    EXPECT_EQ(parents(tree), (Words{0, 1, 3, 1}));
    EXPECT_EQ(tree.roots, (Words{0, 1}));
    EXPECT_EQ(tags(graph), (Words{0, 0, 0, 2}));
}

TEST(GraphBreadthFirstSearch, TrailingNodeWithOneNeighbourIsARootOfItsOwn)
{
    // X
    // X X
    const auto S = support::drawSkeleton({"X", "X X"});
    Graph graph;
    graph.rebuild(*S, 1);
    Tree tree;

    graph.breadthFirstSearch(0, tree);

    EXPECT_EQ(parents(tree), (Words{0, 1}));
    EXPECT_EQ(tree.roots, (Words{0, 1}));
}

TEST(GraphBreadthFirstSearch, OrdinaryNodeWithOneNeighbourJoinsAtFirstSight)
{
    // X
    // X X
    const auto S = support::drawSkeleton({"X", "X X"});
    Graph graph;
    graph.rebuild(*S, 1);
    Tree tree;

    graph.breadthFirstSearch(1, tree);

    EXPECT_EQ(parents(tree), (Words{1, 1}));
    EXPECT_EQ(tree.roots, (Words{1}));
}

TEST(GraphBreadthFirstSearch, TrailingNeighboursOfTrailingNodesCountAsSightings)
{
    // All trailing, every two coupled: 1 and 2 have degree 2 and join at first sight.
    // X
    // X X
    // X X X
    const auto S = support::drawSkeleton({"X", "X X", "X X X"});
    Graph graph;
    graph.rebuild(*S, 0);
    Tree tree;

    graph.breadthFirstSearch(2, tree);

    EXPECT_EQ(parents(tree), (Words{2, 2, 2}));
    EXPECT_EQ(tags(graph), (Words{1, 1, 0}));
}

TEST(GraphBreadthFirstSearch, IsolatedNodesAreRootsTheStartFirstThenAscending)
{
    // X
    // . X
    // . . X
    // . . . X
    const auto S = support::drawSkeleton({"X", ". X", ". . X", ". . . X"});
    Graph graph;
    graph.rebuild(*S, 2);
    Tree tree;

    graph.breadthFirstSearch(2, tree);

    EXPECT_EQ(tree.roots, (Words{2, 0, 1, 3}));
    EXPECT_EQ(parents(tree), (Words{0, 1, 2, 3}));
}

TEST(GraphBreadthFirstSearch, TreeGetsOnlyParentsAndRoots)
{
    Graph graph;
    graph.rebuild(*support::makeSkeleton(kChain), 3);
    Tree tree;

    graph.breadthFirstSearch(0, tree);

    EXPECT_EQ(support::words(tree.firstChild, 5), Words(5, kNone));
    EXPECT_EQ(support::words(tree.nextSibling, 5), Words(5, kNone));
    EXPECT_EQ(support::words(tree.postOrder, 5), (Words{0, 1, 2, 3, 4}));
}

TEST(GraphBreadthFirstSearch, EveryNodeEndsVisitedAndKeepsItsKind)
{
    Graph graph;
    graph.rebuild(*support::makeSkeleton(kChain), 3);
    Tree tree;

    graph.breadthFirstSearch(0, tree);

    for (unsigned int i = 0; i < 5; ++i)
        EXPECT_EQ(graph.nodes[i].status, i < 3 ? 0x102 : 0x202) << i;
}

TEST(GraphBreadthFirstSearch, StatesOfAnEarlierSearchAreForgotten)
{
    Graph graph;
    graph.rebuild(*support::makeSkeleton(kChain), 3);
    Tree tree;
    for (unsigned int i = 0; i < 5; ++i)
        graph.nodes[i].status = static_cast<unsigned short>(graph.nodes[i].status | 0xF0F2);

    graph.breadthFirstSearch(0, tree);

    EXPECT_EQ(parents(tree), (Words{0, 3, 4, 0, 1}));
    // Only the kind outlives the preparation.
    EXPECT_EQ(graph.nodes[0].status, 0x102);
    EXPECT_EQ(graph.nodes[4].status, 0x202);
}

TEST(GraphBreadthFirstSearch, TagsOfAnEarlierSearchKeepCounting)
{
    // X
    // . X
    // X X X         block 2 joins on its first sighting; later it has been seen too often
    const auto S = support::drawSkeleton({"X", ". X", "X X X"});
    Graph graph;
    graph.rebuild(*S, 2);
    Tree tree;

    graph.breadthFirstSearch(0, tree);
    EXPECT_EQ(parents(tree), (Words{0, 2, 0}));
    EXPECT_EQ(tags(graph), (Words{0, 0, 1}));

    graph.breadthFirstSearch(0, tree);
    EXPECT_EQ(tree.roots, (Words{0, 1, 2}));
    EXPECT_EQ(tags(graph), (Words{0, 0, 3}));

    graph.rebuild(*S, 2);
    graph.breadthFirstSearch(0, tree);
    EXPECT_EQ(parents(tree), (Words{0, 2, 0}));
}

TEST(GraphBreadthFirstSearch, EdgesOfTheTreeAreMarkedInOrderOfAdmission)
{
    // Lists: 0: 3 | 1: 3 4 | 2: 4 | 3: 0 1 | 4: 1 2, at 0 1 3 4 6.
    Graph graph;
    graph.rebuild(*support::makeSkeleton(kChain), 3);
    Tree tree;

    graph.breadthFirstSearch(0, tree);

    EXPECT_EQ(graph.marks.numMarked, 4u);
    // 0 -> 3, 3 -> 1, 1 -> 4, 4 -> 2
    EXPECT_EQ(support::words(graph.marks.markedList, 4), (Words{0, 5, 2, 7}));
    const Words flags(graph.marks.flags, graph.marks.flags + 8);
    EXPECT_EQ(flags, (Words{1, 0, 1, 0, 0, 1, 0, 1}));
    EXPECT_EQ(graph.marks.size, 5u);
}

TEST(GraphBreadthFirstSearch, MarksOfAnEarlierSearchAreEmptied)
{
    Graph graph;
    graph.rebuild(*support::makeSkeleton(kChain), 3);
    Tree tree;
    graph.breadthFirstSearch(0, tree);
    for (unsigned int i = 0; i < 5; ++i)
        graph.nodes[i].tag = 0;

    graph.breadthFirstSearch(2, tree);

    // 2 -> 4, 4 -> 1, 1 -> 3, 3 -> 0
    EXPECT_EQ(graph.marks.numMarked, 4u);
    EXPECT_EQ(support::words(graph.marks.markedList, 4), (Words{3, 6, 1, 4}));
    const Words flags(graph.marks.flags, graph.marks.flags + 8);
    EXPECT_EQ(flags, (Words{0, 1, 0, 1, 1, 0, 1, 0}));
}

TEST(GraphBreadthFirstSearch, MarksGrowToTheNodesWhenThereAreFewerEdges)
{
    // X
    // . X
    // . . X
    // X . . X
    const auto S = support::drawSkeleton({"X", ". X", ". . X", "X . . X"});
    Graph graph;
    graph.rebuild(*S, 3);
    Tree tree;

    graph.breadthFirstSearch(3, tree);

    EXPECT_EQ(graph.marks.capacity, 4u);
    EXPECT_EQ(graph.marks.size, 4u);
    EXPECT_EQ(graph.marks.numMarked, 1u);
    EXPECT_EQ(graph.marks.markedList[0], 1u); // 3 -> 0
}

TEST(GraphBreadthFirstSearch, SmallTreeIsReallocatedThroughItsOwnOperations)
{
    Graph graph;
    graph.rebuild(*support::makeSkeleton(kChain), 3);
    EliminationTree tree;
    tree.allocateMemory(2);

    graph.breadthFirstSearch(0, tree);

    EXPECT_EQ(tree.capacity, 5u);
    EXPECT_EQ(tree.numNodes, 5u);
    EXPECT_EQ(parents(tree), (Words{0, 3, 4, 0, 1}));
    EXPECT_EQ(support::words(tree.ancestor, 5), (Words{0, 1, 2, 3, 4}));
}

TEST(GraphBreadthFirstSearch, LargeTreeKeepsItsStorageAndForgetsItsContents)
{
    Graph graph;
    graph.rebuild(*support::makeSkeleton(kChain), 3);
    Tree tree;
    support::setForest(tree, {6, 6, 6, 6, 6, 6, 6});
    const unsigned int* const parent = tree.parent;

    graph.breadthFirstSearch(0, tree);

    EXPECT_EQ(tree.parent, parent);
    EXPECT_EQ(tree.capacity, 7u);
    EXPECT_EQ(tree.numNodes, 5u);
    EXPECT_EQ(support::words(tree.parent, 7), (Words{0, 3, 4, 0, 1, 5, 6}));
    EXPECT_EQ(support::words(tree.firstChild, 7), Words(7, kNone));
    EXPECT_EQ(tree.roots, (Words{0}));
}

TEST(GraphBreadthFirstSearch, TreeOfExactlyEnoughNodesIsNotAllocatedAnew)
{
    Graph graph;
    graph.rebuild(*support::makeSkeleton(kChain), 3);
    support::CountingTree<Tree> tree;
    tree.Tree::allocateMemory(5);

    graph.breadthFirstSearch(0, tree);

    EXPECT_EQ(tree.allocations, 0);
    EXPECT_EQ(parents(tree), (Words{0, 3, 4, 0, 1}));
}

TEST(GraphBreadthFirstSearch, ChildListsAndPostOrderFollowFromTheResult)
{
    Graph graph;
    graph.rebuild(*support::makeSkeleton(kChain), 3);
    Tree tree;

    graph.breadthFirstSearch(1, tree);
    tree.computeTreeStructure();
    tree.computePostOrder();

    // 1 has the children 3 and 4, 3 has 0, 4 has 2. The root is listed twice and numbered once.
    EXPECT_EQ(tree.roots, (Words{1, 1}));
    EXPECT_EQ(support::childList(tree, 1), (Words{3, 4}));
    EXPECT_EQ(support::words(tree.postOrder, 5), (Words{2, 4, 0, 3, 1}));
}

} // namespace
