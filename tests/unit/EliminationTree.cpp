#include "support/Forests.h"

#include <kyrOrvel/EliminationTree>

#include <gtest/gtest.h>

using kyrOrvel::EliminationTree;
using kyrOrvel::kNone;
using kyrOrvel::Tree;
using support::Words;

namespace {

Words ancestors(const EliminationTree& tree)
{
    return support::words(tree.ancestor, tree.capacity);
}

Words ranks(const EliminationTree& tree)
{
    return support::words(tree.setRank, tree.capacity);
}

/// Three nodes under 2, every field of its own content.
void setSample(EliminationTree& tree)
{
    support::setForest(tree, {2, 2, 2});
    tree.computePostOrder();
    tree.ancestor[0] = 1;
    tree.ancestor[1] = 2;
    tree.setRank[0] = 4;
    tree.setRank[2] = 6;
    tree.auxIndices = {8, 9};
    tree.fillIns = {5};
}

void expectSample(const EliminationTree& tree)
{
    EXPECT_EQ(tree.numNodes, 3u);
    EXPECT_EQ(support::words(tree.parent, 3), (Words{2, 2, 2}));
    EXPECT_EQ(support::words(tree.postOrder, 3), (Words{1, 0, 2}));
    EXPECT_EQ(support::words(tree.ancestor, 3), (Words{1, 2, 2}));
    EXPECT_EQ(support::words(tree.setRank, 3), (Words{4, 0, 6}));
    EXPECT_EQ(tree.roots, (Words{2}));
    EXPECT_EQ(tree.auxIndices, (Words{8, 9}));
    EXPECT_EQ(tree.fillIns, (Words{5}));
}

TEST(EliminationTree, NewTreeHoldsNothing)
{
    const EliminationTree tree;

    EXPECT_EQ(tree.ancestor, nullptr);
    EXPECT_EQ(tree.setRank, nullptr);
    EXPECT_TRUE(tree.auxIndices.empty());
    EXPECT_TRUE(tree.fillIns.empty());
    EXPECT_EQ(tree.parent, nullptr);
    EXPECT_EQ(tree.numNodes, 0u);
    EXPECT_EQ(tree.capacity, 0u);
}

TEST(EliminationTree, AllocateMakesEveryNodeASetOfItsOwn)
{
    EliminationTree tree;

    tree.allocateMemory(3);

    EXPECT_EQ(tree.capacity, 3u);
    EXPECT_EQ(ancestors(tree), (Words{0, 1, 2}));
    EXPECT_EQ(ranks(tree), (Words{0, 0, 0}));
    EXPECT_EQ(support::words(tree.parent, 3), (Words{0, 1, 2}));
    EXPECT_EQ(support::words(tree.postOrder, 3), (Words{0, 1, 2}));
    EXPECT_EQ(tree.numNodes, 0u);
}

TEST(EliminationTree, AllocateLeavesOlderArraysToTheCaller)
{
    EliminationTree tree;
    tree.allocateMemory(2);
    unsigned int* const older[] = {tree.parent,      tree.postOrder, tree.firstChild,
                                   tree.nextSibling, tree.ancestor,  tree.setRank};
    tree.setRank[1] = 17;

    tree.allocateMemory(4);

    EXPECT_EQ(older[5][1], 17u);
    EXPECT_EQ(tree.setRank[1], 0u);
    for (unsigned int* array : older)
        delete[] array;
}

TEST(EliminationTree, ReleaseFreesAllArraysAndKeepsTheLists)
{
    EliminationTree tree;
    setSample(tree);

    tree.releaseMemory();

    EXPECT_EQ(tree.ancestor, nullptr);
    EXPECT_EQ(tree.setRank, nullptr);
    EXPECT_EQ(tree.parent, nullptr);
    EXPECT_EQ(tree.firstChild, nullptr);
    EXPECT_EQ(tree.nextSibling, nullptr);
    EXPECT_EQ(tree.postOrder, nullptr);
    EXPECT_EQ(tree.capacity, 0u);
    EXPECT_NE(tree.marks.flags, nullptr);
    EXPECT_EQ(tree.roots, (Words{2}));
    EXPECT_EQ(tree.auxIndices, (Words{8, 9}));
    EXPECT_EQ(tree.fillIns, (Words{5}));
}

TEST(EliminationTree, ReleasedTreeCanBeClearedAndAllocatedAgain)
{
    EliminationTree tree;
    setSample(tree);

    tree.releaseMemory();
    tree.releaseMemory();
    tree.clear();
    tree.allocateMemory(2);

    EXPECT_EQ(ancestors(tree), (Words{0, 1}));
}

TEST(EliminationTree, ClearRunsOverTheCapacityAndKeepsTheLists)
{
    EliminationTree tree;
    setSample(tree);
    tree.numNodes = 1;

    tree.clear();

    EXPECT_EQ(ancestors(tree), (Words{0, 1, 2}));
    EXPECT_EQ(ranks(tree), (Words{0, 0, 0}));
    EXPECT_EQ(support::words(tree.parent, 3), (Words{0, 1, 2}));
    EXPECT_EQ(support::words(tree.firstChild, 3), Words(3, kNone));
    EXPECT_TRUE(tree.roots.empty());
    EXPECT_EQ(tree.numNodes, 1u);
    EXPECT_EQ(tree.auxIndices, (Words{8, 9}));
    EXPECT_EQ(tree.fillIns, (Words{5}));
}

TEST(EliminationTree, OperationsOfTheBaseReachTheOwnArrays)
{
    EliminationTree tree;
    Tree& base = tree;

    base.allocateMemory(2);
    tree.ancestor[0] = 1;
    tree.setRank[0] = 5;
    base.clear();
    EXPECT_EQ(ancestors(tree), (Words{0, 1}));
    EXPECT_EQ(ranks(tree), (Words{0, 0}));

    base.releaseMemory();
    EXPECT_EQ(tree.ancestor, nullptr);
    EXPECT_EQ(tree.setRank, nullptr);
}

TEST(EliminationTree, DeletionThroughTheBaseFreesEverything)
{
    auto* const tree = new EliminationTree; // the leak check of the sanitizer is the judge
    setSample(*tree);
    Tree* const base = tree;
    EXPECT_EQ(base->numNodes, 3u);
    delete base;
}

TEST(EliminationTreeCopy, ConstructionCopiesEverything)
{
    EliminationTree source;
    setSample(source);

    EliminationTree copy(source);
    source.clear();
    source.fillIns.clear();

    expectSample(copy);
    EXPECT_EQ(copy.capacity, 3u);
}

TEST(EliminationTreeCopy, AssignmentToASmallerTreeReallocatesAllArrays)
{
    EliminationTree source;
    setSample(source);
    EliminationTree target;
    target.allocateMemory(1);
    target.fillIns = {1, 2, 3, 4};

    target = source;

    expectSample(target);
    EXPECT_EQ(target.capacity, 3u);
}

TEST(EliminationTreeCopy, AssignmentToALargerTreeCopiesTheNodesInUse)
{
    EliminationTree source;
    setSample(source);
    EliminationTree target;
    target.allocateMemory(5);
    target.ancestor[4] = 3;
    target.setRank[4] = 7;
    const unsigned int* const ancestor = target.ancestor;

    target = source;

    expectSample(target);
    EXPECT_EQ(target.ancestor, ancestor);
    EXPECT_EQ(target.capacity, 5u);
    EXPECT_EQ(target.ancestor[4], 3u);
    EXPECT_EQ(target.setRank[4], 7u);
}

TEST(EliminationTreeCopy, MarksAreCopiedAndStaleOnesGo)
{
    EliminationTree source;
    setSample(source);
    source.marks.flags[1] = 2;
    source.marks.markedList[source.marks.numMarked++] = 1;
    EliminationTree target;
    target.allocateMemory(5);
    for (const unsigned int i : {0u, 4u}) {
        target.marks.flags[i] = 1;
        target.marks.markedList[target.marks.numMarked++] = i;
    }

    target = source;

    EXPECT_EQ(target.marks.size, 3u);
    EXPECT_EQ(target.marks.numMarked, 1u);
    EXPECT_EQ(target.marks.markedList[0], 1u);
    EXPECT_EQ(Words(target.marks.flags, target.marks.flags + 5), (Words{0, 2, 0, 0, 0}));
}

TEST(EliminationTreeCopy, SelfAssignmentChangesNothing)
{
    EliminationTree tree;
    setSample(tree);
    const unsigned int* const ancestor = tree.ancestor;
    const EliminationTree& same = tree;

    tree = same;

    EXPECT_EQ(tree.ancestor, ancestor);
    expectSample(tree);
}

TEST(EliminationTreeCopy, EmptyTreeCopiesToAnEmptyTree)
{
    const EliminationTree empty;
    EliminationTree target;
    setSample(target);

    const EliminationTree copy(empty);
    target = empty;

    EXPECT_EQ(copy.numNodes, 0u);
    EXPECT_EQ(copy.capacity, 0u);
    EXPECT_EQ(target.numNodes, 0u);
    EXPECT_EQ(target.capacity, 3u);
    EXPECT_TRUE(target.auxIndices.empty());
    EXPECT_TRUE(target.fillIns.empty());
}

TEST(FindRoot, RootAnswersWithItself)
{
    EliminationTree tree;
    tree.allocateMemory(3);

    EXPECT_EQ(tree.findRoot(1), 1u);
    EXPECT_EQ(ancestors(tree), (Words{0, 1, 2}));
}

TEST(FindRoot, RootAnswersWithItsAncestorEntry)
{
    EliminationTree tree;
    tree.allocateMemory(3);
    tree.ancestor[1] = 2;

    EXPECT_EQ(tree.findRoot(1), 2u);
    EXPECT_EQ(ancestors(tree), (Words{0, 2, 2}));
}

TEST(FindRoot, ChainIsCompressedToTheRoot)
{
    EliminationTree tree;
    support::setParents(tree, {1, 2, 3, 3, 4});
    for (const unsigned int i : {0u, 1u, 2u})
        tree.ancestor[i] = i + 1;

    EXPECT_EQ(tree.findRoot(0), 3u);

    EXPECT_EQ(ancestors(tree), (Words{3, 3, 3, 3, 4}));
}

TEST(FindRoot, OnlyTheNodesOnTheWayAreCompressed)
{
    EliminationTree tree;
    support::setParents(tree, {1, 2, 3, 3});
    for (const unsigned int i : {0u, 1u, 2u})
        tree.ancestor[i] = i + 1;

    EXPECT_EQ(tree.findRoot(1), 3u);

    EXPECT_EQ(ancestors(tree), (Words{1, 3, 3, 3}));
}

TEST(FindRoot, WayFollowsTheAncestorsAndParentsTellTheRoot)
{
    // 0 has the parent 1, but its ancestor entry points past it.
    EliminationTree tree;
    support::setParents(tree, {1, 3, 2, 3});
    tree.ancestor[0] = 2;
    tree.ancestor[1] = 3;

    EXPECT_EQ(tree.findRoot(0), 2u);

    EXPECT_EQ(ancestors(tree), (Words{2, 3, 2, 3}));
}

TEST(FindRoot, EveryNodeOnTheWayTakesTheEntryOfTheLast)
{
    // The last node of the way is a root whose entry points elsewhere.
    EliminationTree tree;
    support::setParents(tree, {1, 2, 2, 3});
    tree.ancestor[0] = 1;
    tree.ancestor[1] = 2;
    tree.ancestor[2] = 3;

    EXPECT_EQ(tree.findRoot(0), 3u);

    EXPECT_EQ(ancestors(tree), (Words{3, 3, 3, 3}));
}

TEST(FindRoot, ParentsAndRanksStay)
{
    EliminationTree tree;
    support::setParents(tree, {1, 2, 2});
    tree.ancestor[0] = 1;
    tree.ancestor[1] = 2;
    tree.setRank[1] = 4;

    tree.findRoot(0);

    EXPECT_EQ(support::words(tree.parent, 3), (Words{1, 2, 2}));
    EXPECT_EQ(ranks(tree), (Words{0, 4, 0}));
}

} // namespace
