// Right-hand sides in one block, and blocks of the inverse.

#include "support/BlockSystems.h"
#include "support/Mechanisms.h"
#include "support/Random.h"
#include "support/Scalars.h"

#include <kyrOrvelClient/BlockLDLT>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::Factorization;
using kyrOrvel::client::StatusCode;
using support::Random;

namespace {

template <class T> constexpr double kEpsilon = double(std::numeric_limits<T>::epsilon());

template <class T> class SparseSolves : public testing::Test {
protected:
    /// Positive definite, some blocks without rows, some that couple to nothing.
    static BlockMatrix<T> system(std::uint64_t seed)
    {
        Random random(seed);
        return support::randomSpd<T>(random, 12, seed % 3 == 0 ? 0.05 : 0.25, 0, 4);
    }

    /// The dense inverse, column by column.
    static support::Dense inverseOf(const BlockMatrix<T>& A)
    {
        const support::Dense dense = support::denseOf(A);
        support::Dense columns;
        for (std::size_t j = 0; j < A.dimension(); ++j) {
            std::vector<long double> e(A.dimension(), 0);
            e[j] = 1;
            columns.push_back(support::denseSolve(dense, e));
        }
        return columns;
    }

    static double largestOf(const support::Dense& M)
    {
        long double largest = 0;
        for (const auto& row : M)
            for (const long double v : row)
                largest = std::max(largest, std::abs(v));
        return double(largest);
    }
};
TYPED_TEST_SUITE(SparseSolves, support::Scalars);

TYPED_TEST(SparseSolves, ForEveryBlockEqualSolveUpToRounding)
{
    for (std::uint64_t seed = 1; seed <= 30; ++seed)
        for (const bool onThreads : {false, true}) {
            SCOPED_TRACE(seed);
            Random random(seed);
            const auto A = this->system(seed);
            BlockLDLT<TypeParam> solver;
            if (onThreads) {
                solver.setFactorization(Factorization::Multifrontal);
                solver.setThreads(2);
            }
            ASSERT_TRUE(solver.compute(A).ok()) << solver.info().message;
            for (unsigned int block = 0; block < A.numBlockRows(); ++block) {
                SCOPED_TRACE(block);
                // A size of 0 needs a place all the same.
                std::vector<TypeParam> values = random.scalars<TypeParam>(A.blockSize(block) + 1);
                std::vector<TypeParam> b(A.dimension(), 0);
                std::copy_n(values.begin(), A.blockSize(block),
                            b.begin() + std::ptrdiff_t(A.blockOffset(block)));
                std::vector<TypeParam> x(b.size(), TypeParam(99));

                ASSERT_TRUE(solver.solveForBlock(block, values.data(), x.data()).ok())
                    << solver.info().message;

                EXPECT_LE(support::backwardError(A, x, b), 64 * kEpsilon<TypeParam>);
                std::vector<TypeParam> whole(b.size());
                ASSERT_TRUE(solver.solve(b.data(), whole.data()).ok());
                for (std::size_t i = 0; i < b.size(); ++i)
                    EXPECT_NEAR(double(x[i]), double(whole[i]), 64 * kEpsilon<TypeParam>);
            }
        }
}

TYPED_TEST(SparseSolves, OnMechanismsEqualSolveUpToRounding)
{
    for (std::uint64_t seed = 1; seed <= 50; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const auto A = support::matrixOf<TypeParam>(support::randomMechanism(random, 0.05));
        BlockLDLT<TypeParam> solver;
        ASSERT_TRUE(solver.compute(A).ok()) << solver.info().message;
        const unsigned int block = random.integer(0, A.numBlockRows() - 1);
        const auto values = random.scalars<TypeParam>(A.blockSize(block));
        std::vector<TypeParam> b(A.dimension(), 0);
        std::copy(values.begin(), values.end(), b.begin() + std::ptrdiff_t(A.blockOffset(block)));
        std::vector<TypeParam> x(b.size());

        ASSERT_TRUE(solver.solveForBlock(block, values.data(), x.data()).ok());

        EXPECT_LT(support::backwardError(A, x, b), 1000 * kEpsilon<TypeParam>);
    }
}

// The library takes values below the machine epsilon for zeros; the client must not.
TYPED_TEST(SparseSolves, TinyValuesCount)
{
    const auto A = this->system(1);
    BlockLDLT<TypeParam> solver;
    ASSERT_TRUE(solver.compute(A).ok());
    const TypeParam scale = std::ldexp(TypeParam(1), -60);
    for (unsigned int block = 0; block < A.numBlockRows(); ++block) {
        std::vector<TypeParam> values(A.blockSize(block) + 1, scale);
        std::vector<TypeParam> b(A.dimension(), 0);
        std::copy_n(values.begin(), A.blockSize(block),
                    b.begin() + std::ptrdiff_t(A.blockOffset(block)));
        std::vector<TypeParam> x(b.size());

        ASSERT_TRUE(solver.solveForBlock(block, values.data(), x.data()).ok());

        if (A.blockSize(block) > 0) {
            EXPECT_LT(support::relativeResidual(A, x, b), 100 * kEpsilon<TypeParam>) << block;
        }
    }
}

TYPED_TEST(SparseSolves, ValuesMayLieInTheSolution)
{
    const auto A = support::scalarMatrix<TypeParam>({{4}, {2, 5}});
    BlockLDLT<TypeParam> solver;
    ASSERT_TRUE(solver.compute(A).ok());
    TypeParam x[] = {16, 99};

    ASSERT_TRUE(solver.solveForBlock(0, x, x).ok());

    EXPECT_EQ(x[0], TypeParam(5));
    EXPECT_EQ(x[1], TypeParam(-2));
}

TYPED_TEST(SparseSolves, InverseBlocksAreThoseOfTheDenseInverse)
{
    for (std::uint64_t seed = 1; seed <= 12; ++seed) {
        SCOPED_TRACE(seed);
        const auto A = this->system(seed);
        const support::Dense inverse = this->inverseOf(A);
        const double tolerance = 64 * kEpsilon<TypeParam> * this->largestOf(inverse);
        BlockLDLT<TypeParam> solver;
        ASSERT_TRUE(solver.compute(A).ok());
        for (unsigned int r = 0; r < A.numBlockRows(); ++r)
            for (unsigned int c = 0; c < A.numBlockRows(); ++c) {
                const std::size_t n = A.blockSize(c);
                std::vector<TypeParam> out(A.blockSize(r) * n + 1, TypeParam(99));

                ASSERT_TRUE(solver.inverseBlock(r, c, out.data()).ok()) << solver.info().message;

                for (std::size_t i = 0; i < A.blockSize(r); ++i)
                    for (std::size_t j = 0; j < n; ++j)
                        EXPECT_NEAR(double(out[i * n + j]),
                                    double(inverse[A.blockOffset(c) + j][A.blockOffset(r) + i]),
                                    tolerance);
                EXPECT_EQ(out.back(), TypeParam(99)) << "written beyond the block";
            }
    }
}

TYPED_TEST(SparseSolves, BlocksOutOfRangeAreRefused)
{
    const auto A = support::scalarMatrix<TypeParam>({{4}, {2, 5}});
    BlockLDLT<TypeParam> solver;
    ASSERT_TRUE(solver.compute(A).ok());
    TypeParam x[] = {7, 8};

    for (const unsigned int block : {2u, 0xFFFFFFFFu}) {
        EXPECT_EQ(solver.solveForBlock(block, x, x).code, StatusCode::InvalidInput);
        EXPECT_EQ(solver.info().message,
                  "block " + std::to_string(block) + " is not one of the 2 blocks");
        EXPECT_EQ(solver.inverseBlock(block, 0, x).code, StatusCode::InvalidInput);
        EXPECT_EQ(solver.inverseBlock(0, block, x).code, StatusCode::InvalidInput);
    }
    EXPECT_EQ(x[0], TypeParam(7));
    EXPECT_EQ(x[1], TypeParam(8));
}

TYPED_TEST(SparseSolves, ValueThatIsNotFiniteIsNamedAndXIsUntouched)
{
    const auto A = support::scalarMatrix<TypeParam>({{4}, {2, 5}});
    BlockLDLT<TypeParam> solver;
    ASSERT_TRUE(solver.compute(A).ok());
    const TypeParam bad = std::numeric_limits<TypeParam>::infinity();
    TypeParam x[] = {7, 8};

    EXPECT_EQ(solver.solveForBlock(1, &bad, x).code, StatusCode::NotFinite);

    EXPECT_EQ(solver.info().block, 1u);
    EXPECT_EQ(solver.info().row, 0u);
    EXPECT_EQ(x[0], TypeParam(7));
    EXPECT_EQ(x[1], TypeParam(8));
}

TYPED_TEST(SparseSolves, NullsAreRefused)
{
    const auto A = support::scalarMatrix<TypeParam>({{4}, {2, 5}});
    BlockLDLT<TypeParam> solver;
    ASSERT_TRUE(solver.compute(A).ok());
    TypeParam x[] = {7, 8};

    EXPECT_EQ(solver.solveForBlock(0, nullptr, x).code, StatusCode::InvalidInput);
    EXPECT_EQ(solver.solveForBlock(0, x, nullptr).code, StatusCode::InvalidInput);
    EXPECT_EQ(solver.inverseBlock(0, 0, nullptr).code, StatusCode::InvalidInput);
}

TYPED_TEST(SparseSolves, BeforeFactorizeAreACallSequence)
{
    const auto A = support::scalarMatrix<TypeParam>({{4}, {2, 5}});
    BlockLDLT<TypeParam> solver;
    TypeParam x[] = {7, 8};
    for (const bool analyzed : {false, true}) {
        if (analyzed) {
            ASSERT_TRUE(solver.analyzePattern(A).ok());
        }
        EXPECT_EQ(solver.solveForBlock(0, x, x).code, StatusCode::CallSequence);
        EXPECT_EQ(solver.inverseBlock(0, 0, x).code, StatusCode::CallSequence);
        EXPECT_EQ(solver.constraintSpace({}, x).code, StatusCode::CallSequence);
        EXPECT_EQ(solver.info().message, "factorize has to succeed first");
    }
}

} // namespace
