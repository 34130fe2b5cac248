#include "support/Forests.h"
#include "support/Patterns.h"

#include <kyrOrvel/Graph>
#include <kyrOrvel/Tree>

#include <gtest/gtest.h>

#include <initializer_list>

using kyrOrvel::Graph;
using kyrOrvel::kNone;
using kyrOrvel::Tree;
using support::Words;

namespace {

/// A forest and the graph of a drawn pattern.
struct Problem {
    Problem(const Words& parents, std::initializer_list<const char*> drawing,
            unsigned int startNode)
    {
        support::setForest(tree, parents);
        graph.rebuild(*support::drawSkeleton(drawing), startNode);
    }

    Words ranks() const { return support::words(tree.postOrder, tree.numNodes); }
    Words tags() const
    {
        Words values;
        for (unsigned int i = 0; i < graph.numNodes; ++i)
            values.push_back(graph.nodes[i].tag);
        return values;
    }

    Tree tree;
    Graph graph;
};

TEST(TreeSafePostOrder, OrdinaryNodesAreNumberedInListOrder)
{
    //   2
    //  / |
    // 0   1       all ordinary
    Problem p({2, 2, 2}, {"X", ". X", "X X X"}, 3);

    p.tree.computeSafePostOrder(p.graph);

    EXPECT_EQ(p.ranks(), (Words{0, 1, 2}));
}

TEST(TreeSafePostOrder, TagsStartAtOneForOrdinaryAndZeroForTrailingNodes)
{
    // X
    // . X
    // . . X
    Problem p({0, 1, 2}, {"X", ". X", ". . X"}, 2);
    p.graph.nodes[0].tag = 8;
    p.graph.nodes[2].tag = 8;

    p.tree.computeSafePostOrder(p.graph);

    EXPECT_EQ(p.tags(), (Words{1, 1, 0}));
}

TEST(TreeSafePostOrder, StartNodeBeyondTheNodesMakesAllOrdinary)
{
    // X
    // X X
    Problem p({1, 1}, {"X", "X X"}, 5);

    p.tree.computeSafePostOrder(p.graph);

    EXPECT_EQ(p.ranks(), (Words{0, 1}));
    EXPECT_EQ(p.tags(), (Words{1, 1}));
}

TEST(TreeSafePostOrder, TrailingParentIsSafeAfterAnOrdinaryChildItCouplesTo)
{
    // 1 (trailing) over 0
    // X
    // X X
    Problem p({1, 1}, {"X", "X X"}, 1);

    p.tree.computeSafePostOrder(p.graph);

    EXPECT_EQ(p.ranks(), (Words{0, 1}));
}

TEST(TreeSafePostOrder, TrailingOnlyChildIsNumberedRightAfterItsParent)
{
    // 0 over 1 (trailing leaf): the parent takes the leaf's rank
    // X
    // X X
    Problem p({0, 0}, {"X", "X X"}, 1);

    p.tree.computeSafePostOrder(p.graph);

    EXPECT_EQ(p.ranks(), (Words{0, 1}));
    EXPECT_EQ(p.tags(), (Words{1, 1})); // by the parent, whose neighbours are tagged
}

TEST(TreeSafePostOrder, OnlyChildChangesPlacesWithAParentItDoesNotCoupleTo)
{
    // 1 over 2 (trailing), 1 under 0; 2 couples to nobody.
    // X
    // . X
    // . . X
    Problem p({0, 0, 1}, {"X", ". X", ". . X"}, 2);

    p.tree.computeSafePostOrder(p.graph);

    EXPECT_EQ(p.ranks(), (Words{2, 0, 1}));
}

TEST(TreeSafePostOrder, SwappedParentMakesItsOwnNeighboursSafe)
{
    // Chain 0 over 1 over 3 (trailing); 2 (trailing) is a second root that couples to 1.
    // X
    // . X
    // . X X
    // . X . X
    Problem p({0, 0, 2, 1}, {"X", ". X", ". X X", ". X . X"}, 2);

    p.tree.computeSafePostOrder(p.graph);

    EXPECT_EQ(p.ranks(), (Words{2, 0, 3, 1}));
}

TEST(TreeSafePostOrder, WaitingLeafWithSiblingsIsNumberedAfterItsParent)
{
    // 0 over 1 and 2 (trailing); 2 couples to 0 alone.
    // X
    // . X
    // X . X
    Problem p({0, 0, 0}, {"X", ". X", "X . X"}, 2);

    p.tree.computeSafePostOrder(p.graph);

    EXPECT_EQ(p.ranks(), (Words{1, 0, 2}));
}

TEST(TreeSafePostOrder, OrdinarySiblingMakesALeafSafe)
{
    // 0 over 1 and 2 (trailing); 2 couples to 1, which comes first.
    // X
    // . X
    // . X X
    Problem p({0, 0, 0}, {"X", ". X", ". X X"}, 2);

    p.tree.computeSafePostOrder(p.graph);

    EXPECT_EQ(p.ranks(), (Words{2, 0, 1}));
}

TEST(TreeSafePostOrder, TrailingNodeInItsTurnMakesNobodySafe)
{
    // 0 over 1, 2 and 3 (2 and 3 trailing); 2 couples to 1, 3 only to 2.
    // X
    // . X
    // . X X
    // . . X X
    Problem p({0, 0, 0, 0}, {"X", ". X", ". X X", ". . X X"}, 2);

    p.tree.computeSafePostOrder(p.graph);

    EXPECT_EQ(p.ranks(), (Words{2, 0, 1, kNone}));
}

TEST(TreeSafePostOrder, TrailingParentWithAWaitingChildMakesItsNeighboursSafe)
{
    // 1 (trailing) over 0 and 2 (trailing); 1 couples to 2.
    // X
    // . X
    // . X X
    Problem p({1, 1, 1}, {"X", ". X", ". X X"}, 1);

    p.tree.computeSafePostOrder(p.graph);

    // 1 itself is not safe, yet placed for the sake of its child.
    EXPECT_EQ(p.ranks(), (Words{0, 1, 2}));
}

TEST(TreeSafePostOrder, ChildrenAfterAWaitingOneAreStillVisited)
{
    // 0 over 2 (trailing leaf, couples to 0) and 3 (trailing, over 1 and coupled to it).
    // X
    // . X
    // X . X
    // . X . X
    Problem p({0, 3, 0, 0}, {"X", ". X", "X . X", ". X . X"}, 2);

    p.tree.computeSafePostOrder(p.graph);

    EXPECT_EQ(p.ranks(), (Words{2, 0, 3, 1}));
}

TEST(TreeSafePostOrder, WaitingSiblingsFollowTheirParentInListOrder)
{
    // 0 over 1, 2 and 3, all trailing and coupled to 0.
    // X
    // X X
    // X . X
    // X . . X
    Problem p({0, 0, 0, 0}, {"X", "X X", "X . X", "X . . X"}, 1);

    p.tree.computeSafePostOrder(p.graph);

    EXPECT_EQ(p.ranks(), (Words{0, 1, 2, 3}));
}

TEST(TreeSafePostOrder, LeafThatNobodyMakesSafeKeepsNoRank)
{
    // 0 over 1 and 2 (trailing); 2 couples to nobody.
    // X
    // . X
    // . . X
    Problem p({0, 0, 0}, {"X", ". X", ". . X"}, 2);

    p.tree.computeSafePostOrder(p.graph);

    EXPECT_EQ(p.ranks(), (Words{1, 0, kNone}));
}

TEST(TreeSafePostOrder, LoneTrailingRootTakesTheSecondOfTwoRanks)
{
    // A root is its own parent, so the change of places is with itself.
    // X
    // . X
    // . . X
    Problem p({0, 1, 2}, {"X", ". X", ". . X"}, 1);

    p.tree.computeSafePostOrder(p.graph);

    EXPECT_EQ(p.ranks(), (Words{0, 2, 4}));
}

TEST(TreeSafePostOrder, UnsafeTrailingRootWithOneChildTakesTheSecondOfTwoRanks)
{
    // 1 (trailing) over 0, not coupled
    // X
    // . X
    Problem p({1, 1}, {"X", ". X"}, 1);

    p.tree.computeSafePostOrder(p.graph);

    EXPECT_EQ(p.ranks(), (Words{0, 2}));
}

TEST(TreeSafePostOrder, UnsafeTrailingRootWithTwoChildrenKeepsNoRank)
{
    // 2 (trailing) over 0 and 1, not coupled
    // X
    // . X
    // . . X
    Problem p({2, 2, 2}, {"X", ". X", ". . X"}, 2);

    p.tree.computeSafePostOrder(p.graph);

    EXPECT_EQ(p.ranks(), (Words{0, 1, kNone}));
}

TEST(TreeSafePostOrder, RootMadeSafeByAnEarlierTreeIsNumberedInItsTurn)
{
    // Two trees: 0 alone, 1 (trailing) alone but coupled to 0.
    // X
    // X X
    Problem p({0, 1}, {"X", "X X"}, 1);

    p.tree.computeSafePostOrder(p.graph);

    EXPECT_EQ(p.ranks(), (Words{0, 1}));
}

TEST(TreeSafePostOrder, NodeOverAChildWithoutRankIsNumberedAnewWithItsParentsSecondVisit)
{
    // 3 over 1 and 5 (trailing, coupled to 3), 5 over 2, 2 over 0 and 4 (trailing, coupled to
    // nobody). Node 2 is placed while 5 waits, and again when 5 is revisited: rank 2 stays unused.
    //   X
    //   . X
    //   . . X
    //   . . . X
    //   . . . . X
    //   . . . X . X
    Problem p({2, 3, 5, 3, 2, 3}, {"X", ". X", ". . X", ". . . X", ". . . . X", ". . . X . X"}, 4);

    p.tree.computeSafePostOrder(p.graph);

    EXPECT_EQ(p.ranks(), (Words{1, 0, 4, 3, kNone, 5}));
}

TEST(TreeSafePostOrder, RanksOfAnEarlierNumberingAreForgotten)
{
    // X
    // . X
    // X . X
    Problem p({0, 0, 0}, {"X", ". X", "X . X"}, 2);
    p.tree.computePostOrder();

    p.tree.computeSafePostOrder(p.graph);
    p.tree.computeSafePostOrder(p.graph);

    EXPECT_EQ(p.ranks(), (Words{1, 0, 2}));
}

TEST(TreeDfsHandleNode, UnplacedLeafAnswersFalseAndTakesNoRank)
{
    // 0 over 1 and 2 (trailing)
    // X
    // . X
    // X . X
    Problem p({0, 0, 0}, {"X", ". X", "X . X"}, 2);
    p.tree.postOrder[2] = kNone;
    unsigned int counter = 7;

    EXPECT_FALSE(p.tree.dfsHandleNode(2, counter, p.graph));

    EXPECT_EQ(counter, 7u);
    EXPECT_EQ(p.tree.postOrder[2], kNone);
}

TEST(TreeDfsHandleNode, SafeLeafAnswersTrueAndTakesTheNextRank)
{
    // X
    // . X
    // X . X
    Problem p({0, 0, 0}, {"X", ". X", "X . X"}, 2);
    p.tree.postOrder[2] = kNone;
    p.graph.nodes[2].tag = 1;
    unsigned int counter = 7;

    EXPECT_TRUE(p.tree.dfsHandleNode(2, counter, p.graph));

    EXPECT_EQ(counter, 8u);
    EXPECT_EQ(p.tree.postOrder[2], 7u);
    EXPECT_EQ(p.graph.nodes[0].tag, 0); // a trailing node tags nobody
}

TEST(TreeDfsHandleNode, OrdinaryLeafTagsItsNeighbours)
{
    // X
    // . X
    // . X X
    Problem p({0, 0, 0}, {"X", ". X", ". X X"}, 2);
    p.tree.postOrder[1] = kNone;
    p.graph.nodes[1].tag = 1;
    unsigned int counter = 0;

    EXPECT_TRUE(p.tree.dfsHandleNode(1, counter, p.graph));

    EXPECT_EQ(p.tags(), (Words{0, 1, 1}));
}

TEST(TreeDfsHandleNode, KindIsThatOfTheStatusWhereverTheNodeStands)
{
    // X
    // . X
    // . X X
    Problem p({0, 0, 0}, {"X", ". X", ". X X"}, 2);
    p.tree.postOrder[1] = kNone;
    p.graph.nodes[1].tag = 1;
    p.graph.nodes[1].status = 0x200;
    unsigned int counter = 0;

    EXPECT_TRUE(p.tree.dfsHandleNode(1, counter, p.graph));

    EXPECT_EQ(p.tags(), (Words{0, 1, 0}));
}

TEST(TreeDfsHandleNode, NumberedLeafAnswersTrueAndChangesNothing)
{
    // X
    // X X
    Problem p({0, 0}, {"X", "X X"}, 1);
    p.tree.postOrder[1] = 3;
    unsigned int counter = 7;

    EXPECT_TRUE(p.tree.dfsHandleNode(1, counter, p.graph));

    EXPECT_EQ(counter, 7u);
    EXPECT_EQ(p.tree.postOrder[1], 3u);
    EXPECT_EQ(p.tags(), (Words{0, 0}));
}

} // namespace
