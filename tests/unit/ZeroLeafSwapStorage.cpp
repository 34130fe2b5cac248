#include "support/CountingTree.h"
#include "support/Orderings.h"

#include <kyrOrvel/Reordering>

#include <gtest/gtest.h>

#include <algorithm>

using kyrOrvel::EliminationTree;
using kyrOrvel::Permutation;
using kyrOrvel::Reordering;
using kyrOrvel::ScratchPad;
using kyrOrvel::SkeletonMatrix;
using support::Words;

namespace {

// X
// X X
// . X X
const support::Rows kChain = support::drawnRows({"X", "X X", ". X X"});

class ZeroLeafSwapStorage : public testing::Test {
protected:
    bool swap(const SkeletonMatrix& src, const Words& order)
    {
        Permutation perm;
        support::setOrder(perm, order);
        return Reordering::zeroLeafSwap(src, dst, etree, src.numBlockRows, perm, scratch);
    }

    SkeletonMatrix dst;
    EliminationTree etree;
    ScratchPad scratch;
};

TEST_F(ZeroLeafSwapStorage, EmptyResultIsAllocatedToFit)
{
    ASSERT_TRUE(swap(*support::makeSkeleton(kChain), {0, 1, 2}));

    EXPECT_EQ(dst.numBlockRows, 3u);
    EXPECT_EQ(dst.rowCapacity, 3u);
    EXPECT_EQ(dst.entryCapacity, 5u);
    EXPECT_EQ(support::words(dst.rowStart, 4), (Words{0, 1, 3, 5}));
}

TEST_F(ZeroLeafSwapStorage, LargeResultKeepsItsArrays)
{
    dst.allocateMemory(7, 9);
    const unsigned int* const before[] = {dst.columnIndices, dst.rowStart, dst.rowAttributes};
    const unsigned char* const flags = dst.entryFlags;

    ASSERT_TRUE(swap(*support::makeSkeleton(kChain), {0, 1, 2}));

    EXPECT_EQ(dst.columnIndices, before[0]);
    EXPECT_EQ(dst.rowStart, before[1]);
    EXPECT_EQ(dst.rowAttributes, before[2]);
    EXPECT_EQ(dst.entryFlags, flags);
    EXPECT_EQ(dst.rowCapacity, 7u);
    EXPECT_EQ(dst.entryCapacity, 9u);
    EXPECT_EQ(support::rowsOf(dst), kChain);
}

TEST_F(ZeroLeafSwapStorage, TooFewRowsReplaceAllArrays)
{
    dst.allocateMemory(2, 9);

    ASSERT_TRUE(swap(*support::makeSkeleton(kChain), {2, 1, 0}));

    EXPECT_EQ(dst.rowCapacity, 3u);
    EXPECT_EQ(dst.entryCapacity, 5u);
    EXPECT_EQ(support::rowsOf(dst), kChain);
}

TEST_F(ZeroLeafSwapStorage, TooFewEntriesReplaceAllArrays)
{
    dst.allocateMemory(9, 4);

    ASSERT_TRUE(swap(*support::makeSkeleton(kChain), {2, 1, 0}));

    EXPECT_EQ(dst.rowCapacity, 3u);
    EXPECT_EQ(dst.entryCapacity, 5u);
    EXPECT_EQ(support::rowsOf(dst), kChain);
}

TEST_F(ZeroLeafSwapStorage, FlagsAreZeroedOverTheWholeCapacity)
{
    dst.allocateMemory(3, 8);
    std::fill_n(dst.entryFlags, 8, static_cast<unsigned char>(1));

    ASSERT_TRUE(swap(*support::makeSkeleton(kChain), {0, 1, 2}));

    EXPECT_EQ(Words(dst.entryFlags, dst.entryFlags + 8), Words(8, 0));
}

TEST_F(ZeroLeafSwapStorage, AttributesTravelWithTheirRows)
{
    const auto src = support::makeSkeleton(kChain);
    src->rowAttributes[0] = 10;
    src->rowAttributes[1] = 0x80000001u;
    src->rowAttributes[2] = 12;

    ASSERT_TRUE(swap(*src, {2, 0, 1}));

    EXPECT_EQ(support::words(dst.rowAttributes, 3), (Words{12, 10, 0x80000001u}));
}

TEST_F(ZeroLeafSwapStorage, AttributesAreZeroWhenTheSourceHasNone)
{
    const auto src = support::makeSkeleton(kChain);
    delete[] src->rowAttributes;
    src->rowAttributes = nullptr;

    ASSERT_TRUE(swap(*src, {2, 0, 1}));

    EXPECT_EQ(support::words(dst.rowAttributes, 3), (Words{0, 0, 0}));
}

TEST_F(ZeroLeafSwapStorage, AttributesOfTheResultArePermutedEvenWithoutASource)
{
    const auto src = support::makeSkeleton(kChain);
    delete[] src->rowAttributes;
    src->rowAttributes = nullptr;
    dst.allocateMemory(3, 5);
    std::copy_n(Words{7, 8, 9}.begin(), 3, dst.rowAttributes);

    ASSERT_TRUE(swap(*src, {2, 0, 1}));

    EXPECT_EQ(support::words(dst.rowAttributes, 3), (Words{9, 7, 8}));
}

TEST_F(ZeroLeafSwapStorage, ResultThatLacksOnlyAttributesGetsThemZeroed)
{
    const auto src = support::makeSkeleton(kChain);
    delete[] src->rowAttributes;
    src->rowAttributes = nullptr;
    dst.allocateMemory(4, 6);
    delete[] dst.rowAttributes;
    dst.rowAttributes = nullptr;

    ASSERT_TRUE(swap(*src, {2, 0, 1}));

    ASSERT_NE(dst.rowAttributes, nullptr);
    EXPECT_EQ(support::words(dst.rowAttributes, 4), (Words{0, 0, 0, 0}));
    EXPECT_EQ(dst.rowCapacity, 4u);
}

TEST_F(ZeroLeafSwapStorage, SourceIsOnlyRead)
{
    const auto src = support::makeSkeleton(kChain);
    src->entryFlags[1] = 1; // not consulted
    src->rowAttributes[2] = 5;

    ASSERT_TRUE(swap(*src, {2, 1, 0}));

    EXPECT_EQ(support::rowsOf(*src), kChain);
    EXPECT_EQ(src->entryFlags[1], 1);
    EXPECT_EQ(src->rowAttributes[2], 5u);
    EXPECT_EQ(Words(dst.entryFlags, dst.entryFlags + 5), (Words{0, 1, 0, 1, 0}));
}

TEST_F(ZeroLeafSwapStorage, SmallTreeGrows)
{
    etree.allocateMemory(2);

    ASSERT_TRUE(swap(*support::makeSkeleton(kChain), {0, 1, 2}));

    EXPECT_EQ(etree.capacity, 3u);
    EXPECT_EQ(etree.numNodes, 3u);
    EXPECT_EQ(support::words(etree.parent, 3), (Words{1, 2, 2}));
}

TEST_F(ZeroLeafSwapStorage, TreeOfExactlyEnoughNodesIsNotAllocatedAnew)
{
    support::CountingTree<EliminationTree> tree;
    tree.EliminationTree::allocateMemory(3);
    Permutation perm;
    support::setOrder(perm, {0, 1, 2});

    ASSERT_TRUE(
        Reordering::zeroLeafSwap(*support::makeSkeleton(kChain), dst, tree, 3, perm, scratch));

    EXPECT_EQ(tree.allocations, 0);
    EXPECT_EQ(support::words(tree.parent, 3), (Words{1, 2, 2}));
}

TEST_F(ZeroLeafSwapStorage, LargeTreeKeepsItsStorageAndForgetsItsContents)
{
    support::setForest(etree, {4, 4, 4, 4, 4});
    etree.setRank[1] = 3;
    etree.ancestor[0] = 4;
    etree.marks.flags[1] = 2;
    etree.marks.markedList[etree.marks.numMarked++] = 1;
    const unsigned int* const parent = etree.parent;

    ASSERT_TRUE(swap(*support::makeSkeleton(kChain), {0, 1, 2}));

    EXPECT_EQ(etree.parent, parent);
    EXPECT_EQ(etree.capacity, 5u);
    EXPECT_EQ(etree.numNodes, 3u);
    EXPECT_EQ(support::words(etree.parent, 5), (Words{1, 2, 2, 3, 4}));
    EXPECT_EQ(support::words(etree.setRank, 5), (Words{1, 1, 0, 0, 0}));
    EXPECT_EQ(support::words(etree.postOrder, 3), (Words{0, 1, 2}));
    EXPECT_EQ(etree.roots, (Words{2}));
}

TEST_F(ZeroLeafSwapStorage, ListsCarriedByTheTreeAreLeftAlone)
{
    etree.auxIndices = {4};
    etree.fillIns = {5, 6};

    ASSERT_TRUE(swap(*support::makeSkeleton(kChain), {0, 1, 2}));

    EXPECT_EQ(etree.auxIndices, (Words{4}));
    EXPECT_EQ(etree.fillIns, (Words{5, 6}));
}

TEST_F(ZeroLeafSwapStorage, SmallerProblemAfterALargerOneLeavesNoTrace)
{
    ASSERT_TRUE(swap(*support::drawSkeleton({"X", "X X", "X X X", "X X X X"}), {3, 2, 1, 0}));

    ASSERT_TRUE(swap(*support::drawSkeleton({"X", ". X"}), {1, 0}));

    EXPECT_EQ(support::rowsOf(dst), support::drawnRows({"X", ". X"}));
    EXPECT_EQ(dst.entryFlags[0], 0);
    EXPECT_EQ(dst.entryFlags[1], 0);
    EXPECT_EQ(support::words(etree.parent, 2), (Words{0, 1}));
    EXPECT_EQ(etree.roots, (Words{0, 1}));
}

} // namespace
