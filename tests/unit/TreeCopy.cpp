#include "support/Forests.h"

#include <kyrOrvel/EliminationTree>
#include <kyrOrvel/Tree>

#include <gtest/gtest.h>

#include <vector>

using kyrOrvel::EliminationTree;
using kyrOrvel::kNone;
using kyrOrvel::Marks;
using kyrOrvel::Tree;
using support::Words;

namespace {

void mark(Marks& marks, unsigned int index, unsigned char value)
{
    marks.flags[index] = value;
    marks.markedList[marks.numMarked++] = index;
}

std::vector<int> flags(const Marks& marks, unsigned int n)
{
    return std::vector<int>(marks.flags, marks.flags + n);
}

/// A tree whose every field tells its origin: parents 2 2 2 3, two marks.
void setSample(Tree& tree)
{
    support::setForest(tree, {2, 2, 2, 3});
    tree.computePostOrder();
    mark(tree.marks, 3, 2);
    mark(tree.marks, 1, 1);
}

void expectSample(const Tree& tree)
{
    EXPECT_EQ(tree.numNodes, 4u);
    EXPECT_EQ(support::words(tree.parent, 4), (Words{2, 2, 2, 3}));
    EXPECT_EQ(support::words(tree.firstChild, 4), (Words{kNone, kNone, 0, kNone}));
    EXPECT_EQ(support::words(tree.nextSibling, 4), (Words{1, kNone, kNone, kNone}));
    EXPECT_EQ(support::words(tree.postOrder, 4), (Words{1, 0, 2, 3}));
    EXPECT_EQ(tree.marks.size, 4u);
    EXPECT_EQ(tree.marks.numMarked, 2u);
    EXPECT_EQ(support::words(tree.marks.markedList, 2), (Words{3, 1}));
    EXPECT_EQ(flags(tree.marks, 4), (std::vector<int>{0, 1, 0, 2}));
    EXPECT_EQ(tree.roots, (Words{2, 3}));
}

TEST(TreeCopy, ConstructionCopiesEverything)
{
    Tree source;
    setSample(source);

    const Tree copy(source);

    expectSample(copy);
    EXPECT_EQ(copy.capacity, 4u);
}

TEST(TreeCopy, CopyHasArraysOfItsOwn)
{
    Tree source;
    setSample(source);

    Tree copy(source);
    source.clear();
    source.roots = {9};

    expectSample(copy);
}

TEST(TreeCopy, AssignmentToASmallerTreeGrowsIt)
{
    Tree source;
    setSample(source);
    Tree target;
    support::setForest(target, {1, 1});

    target = source;

    expectSample(target);
    EXPECT_EQ(target.capacity, 4u);
    EXPECT_EQ(target.marks.capacity, 4u);
}

TEST(TreeCopy, AssignmentToALargerTreeKeepsItsStorage)
{
    Tree source;
    setSample(source);
    Tree target;
    support::setForest(target, {5, 5, 5, 5, 5, 5});
    const unsigned int* const parent = target.parent;
    const unsigned char* const flagArray = target.marks.flags;

    target = source;

    expectSample(target);
    EXPECT_EQ(target.parent, parent);
    EXPECT_EQ(target.marks.flags, flagArray);
    EXPECT_EQ(target.capacity, 6u);
    EXPECT_EQ(target.marks.capacity, 6u);
    EXPECT_EQ(target.parent[5], 5u);
    EXPECT_EQ(target.firstChild[5], 0u); // beyond the nodes in use: not touched
}

TEST(TreeCopy, OnlyTheNodesInUseDecideOnGrowth)
{
    Tree source;
    source.allocateMemory(9);
    source.numNodes = 2;
    Tree target;
    target.allocateMemory(3);
    const unsigned int* const parent = target.parent;

    target = source;

    EXPECT_EQ(target.parent, parent);
    EXPECT_EQ(target.capacity, 3u);
    EXPECT_EQ(target.numNodes, 2u);
    EXPECT_EQ(target.marks.size, 9u); // the marks grow by their own size
    EXPECT_EQ(target.marks.capacity, 9u);
    EXPECT_EQ(flags(target.marks, 9), std::vector<int>(9, 0));
}

TEST(TreeCopy, StaleMarksOfTheTargetDoNotSurvive)
{
    Tree source;
    support::setForest(source, {1, 1});
    Tree target;
    target.allocateMemory(6);
    mark(target.marks, 0, 1);
    mark(target.marks, 5, 2);

    target = source;
    EXPECT_EQ(target.marks.numMarked, 0u);
    EXPECT_EQ(target.marks.size, 2u);
    EXPECT_EQ(flags(target.marks, 6), std::vector<int>(6, 0));
}

TEST(TreeCopy, FlagsBeyondTheSizeOfTheSourceAreNotCopied)
{
    Tree source;
    source.allocateMemory(9);
    source.releaseMemory();
    source.allocateMemory(2); // the marks keep their capacity
    source.numNodes = 2;
    Tree target;
    target.allocateMemory(9);
    target.marks.flags[5] = 7;

    target = source;

    EXPECT_EQ(target.marks.size, 2u);
    EXPECT_EQ(target.marks.flags[5], 7);
}

TEST(TreeCopy, AssignedTreeTakesAPostOrderAgain)
{
    Tree source;
    support::setForest(source, {1, 1});
    Tree target;
    target.allocateMemory(6);
    mark(target.marks, 1, 2); // a leftover that would make the traversal pass over the root

    target = source;
    target.computePostOrder();

    EXPECT_EQ(support::words(target.postOrder, 2), (Words{0, 1}));
}

TEST(TreeCopy, SelfAssignmentChangesNothing)
{
    Tree tree;
    setSample(tree);
    const unsigned int* const parent = tree.parent;
    const Tree& same = tree;

    tree = same;

    EXPECT_EQ(tree.parent, parent);
    expectSample(tree);
}

TEST(TreeCopy, EmptyTreeCopiesToAnEmptyTree)
{
    const Tree empty;
    Tree target;
    setSample(target);

    const Tree copy(empty);
    target = empty;

    EXPECT_EQ(copy.parent, nullptr);
    EXPECT_EQ(copy.numNodes, 0u);
    EXPECT_EQ(target.numNodes, 0u);
    EXPECT_EQ(target.capacity, 4u);
    EXPECT_TRUE(target.roots.empty());
    EXPECT_EQ(target.marks.numMarked, 0u);
    EXPECT_EQ(flags(target.marks, 4), std::vector<int>(4, 0));
}

TEST(TreeCopy, TreeOfNoNodesWithArraysCopiesToAnEmptyTree)
{
    Tree source;
    source.allocateMemory(3);
    Tree target;

    target = source;

    EXPECT_EQ(target.numNodes, 0u);
    EXPECT_EQ(target.capacity, 0u);
    EXPECT_EQ(target.marks.size, 3u);
}

TEST(TreeCopy, AssignmentThroughTheBaseGrowsADerivedTargetWhole)
{
    Tree source;
    setSample(source);
    EliminationTree derived;
    derived.allocateMemory(1);
    Tree& target = derived;

    target = source;

    expectSample(target);
    EXPECT_EQ(support::words(derived.ancestor, 4), (Words{0, 1, 2, 3}));
    EXPECT_EQ(support::words(derived.setRank, 4), Words(4, 0));
}

} // namespace
