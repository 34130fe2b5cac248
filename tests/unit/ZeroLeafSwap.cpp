#include "support/Orderings.h"

#include <kyrOrvel/Reordering>

#include <gtest/gtest.h>

#include <initializer_list>

using kyrOrvel::EliminationTree;
using kyrOrvel::kNone;
using kyrOrvel::Permutation;
using kyrOrvel::Reordering;
using kyrOrvel::ScratchPad;
using kyrOrvel::SkeletonMatrix;
using support::Rows;
using support::Words;

namespace {

/// One call on a drawn pattern, and what it leaves behind.
struct Call {
    Call(std::initializer_list<const char*> drawing, unsigned long firstTrailing,
         const Words& order, unsigned int spare = 0)
    {
        const auto src = support::drawSkeleton(drawing);
        support::setOrder(perm, order, spare);
        result = Reordering::zeroLeafSwap(*src, dst, etree, firstTrailing, perm, scratch);
    }

    Words order() const { return support::orderOf(perm); }
    Words parents() const { return support::words(etree.parent, etree.numNodes); }
    Words flags() const
    {
        return Words(dst.entryFlags, dst.entryFlags + dst.rowStart[dst.numBlockRows]);
    }

    SkeletonMatrix dst;
    EliminationTree etree;
    Permutation perm;
    ScratchPad scratch;
    bool result;
};

TEST(ZeroLeafSwap, TrailingLeafMovesBehindItsParent)
{
    // X
    // X X
    const Call call({"X", "X X"}, 1, {1, 0});

    EXPECT_TRUE(call.result);
    EXPECT_EQ(call.order(), (Words{0, 1}));
}

TEST(ZeroLeafSwap, SeveralTrailingLeavesFollowTheirParentInAscendingOrder)
{
    // X
    // . X
    // X . X
    // X . . X
    // X . . . X      2, 3 and 4 are leaves under 0
    const Call call({"X", ". X", "X . X", "X . . X", "X . . . X"}, 2, {3, 1, 2, 4, 0});

    EXPECT_TRUE(call.result);
    EXPECT_EQ(call.order(), (Words{1, 0, 3, 2, 4}));
}

TEST(ZeroLeafSwap, LeavesFollowTheirOwnParents)
{
    // X
    // X X
    // X . X
    // . X . X        positions: 2 3 0 1; 2 hangs under 0, 3 under 1
    const Call call({"X", "X X", "X . X", ". X . X"}, 2, {2, 3, 0, 1});

    EXPECT_TRUE(call.result);
    EXPECT_EQ(call.order(), (Words{0, 2, 1, 3}));
}

TEST(ZeroLeafSwap, TrailingBlockBehindACouplingStays)
{
    // X
    // . X
    // X . X          2 is no leaf: 0 hangs below it
    const Call call({"X", ". X", "X . X"}, 2, {0, 2, 1});

    EXPECT_TRUE(call.result);
    EXPECT_EQ(call.order(), (Words{0, 2, 1}));
}

TEST(ZeroLeafSwap, OrdinaryLeavesStay)
{
    // X
    // . X
    // X X X
    const Call call({"X", ". X", "X X X"}, 2, {1, 0, 2});

    EXPECT_TRUE(call.result);
    EXPECT_EQ(call.order(), (Words{1, 0, 2}));
}

TEST(ZeroLeafSwap, NoTrailingBlocksKeepTheOrder)
{
    // X
    // X X
    // . X X
    for (const unsigned long firstTrailing : {3ul, 100ul, 0x7FFFFFFFul}) {
        const Call call({"X", "X X", ". X X"}, firstTrailing, {2, 0, 1});

        EXPECT_TRUE(call.result);
        EXPECT_EQ(call.order(), (Words{2, 0, 1}));
    }
}

TEST(ZeroLeafSwap, ThresholdIsComparedAsASignedWord)
{
    // X
    EXPECT_FALSE(Call({"X"}, 0xFFFFFFFFul, {0}).result); // -1: trailing, and a leaf
    EXPECT_TRUE(Call({"X"}, 0x7FFFFFFFul, {0}).result);
    EXPECT_TRUE(Call({"X"}, 0x100000001ul, {0}).result); // 1
}

TEST(ZeroLeafSwap, IsolatedTrailingBlockFailsAndLeavesTheIdentity)
{
    // X
    // X X
    // . . X
    Call call({"X", "X X", ". . X"}, 2, {2, 1, 0}, 2);

    EXPECT_FALSE(call.result);
    EXPECT_EQ(support::words(call.perm.P, 5), (Words{0, 1, 2, 3, 4})); // over the capacity
    EXPECT_EQ(support::words(call.perm.Pi, 5), (Words{0, 1, 2, 3, 4}));
    EXPECT_EQ(call.perm.size, 3u);
    EXPECT_EQ(call.perm.capacity, 5u);
}

TEST(ZeroLeafSwap, TrailingLeafUnderATrailingParentFails)
{
    // X
    // . X
    // X X X         order 1 2 0: the leaf 1 hangs under 2
    const Call call({"X", ". X", "X X X"}, 1, {1, 2, 0});

    EXPECT_FALSE(call.result);
    EXPECT_EQ(call.order(), (Words{0, 1, 2}));
}

TEST(ZeroLeafSwap, FailurePrintsNothing)
{
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const Call call({"X"}, 0, {0});

    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_FALSE(call.result);
}

TEST(ZeroLeafSwap, PatternAndTreeDescribeTheOrderBeforeTheRepair)
{
    // X             positions of the order 2 1 0:   2 | X
    // X X                                           1 | . X
    // X . X                                         0 | X X X
    const Call call({"X", "X X", "X . X"}, 2, {2, 1, 0});

    EXPECT_TRUE(call.result);
    EXPECT_EQ(call.order(), (Words{1, 0, 2}));
    EXPECT_EQ(support::rowsOf(call.dst), support::drawnRows({"X", ". X", "X X X"}));
    EXPECT_EQ(call.flags(), (Words{0, 0, 1, 1, 0}));
    EXPECT_EQ(call.parents(), (Words{2, 2, 2}));
    EXPECT_EQ(support::childList(call.etree, 2), (Words{0, 1}));
    EXPECT_EQ(call.etree.roots, (Words{2}));
    EXPECT_EQ(support::words(call.etree.postOrder, 3), (Words{1, 0, 2}));
}

TEST(ZeroLeafSwap, FailureKeepsPatternAndTree)
{
    // X
    // . X
    // X . X
    const Call call({"X", ". X", "X . X"}, 1, {2, 0, 1});

    EXPECT_FALSE(call.result);
    EXPECT_EQ(support::rowsOf(call.dst), support::drawnRows({"X", "X X", ". . X"}));
    EXPECT_EQ(call.flags(), (Words{0, 1, 0, 0}));
    EXPECT_EQ(call.parents(), (Words{1, 1, 2}));
    EXPECT_EQ(call.etree.roots, (Words{1, 2}));
}

TEST(ZeroLeafSwap, IdentityGivesTheSamePatternWithoutFlags)
{
    const Call call({"X", ". X", "X X X", ". . X X"}, 4, {0, 1, 2, 3});

    EXPECT_TRUE(call.result);
    EXPECT_EQ(support::rowsOf(call.dst), support::drawnRows({"X", ". X", "X X X", ". . X X"}));
    EXPECT_EQ(call.flags(), Words(7, 0));
}

TEST(ZeroLeafSwap, RowsComeOutAscendingWithTheirFlags)
{
    // X
    // X X
    // X . X
    // X X X X
    // Order 1 3 0 2. Row 1 (block 3) takes 1 as it stands; row 2 (block 0) has met 1 and 3
    // transposed; row 3 (block 2) has met 3 transposed and takes 0 as it stands.
    const Call call({"X", "X X", "X . X", "X X X X"}, 4, {1, 3, 0, 2});

    EXPECT_EQ(support::rowsOf(call.dst), support::drawnRows({"X", "X X", "X X X", ". X X X"}));
    EXPECT_EQ(call.flags(), (Words{0, 0, 0, 1, 1, 0, 1, 0, 0}));
}

TEST(ZeroLeafSwap, EntriesOfARowAreSortedByTheirNewColumns)
{
    // X
    // . X
    // . . X
    // X X X X        the row's blocks 0 1 2 stand at the positions 2 0 1
    const Call call({"X", ". X", ". . X", "X X X X"}, 4, {1, 2, 0, 3});

    EXPECT_EQ(support::rowsOf(call.dst), support::drawnRows({"X", ". X", ". . X", "X X X X"}));
    EXPECT_EQ(call.flags(), Words(7, 0));
}

TEST(ZeroLeafSwap, InverseGivenIsNotBelieved)
{
    // X
    // X X
    const auto src = support::drawSkeleton({"X", "X X"});
    SkeletonMatrix dst;
    EliminationTree etree;
    ScratchPad scratch;
    Permutation perm;
    support::setOrder(perm, {1, 0});
    perm.Pi[0] = 0;
    perm.Pi[1] = 1;

    ASSERT_TRUE(Reordering::zeroLeafSwap(*src, dst, etree, 2, perm, scratch));

    EXPECT_EQ(dst.entryFlags[1], 1);
}

TEST(ZeroLeafSwap, InverseEndsAsACopyOfTheOrder)
{
    // X
    // . X
    // X . X
    const Call call({"X", ". X", "X . X"}, 2, {1, 2, 0}, 1);

    EXPECT_TRUE(call.result);
    EXPECT_EQ(call.order(), (Words{1, 0, 2}));
    EXPECT_EQ(support::words(call.perm.Pi, 3), (Words{1, 0, 2}));
    EXPECT_EQ(call.perm.Pi[3], kNone);
}

TEST(ZeroLeafSwap, SecondCallDescribesTheRepairedOrder)
{
    // X
    // X X
    // X . X
    const auto src = support::drawSkeleton({"X", "X X", "X . X"});
    SkeletonMatrix dst;
    EliminationTree etree;
    ScratchPad scratch;
    Permutation perm;
    support::setOrder(perm, {2, 1, 0});

    ASSERT_TRUE(Reordering::zeroLeafSwap(*src, dst, etree, 2, perm, scratch));
    ASSERT_TRUE(Reordering::zeroLeafSwap(*src, dst, etree, 2, perm, scratch));

    EXPECT_EQ(support::orderOf(perm), (Words{1, 0, 2}));
    EXPECT_EQ(support::rowsOf(dst), support::drawnRows({"X", "X X", ". X X"}));
    EXPECT_EQ(support::words(etree.parent, 3), (Words{1, 2, 2}));
}

TEST(ZeroLeafSwap, EveryAttachedNodeHasRankOneAndEveryRootZero)
{
    // X
    // X X
    // . . X
    // . X . X        two trees: 0 under 1 under 3, and 2
    const Call call({"X", "X X", ". . X", ". X . X"}, 4, {0, 1, 2, 3});

    EXPECT_EQ(call.parents(), (Words{1, 3, 2, 3}));
    EXPECT_EQ(support::words(call.etree.setRank, 4), (Words{1, 1, 0, 0}));
}

TEST(ZeroLeafSwap, SetsGoBelowTheLaterNodeHoweverLargeTheyAre)
{
    // X
    // X X
    // . X X
    // . . X X
    // X . . . X      the large set of 3 goes below 4, a set of one
    const Call call({"X", "X X", ". X X", ". . X X", "X . . . X"}, 5, {0, 1, 2, 3, 4});

    EXPECT_EQ(call.parents(), (Words{1, 2, 3, 4, 4}));
    // The way from 0 was compressed to the root of its set when row 4 asked for it.
    EXPECT_EQ(support::words(call.etree.ancestor, 5), (Words{3, 3, 3, 4, 4}));
}

TEST(ZeroLeafSwap, ScratchLendsOneWordPerBlock)
{
    Call call({"X", "X X", ". . X"}, 3, {0, 1, 2});

    const auto* const count = call.scratch.intArrays.find(0);
    ASSERT_NE(count, nullptr);
    EXPECT_EQ(count->size, 3u);
}

TEST(ZeroLeafSwap, PatternWithoutRowsSucceedsAndGivesTheResultItsArrays)
{
    const SkeletonMatrix src; // holds no arrays
    SkeletonMatrix dst;
    EliminationTree etree;
    ScratchPad scratch;
    Permutation perm;

    EXPECT_TRUE(Reordering::zeroLeafSwap(src, dst, etree, 0, perm, scratch));

    EXPECT_EQ(dst.numBlockRows, 0u);
    EXPECT_NE(dst.columnIndices, nullptr);
    EXPECT_NE(dst.entryFlags, nullptr);
    EXPECT_NE(dst.rowAttributes, nullptr);
    ASSERT_NE(dst.rowStart, nullptr);
    EXPECT_EQ(dst.rowStart[0], 0u);
    EXPECT_EQ(etree.numNodes, 0u);
    EXPECT_TRUE(etree.roots.empty());
}

} // namespace
