// Pivots that are replaced by signed bounds, and solutions that are refined for it.

#include "support/BlockSystems.h"
#include "support/Mechanisms.h"
#include "support/Random.h"
#include "support/Scalars.h"

#include <kyrOrvelClient/BlockLDLT>

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::Factorization;
using kyrOrvel::client::Ordering;
using kyrOrvel::client::Regularization;
using kyrOrvel::client::Statistics;
using kyrOrvel::client::StatusCode;
using support::Random;

namespace {

template <class T> constexpr double kEpsilon = double(std::numeric_limits<T>::epsilon());

template <class T> class DynamicRegularization : public testing::Test {
protected:
    static void regularize(BlockLDLT<T>& solver, bool onThreads = false)
    {
        EXPECT_TRUE(solver.setRegularization(Regularization::Dynamic).ok());
        if (onThreads) {
            solver.setFactorization(Factorization::Multifrontal);
            EXPECT_TRUE(solver.setThreads(2).ok());
        }
    }

    /// 4 . 1 1     Blocks 2 and 3 are the same joint.
    /// . 4 1 1
    /// 1 1 . .
    /// 1 1 . .
    static BlockMatrix<T> twice()
    {
        return support::scalarMatrix<T>({{4}, {0, 4}, {1, 1, 0}, {1, 1, 0, 0}}, 2);
    }

    /// Random joints, each given twice.
    static BlockMatrix<T> doubled(Random& random)
    {
        support::Mechanism mechanism = support::randomMechanism(random, 0.05);
        const std::size_t joints = mechanism.joints.size();
        for (std::size_t j = 0; j < joints; ++j)
            mechanism.joints.push_back(mechanism.joints[j]);
        return support::matrixOf<T>(mechanism);
    }
};
TYPED_TEST_SUITE(DynamicRegularization, support::Scalars);

TYPED_TEST(DynamicRegularization, WithoutAnythingToReplaceIsOk)
{
    Random random(3);
    const auto A = support::randomKkt<TypeParam>(random, support::KktShape());
    BlockLDLT<TypeParam> solver;
    this->regularize(solver);

    EXPECT_EQ(solver.compute(A).code, StatusCode::Ok) << solver.info().message;

    EXPECT_EQ(solver.statistics().regularizedPivots, 0u);
    EXPECT_TRUE(solver.info().message.empty());
}

TYPED_TEST(DynamicRegularization, CountsAndNamesWhatItReplaced)
{
    for (const bool onThreads : {false, true}) {
        BlockLDLT<TypeParam> solver;
        this->regularize(solver, onThreads);

        EXPECT_EQ(solver.compute(this->twice()).code, StatusCode::Regularized);

        EXPECT_TRUE(solver.info().ok());
        EXPECT_EQ(solver.statistics().regularizedPivots, 1u);
        EXPECT_EQ(solver.statistics().positivePivots, 2u);
        EXPECT_EQ(solver.statistics().negativePivots, 2u);
        EXPECT_EQ(solver.analysis().multifrontal, onThreads);
        const unsigned int block = solver.info().block;
        EXPECT_TRUE(block == 2 || block == 3) << block;
        EXPECT_EQ(solver.info().row, 0u);
        EXPECT_EQ(solver.info().message, "1 pivot was too small or of the wrong sign and replaced, "
                                         "the first in row 0 of block " +
                                             std::to_string(block) + "; solutions are refined");
    }
}

// The pivot expected of a joint between masses of 4 is 1/4 + 1/4.
TYPED_TEST(DynamicRegularization, BoundIsTheShareOfThePivotExpected)
{
    BlockLDLT<TypeParam> solver;
    ASSERT_TRUE(solver.setRegularization(Regularization::Dynamic, TypeParam(0.125)).ok());

    ASSERT_TRUE(solver.compute(this->twice()).ok());

    EXPECT_EQ(solver.statistics().smallestPivot, -0.0625);
}

// 4  .  1
// . -4  1     A negative mass takes the bound of a positive one.
// 1  1  .
TYPED_TEST(DynamicRegularization, PivotOfTheWrongSignIsReplaced)
{
    const auto A = support::scalarMatrix<TypeParam>({{4}, {0, -4}, {1, 1, 0}}, 2);
    BlockLDLT<TypeParam> solver;
    this->regularize(solver);

    EXPECT_EQ(solver.compute(A).code, StatusCode::Regularized);

    EXPECT_EQ(solver.info().block, 1u);
    EXPECT_EQ(solver.statistics().positivePivots, 2u);
    EXPECT_EQ(solver.statistics().negativePivots, 1u);
}

// A small but honest pivot is replaced, which is far from the matrix: refinement brings it back.
TYPED_TEST(DynamicRegularization, SolutionIsThatOfTheMatrixAsItIs)
{
    for (const bool onThreads : {false, true}) {
        const TypeParam share = TypeParam(1) / 16;
        // The second pivot, 8 - 64/9, is 0.111 of its diagonal; one quarter is asked for.
        const auto A = support::scalarMatrix<TypeParam>({{9}, {8, 8}, {0, 1, 100}});
        BlockLDLT<TypeParam> solver;
        this->regularize(solver, onThreads);
        ASSERT_TRUE(solver.setRegularization(Regularization::Dynamic, 4 * share).ok());
        solver.setOrder({0, 1, 2});
        ASSERT_EQ(solver.compute(A).code, StatusCode::Regularized);
        ASSERT_EQ(solver.statistics().regularizedPivots, 1u);
        const std::vector<TypeParam> b = {1, 2, 3};
        std::vector<TypeParam> x(3);

        ASSERT_TRUE(solver.solve(b.data(), x.data()).ok());

        const auto expected = support::denseSolve(support::denseOf(A), {1, 2, 3});
        for (std::size_t i = 0; i < 3; ++i)
            EXPECT_NEAR(double(x[i]), double(expected[i]), 1e-2 * std::abs(double(expected[i])));
        EXPECT_GT(solver.statistics().refinementSteps, 0);
        EXPECT_LT(support::relativeResidual(A, x, b), 1e-2);
    }
}

// Where the default share replaced nothing but noise, a few steps are enough for full accuracy.
TYPED_TEST(DynamicRegularization, ConsistentSingularSystemsAreSolved)
{
    for (std::uint64_t seed = 1; seed <= 100; ++seed)
        for (const bool onThreads : {false, true}) {
            SCOPED_TRACE(seed);
            Random random(seed);
            const auto A = this->doubled(random);
            if (A.firstTrailing() == A.numBlockRows())
                continue;
            const std::vector<TypeParam> some = random.scalars<TypeParam>(A.dimension());
            std::vector<TypeParam> b(some.size());
            A.multiply(some.data(), b.data()); // in the range, up to rounding
            BlockLDLT<TypeParam> solver;
            this->regularize(solver, onThreads);
            std::vector<TypeParam> x(b.size());

            ASSERT_EQ(solver.compute(A).code, StatusCode::Regularized);
            ASSERT_TRUE(solver.solve(b.data(), x.data()).ok()) << solver.info().message;

            EXPECT_GE(solver.statistics().regularizedPivots, 1u);
            EXPECT_LT(support::relativeResidual(A, x, b), 1000 * kEpsilon<TypeParam>);
        }
}

TYPED_TEST(DynamicRegularization, CountsByInertiaWhatItReplacedByConstruction)
{
    for (std::uint64_t seed = 1; seed <= 100; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const auto A = this->doubled(random);
        if (A.firstTrailing() == A.numBlockRows())
            continue;
        const std::size_t freedoms = A.blockOffset(A.firstTrailing());
        const std::size_t rows = A.dimension() - freedoms;
        BlockLDLT<TypeParam> solver;
        this->regularize(solver);

        ASSERT_EQ(solver.compute(A).code, StatusCode::Regularized);

        const Statistics statistics = solver.statistics();
        EXPECT_EQ(statistics.positivePivots, freedoms);
        EXPECT_EQ(statistics.negativePivots, rows);
        EXPECT_EQ(statistics.regularizedPivots, rows / 2);
    }
}

TYPED_TEST(DynamicRegularization, EveryKindOfSolveIsRefined)
{
    // b is in the range: what the joint does not allow is asked of neither of its copies.
    const auto A = this->twice();
    BlockLDLT<TypeParam> solver;
    this->regularize(solver);
    ASSERT_TRUE(solver.compute(A).ok());
    const TypeParam one = 1;
    std::vector<TypeParam> x(4);

    ASSERT_TRUE(solver.solveForBlock(0, &one, x.data()).ok());
    const std::vector<TypeParam> e = {1, 0, 0, 0};
    EXPECT_LT(support::relativeResidual(A, x, e), 100 * kEpsilon<TypeParam>);

    TypeParam inverse = 0;
    ASSERT_TRUE(solver.inverseBlock(1, 0, &inverse).ok());
    EXPECT_NEAR(double(inverse), -0.125, 1e-5);

    TypeParam W = 0;
    ASSERT_TRUE(solver.constraintSpace({{{{0, &one}}}}, &W).ok());
    EXPECT_NEAR(double(W), 0.125, 1e-5);
}

TYPED_TEST(DynamicRegularization, CanBeTurnedOffAgain)
{
    BlockLDLT<TypeParam> solver;
    this->regularize(solver);
    ASSERT_EQ(solver.compute(this->twice()).code, StatusCode::Regularized);

    ASSERT_TRUE(solver.setRegularization(Regularization::None).ok());

    EXPECT_EQ(solver.factorize(this->twice()).code, StatusCode::Singular);
    EXPECT_EQ(solver.statistics().regularizedPivots, 0u);
}

TYPED_TEST(DynamicRegularization, ShareThatMakesNoSenseIsRefusedAndChangesNothing)
{
    BlockLDLT<TypeParam> solver;
    for (const TypeParam share : {TypeParam(0), TypeParam(-0.1), TypeParam(1), TypeParam(2),
                                  std::numeric_limits<TypeParam>::quiet_NaN()}) {
        EXPECT_EQ(solver.setRegularization(Regularization::Dynamic, share).code,
                  StatusCode::InvalidInput);
        EXPECT_EQ(solver.info().message, "a pivot's share has to lie between 0 and 1");
    }
    EXPECT_EQ(solver.compute(this->twice()).code, StatusCode::Singular);
}

TYPED_TEST(DynamicRegularization, OverflowIsNotFiniteAllTheSame)
{
    const TypeParam large = std::numeric_limits<TypeParam>::max() / 2;
    const auto A = support::scalarMatrix<TypeParam>({{1}, {large, 0}}, 1);
    BlockLDLT<TypeParam> solver;
    this->regularize(solver);

    EXPECT_EQ(solver.compute(A).code, StatusCode::NotFinite) << solver.info().message;
}

// large - large², minus infinity: a bound in its place would make finite nonsense of it.
TYPED_TEST(DynamicRegularization, OverflowIsNotReplacedByABound)
{
    const TypeParam large = std::numeric_limits<TypeParam>::max() / 2;
    const auto A = support::scalarMatrix<TypeParam>({{1}, {large, large}});
    BlockLDLT<TypeParam> solver;
    this->regularize(solver);
    solver.setOrdering(Ordering::Natural);

    EXPECT_EQ(solver.compute(A).code, StatusCode::NotFinite) << solver.info().message;
    EXPECT_EQ(solver.info().block, 1u);
}

/// A column of bodies with four contacts of three rows between neighbours: twice the rows of the
/// bodies.
BlockMatrix<float> columnOfContacts(unsigned int bodies, Random& random)
{
    constexpr unsigned int kContacts = 4;
    std::vector<unsigned int> sizes(bodies, 6);
    sizes.resize(bodies * (1 + kContacts), 3);
    BlockMatrix<float> A(sizes, bodies);
    for (unsigned int b = 0; b < bodies; ++b) {
        for (unsigned int i = 0; i < 6; ++i)
            A.block(b, b)[7 * i] = i < 3 ? 1.0F : 0.1F;
        for (unsigned int c = 0; c < kContacts; ++c) {
            const unsigned int contact = bodies + kContacts * b + c;
            for (unsigned int to = b > 0 ? b - 1 : b; to <= b; ++to)
                for (unsigned int i = 0; i < 18; ++i)
                    A.block(contact, to)[i] = static_cast<float>(2 * random.unit() - 1);
        }
    }
    return A;
}

// Noise of redundant rows is larger than the bounds there.
TEST(DynamicRegularizationOfHeaps, RaisesTheBoundsUntilTheyHoldTheFactor)
{
    for (std::uint64_t seed = 1; seed <= 40; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const BlockMatrix<float> A = columnOfContacts(30, random);
        BlockLDLT<float> solver;
        solver.setRegularization(Regularization::Dynamic);
        std::vector<float> b(A.dimension(), 0);
        for (unsigned int i = 0; i < 30; ++i)
            b[6 * i + 2] = -0.16F;
        std::vector<float> x(b.size());

        ASSERT_EQ(solver.compute(A).code, StatusCode::Regularized) << solver.info().message;

        EXPECT_GE(solver.statistics().regularizedPivots, 170u);
        ASSERT_TRUE(solver.solve(b.data(), x.data()).ok()) << solver.info().message;
        EXPECT_LT(solver.statistics().residualNorm, 0.05);
    }
}

TYPED_TEST(DynamicRegularization, MatrixOfZerosIsReplacedByOnes)
{
    const auto A = support::drawnMatrix({"X", ". X", "X X ."}, 2);
    BlockLDLT<double> solver;
    ASSERT_TRUE(solver.setRegularization(Regularization::Dynamic, 0.5).ok());

    EXPECT_EQ(solver.compute(A).code, StatusCode::Regularized);

    EXPECT_EQ(solver.statistics().regularizedPivots, 3u);
    EXPECT_EQ(std::abs(solver.statistics().largestPivot), 0.5);
}

} // namespace
