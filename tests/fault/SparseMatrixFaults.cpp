#include "support/Allocations.h"
#include "support/Scalars.h"

#include <kyrOrvel/SparseMatrix>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <vector>

using kyrOrvel::SparseMatrix;

namespace {

constexpr std::size_t kWord = sizeof(unsigned int);

/// What a call asked for.
struct Request {
    std::size_t allocations, bytes;
    bool operator==(const Request& other) const
    {
        return allocations == other.allocations && bytes == other.bytes;
    }
};

template <class T> class SparseMatrixFaults : public testing::Test {
protected:
    static Request setSize(SparseMatrix<T>& matrix, unsigned long rows, unsigned long maxBlocks,
                           unsigned long maxValues)
    {
        const support::AllocationCount count;
        matrix.setSize(rows, 0, maxBlocks, maxValues);
        return {count.allocations(), count.bytes()};
    }

    /// The calling order of a fill, for
    ///     1 2
    ///     2 3
    static void fill(SparseMatrix<T>& matrix)
    {
        matrix.clear();
        matrix.setSize(2, 0, 3, 3);
        *matrix.aquireBlock(0, 0, 1, 1, 0) = 1;
        *matrix.aquireBlock(1, 0, 1, 1, 0) = 2;
        *matrix.aquireBlock(1, 1, 1, 1, 0) = 3;
    }
    static void expectUsable(SparseMatrix<T>& matrix)
    {
        fill(matrix);
        const std::vector<T> x = {1, 10};
        std::vector<T> y = {7, 7};
        matrix.multiply(x.data(), y.data());
        EXPECT_EQ(y, (std::vector<T>{21, 32}));
    }
};
TYPED_TEST_SUITE(SparseMatrixFaults, support::Scalars);

TYPED_TEST(SparseMatrixFaults, ValuesTakeUpToSixteenBytesMinusOneScalarMore)
{
    SparseMatrix<TypeParam> matrix;
    this->setSize(matrix, 3, 5, 20);

    const std::size_t scalar = sizeof(TypeParam);
    EXPECT_EQ(this->setSize(matrix, 3, 5, 21), (Request{1, 21 * scalar + (16 - scalar)}));
}

TYPED_TEST(SparseMatrixFaults, BlockSlotsTakeThreeArrays)
{
    SparseMatrix<TypeParam> matrix;
    this->setSize(matrix, 3, 5, 20);

    EXPECT_EQ(this->setSize(matrix, 3, 6, 20), (Request{3, 6 * (2 * kWord + sizeof(void*))}));
}

TYPED_TEST(SparseMatrixFaults, RowsTakeThreeArraysOfTwoWordsMore)
{
    SparseMatrix<TypeParam> matrix;
    this->setSize(matrix, 3, 5, 20);

    EXPECT_EQ(this->setSize(matrix, 4, 5, 20), (Request{3, 3 * 6 * kWord}));
}

TYPED_TEST(SparseMatrixFaults, SizesNoLargerAllocateNothing)
{
    SparseMatrix<TypeParam> matrix;
    this->setSize(matrix, 3, 5, 20);

    EXPECT_EQ(this->setSize(matrix, 3, 5, 20), (Request{0, 0}));
    EXPECT_EQ(this->setSize(matrix, 2, 4, 19), (Request{0, 0}));
    EXPECT_EQ(this->setSize(matrix, 0, 0, 0), (Request{0, 0}));
    EXPECT_EQ(this->setSize(matrix, 3, 5, 20), (Request{0, 0}));
}

TYPED_TEST(SparseMatrixFaults, FillAndProductsAllocateNothingAfterTheFirstFill)
{
    SparseMatrix<TypeParam> matrix;
    this->fill(matrix);
    const TypeParam x[] = {1, 10};
    TypeParam y[] = {0, 0};
    const support::AllocationCount count;

    this->fill(matrix);
    matrix.multiply(x, y);
    matrix.multiplyAdd(x, y);
    matrix.multiplyAdd(2, x, 3, y);

    EXPECT_EQ(count.allocations(), 0u);
}

TYPED_TEST(SparseMatrixFaults, GrowthReplacesArraysOneForOne)
{
    const std::size_t live = support::liveAllocations();
    {
        SparseMatrix<TypeParam> matrix;
        for (unsigned long n = 1; n < 10; ++n) {
            matrix.setSize(n, 0, n, n);
            const std::size_t held = support::liveAllocations() - live;
            EXPECT_EQ(held, 7u);
        }
    }
    EXPECT_EQ(support::liveAllocations(), live);
}

TYPED_TEST(SparseMatrixFaults, EveryFailureOfTheFirstSetSizeLeavesAUsableMatrix)
{
    const std::size_t live = support::liveAllocations();
    std::size_t n = 0;
    for (bool failed = true; failed;) {
        SparseMatrix<TypeParam> matrix;
        failed = support::failsOnAllocation(++n, [&] { matrix.setSize(3, 0, 5, 20); });

        this->expectUsable(matrix);
    }
    EXPECT_EQ(n, 8u); // seven arrays
    EXPECT_EQ(support::liveAllocations(), live);
}

TYPED_TEST(SparseMatrixFaults, EveryFailureOfGrowthLeavesAUsableMatrix)
{
    const std::size_t live = support::liveAllocations();
    std::size_t n = 0;
    for (bool failed = true; failed;) {
        SparseMatrix<TypeParam> matrix;
        this->fill(matrix);
        failed = support::failsOnAllocation(++n, [&] { matrix.setSize(3, 0, 5, 20); });

        this->expectUsable(matrix);
    }
    EXPECT_EQ(n, 8u);
    EXPECT_EQ(support::liveAllocations(), live);
}

TYPED_TEST(SparseMatrixFaults, FailedSetSizeMayBeRepeated)
{
    std::size_t n = 0;
    for (bool failed = true; failed;) {
        SparseMatrix<TypeParam> matrix;
        this->fill(matrix);
        failed = support::failsOnAllocation(++n, [&] { matrix.setSize(3, 0, 5, 20); });

        matrix.setSize(3, 0, 5, 20);

        EXPECT_EQ(matrix.valueCapacity, 20u);
        EXPECT_EQ(matrix.blockCapacity, 5u);
        EXPECT_EQ(matrix.rowCapacity, 4u);
        EXPECT_EQ(matrix.blockData[0], matrix.values);
        this->expectUsable(matrix);
    }
}

TYPED_TEST(SparseMatrixFaults, CapacitiesAreTrueAfterEveryFailure)
{
    // The capacities count what is there: everything up to them can be written.
    std::size_t n = 0;
    for (bool failed = true; failed;) {
        SparseMatrix<TypeParam> matrix;
        this->fill(matrix);
        failed = support::failsOnAllocation(++n, [&] { matrix.setSize(3, 0, 5, 20); });

        std::fill_n(matrix.values, matrix.valueCapacity, TypeParam(1));
        std::fill_n(matrix.blockColumns, matrix.blockCapacity, 1u);
        std::fill_n(matrix.blockTags, matrix.blockCapacity, 1u);
        std::fill_n(matrix.blockData, matrix.blockCapacity, nullptr);
        for (unsigned int* rows : {matrix.rowStart, matrix.blockSizes, matrix.blockOffsets})
            std::fill_n(rows, matrix.rowCapacity == 0 ? 0 : matrix.rowCapacity + 1, 1u);
    }
    EXPECT_EQ(n, 8u);
}

TYPED_TEST(SparseMatrixFaults, EveryFailureLeavesAMatrixOfNoBlockRows)
{
    std::size_t n = 0;
    for (bool failed = true; failed;) {
        SparseMatrix<TypeParam> matrix;
        this->fill(matrix);
        failed = support::failsOnAllocation(++n, [&] { matrix.setSize(3, 0, 5, 20); });
        if (!failed)
            break;

        ASSERT_EQ(matrix.numBlockRows, 0u) << "allocation " << n;
        TypeParam y[] = {7, 7, 7};
        matrix.multiply(y, y);
        EXPECT_EQ(y[0], TypeParam(7));
    }
}

} // namespace
