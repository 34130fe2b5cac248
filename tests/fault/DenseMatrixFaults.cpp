#include "support/Allocations.h"
#include "support/Scalars.h"

#include <kyrOrvel/DenseMatrix>

#include <gtest/gtest.h>

#include <cstddef>

using kyrOrvel::DenseMatrix;

namespace {

template <class T> class DenseMatrixFaults : public testing::Test {
};
TYPED_TEST_SUITE(DenseMatrixFaults, support::Scalars);

TYPED_TEST(DenseMatrixFaults, FailedConstructionLeaksNothing)
{
    const std::size_t live = support::liveAllocations();

    const auto build = [] { const DenseMatrix<TypeParam> A(3); };

    EXPECT_TRUE(support::failsOnAllocation(1, build));
    EXPECT_FALSE(support::failsOnAllocation(2, build));
    EXPECT_EQ(support::liveAllocations(), live);
}

TYPED_TEST(DenseMatrixFaults, FactorAndSolveAllocateNothing)
{
    DenseMatrix<TypeParam> A(2);
    A.values[0] = A.values[3] = 1;
    TypeParam x[] = {1, 2};
    const support::AllocationCount count;

    A.solve(x);
    A.solve(x);

    EXPECT_EQ(count.allocations(), 0u);
}

} // namespace
