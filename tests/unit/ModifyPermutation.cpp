#include "support/Orderings.h"

#include <kyrOrvel/Reordering>

#include <gtest/gtest.h>

#include <initializer_list>

using kyrOrvel::Permutation;
using kyrOrvel::Reordering;
using support::Words;

namespace {

Words modified(std::initializer_list<const char*> drawing, unsigned long firstTrailing,
               const Words& order)
{
    Permutation perm;
    support::setOrder(perm, order);
    Reordering::modifyPermutation(*support::drawSkeleton(drawing), firstTrailing, perm);
    return support::orderOf(perm);
}

TEST(ModifyPermutation, TrailingBlockAheadOfItsCouplingChangesPlacesWithIt)
{
    // X
    // . X
    // X . X
    EXPECT_EQ(modified({"X", ". X", "X . X"}, 2, {2, 1, 0}), (Words{0, 1, 2}));
}

TEST(ModifyPermutation, NearestOfSeveralCouplingsIsTaken)
{
    // X
    // . X
    // . . X
    // X X . X        3 couples to 0 and 1; 1 comes first
    EXPECT_EQ(modified({"X", ". X", ". . X", "X X . X"}, 3, {3, 2, 1, 0}), (Words{1, 2, 3, 0}));
    EXPECT_EQ(modified({"X", ". X", ". . X", "X X . X"}, 3, {3, 0, 2, 1}), (Words{0, 3, 2, 1}));
}

TEST(ModifyPermutation, TrailingBlockBehindACouplingStays)
{
    // X
    // . X
    // X X X        2 couples to 0 and 1; 1 is behind it, 0 ahead
    EXPECT_EQ(modified({"X", ". X", "X X X"}, 2, {0, 2, 1}), (Words{0, 2, 1}));
}

TEST(ModifyPermutation, OrdinaryBlocksStay)
{
    // X
    // X X
    // X X X
    EXPECT_EQ(modified({"X", "X X", "X X X"}, 2, {1, 0, 2}), (Words{1, 0, 2}));
}

TEST(ModifyPermutation, NoTrailingBlocksLeaveTheOrderAsItIs)
{
    // X
    // X X
    // X X X
    for (const unsigned long firstTrailing : {3ul, 4ul, 0x7FFFFFFFul})
        EXPECT_EQ(modified({"X", "X X", "X X X"}, firstTrailing, {2, 1, 0}), (Words{2, 1, 0}));
}

TEST(ModifyPermutation, ThresholdIsComparedAsASignedWord)
{
    // X
    // X X           0xFFFFFFFF is -1: every block is trailing
    for (const unsigned long firstTrailing : {0xFFFFFFFFul, 0x80000000ul})
        EXPECT_EQ(modified({"X", "X X"}, firstTrailing, {1, 0}), (Words{0, 1}));
    EXPECT_EQ(modified({"X", "X X"}, 0x100000002ul, {1, 0}), (Words{1, 0})); // 2
}

TEST(ModifyPermutation, TrailingBlockWithOnlyItsDiagonalStays)
{
    // X
    // . X
    // . . X
    EXPECT_EQ(modified({"X", ". X", ". . X"}, 1, {2, 0, 1}), (Words{2, 0, 1}));
}

TEST(ModifyPermutation, CouplingsToLaterBlocksAreNotConsulted)
{
    // X
    // X X           0 is trailing as well; its row holds only its diagonal
    EXPECT_EQ(modified({"X", "X X"}, 0, {0, 1}), (Words{0, 1}));
}

TEST(ModifyPermutation, TrailingCouplingCountsAsPlacedToo)
{
    // X
    // . X
    // X X X
    // . . X X        3 couples to 2, which is trailing and placed by then
    EXPECT_EQ(modified({"X", ". X", "X X X", ". . X X"}, 2, {0, 2, 3, 1}), (Words{0, 2, 3, 1}));
}

TEST(ModifyPermutation, PositionsAreThoseAtEntry)
{
    // X
    // . X
    // X . X
    // X . . X        2 and 3 couple to 0
    // 2 changes places with 0, which stood at 2. Then 3 finds 0 at 2 still, though it is at 0, and
    // changes places with 2, which now stands there.
    EXPECT_EQ(modified({"X", ". X", "X . X", "X . . X"}, 2, {2, 3, 0, 1}), (Words{0, 2, 3, 1}));
}

TEST(ModifyPermutation, SwappedInBlockDoesNotCountAsPlaced)
{
    // X
    // X X
    // X . X          1 and 2 couple to 0
    // 0 comes to position 0 by the first swap, yet 2 sees none of its couplings placed and
    // reaches back to where 0 stood.
    EXPECT_EQ(modified({"X", "X X", "X . X"}, 1, {1, 0, 2}), (Words{0, 2, 1}));
}

TEST(ModifyPermutation, MovedTrailingBlockIsNotHandledTwice)
{
    // X
    // . X
    // X . X          2 moves from position 0 to 1 and stays there
    EXPECT_EQ(modified({"X", ". X", "X . X"}, 2, {2, 0, 1}), (Words{0, 2, 1}));
}

TEST(ModifyPermutation, InverseIsThatOfTheIncomingOrder)
{
    // X
    // . X
    // X . X
    Permutation perm;
    support::setOrder(perm, {2, 1, 0}, 2);

    Reordering::modifyPermutation(*support::drawSkeleton({"X", ". X", "X . X"}), 2, perm);

    EXPECT_EQ(support::words(perm.Pi, 3), (Words{2, 1, 0}));
    EXPECT_EQ(support::orderOf(perm), (Words{0, 1, 2}));
    EXPECT_EQ(perm.Pi[3], kyrOrvel::kNone); // beyond the size
    EXPECT_EQ(perm.size, 3u);
    EXPECT_EQ(perm.capacity, 5u);
}

TEST(ModifyPermutation, EmptyPermutationIsLeftAlone)
{
    Permutation perm;

    Reordering::modifyPermutation(*support::drawSkeleton({"X"}), 0, perm);

    EXPECT_EQ(perm.P, nullptr);
    EXPECT_EQ(perm.Pi, nullptr);
    EXPECT_EQ(perm.size, 0u);
}

} // namespace
