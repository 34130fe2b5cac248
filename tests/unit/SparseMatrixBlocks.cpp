// aquireBlock: the row structure, sizes and offsets that a fill leaves.

#include "support/Scalars.h"

#include <kyrOrvel/SparseMatrix>

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

using kyrOrvel::SparseMatrix;

namespace {

std::vector<unsigned int> words(const unsigned int* first, std::size_t n)
{
    return std::vector<unsigned int>(first, first + n);
}

template <class T> class SparseMatrixBlocks : public testing::Test {
};
TYPED_TEST_SUITE(SparseMatrixBlocks, support::Scalars);

// Sizes 2, 3, 1:
//     X
//     X X
//     . X X
TYPED_TEST(SparseMatrixBlocks, FillInLowerOrderLeavesTheInvariants)
{
    SparseMatrix<TypeParam> matrix;
    matrix.clear();
    matrix.setSize(3, 0, 5, 23);

    const TypeParam* const blocks[] = {
        matrix.aquireBlock(0, 0, 2, 2, 0), matrix.aquireBlock(1, 0, 3, 2, 0),
        matrix.aquireBlock(1, 1, 3, 3, 0), matrix.aquireBlock(2, 1, 1, 3, 0),
        matrix.aquireBlock(2, 2, 1, 1, 0)};

    EXPECT_EQ(words(matrix.rowStart, 4), (std::vector<unsigned int>{0, 1, 3, 5}));
    EXPECT_EQ(words(matrix.blockColumns, 5), (std::vector<unsigned int>{0, 0, 1, 1, 2}));
    EXPECT_EQ(words(matrix.blockSizes, 4), (std::vector<unsigned int>{2, 3, 1, 6}));
    EXPECT_EQ(words(matrix.blockOffsets, 3), (std::vector<unsigned int>{0, 2, 5}));
    EXPECT_EQ(matrix.numBlocks, 5u);
    const unsigned int positions[] = {0, 4, 10, 19, 22};
    for (int k = 0; k < 5; ++k) {
        EXPECT_EQ(blocks[k], matrix.values + positions[k]) << "block " << k;
        EXPECT_EQ(matrix.blockData[k], blocks[k]) << "block " << k;
    }
}

// The same matrix in upper order:
//     X X .
//       X X
//         X
TYPED_TEST(SparseMatrixBlocks, FillInUpperOrderLeavesTheInvariants)
{
    SparseMatrix<TypeParam> matrix;
    matrix.clear();
    matrix.setSize(3, 0, 5, 23);

    matrix.aquireBlock(0, 0, 2, 2, 0);
    matrix.aquireBlock(0, 1, 2, 3, 0);
    matrix.aquireBlock(1, 1, 3, 3, 0);
    matrix.aquireBlock(1, 2, 3, 1, 0);
    matrix.aquireBlock(2, 2, 1, 1, 0);

    EXPECT_EQ(words(matrix.rowStart, 4), (std::vector<unsigned int>{0, 2, 4, 5}));
    EXPECT_EQ(words(matrix.blockColumns, 5), (std::vector<unsigned int>{0, 1, 1, 2, 2}));
    EXPECT_EQ(words(matrix.blockSizes, 4), (std::vector<unsigned int>{2, 3, 1, 6}));
    EXPECT_EQ(words(matrix.blockOffsets, 3), (std::vector<unsigned int>{0, 2, 5}));
    EXPECT_EQ(matrix.blockData[4], matrix.values + 22);
}

TYPED_TEST(SparseMatrixBlocks, TagIsAcceptedAndDropped)
{
    SparseMatrix<TypeParam> matrix;
    matrix.setSize(1, 0, 1, 1);
    matrix.blockTags[0] = 5;

    matrix.aquireBlock(0, 0, 1, 1, 9);

    EXPECT_EQ(matrix.blockTags[0], 0u);
}

TYPED_TEST(SparseMatrixBlocks, NextFreePlaceIsKnownAfterEveryBlock)
{
    SparseMatrix<TypeParam> matrix;
    matrix.setSize(2, 0, 3, 9);

    matrix.aquireBlock(0, 0, 2, 2, 0);
    EXPECT_EQ(matrix.blockData[matrix.numBlocks], matrix.values + 4);
    matrix.aquireBlock(1, 0, 1, 2, 0);
    EXPECT_EQ(matrix.blockData[matrix.numBlocks], matrix.values + 6);
}

TYPED_TEST(SparseMatrixBlocks, SentinelHoldsTheDimensionOfTheRowsSoFar)
{
    SparseMatrix<TypeParam> matrix;
    matrix.setSize(3, 0, 3, 14);

    matrix.aquireBlock(0, 0, 2, 2, 0);
    EXPECT_EQ(matrix.blockSizes[3], 2u);
    matrix.aquireBlock(1, 1, 3, 3, 0);
    EXPECT_EQ(matrix.blockSizes[3], 5u);
    matrix.aquireBlock(2, 2, 1, 1, 0);
    EXPECT_EQ(matrix.blockSizes[3], 6u);
}

TYPED_TEST(SparseMatrixBlocks, LastSlotGetsNoSuccessor)
{
    TypeParam behind = 0;
    SparseMatrix<TypeParam> matrix;
    matrix.setSize(2, 0, 3, 2);
    matrix.blockCapacity = 2;
    matrix.blockData[2] = &behind;

    matrix.aquireBlock(0, 0, 1, 1, 0);
    const TypeParam* const last = matrix.aquireBlock(1, 1, 1, 1, 0);

    EXPECT_EQ(last, matrix.values + 1);
    EXPECT_EQ(matrix.blockData[2], &behind);
    EXPECT_EQ(matrix.numBlocks, 2u);
    EXPECT_EQ(matrix.numBlocks, matrix.blockCapacity);
}

TYPED_TEST(SparseMatrixBlocks, ColumnSizeWinsOnTheDiagonal)
{
    SparseMatrix<TypeParam> matrix;
    matrix.setSize(1, 0, 2, 12);

    matrix.aquireBlock(0, 0, 2, 3, 0);

    EXPECT_EQ(matrix.blockSizes[0], 3u);
    EXPECT_EQ(matrix.blockSizes[1], 3u);
    EXPECT_EQ(matrix.blockData[1], matrix.values + 9);
}

TYPED_TEST(SparseMatrixBlocks, SizesOfALaterBlockReplaceEarlierOnes)
{
    SparseMatrix<TypeParam> matrix;
    matrix.setSize(2, 0, 3, 20);
    matrix.aquireBlock(0, 0, 2, 2, 0);

    matrix.aquireBlock(1, 0, 3, 4, 0);

    EXPECT_EQ(words(matrix.blockSizes, 2), (std::vector<unsigned int>{4, 3}));
    EXPECT_EQ(matrix.blockOffsets[1], 2u); // computed before the size changed
    EXPECT_EQ(matrix.blockData[2], matrix.values + 4 + 12);
}

//     X
//     . .
//     X . X
TYPED_TEST(SparseMatrixBlocks, RowWithoutBlocksBetweenFilledRowsIsEmpty)
{
    SparseMatrix<TypeParam> matrix;
    matrix.clear();
    matrix.setSize(3, 0, 3, 3);

    matrix.aquireBlock(0, 0, 1, 1, 0);
    matrix.aquireBlock(2, 0, 1, 1, 0);
    matrix.aquireBlock(2, 2, 1, 1, 0);

    EXPECT_EQ(words(matrix.rowStart, 4), (std::vector<unsigned int>{0, 1, 1, 3}));
}

TYPED_TEST(SparseMatrixBlocks, FirstRowWithoutBlocksIsEmpty)
{
    SparseMatrix<TypeParam> matrix;
    matrix.clear();
    matrix.setSize(2, 0, 1, 1);

    matrix.aquireBlock(1, 1, 1, 1, 0);

    EXPECT_EQ(words(matrix.rowStart, 3), (std::vector<unsigned int>{0, 0, 1}));
}

TYPED_TEST(SparseMatrixBlocks, BlocksOfSizeZeroTakeASlotAndNoValues)
{
    SparseMatrix<TypeParam> matrix;
    matrix.clear();
    matrix.setSize(2, 0, 3, 4);

    matrix.aquireBlock(0, 0, 0, 0, 0);
    matrix.aquireBlock(1, 0, 2, 0, 0);
    const TypeParam* const last = matrix.aquireBlock(1, 1, 2, 2, 0);

    EXPECT_EQ(last, matrix.values);
    EXPECT_EQ(words(matrix.rowStart, 3), (std::vector<unsigned int>{0, 1, 3}));
    EXPECT_EQ(words(matrix.blockSizes, 3), (std::vector<unsigned int>{0, 2, 2}));
}

TYPED_TEST(SparseMatrixBlocks, SecondFillAfterClearStartsAnew)
{
    SparseMatrix<TypeParam> matrix;
    matrix.clear();
    matrix.setSize(2, 0, 3, 12);
    matrix.aquireBlock(0, 0, 2, 2, 0);
    std::fill_n(matrix.aquireBlock(1, 0, 2, 2, 0), 4, TypeParam(7));
    matrix.aquireBlock(1, 1, 2, 2, 0);

    matrix.clear();
    matrix.setSize(1, 0, 1, 9);
    const TypeParam* const block = matrix.aquireBlock(0, 0, 3, 3, 0);

    EXPECT_EQ(block, matrix.values);
    EXPECT_EQ(std::count(block, block + 9, TypeParam(0)), 9);
    EXPECT_EQ(matrix.numBlocks, 1u);
    EXPECT_EQ(words(matrix.rowStart, 2), (std::vector<unsigned int>{0, 1}));
    EXPECT_EQ(words(matrix.blockSizes, 2), (std::vector<unsigned int>{3, 3}));
}

} // namespace
