#include "support/Forests.h"

#include <kyrOrvel/Tree>

#include <gtest/gtest.h>

using kyrOrvel::kNone;
using kyrOrvel::Tree;
using support::Words;

namespace {

TEST(Tree, NewTreeHoldsNothing)
{
    const Tree tree;

    EXPECT_EQ(tree.parent, nullptr);
    EXPECT_EQ(tree.firstChild, nullptr);
    EXPECT_EQ(tree.nextSibling, nullptr);
    EXPECT_EQ(tree.postOrder, nullptr);
    EXPECT_EQ(tree.numNodes, 0u);
    EXPECT_EQ(tree.capacity, 0u);
    EXPECT_TRUE(tree.roots.empty());
    EXPECT_EQ(tree.marks.flags, nullptr);
    EXPECT_EQ(tree.marks.capacity, 0u);
}

TEST(Tree, AllocateMakesChildlessRootsAndLeavesTheCountToTheCaller)
{
    Tree tree;
    tree.numNodes = 2;
    tree.roots = {7};

    tree.allocateMemory(3);

    EXPECT_EQ(support::words(tree.parent, 3), (Words{0, 1, 2}));
    EXPECT_EQ(support::words(tree.postOrder, 3), (Words{0, 1, 2}));
    EXPECT_EQ(support::words(tree.firstChild, 3), Words(3, kNone));
    EXPECT_EQ(support::words(tree.nextSibling, 3), Words(3, kNone));
    EXPECT_EQ(tree.capacity, 3u);
    EXPECT_EQ(tree.marks.size, 3u);
    EXPECT_EQ(tree.numNodes, 2u);
    EXPECT_TRUE(tree.roots.empty());
}

TEST(Tree, AllocateLeavesOlderArraysToTheCaller)
{
    Tree tree;
    tree.allocateMemory(2);
    unsigned int* const older[] = {tree.parent, tree.postOrder, tree.firstChild, tree.nextSibling};
    tree.parent[1] = 17;

    tree.allocateMemory(4);

    EXPECT_EQ(older[0][1], 17u);
    EXPECT_EQ(tree.parent[1], 1u);
    for (unsigned int* array : older)
        delete[] array;
}

TEST(Tree, AllocateOfNoNodesLeavesAnEmptyTree)
{
    Tree tree;

    tree.allocateMemory(0);
    tree.computeTreeStructure();
    tree.computePostOrder();

    EXPECT_EQ(tree.capacity, 0u);
    EXPECT_TRUE(tree.roots.empty());
}

TEST(Tree, ReleaseFreesTheArraysAndKeepsMarksRootsAndCount)
{
    Tree tree;
    support::setForest(tree, {1, 1, 2});
    const unsigned char* const flags = tree.marks.flags;

    tree.releaseMemory();

    EXPECT_EQ(tree.parent, nullptr);
    EXPECT_EQ(tree.firstChild, nullptr);
    EXPECT_EQ(tree.nextSibling, nullptr);
    EXPECT_EQ(tree.postOrder, nullptr);
    EXPECT_EQ(tree.capacity, 0u);
    EXPECT_EQ(tree.numNodes, 3u);
    EXPECT_EQ(tree.marks.flags, flags);
    EXPECT_EQ(tree.marks.size, 3u);
    EXPECT_EQ(tree.roots, (Words{1, 2}));
}

TEST(Tree, ReleaseOfAReleasedTreeDoesNothing)
{
    Tree tree;
    tree.allocateMemory(3);

    tree.releaseMemory();
    tree.releaseMemory();

    EXPECT_EQ(tree.parent, nullptr);
    EXPECT_EQ(tree.capacity, 0u);
}

TEST(Tree, ClearRunsOverTheCapacityAndKeepsTheCount)
{
    Tree tree;
    support::setForest(tree, {2, 2, 3, 3});
    tree.computePostOrder();
    tree.numNodes = 1;
    tree.marks.flags[3] = 2;
    tree.marks.markedList[tree.marks.numMarked++] = 3;
    const unsigned int* const parent = tree.parent;

    tree.clear();

    EXPECT_EQ(tree.parent, parent);
    EXPECT_EQ(support::words(tree.parent, 4), (Words{0, 1, 2, 3}));
    EXPECT_EQ(support::words(tree.postOrder, 4), (Words{0, 1, 2, 3}));
    EXPECT_EQ(support::words(tree.firstChild, 4), Words(4, kNone));
    EXPECT_EQ(support::words(tree.nextSibling, 4), Words(4, kNone));
    EXPECT_EQ(tree.numNodes, 1u);
    EXPECT_EQ(tree.capacity, 4u);
    EXPECT_EQ(tree.marks.flags[3], 0);
    EXPECT_EQ(tree.marks.numMarked, 0u);
    EXPECT_TRUE(tree.roots.empty());
}

TEST(TreeStructure, ChildrenAreListedInAscendingOrder)
{
    //     4
    //   / | |
    //  0  1 3     2 is a root of its own
    Tree tree;
    support::setParents(tree, {4, 4, 2, 4, 4});

    tree.computeTreeStructure();

    EXPECT_EQ(support::words(tree.firstChild, 5), (Words{kNone, kNone, kNone, kNone, 0}));
    EXPECT_EQ(support::words(tree.nextSibling, 5), (Words{1, 3, kNone, kNone, kNone}));
    EXPECT_EQ(tree.roots, (Words{2, 4}));
}

TEST(TreeStructure, OrderInWhichParentsAreSetDoesNotMatter)
{
    Tree tree;
    tree.allocateMemory(4);
    tree.numNodes = 4;
    tree.parent[3] = 0;
    tree.parent[1] = 0;

    tree.computeTreeStructure();

    EXPECT_EQ(support::childList(tree, 0), (Words{1, 3}));
    EXPECT_EQ(tree.roots, (Words{0, 2}));
}

TEST(TreeStructure, ChildMayComeBeforeOrAfterItsParent)
{
    Tree tree;

    support::setForest(tree, {2, 2, 2, 2, 1});

    EXPECT_EQ(support::childList(tree, 2), (Words{0, 1, 3}));
    EXPECT_EQ(support::childList(tree, 1), (Words{4}));
    EXPECT_EQ(tree.roots, (Words{2}));
}

TEST(TreeStructure, NodesBeyondTheCountAreIgnored)
{
    Tree tree;
    tree.allocateMemory(4);
    tree.numNodes = 2;
    tree.parent[0] = 1;
    tree.parent[3] = 1;

    tree.computeTreeStructure();

    EXPECT_EQ(support::childList(tree, 1), (Words{0}));
    EXPECT_EQ(tree.roots, (Words{1}));
}

TEST(TreeStructure, ListsAndRootsOfBeforeAreAddedTo)
{
    Tree tree;
    support::setForest(tree, {2, 1, 2});

    tree.parent[0] = 0;
    tree.parent[1] = 2;
    tree.computeTreeStructure();

    EXPECT_EQ(support::childList(tree, 2), (Words{0, 1}));
    EXPECT_EQ(tree.roots, (Words{1, 2, 0, 2}));
}

TEST(TreeStructure, ClearedTreeIsDerivedAfresh)
{
    Tree tree;
    support::setForest(tree, {2, 1, 2});

    tree.clear();
    tree.parent[1] = 2;
    tree.computeTreeStructure();

    EXPECT_EQ(support::childList(tree, 2), (Words{1}));
    EXPECT_EQ(tree.roots, (Words{0, 2}));
}

} // namespace
