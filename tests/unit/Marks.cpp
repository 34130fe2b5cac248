#include <kyrOrvel/Marks>
#include <kyrOrvel/Tree>

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

using kyrOrvel::Marks;
using kyrOrvel::Tree;

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

TEST(Marks, NewSetHoldsNothing)
{
    const Marks marks;

    EXPECT_EQ(marks.flags, nullptr);
    EXPECT_EQ(marks.markedList, nullptr);
    EXPECT_EQ(marks.numMarked, 0u);
    EXPECT_EQ(marks.size, 0u);
    EXPECT_EQ(marks.capacity, 0u);
}

TEST(Marks, ReleaseFreesBothArraysAndKeepsTheCounters)
{
    Marks marks;
    marks.flags = new unsigned char[8]();
    marks.markedList = new unsigned int[8]();
    marks.size = 6;
    marks.capacity = 8;
    mark(marks, 3, 1);

    marks.releaseMemory();

    EXPECT_EQ(marks.flags, nullptr);
    EXPECT_EQ(marks.markedList, nullptr);
    EXPECT_EQ(marks.numMarked, 1u);
    EXPECT_EQ(marks.size, 6u);
    EXPECT_EQ(marks.capacity, 8u);
}

TEST(Marks, ReleaseOfAReleasedSetDoesNothing)
{
    Marks marks;
    marks.flags = new unsigned char[2]();
    marks.markedList = new unsigned int[2]();
    marks.capacity = 2;

    marks.releaseMemory();
    marks.releaseMemory();

    EXPECT_EQ(marks.flags, nullptr);
    EXPECT_EQ(marks.markedList, nullptr);
    EXPECT_EQ(marks.capacity, 2u);
}

// Growing and emptying are the owners' work; the set of a tree stands for all of them.

TEST(Marks, FirstGrowthMakesBothArraysOfExactlyTheWantedSize)
{
    Tree tree;

    tree.allocateMemory(5);

    EXPECT_NE(tree.marks.markedList, nullptr);
    EXPECT_EQ(flags(tree.marks, 5), std::vector<int>(5, 0));
    EXPECT_EQ(tree.marks.numMarked, 0u);
    EXPECT_EQ(tree.marks.size, 5u);
    EXPECT_EQ(tree.marks.capacity, 5u);
}

TEST(Marks, GrowthBeyondTheCapacityStartsAnEmptySet)
{
    Tree tree;
    tree.allocateMemory(3);
    mark(tree.marks, 2, 1);
    mark(tree.marks, 0, 2);

    tree.releaseMemory();
    tree.allocateMemory(40);

    EXPECT_EQ(flags(tree.marks, 40), std::vector<int>(40, 0));
    EXPECT_EQ(tree.marks.numMarked, 0u);
    EXPECT_EQ(tree.marks.size, 40u);
    EXPECT_EQ(tree.marks.capacity, 40u);
}

TEST(Marks, GrowthWithinTheCapacityKeepsBothArraysAndOnlyChangesTheSize)
{
    Tree tree;
    tree.allocateMemory(8);
    const unsigned char* const flagsBefore = tree.marks.flags;
    const unsigned int* const listBefore = tree.marks.markedList;

    for (const unsigned int n : {3u, 8u}) {
        tree.releaseMemory();
        tree.allocateMemory(n);

        EXPECT_EQ(tree.marks.flags, flagsBefore);
        EXPECT_EQ(tree.marks.markedList, listBefore);
        EXPECT_EQ(tree.marks.size, n);
        EXPECT_EQ(tree.marks.capacity, 8u);
    }
}

TEST(Marks, GrowthWithinTheCapacityKeepsTheContents)
{
    // Emptying does not reach a flag that stands in no list.
    Tree tree;
    tree.allocateMemory(8);
    tree.marks.flags[7] = 9;

    for (const unsigned int n : {8u, 3u}) {
        tree.releaseMemory();
        tree.allocateMemory(n);

        EXPECT_EQ(tree.marks.flags[7], 9) << n;
    }
}

TEST(Marks, EmptyingClearsEveryListedFlag)
{
    Tree tree;
    tree.allocateMemory(6);
    mark(tree.marks, 4, 1);
    mark(tree.marks, 1, 2);
    mark(tree.marks, 5, 1);

    tree.clear();

    EXPECT_EQ(flags(tree.marks, 6), std::vector<int>(6, 0));
    EXPECT_EQ(tree.marks.numMarked, 0u);
}

TEST(Marks, EmptyingTouchesNoFlagBesidesTheListedOnes)
{
    // A flag set behind the list's back shows that the flags are not swept.
    Tree tree;
    tree.allocateMemory(6);
    mark(tree.marks, 4, 1);
    mark(tree.marks, 1, 2);
    tree.marks.flags[3] = 7;

    tree.clear();

    EXPECT_EQ(flags(tree.marks, 6), (std::vector<int>{0, 0, 0, 7, 0, 0}));
    EXPECT_EQ(tree.marks.numMarked, 0u);
}

TEST(Marks, EmptyingASetWithoutMarksDoesNothing)
{
    Tree tree;
    tree.allocateMemory(3);
    std::fill_n(tree.marks.flags, 3, static_cast<unsigned char>(9));

    tree.clear();

    EXPECT_EQ(flags(tree.marks, 3), std::vector<int>(3, 9));
    EXPECT_EQ(tree.marks.numMarked, 0u);
    EXPECT_EQ(tree.marks.size, 3u);
    EXPECT_EQ(tree.marks.capacity, 3u);
}

TEST(Marks, EmptyingKeepsSizeCapacityAndArrays)
{
    Tree tree;
    tree.allocateMemory(4);
    mark(tree.marks, 2, 1);
    const unsigned char* const flagsBefore = tree.marks.flags;
    const unsigned int* const listBefore = tree.marks.markedList;

    tree.clear();

    EXPECT_EQ(tree.marks.flags, flagsBefore);
    EXPECT_EQ(tree.marks.markedList, listBefore);
    EXPECT_EQ(tree.marks.size, 4u);
    EXPECT_EQ(tree.marks.capacity, 4u);
}

} // namespace
