#include "support/Orderings.h"
#include "support/Systems.h"

#include <kyrOrvel/Reordering>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <vector>

using kyrOrvel::kNone;
using kyrOrvel::Permutation;
using kyrOrvel::Reordering;
using kyrOrvel::ScratchPad;
using kyrOrvel::SkeletonMatrix;
using support::Rows;
using support::Words;

namespace {

std::size_t entries(const Rows& rows)
{
    std::size_t sum = 0;
    for (const auto& row : rows)
        sum += row.size();
    return sum;
}

/// Block 0 coupled to every other block.
Rows star(unsigned int n)
{
    Rows rows(n);
    for (unsigned int i = 0; i < n; ++i)
        rows[i] = i == 0 ? Words{0} : Words{0, i};
    return rows;
}

TEST(SymamdPermutation, HubOfAStarIsNotEliminatedFirst)
{
    // X
    // X X
    // X . X       eliminating block 0 first would couple all the others
    // X . . X
    // ...
    const Rows rows = star(8);
    const auto S = support::makeSkeleton(rows);
    Permutation perm;
    ScratchPad scratch;

    ASSERT_TRUE(Reordering::computeSymamdPermutation(*S, perm, scratch));

    const Words order = support::orderOf(perm);
    ASSERT_TRUE(support::isOrder(order, 8));
    const Rows permuted = support::permutedRows(rows, order);
    EXPECT_EQ(support::eliminated(permuted), permuted); // no fill
    EXPECT_GT(entries(support::eliminated(rows)), entries(rows));
}

TEST(SymamdPermutation, TreeIsEliminatedFromItsLeaves)
{
    // A binary tree of couplings, the root first: as numbered it fills, from the leaves it does
    // not.
    Rows rows(31);
    rows[0] = {0};
    for (unsigned int i = 1; i < 31; ++i)
        rows[i] = {(i - 1) / 2, i};
    const auto S = support::makeSkeleton(rows);
    Permutation perm;
    ScratchPad scratch;

    ASSERT_TRUE(Reordering::computeSymamdPermutation(*S, perm, scratch));

    const Words order = support::orderOf(perm);
    ASSERT_TRUE(support::isOrder(order, 31));
    const Rows permuted = support::permutedRows(rows, order);
    EXPECT_EQ(support::eliminated(permuted), permuted);
    EXPECT_GT(entries(support::eliminated(rows)), entries(rows));
}

TEST(SymamdPermutation, EmptyPermutationIsSizedToTheBlocksAndOneMore)
{
    const auto S = support::makeSkeleton(star(5));
    Permutation perm;
    ScratchPad scratch;

    ASSERT_TRUE(Reordering::computeSymamdPermutation(*S, perm, scratch));

    EXPECT_EQ(perm.size, 5u);
    EXPECT_EQ(perm.capacity, 5u);
    ASSERT_NE(perm.Pi, nullptr);
    perm.P[5] = 0; // within the arrays, which the address sanitizer knows
    perm.Pi[5] = 0;
}

TEST(SymamdPermutation, SmallPermutationIsReplaced)
{
    const auto S = support::makeSkeleton(star(5));
    Permutation perm;
    support::setOrder(perm, {1, 0});
    ScratchPad scratch;

    ASSERT_TRUE(Reordering::computeSymamdPermutation(*S, perm, scratch));

    EXPECT_EQ(perm.size, 5u);
    EXPECT_EQ(perm.capacity, 5u);
    EXPECT_TRUE(support::isOrder(support::orderOf(perm), 5));
}

TEST(SymamdPermutation, LargePermutationKeepsItsArrays)
{
    const auto S = support::makeSkeleton(star(3));
    Permutation perm;
    support::setOrder(perm, support::identity(6));
    const unsigned int* const P = perm.P;
    const unsigned int* const Pi = perm.Pi;
    ScratchPad scratch;

    ASSERT_TRUE(Reordering::computeSymamdPermutation(*S, perm, scratch));

    EXPECT_EQ(perm.size, 3u);
    EXPECT_EQ(perm.capacity, 6u);
    EXPECT_EQ(perm.P, P);
    EXPECT_EQ(perm.Pi, Pi);
    EXPECT_TRUE(support::isOrder(support::orderOf(perm), 3));
}

TEST(SymamdPermutation, InverseKeepsItsPreviousContents)
{
    const auto S = support::makeSkeleton(star(4));
    Permutation perm;
    support::setOrder(perm, support::identity(4), 2);
    for (unsigned int i = 0; i < 7; ++i)
        perm.Pi[i] = 100 + i;
    ScratchPad scratch;

    ASSERT_TRUE(Reordering::computeSymamdPermutation(*S, perm, scratch));

    EXPECT_EQ(support::words(perm.Pi, 7), (Words{100, 101, 102, 103, 104, 105, 106}));
}

TEST(SymamdPermutation, InverseOfExactlyEnoughRoomKeepsItsPreviousContents)
{
    const auto S = support::makeSkeleton(star(4));
    Permutation perm;
    support::setOrder(perm, support::identity(4));
    for (unsigned int i = 0; i < 5; ++i)
        perm.Pi[i] = 100 + i;
    ScratchPad scratch;

    ASSERT_TRUE(Reordering::computeSymamdPermutation(*S, perm, scratch));

    EXPECT_EQ(support::words(perm.Pi, 5), (Words{100, 101, 102, 103, 104}));
}

TEST(SymamdPermutation, DiagonalPatternIsOrderedAsWell)
{
    const auto S = support::drawSkeleton({"X", ". X", ". . X", ". . . X"});
    Permutation perm;
    ScratchPad scratch;

    EXPECT_TRUE(Reordering::computeSymamdPermutation(*S, perm, scratch));

    EXPECT_TRUE(support::isOrder(support::orderOf(perm), 4));
}

TEST(SymamdPermutation, SingleBlockStaysWhereItIs)
{
    const auto S = support::drawSkeleton({"X"});
    Permutation perm;
    ScratchPad scratch;

    EXPECT_TRUE(Reordering::computeSymamdPermutation(*S, perm, scratch));

    EXPECT_EQ(support::orderOf(perm), Words{0});
}

TEST(SymamdPermutation, PatternWithoutRowsGivesAnEmptyPermutationWithArrays)
{
    const SkeletonMatrix S; // holds no arrays
    Permutation perm;
    ScratchPad scratch;

    EXPECT_TRUE(Reordering::computeSymamdPermutation(S, perm, scratch));

    EXPECT_EQ(perm.size, 0u);
    EXPECT_EQ(perm.capacity, 0u);
    EXPECT_NE(perm.P, nullptr);
    EXPECT_NE(perm.Pi, nullptr);
}

TEST(SymamdPermutation, ScratchArraysHoldTheStrictlyLowerTriangleByColumns)
{
    // X
    // X X
    // . . X
    // X . X X
    // X X . X X
    const auto S = support::drawSkeleton({"X", "X X", ". . X", "X . X X", "X X . X X"});
    Permutation perm;
    ScratchPad scratch;

    ASSERT_TRUE(Reordering::computeSymamdPermutation(*S, perm, scratch));

    const auto* const colStart = scratch.intArrays.find(0);
    const auto* const rowIndex = scratch.intArrays.find(1);
    ASSERT_NE(colStart, nullptr);
    ASSERT_NE(rowIndex, nullptr);
    EXPECT_EQ(colStart->size, 6u);
    EXPECT_EQ(rowIndex->size, 11u); // room for the diagonal, which is not passed
    EXPECT_EQ(std::vector<int>(colStart->data, colStart->data + 6),
              (std::vector<int>{0, 3, 4, 5, 6, 6}));
    EXPECT_EQ(std::vector<int>(rowIndex->data, rowIndex->data + 6),
              (std::vector<int>{1, 3, 4, 4, 3, 4}));
}

TEST(SymamdPermutation, LeftoversInTheScratchArraysDoNotMatter)
{
    const auto S = support::makeSkeleton(star(6));
    Permutation first, second;
    ScratchPad fresh, used;
    std::fill_n(used.getIntArray(0, 50), 50, -7);
    std::fill_n(used.getIntArray(1, 50), 50, -7);

    ASSERT_TRUE(Reordering::computeSymamdPermutation(*S, first, fresh));
    ASSERT_TRUE(Reordering::computeSymamdPermutation(*S, second, used));

    EXPECT_EQ(support::orderOf(first), support::orderOf(second));
}

TEST(SymamdPermutation, PatternIsOnlyRead)
{
    const Rows rows = star(5);
    const auto S = support::makeSkeleton(rows);
    S->rowAttributes[2] = 12;
    S->entryFlags[3] = 1;
    Permutation perm;
    ScratchPad scratch;

    ASSERT_TRUE(Reordering::computeSymamdPermutation(*S, perm, scratch));

    EXPECT_EQ(support::rowsOf(*S), rows);
    EXPECT_EQ(S->rowAttributes[2], 12u);
    EXPECT_EQ(S->entryFlags[3], 1);
}

} // namespace
