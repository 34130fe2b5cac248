#include "support/Bits.h"
#include "support/BlockSystems.h"
#include "support/Random.h"
#include "support/Scalars.h"

#include <kyrOrvelClient/BlockLDLT>

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

using kyrOrvel::kNone;
using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::StatusCode;
using support::Random;

namespace {

template <class T> constexpr T kNaN = std::numeric_limits<T>::quiet_NaN();
template <class T> constexpr T kInfinity = std::numeric_limits<T>::infinity();

template <class T> class BlockLDLTErrors : public testing::Test {
protected:
    // Sizes 2, 3, 1.   X
    //                  X X
    //                  . X .
    static BlockMatrix<T> someMatrix()
    {
        BlockMatrix<T> A({2, 3, 1}, 2);
        Random random(1);
        support::writeMass<T>(random, A.block(0, 0), 2, 1);
        support::writeMass<T>(random, A.block(1, 1), 3, 1);
        for (unsigned int i = 0; i < 6; ++i)
            A.block(1, 0)[i] = T(0.125);
        A.block(2, 1)[1] = 1;
        return A;
    }
};
TYPED_TEST_SUITE(BlockLDLTErrors, support::Scalars);

TYPED_TEST(BlockLDLTErrors, FreshSolverIsOkAndEmpty)
{
    const BlockLDLT<TypeParam> solver;

    EXPECT_TRUE(solver.info().ok());
    EXPECT_TRUE(solver.analysis().order.empty());
}

TYPED_TEST(BlockLDLTErrors, FactorizeBeforeAnalyzePatternIsACallSequence)
{
    BlockLDLT<TypeParam> solver;

    const auto& status = solver.factorize(this->someMatrix());

    EXPECT_EQ(status.code, StatusCode::CallSequence);
    EXPECT_EQ(status.message, "analyzePattern has to succeed first");
    EXPECT_EQ(status.block, kNone);
}

TYPED_TEST(BlockLDLTErrors, SolveBeforeFactorizeIsACallSequenceAndLeavesX)
{
    BlockLDLT<TypeParam> solver;
    const TypeParam b[6] = {};
    TypeParam x[6] = {1, 2, 3, 4, 5, 6};
    EXPECT_EQ(solver.solve(b, x).code, StatusCode::CallSequence);
    ASSERT_TRUE(solver.analyzePattern(this->someMatrix()).ok());

    EXPECT_EQ(solver.solve(b, x).code, StatusCode::CallSequence);

    EXPECT_EQ(solver.info().message, "factorize has to succeed first");
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(x[i], TypeParam(i + 1));
}

TYPED_TEST(BlockLDLTErrors, AnalyzePatternDiscardsTheFactor)
{
    BlockLDLT<TypeParam> solver;
    ASSERT_TRUE(solver.compute(this->someMatrix()).ok());
    ASSERT_TRUE(solver.analyzePattern(this->someMatrix()).ok());
    TypeParam x[6] = {};

    EXPECT_EQ(solver.solve(x, x).code, StatusCode::CallSequence);
}

TYPED_TEST(BlockLDLTErrors, AfterAFailedAnalysisNothingCanBeFactored)
{
    BlockLDLT<TypeParam> solver;
    ASSERT_TRUE(solver.compute(this->someMatrix()).ok());
    ASSERT_FALSE(solver.analyzePattern(BlockMatrix<TypeParam>({1, 1}, 1)).ok());
    TypeParam x[6] = {};

    EXPECT_EQ(solver.factorize(this->someMatrix()).code, StatusCode::CallSequence);
    EXPECT_EQ(solver.solve(x, x).code, StatusCode::CallSequence);
}

TYPED_TEST(BlockLDLTErrors, ComputeReportsAFailedAnalysis)
{
    BlockLDLT<TypeParam> solver;

    EXPECT_EQ(solver.compute(BlockMatrix<TypeParam>({1, 1}, 1)).code, StatusCode::Singular);
    EXPECT_EQ(solver.info().block, 1u);
}

TYPED_TEST(BlockLDLTErrors, InfoIsTheOutcomeOfTheLastStep)
{
    BlockLDLT<TypeParam> solver;
    solver.factorize(this->someMatrix());
    ASSERT_FALSE(solver.info().ok());

    EXPECT_EQ(&solver.analyzePattern(this->someMatrix()), &solver.info());

    EXPECT_TRUE(solver.info().ok());
    EXPECT_EQ(solver.info().message, "");
    EXPECT_EQ(solver.info().block, kNone);
}

TYPED_TEST(BlockLDLTErrors, NullVectorsAreRefused)
{
    BlockLDLT<TypeParam> solver;
    ASSERT_TRUE(solver.compute(this->someMatrix()).ok());
    TypeParam x[6] = {1, 2, 3, 4, 5, 6};

    EXPECT_EQ(solver.solve(nullptr, x).code, StatusCode::InvalidInput);
    EXPECT_EQ(x[0], TypeParam(1));
    EXPECT_EQ(solver.solve(x, nullptr).code, StatusCode::InvalidInput);
    EXPECT_EQ(solver.info().message, "a right-hand side and room for the solution are needed");
    EXPECT_TRUE(solver.solve(x, x).ok()) << "the factor is still there";
}

TYPED_TEST(BlockLDLTErrors, RightHandSideThatIsNotFiniteIsNamedAndXIsUntouched)
{
    BlockLDLT<TypeParam> solver;
    ASSERT_TRUE(solver.compute(this->someMatrix()).ok());
    for (const TypeParam bad : {kNaN<TypeParam>, kInfinity<TypeParam>, -kInfinity<TypeParam>}) {
        const TypeParam b[6] = {1, 2, 3, bad, 5, 6};
        TypeParam x[6] = {1, 2, 3, 4, 5, 6};

        const auto& status = solver.solve(b, x);

        EXPECT_EQ(status.code, StatusCode::NotFinite);
        EXPECT_EQ(status.message,
                  "the right-hand side holds an infinity or NaN in row 1 of block 1");
        EXPECT_EQ(status.block, 1u);
        EXPECT_EQ(status.row, 1u);
        for (int i = 0; i < 6; ++i)
            EXPECT_EQ(x[i], TypeParam(i + 1));
    }
}

// Long vectors are looked at by many lanes at once, and what is left over by one.
TYPED_TEST(BlockLDLTErrors, RightHandSideThatIsNotFiniteIsNamedWhereverItIs)
{
    for (const unsigned int n : {1u, 15u, 16u, 31u, 32u, 33u, 65u, 79u}) {
        SCOPED_TRACE(n);
        BlockMatrix<TypeParam> A(std::vector<unsigned int>(n, 1));
        for (unsigned int i = 0; i < n; ++i)
            A.block(i, i)[0] = 1;
        BlockLDLT<TypeParam> solver;
        ASSERT_TRUE(solver.compute(A).ok());
        std::vector<TypeParam> b(n, 1);
        std::vector<TypeParam> x(n);
        for (unsigned int i = 0; i < n; ++i) {
            b[i] = kNaN<TypeParam>;
            EXPECT_EQ(solver.solve(b.data(), x.data()).code, StatusCode::NotFinite);
            EXPECT_EQ(solver.info().block, i);
            b[i] = 1;
        }
        EXPECT_TRUE(solver.solve(b.data(), x.data()).ok());
    }
}

TYPED_TEST(BlockLDLTErrors, MatrixValueThatIsNotFiniteIsNamed)
{
    for (const TypeParam bad : {kNaN<TypeParam>, kInfinity<TypeParam>, -kInfinity<TypeParam>}) {
        BlockMatrix<TypeParam> A = this->someMatrix();
        A.block(1, 0)[5] = bad;
        BlockLDLT<TypeParam> solver;
        ASSERT_TRUE(solver.analyzePattern(A).ok()) << "the analysis looks at no values";

        const auto& status = solver.factorize(A);

        EXPECT_EQ(status.code, StatusCode::NotFinite);
        EXPECT_EQ(status.message, "block (1, 0) holds an infinity or NaN in its row 2");
        EXPECT_EQ(status.block, 1u);
        EXPECT_EQ(status.row, 2u);
        TypeParam x[6] = {};
        EXPECT_EQ(solver.solve(x, x).code, StatusCode::CallSequence);
        A.block(1, 0)[5] = 0;
        EXPECT_TRUE(solver.factorize(A).ok());
    }
}

TYPED_TEST(BlockLDLTErrors, ValueAboveTheDiagonalOfADiagonalBlockIsNotLookedAt)
{
    BlockMatrix<TypeParam> A = this->someMatrix();
    BlockLDLT<TypeParam> solver;
    ASSERT_TRUE(solver.compute(A).ok());
    const std::vector<TypeParam> b = {1, 2, 3, 4, 5, 6};
    std::vector<TypeParam> expected(6);
    ASSERT_TRUE(solver.solve(b.data(), expected.data()).ok());
    A.block(1, 1)[2] = kNaN<TypeParam>;

    EXPECT_TRUE(solver.factorize(A).ok());

    std::vector<TypeParam> x(6);
    EXPECT_TRUE(solver.solve(b.data(), x.data()).ok());
    EXPECT_TRUE(support::sameBits(x.data(), expected.data(), 6));
}

// The trailing block is eliminated last; its pivot is -a²/m.
TYPED_TEST(BlockLDLTErrors, OverflowInTheFactorizationIsNotFinite)
{
    const TypeParam huge = std::numeric_limits<TypeParam>::max() / 2;
    const BlockMatrix<TypeParam> A = support::scalarMatrix<TypeParam>({{1}, {huge, 0}}, 1);
    BlockLDLT<TypeParam> solver;

    const auto& status = solver.compute(A);

    EXPECT_EQ(status.code, StatusCode::NotFinite);
    EXPECT_EQ(status.message,
              "the pivot of row 0 of block 1 is -inf, with terms of inf: the values "
              "overflow; scale the matrix");
    EXPECT_EQ(status.block, 1u);
    EXPECT_EQ(status.row, 0u);
}

// The pivot is 3/4 - 1/2 of the largest number; the sum of its terms cannot be held, so how much
// of it is rounding cannot be told.
TYPED_TEST(BlockLDLTErrors, OverflowInTheTermsOfAPivotIsNotFinite)
{
    const TypeParam largest = std::numeric_limits<TypeParam>::max();
    const BlockMatrix<TypeParam> A =
        support::scalarMatrix<TypeParam>({{1}, {std::sqrt(largest / 2), largest / 4 * 3}});
    BlockLDLT<TypeParam> solver;

    const auto& status = solver.compute(A);

    EXPECT_EQ(status.code, StatusCode::NotFinite) << status.message;
    EXPECT_EQ(status.block, 1u);
    EXPECT_EQ(status.row, 0u);
}

TYPED_TEST(BlockLDLTErrors, OverflowInTheSolutionIsNamedAndXIsUntouched)
{
    const TypeParam small = std::numeric_limits<TypeParam>::min() * 4;
    const BlockMatrix<TypeParam> A = support::scalarMatrix<TypeParam>({{1}, {0, small}});
    BlockLDLT<TypeParam> solver;
    ASSERT_TRUE(solver.compute(A).ok()) << solver.info().message;
    const TypeParam b[] = {1, 100};
    TypeParam x[] = {7, 8};

    const auto& status = solver.solve(b, x);

    EXPECT_EQ(status.code, StatusCode::NotFinite);
    EXPECT_EQ(status.message, "the solution overflows in row 0 of block 1; scale the system");
    EXPECT_EQ(status.block, 1u);
    EXPECT_EQ(status.row, 0u);
    EXPECT_EQ(x[0], TypeParam(7));
    EXPECT_EQ(x[1], TypeParam(8));
    const TypeParam gentle[] = {1, 1};
    EXPECT_TRUE(solver.solve(gentle, x).ok()) << "the factor is still there";
}

TYPED_TEST(BlockLDLTErrors, MatrixIsUntouchedByAnyStep)
{
    Random random(4);
    const BlockMatrix<TypeParam> A = support::randomKkt<TypeParam>(random, support::KktShape());
    const support::Dense before = support::denseOf(A);
    const std::size_t blocks = A.numBlocks();
    BlockLDLT<TypeParam> solver;
    ASSERT_TRUE(solver.compute(A).ok());
    std::vector<TypeParam> x(A.dimension(), 1);
    ASSERT_TRUE(solver.solve(x.data(), x.data()).ok());

    EXPECT_EQ(A.numBlocks(), blocks);
    EXPECT_EQ(support::denseOf(A), before);
}

} // namespace
