#include "support/Forests.h"

#include <kyrOrvel/Tree>

#include <gtest/gtest.h>

#include <algorithm>

using kyrOrvel::Tree;
using support::Words;

namespace {

Words postOrder(const Words& parents)
{
    Tree tree;
    support::setForest(tree, parents);
    std::fill_n(tree.postOrder, parents.size(), 99u);
    tree.computePostOrder();
    return support::words(tree.postOrder, parents.size());
}

TEST(TreePostOrder, SingleNodesAreNumberedInTheOrderOfTheRoots)
{
    EXPECT_EQ(postOrder({0, 1, 2}), (Words{0, 1, 2}));
}

TEST(TreePostOrder, ChainIsNumberedFromTheBottom)
{
    EXPECT_EQ(postOrder({1, 2, 2}), (Words{0, 1, 2}));
    EXPECT_EQ(postOrder({0, 0, 1}), (Words{2, 1, 0}));
}

TEST(TreePostOrder, SiblingsAreNumberedInDescendingIndexOrder)
{
    // 4 with the leaves 1 and 3; 0 and 2 stand alone.
    EXPECT_EQ(postOrder({0, 4, 2, 4, 4}), (Words{0, 3, 1, 2, 4}));
}

TEST(TreePostOrder, RootWithTwoLeaves)
{
    Tree tree;
    support::setParents(tree, {0, 4, 2, 4, 4});
    tree.roots = {4};
    tree.firstChild[4] = 1;
    tree.nextSibling[1] = 3;

    tree.computePostOrder();

    EXPECT_EQ(tree.postOrder[3], 0u);
    EXPECT_EQ(tree.postOrder[1], 1u);
    EXPECT_EQ(tree.postOrder[4], 2u);
}

TEST(TreePostOrder, SubtreesAreNumberedOneAfterTheOther)
{
    //        6
    //      /   |
    //     2     5
    //    / |   / |
    //   0   1 3   4
    EXPECT_EQ(postOrder({2, 2, 6, 5, 5, 6, 6}), (Words{4, 3, 5, 1, 0, 2, 6}));
}

TEST(TreePostOrder, OneCounterRunsOverAllTrees)
{
    // Roots 1 (child 0), 2 and 4 (child 3).
    EXPECT_EQ(postOrder({1, 1, 2, 4, 4}), (Words{0, 1, 2, 3, 4}));
}

TEST(TreePostOrder, RootsAreTakenInTheirListedOrder)
{
    Tree tree;
    support::setForest(tree, {0, 1, 2});
    tree.roots = {2, 0, 1};

    tree.computePostOrder();

    EXPECT_EQ(support::words(tree.postOrder, 3), (Words{1, 2, 0}));
}

TEST(TreePostOrder, RootListedTwiceIsNumberedOnce)
{
    Tree tree;
    support::setForest(tree, {1, 1, 2});
    tree.roots = {1, 1, 2};

    tree.computePostOrder();

    EXPECT_EQ(support::words(tree.postOrder, 3), (Words{0, 1, 2}));
}

TEST(TreePostOrder, ListedNodeThatIsNoRootIsPassedOver)
{
    Tree tree;
    support::setForest(tree, {1, 1, 2});
    tree.roots = {0, 2};

    tree.computePostOrder();

    EXPECT_EQ(tree.postOrder[2], 0u);
    EXPECT_EQ(tree.postOrder[0], 0u); // as clear() left it
    EXPECT_EQ(tree.postOrder[1], 1u);
}

TEST(TreePostOrder, MarkedRootIsPassedOver)
{
    Tree tree;
    support::setForest(tree, {0, 1});
    tree.marks.flags[0] = 1;
    tree.marks.markedList[tree.marks.numMarked++] = 0;

    tree.computePostOrder();

    EXPECT_EQ(tree.postOrder[1], 0u);
}

TEST(TreePostOrder, FirstChildMarkedBeforehandIsPassedOverAndListedOnce)
{
    Tree tree;
    tree.allocateMemory(3);
    tree.numNodes = 2;
    tree.parent[0] = 1;
    tree.computeTreeStructure();
    tree.marks.flags[0] = 1;
    tree.marks.markedList[tree.marks.numMarked++] = 0;
    tree.marks.markedList[2] = 77; // where a third mark would go
    tree.postOrder[0] = 99;

    tree.computePostOrder();

    EXPECT_EQ(tree.marks.markedList[2], 77u);
    EXPECT_EQ(support::words(tree.postOrder, 2), (Words{99, 0}));
}

TEST(TreePostOrder, FamilyEndsAtASiblingThatIsMarked)
{
    Tree tree;
    support::setForest(tree, {1, 1});
    tree.computeTreeStructure(); // puts 0 behind itself in the list
    ASSERT_EQ(tree.nextSibling[0], 0u);

    tree.computePostOrder();

    EXPECT_EQ(support::words(tree.postOrder, 2), (Words{0, 1}));
}

TEST(TreePostOrder, MarksEndEmptyOverTheirWholeCapacity)
{
    Tree tree;
    tree.allocateMemory(8);
    tree.releaseMemory();
    support::setForest(tree, {2, 2, 3, 3});
    tree.marks.flags[7] = 1; // beyond the range in use, in no list

    tree.computePostOrder();

    EXPECT_EQ(tree.marks.numMarked, 0u);
    EXPECT_EQ(tree.marks.size, 4u);
    EXPECT_EQ(Words(tree.marks.flags, tree.marks.flags + 8), Words(8, 0));
}

TEST(TreePostOrder, SecondRunGivesTheSameNumbers)
{
    Tree tree;
    support::setForest(tree, {2, 2, 3, 3});
    tree.computePostOrder();
    const Words first = support::words(tree.postOrder, 4);

    tree.computePostOrder();

    EXPECT_EQ(support::words(tree.postOrder, 4), first);
}

TEST(TreePostOrder, TreeWithoutArraysIsLeftAlone)
{
    Tree tree;

    tree.computePostOrder();

    EXPECT_EQ(tree.postOrder, nullptr);
    EXPECT_EQ(tree.marks.numMarked, 0u);
}

} // namespace
