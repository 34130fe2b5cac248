// What the client's solver allocates in its repeated steps: nothing.

#include "support/Allocations.h"
#include "support/BlockSystems.h"
#include "support/Random.h"
#include "support/Scalars.h"

#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/Scenes>

#include <gtest/gtest.h>

#include <cstddef>
#include <limits>
#include <utility>
#include <vector>

using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::OrderingMethod;
using kyrOrvel::client::StatusCode;
using support::AllocationCount;

namespace {

template <class T> class BlockLDLTAllocations : public testing::Test {
protected:
    BlockLDLTAllocations() : m_random(31), A(support::randomKkt<T>(m_random, support::KktShape()))
    {
        b = m_random.scalars<T>(A.dimension());
        x.resize(b.size());
        EXPECT_TRUE(solver.compute(A).ok());
    }

    support::Random m_random;
    BlockMatrix<T> A;
    BlockLDLT<T> solver;
    std::vector<T> b;
    std::vector<T> x;
};
TYPED_TEST_SUITE(BlockLDLTAllocations, support::Scalars);

TYPED_TEST(BlockLDLTAllocations, AreCountedAtAll)
{
    BlockLDLT<TypeParam> fresh;

    const AllocationCount count;
    fresh.analyzePattern(this->A);
    const std::size_t allocations = count.allocations();

    EXPECT_GT(allocations, 0u);
}

TYPED_TEST(BlockLDLTAllocations, AnalysingTheSamePatternAgainMakesNone)
{
    const AllocationCount count;
    this->solver.analyzePattern(this->A);
    const std::size_t allocations = count.allocations();

    EXPECT_EQ(allocations, 0u);
    EXPECT_TRUE(this->solver.statistics().analysisReused);
}

TYPED_TEST(BlockLDLTAllocations, AnalysingTheSamePatternAgainWithIdsMakesNone)
{
    for (unsigned int block = 0; block < this->A.numBlockRows(); ++block)
        this->A.setId(block, block + 1000);
    this->solver.compute(this->A);

    const AllocationCount count;
    this->solver.compute(this->A);
    const std::size_t allocations = count.allocations();

    EXPECT_TRUE(this->solver.info().ok());
    EXPECT_EQ(allocations, 0u);
}

TYPED_TEST(BlockLDLTAllocations, TurningBackToARememberedPatternMakesNone)
{
    const auto smaller = support::scalarMatrix<TypeParam>({{2}, {1, 2}});
    this->solver.compute(smaller);
    this->solver.compute(this->A);

    const AllocationCount count;
    this->solver.compute(smaller);
    this->solver.compute(this->A);
    const std::size_t allocations = count.allocations();

    EXPECT_TRUE(this->solver.info().ok());
    EXPECT_TRUE(this->solver.statistics().analysisReused);
    EXPECT_EQ(allocations, 0u);
}

TYPED_TEST(BlockLDLTAllocations, WarmFactorizeWithCompliancesAndBoundsMakesNone)
{
    using kyrOrvel::client::Regularization;
    this->solver.setCompliance(
        std::vector<TypeParam>(this->A.numBlockRows() - this->A.firstTrailing(), TypeParam(0.25)));
    this->solver.setRegularization(Regularization::Dynamic);
    this->solver.factorize(this->A);

    const AllocationCount count;
    this->solver.factorize(this->A);
    this->solver.solve(this->b.data(), this->x.data());
    const std::size_t allocations = count.allocations();

    EXPECT_TRUE(this->solver.info().ok());
    EXPECT_EQ(allocations, 0u);
}

TYPED_TEST(BlockLDLTAllocations, SolveOfSeveralRightHandSidesMakesNone)
{
    const std::size_t n = this->b.size();
    const std::vector<TypeParam> B(3 * n, TypeParam(1));
    std::vector<TypeParam> X(3 * n);

    const AllocationCount count;
    this->solver.solve(B.data(), X.data(), 3, n, n);
    const std::size_t allocations = count.allocations();

    EXPECT_TRUE(this->solver.info().ok());
    EXPECT_EQ(allocations, 0u);
}

TYPED_TEST(BlockLDLTAllocations, SolveMakesNone)
{
    const AllocationCount count;
    this->solver.solve(this->b.data(), this->x.data());
    const std::size_t allocations = count.allocations();

    EXPECT_TRUE(this->solver.info().ok());
    EXPECT_EQ(allocations, 0u);
}

TYPED_TEST(BlockLDLTAllocations, SolveOfATinyRightHandSideMakesNone)
{
    for (TypeParam& v : this->b)
        v *= std::numeric_limits<TypeParam>::epsilon() / 16;

    const AllocationCount count;
    this->solver.solve(this->b.data(), this->x.data());
    const std::size_t allocations = count.allocations();

    EXPECT_TRUE(this->solver.info().ok());
    EXPECT_EQ(allocations, 0u);
}

TYPED_TEST(BlockLDLTAllocations, WarmFactorizeMakesNone)
{
    const AllocationCount count;
    this->solver.factorize(this->A);
    const std::size_t allocations = count.allocations();

    EXPECT_TRUE(this->solver.info().ok());
    EXPECT_EQ(allocations, 0u);
}

TYPED_TEST(BlockLDLTAllocations, WarmFactorizeOfAnotherMatrixWithThePatternMakesNone)
{
    const BlockMatrix<TypeParam> other = support::shuffledCopy(this->m_random, this->A);

    const AllocationCount count;
    this->solver.factorize(other);
    const std::size_t allocations = count.allocations();

    EXPECT_TRUE(this->solver.info().ok());
    EXPECT_EQ(allocations, 0u);
}

TYPED_TEST(BlockLDLTAllocations, RefineMakesNone)
{
    this->x.assign(this->x.size(), TypeParam(1));
    int steps = 0;

    const AllocationCount count;
    this->solver.refine(this->b.data(), this->x.data(), 5, &steps);
    const std::size_t allocations = count.allocations();

    EXPECT_GT(steps, 0);
    EXPECT_EQ(allocations, 0u);
}

TYPED_TEST(BlockLDLTAllocations, MovingTheSolverMakesNone)
{
    const AllocationCount count;
    BlockLDLT<TypeParam> moved(std::move(this->solver));
    const std::size_t allocations = count.allocations();

    EXPECT_EQ(allocations, 0u);
    EXPECT_TRUE(moved.solve(this->b.data(), this->x.data()).ok());
}

TEST(RopeBridgeAllocations, WarmStepsBehindTheLaterPlacementMakeNone)
{
    const kyrOrvel::client::Scene scene = kyrOrvel::client::makeRopeBridge(8);
    BlockLDLT<double> solver;
    ASSERT_TRUE(solver.compute(scene.matrix).ok());
    ASSERT_EQ(solver.analysis().method, OrderingMethod::ConstraintAware);
    std::vector<double> x(scene.matrix.dimension());

    const AllocationCount count;
    solver.factorize(scene.matrix);
    const bool factored = solver.info().ok();
    solver.solve(scene.rightHandSide.data(), x.data());
    const std::size_t allocations = count.allocations();

    EXPECT_TRUE(factored && solver.info().ok());
    EXPECT_EQ(allocations, 0u);
}

} // namespace
