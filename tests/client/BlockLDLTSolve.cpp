#include "support/Bits.h"
#include "support/BlockSystems.h"
#include "support/Random.h"
#include "support/Scalars.h"

#include <kyrOrvelClient/BlockLDLT>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using support::KktShape;
using support::Random;

namespace {

template <class T> constexpr double kEpsilon = double(std::numeric_limits<T>::epsilon());

template <class T> class BlockLDLTSolve : public testing::Test {
};
TYPED_TEST_SUITE(BlockLDLTSolve, support::Scalars);

/// Factors and solves; every step has to succeed.
template <class T> std::vector<T> solution(const BlockMatrix<T>& A, const std::vector<T>& b)
{
    BlockLDLT<T> solver;
    std::vector<T> x(b.size(), std::numeric_limits<T>::quiet_NaN());
    EXPECT_TRUE(solver.analyzePattern(A).ok()) << solver.info().message;
    EXPECT_TRUE(solver.factorize(A).ok()) << solver.info().message;
    EXPECT_TRUE(solver.solve(b.data(), x.data()).ok()) << solver.info().message;
    return x;
}

// 4 . . 1
// . 2 . 1
// . . 1 1
// 1 1 1 .
TYPED_TEST(BlockLDLTSolve, SmallSystemIsSolved)
{
    const BlockMatrix<TypeParam> A =
        support::scalarMatrix<TypeParam>({{4}, {0, 2}, {0, 0, 1}, {1, 1, 1, 0}}, 3);
    // A·(1, 2, 4, 8)
    const std::vector<TypeParam> b = {12, 12, 12, 7};

    const std::vector<TypeParam> x = solution(A, b);

    const TypeParam expected[] = {1, 2, 4, 8};
    for (std::size_t i = 0; i < 4; ++i)
        EXPECT_NEAR(x[i], expected[i], 8 * kEpsilon<TypeParam>);
}

TYPED_TEST(BlockLDLTSolve, EmptySystemIsSolvedByNothing)
{
    const BlockMatrix<TypeParam> A;
    BlockLDLT<TypeParam> solver;

    EXPECT_TRUE(solver.compute(A).ok());
    EXPECT_TRUE(solver.solve(nullptr, nullptr).ok());
    EXPECT_TRUE(solver.refine(nullptr, nullptr, 3).ok());
}

TYPED_TEST(BlockLDLTSolve, BlocksWithoutRowsNeedNoVectors)
{
    BlockMatrix<TypeParam> A({0, 0, 0}, 1);
    A.block(2, 0);
    BlockLDLT<TypeParam> solver;

    EXPECT_TRUE(solver.compute(A).ok()) << solver.info().message;
    EXPECT_TRUE(solver.solve(nullptr, nullptr).ok());
}

TYPED_TEST(BlockLDLTSolve, OneBlockIsSolved)
{
    Random random(5);
    const BlockMatrix<TypeParam> A = support::randomSpd<TypeParam>(random, 1, 0, 9, 9);
    const std::vector<TypeParam> b = random.scalars<TypeParam>(9);

    EXPECT_LT(support::backwardError(A, solution(A, b), b), 8 * kEpsilon<TypeParam>);
}

TYPED_TEST(BlockLDLTSolve, PositiveDefiniteSystemsAreSolvedToRounding)
{
    for (unsigned int seed = 1; seed <= 150; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const double density = random.unit() * 0.5;
        const BlockMatrix<TypeParam> A =
            support::randomSpd<TypeParam>(random, random.integer(1, 25), density, 0, 6);
        const auto b = random.scalars<TypeParam>(A.dimension());

        ASSERT_LT(support::backwardError(A, solution(A, b), b), 16 * kEpsilon<TypeParam>);
    }
}

TYPED_TEST(BlockLDLTSolve, SolutionIsThatOfDenseElimination)
{
    for (unsigned int seed = 1; seed <= 50; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const BlockMatrix<TypeParam> A =
            support::randomSpd<TypeParam>(random, random.integer(1, 10), 0.4, 0, 5);
        const auto b = random.scalars<TypeParam>(A.dimension());

        const std::vector<TypeParam> x = solution(A, b);

        const auto expected =
            support::denseSolve(support::denseOf(A), std::vector<long double>(b.begin(), b.end()));
        for (std::size_t i = 0; i < x.size(); ++i)
            ASSERT_NEAR(double(x[i]), double(expected[i]), 100 * kEpsilon<TypeParam>) << i;
    }
}

/// Joints that hold one body of their own and at most one other.
template <class T> BlockMatrix<T> randomTree(Random& random, double compliance)
{
    KktShape shape;
    shape.bodies = random.integer(1, 25);
    shape.joints = random.integer(1, shape.bodies);
    shape.compliance = compliance;
    return support::randomKkt<T>(random, shape);
}

TYPED_TEST(BlockLDLTSolve, ConstraintsWithoutComplianceAreSolvedToRounding)
{
    for (unsigned int seed = 1; seed <= 150; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const BlockMatrix<TypeParam> A = randomTree<TypeParam>(random, 0);
        const auto b = random.scalars<TypeParam>(A.dimension());

        ASSERT_LT(support::backwardError(A, solution(A, b), b), 16 * kEpsilon<TypeParam>);
    }
}

TYPED_TEST(BlockLDLTSolve, ConstraintsWithComplianceAreSolvedToRounding)
{
    for (unsigned int seed = 1; seed <= 150; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const BlockMatrix<TypeParam> A = randomTree<TypeParam>(random, 1e-3);
        const auto b = random.scalars<TypeParam>(A.dimension());

        ASSERT_LT(support::backwardError(A, solution(A, b), b), 16 * kEpsilon<TypeParam>);
    }
}

// The order of elimination is not the user's, yet every value stands where the user's block does.
TYPED_TEST(BlockLDLTSolve, VectorsAreInTheOrderOfAssembly)
{
    Random random(11);
    const BlockMatrix<TypeParam> A = support::randomKkt<TypeParam>(random, KktShape());
    BlockLDLT<TypeParam> solver;
    ASSERT_TRUE(solver.compute(A).ok());
    ASSERT_FALSE(std::is_sorted(solver.analysis().order.begin(), solver.analysis().order.end()));

    for (unsigned int block = 0; block < A.numBlockRows(); ++block) {
        std::vector<TypeParam> unit(A.dimension(), 0);
        unit[A.blockOffset(block)] = 1;
        std::vector<TypeParam> b(A.dimension());
        A.multiply(unit.data(), b.data());
        std::vector<TypeParam> x(A.dimension());

        ASSERT_TRUE(solver.solve(b.data(), x.data()).ok());

        for (std::size_t i = 0; i < x.size(); ++i)
            ASSERT_NEAR(x[i], unit[i], 1000 * kEpsilon<TypeParam>) << "block " << block;
    }
}

TYPED_TEST(BlockLDLTSolve, InPlaceGivesTheSameBits)
{
    Random random(12);
    const BlockMatrix<TypeParam> A = support::randomKkt<TypeParam>(random, KktShape());
    const auto b = random.scalars<TypeParam>(A.dimension());
    BlockLDLT<TypeParam> solver;
    ASSERT_TRUE(solver.compute(A).ok());
    std::vector<TypeParam> x(b.size());
    ASSERT_TRUE(solver.solve(b.data(), x.data()).ok());

    std::vector<TypeParam> inPlace = b;
    EXPECT_TRUE(solver.solve(inPlace.data(), inPlace.data()).ok());

    EXPECT_TRUE(support::sameBits(inPlace.data(), x.data(), x.size()));
}

TYPED_TEST(BlockLDLTSolve, ZeroRightHandSideHasTheZeroSolution)
{
    Random random(13);
    const BlockMatrix<TypeParam> A = support::randomKkt<TypeParam>(random, KktShape());

    const std::vector<TypeParam> x = solution(A, std::vector<TypeParam>(A.dimension(), 0));

    EXPECT_TRUE(std::all_of(x.begin(), x.end(), [](TypeParam v) { return v == 0; }));
}

// Units are the user's business: a right-hand side far below the machine epsilon is as good as any
// other. A power of two changes no digit of the answer.
TYPED_TEST(BlockLDLTSolve, ScalingTheRightHandSideScalesTheSolution)
{
    for (unsigned int seed = 1; seed <= 50; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const BlockMatrix<TypeParam> A = randomTree<TypeParam>(random, 0);
        const auto b = random.scalars<TypeParam>(A.dimension());
        const std::vector<TypeParam> x = solution(A, b);
        for (const int exponent : {-80, -60, -40, -20, 20, 60}) {
            const TypeParam scale = std::ldexp(TypeParam(1), exponent);
            std::vector<TypeParam> scaled = b;
            for (TypeParam& v : scaled)
                v *= scale;

            std::vector<TypeParam> actual = solution(A, scaled);

            for (TypeParam& v : actual)
                v /= scale;
            ASSERT_TRUE(support::sameBits(actual.data(), x.data(), x.size())) << exponent;
        }
    }
}

// One block row of the right-hand side is tiny beside the others, and comes first.
TYPED_TEST(BlockLDLTSolve, TinyLeadingValuesCountBesideLargeOnes)
{
    const BlockMatrix<TypeParam> A =
        support::scalarMatrix<TypeParam>({{2}, {1, 2}, {0, 1, 2}, {0, 0, 1, 2}});
    const TypeParam tiny = std::numeric_limits<TypeParam>::epsilon() / 1024;
    for (const unsigned int large : {0u, 1u, 2u, 3u}) {
        std::vector<TypeParam> b(4, tiny);
        b[large] = TypeParam(0.125);

        EXPECT_LT(support::backwardError(A, solution(A, b), b), 4 * kEpsilon<TypeParam>);
    }
}

// Brought to where the first value counts, the solution would overflow.
TYPED_TEST(BlockLDLTSolve, TinyLeadingValueDoesNotMakeALargeSolutionOverflow)
{
    using Limits = std::numeric_limits<TypeParam>;
    const TypeParam small = Limits::min() * 4;
    BlockMatrix<TypeParam> A({1, 1});
    *A.block(0, 0) = 1;
    *A.block(1, 1) = small;
    for (const int digits : {0, 1, 2, 3}) {
        const TypeParam tiny = std::pow(Limits::epsilon(), TypeParam(digits));

        const std::vector<TypeParam> x = solution(A, {tiny, TypeParam(0.5)});

        EXPECT_EQ(x[1], TypeParam(0.5) / small) << digits;
    }
}

TYPED_TEST(BlockLDLTSolve, DenormalRightHandSideIsSolved)
{
    const BlockMatrix<TypeParam> A = support::scalarMatrix<TypeParam>({{4}, {2, 3}});
    const TypeParam unit = std::numeric_limits<TypeParam>::denorm_min();

    // A·(16, 32) in units of the smallest number
    const std::vector<TypeParam> x = solution(A, {128 * unit, 128 * unit});

    EXPECT_EQ(x[0], 16 * unit);
    EXPECT_EQ(x[1], 32 * unit);
}

/// Systems that need the later placement now and then; accurate after refinement.
TYPED_TEST(BlockLDLTSolve, LoopsOfConstraintsAreAccurateAfterRefinement)
{
    for (unsigned int seed = 1; seed <= 200; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        KktShape shape;
        shape.bodies = random.integer(2, 20);
        shape.joints = random.integer(1, shape.bodies);
        shape.partners = 3;
        const BlockMatrix<TypeParam> A = support::randomKkt<TypeParam>(random, shape);
        const auto b = random.scalars<TypeParam>(A.dimension());
        BlockLDLT<TypeParam> solver;
        ASSERT_TRUE(solver.compute(A).ok()) << solver.info().message;
        std::vector<TypeParam> x(b.size());
        ASSERT_TRUE(solver.solve(b.data(), x.data()).ok());

        ASSERT_TRUE(solver.refine(b.data(), x.data(), 10).ok());

        ASSERT_LT(support::backwardError(A, x, b), 64 * kEpsilon<TypeParam>);
    }
}

} // namespace
