#include "support/Scalars.h"

#include <kyrOrvel/SparseMatrix>

#include <gtest/gtest.h>

#include <csignal>
#include <string>

using kyrOrvel::SparseMatrix;

namespace {

template <class T> class SparseMatrixDeathTest : public testing::Test {
protected:
    SparseMatrixDeathTest() { testing::FLAGS_gtest_death_test_style = "threadsafe"; }

    SparseMatrix<T> matrix;
};
TYPED_TEST_SUITE(SparseMatrixDeathTest, support::Scalars);

TYPED_TEST(SparseMatrixDeathTest, MoreBlocksThanSlotsAreFatal)
{
    this->matrix.setSize(2, 0, 2, 3);
    this->matrix.aquireBlock(0, 0, 1, 1, 0);
    this->matrix.aquireBlock(1, 0, 1, 1, 0);

    EXPECT_EXIT(this->matrix.aquireBlock(1, 1, 1, 1, 0), testing::KilledBySignal(SIGABRT),
                testing::Eq(std::string("Not enough memory, 2 2\n")));
}

TYPED_TEST(SparseMatrixDeathTest, BlockOfAMatrixWithoutSlotsIsFatal)
{
    EXPECT_EXIT(this->matrix.aquireBlock(0, 0, 1, 1, 0), testing::KilledBySignal(SIGABRT),
                testing::Eq(std::string("Not enough memory, 0 0\n")));
}

TYPED_TEST(SparseMatrixDeathTest, MessageNamesTheSlotAndTheCapacity)
{
    this->matrix.setSize(1, 0, 3, 3);
    this->matrix.numBlocks = 7;

    EXPECT_EXIT(this->matrix.aquireBlock(0, 0, 1, 1, 0), testing::KilledBySignal(SIGABRT),
                testing::Eq(std::string("Not enough memory, 7 3\n")));
}

} // namespace
