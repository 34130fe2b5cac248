// setSize and clear: what is allocated, kept and zeroed.

#include "support/Scalars.h"

#include <kyrOrvel/SparseMatrix>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <vector>

using kyrOrvel::SparseMatrix;

namespace {

template <class T> bool isAligned(const T* p)
{
    return reinterpret_cast<std::uintptr_t>(p) % 16 == 0;
}

template <class T> std::vector<const void*> arraysOf(const SparseMatrix<T>& matrix)
{
    return {matrix.valueStorage, matrix.values,     matrix.blockColumns, matrix.blockTags,
            matrix.blockData,    matrix.blockSizes, matrix.blockOffsets, matrix.rowStart};
}

template <class T> class SparseMatrixStorage : public testing::Test {
};
TYPED_TEST_SUITE(SparseMatrixStorage, support::Scalars);

TYPED_TEST(SparseMatrixStorage, IsBuiltEmpty)
{
    const SparseMatrix<TypeParam> matrix;

    EXPECT_EQ(arraysOf(matrix), std::vector<const void*>(8, nullptr));
    EXPECT_EQ(matrix.numBlocks, 0u);
    EXPECT_EQ(matrix.numBlockRows, 0u);
    EXPECT_EQ(matrix.sizeHint, 0u);
    EXPECT_EQ(matrix.valueCapacity, 0u);
    EXPECT_EQ(matrix.rowCapacity, 0u);
    EXPECT_EQ(matrix.blockCapacity, 0u);
}

TYPED_TEST(SparseMatrixStorage, SetSizeStoresSizesAndCapacities)
{
    SparseMatrix<TypeParam> matrix;

    matrix.setSize(3, 17, 5, 20);

    EXPECT_EQ(matrix.numBlockRows, 3u);
    EXPECT_EQ(matrix.sizeHint, 17u);
    EXPECT_EQ(matrix.valueCapacity, 20u);
    EXPECT_EQ(matrix.rowCapacity, 4u);
    EXPECT_EQ(matrix.blockCapacity, 5u);
    EXPECT_EQ(matrix.numBlocks, 0u);
    EXPECT_EQ(matrix.blockData[0], matrix.values);
}

TYPED_TEST(SparseMatrixStorage, SetSizeZeroesWhatItAllocates)
{
    SparseMatrix<TypeParam> matrix;

    matrix.setSize(3, 0, 5, 20);

    EXPECT_EQ(std::count(matrix.values, matrix.values + 20, TypeParam(0)), 20);
    EXPECT_EQ(std::count(matrix.blockColumns, matrix.blockColumns + 5, 0u), 5);
    EXPECT_EQ(std::count(matrix.blockTags, matrix.blockTags + 5, 0u), 5);
    EXPECT_EQ(std::count(matrix.blockData + 1, matrix.blockData + 5, nullptr), 4);
    for (const unsigned int* rows : {matrix.rowStart, matrix.blockSizes, matrix.blockOffsets})
        EXPECT_EQ(std::count(rows, rows + 5, 0u), 5);
}

TYPED_TEST(SparseMatrixStorage, ValuesAreAlignedInsideTheirAllocation)
{
    // The allocation has 8 bytes to spare for double and 12 for float.
    for (unsigned long n = 1; n <= 40; ++n) {
        SparseMatrix<TypeParam> matrix;
        matrix.setSize(1, 0, 1, n);

        EXPECT_TRUE(isAligned(matrix.values)) << n << " values";
        EXPECT_GE(matrix.values, matrix.valueStorage);
        EXPECT_LT(matrix.values, matrix.valueStorage + 16 / sizeof(TypeParam));
        std::fill_n(matrix.values, n, TypeParam(1)); // a sanitizer sees whether they fit
    }
}

TYPED_TEST(SparseMatrixStorage, SetSizeNoLargerKeepsArraysAndValues)
{
    SparseMatrix<TypeParam> matrix;
    matrix.setSize(3, 1, 5, 20);
    std::fill_n(matrix.values, 20, TypeParam(7));
    const std::vector<const void*> arrays = arraysOf(matrix);

    for (const unsigned long smaller : {0ul, 1ul}) {
        matrix.setSize(3 - smaller, 2, 5 - smaller, 20 - smaller);

        EXPECT_EQ(arraysOf(matrix), arrays);
        EXPECT_EQ(std::count(matrix.values, matrix.values + 20, TypeParam(7)), 20);
        EXPECT_EQ(matrix.numBlockRows, 3u - smaller);
        EXPECT_EQ(matrix.sizeHint, 2u);
        EXPECT_EQ(matrix.valueCapacity, 20u);
        EXPECT_EQ(matrix.rowCapacity, 4u);
        EXPECT_EQ(matrix.blockCapacity, 5u);
    }
}

TYPED_TEST(SparseMatrixStorage, MoreValuesReplaceTheValuesOnly)
{
    SparseMatrix<TypeParam> matrix;
    matrix.setSize(3, 0, 5, 20);
    std::fill_n(matrix.values, 20, TypeParam(7));
    std::fill_n(matrix.blockColumns, 5, 7u);
    const unsigned int* const columns = matrix.blockColumns;
    const unsigned int* const rowStart = matrix.rowStart;

    matrix.setSize(3, 0, 5, 21);

    EXPECT_EQ(matrix.valueCapacity, 21u);
    EXPECT_TRUE(isAligned(matrix.values));
    EXPECT_EQ(std::count(matrix.values, matrix.values + 21, TypeParam(0)), 21);
    EXPECT_EQ(matrix.blockData[0], matrix.values);
    EXPECT_EQ(matrix.blockColumns, columns);
    EXPECT_EQ(std::count(columns, columns + 5, 7u), 5);
    EXPECT_EQ(matrix.rowStart, rowStart);
}

TYPED_TEST(SparseMatrixStorage, MoreBlocksReplaceTheBlockSlotsOnly)
{
    SparseMatrix<TypeParam> matrix;
    matrix.setSize(3, 0, 5, 20);
    std::fill_n(matrix.values, 20, TypeParam(7));
    std::fill_n(matrix.blockColumns, 5, 7u);
    std::fill_n(matrix.blockTags, 5, 7u);

    matrix.setSize(3, 0, 6, 20);

    EXPECT_EQ(matrix.blockCapacity, 6u);
    EXPECT_EQ(std::count(matrix.blockColumns, matrix.blockColumns + 6, 0u), 6);
    EXPECT_EQ(std::count(matrix.blockTags, matrix.blockTags + 6, 0u), 6);
    EXPECT_EQ(matrix.blockData[0], matrix.values);
    EXPECT_EQ(std::count(matrix.blockData + 1, matrix.blockData + 6, nullptr), 5);
    EXPECT_EQ(std::count(matrix.values, matrix.values + 20, TypeParam(7)), 20);
}

TYPED_TEST(SparseMatrixStorage, MoreRowsReplaceTheRowArraysOnly)
{
    SparseMatrix<TypeParam> matrix;
    matrix.setSize(3, 0, 5, 20);
    for (unsigned int* rows : {matrix.rowStart, matrix.blockSizes, matrix.blockOffsets})
        std::fill_n(rows, 5, 7u);
    std::fill_n(matrix.blockColumns, 5, 7u);

    matrix.setSize(4, 0, 5, 20);

    EXPECT_EQ(matrix.rowCapacity, 5u);
    for (const unsigned int* rows : {matrix.rowStart, matrix.blockSizes, matrix.blockOffsets})
        EXPECT_EQ(std::count(rows, rows + 6, 0u), 6);
    EXPECT_EQ(std::count(matrix.blockColumns, matrix.blockColumns + 5, 7u), 5);
}

TYPED_TEST(SparseMatrixStorage, SizeOfNothingMakesTheRowArraysAlone)
{
    SparseMatrix<TypeParam> matrix;

    matrix.setSize(0, 0, 0, 0);

    EXPECT_EQ(matrix.valueStorage, nullptr);
    EXPECT_EQ(matrix.blockData, nullptr);
    EXPECT_EQ(matrix.rowCapacity, 1u);
    for (const unsigned int* rows : {matrix.rowStart, matrix.blockSizes, matrix.blockOffsets})
        EXPECT_EQ(std::count(rows, rows + 2, 0u), 2);
}

TYPED_TEST(SparseMatrixStorage, ClearZeroesValuesAndRowsAndKeepsTheBlockSlots)
{
    SparseMatrix<TypeParam> matrix;
    matrix.setSize(3, 17, 5, 20);
    std::fill_n(matrix.values, 20, TypeParam(7));
    for (unsigned int* rows : {matrix.rowStart, matrix.blockSizes, matrix.blockOffsets})
        std::fill_n(rows, 5, 7u);
    std::fill_n(matrix.blockColumns, 5, 7u);
    std::fill_n(matrix.blockTags, 5, 7u);
    matrix.numBlocks = 2;
    const std::vector<const void*> arrays = arraysOf(matrix);

    matrix.clear();

    EXPECT_EQ(std::count(matrix.values, matrix.values + 20, TypeParam(0)), 20);
    for (const unsigned int* rows : {matrix.rowStart, matrix.blockSizes, matrix.blockOffsets})
        EXPECT_EQ(std::count(rows, rows + 5, 0u), 5);
    EXPECT_EQ(std::count(matrix.blockColumns, matrix.blockColumns + 5, 7u), 5);
    EXPECT_EQ(std::count(matrix.blockTags, matrix.blockTags + 5, 7u), 5);
    EXPECT_EQ(matrix.numBlocks, 0u);
    EXPECT_EQ(matrix.numBlockRows, 0u);
    EXPECT_EQ(matrix.sizeHint, 0u);
    EXPECT_EQ(matrix.valueCapacity, 20u);
    EXPECT_EQ(matrix.rowCapacity, 4u);
    EXPECT_EQ(matrix.blockCapacity, 5u);
    EXPECT_EQ(arraysOf(matrix), arrays);
}

TYPED_TEST(SparseMatrixStorage, ClearOfAnEmptyMatrixIsHarmless)
{
    SparseMatrix<TypeParam> matrix;

    matrix.clear();

    EXPECT_EQ(arraysOf(matrix), std::vector<const void*>(8, nullptr));
}

} // namespace
