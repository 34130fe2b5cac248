#include "support/Bits.h"
#include "support/BlockSystems.h"
#include "support/Mechanisms.h"
#include "support/Random.h"
#include "support/Scalars.h"

#include <kyrOrvelClient/BlockLDLT>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::JacobianRow;
using kyrOrvel::client::Status;
using kyrOrvel::client::StatusCode;
using support::Random;

namespace {

template <class T> class ManySolves : public testing::Test {
protected:
    ManySolves() : A(support::matrixOf<T>(mechanism()))
    {
        EXPECT_TRUE(solver.compute(A).ok()) << solver.info().message;
    }

    /// Well apart from redundant, so that float has digits left.
    static support::Mechanism mechanism()
    {
        Random random(8);
        return support::randomMechanism(random, 0.1);
    }

    std::vector<T> solved(const std::vector<T>& b)
    {
        std::vector<T> x(b.size());
        EXPECT_TRUE(solver.solve(b.data(), x.data()).ok()) << solver.info().message;
        return x;
    }

    /// The solution for ones in scalar row `row`.
    std::vector<T> inverseColumn(std::size_t row)
    {
        std::vector<T> b(A.dimension(), 0);
        b[row] = 1;
        return solved(b);
    }

    static double largest(const std::vector<T>& v)
    {
        double result = 0;
        for (const T x : v)
            result = std::max(result, std::abs(double(x)));
        return result;
    }

    BlockMatrix<T> A;
    BlockLDLT<T> solver;
    const double tolerance = 4096 * double(std::numeric_limits<T>::epsilon());
};
TYPED_TEST_SUITE(ManySolves, support::Scalars);

TYPED_TEST(ManySolves, ColumnsHaveTheBitsOfSingleSolves)
{
    const std::size_t n = this->A.dimension();
    const std::size_t ldb = n + 3;
    const std::size_t ldx = n + 1;
    Random random(1);
    const std::vector<TypeParam> B = random.scalars<TypeParam>(3 * ldb);
    std::vector<TypeParam> X(3 * ldx, 7);

    ASSERT_TRUE(this->solver.solve(B.data(), X.data(), 3, ldb, ldx).ok());

    for (std::size_t j = 0; j < 3; ++j) {
        const std::vector<TypeParam> b(B.data() + j * ldb, B.data() + j * ldb + n);
        EXPECT_TRUE(support::sameBits(X.data() + j * ldx, this->solved(b).data(), n)) << j;
        EXPECT_EQ(X[j * ldx + n], 7) << "between columns";
    }
}

TYPED_TEST(ManySolves, ColumnsCanBeSolvedInPlace)
{
    const std::size_t n = this->A.dimension();
    Random random(2);
    std::vector<TypeParam> X = random.scalars<TypeParam>(2 * n);
    const std::vector<TypeParam> first = this->solved({X.data(), X.data() + n});

    ASSERT_TRUE(this->solver.solve(X.data(), X.data(), 2, n, n).ok());

    EXPECT_TRUE(support::sameBits(X.data(), first.data(), n));
}

TYPED_TEST(ManySolves, NoColumnsAreNoWork)
{
    TypeParam untouched = 3;

    EXPECT_TRUE(this->solver.solve(&untouched, &untouched, 0, 0, 0).ok());

    EXPECT_EQ(untouched, 3);
}

TYPED_TEST(ManySolves, StridesBelowTheDimensionAreRefused)
{
    const std::size_t n = this->A.dimension();
    std::vector<TypeParam> B(2 * n, 1);

    EXPECT_EQ(this->solver.solve(B.data(), B.data(), 2, n - 1, n).code, StatusCode::InvalidInput);
    EXPECT_EQ(this->solver.solve(B.data(), B.data(), 2, n, n - 1).code, StatusCode::InvalidInput);
}

TYPED_TEST(ManySolves, BadColumnIsNamedAndThoseBeforeItAreDone)
{
    const std::size_t n = this->A.dimension();
    std::vector<TypeParam> B(3 * n, 1);
    B[n] = std::numeric_limits<TypeParam>::quiet_NaN();
    std::vector<TypeParam> X(3 * n, 9);

    EXPECT_EQ(this->solver.solve(B.data(), X.data(), 3, n, n).code, StatusCode::NotFinite);

    EXPECT_NE(X[0], 9);
    EXPECT_EQ(X[n], 9);
    EXPECT_EQ(X[2 * n], 9);
}

TYPED_TEST(ManySolves, SparseRightHandSideIsSolvedInEveryBlock)
{
    Random random(3);
    for (unsigned int block = 0; block < this->A.numBlockRows(); ++block) {
        SCOPED_TRACE(block);
        const std::vector<TypeParam> values = random.scalars<TypeParam>(this->A.blockSize(block));
        std::vector<TypeParam> b(this->A.dimension(), 0);
        std::copy(values.begin(), values.end(), b.begin() + long(this->A.blockOffset(block)));
        const std::vector<TypeParam> expected = this->solved(b);
        std::vector<TypeParam> x(b.size(), 5);

        ASSERT_TRUE(this->solver.solveForBlock(block, values.data(), x.data()).ok());

        for (std::size_t i = 0; i < x.size(); ++i)
            ASSERT_NEAR(double(x[i]), double(expected[i]),
                        this->tolerance * this->largest(expected));
    }
}

TYPED_TEST(ManySolves, InverseBlocksAreThoseOfTheInverse)
{
    for (unsigned int c = 0; c < this->A.numBlockRows(); ++c) {
        const std::size_t n = this->A.blockSize(c);
        for (unsigned int r = 0; r < this->A.numBlockRows(); r += 3) {
            std::vector<TypeParam> block(this->A.blockSize(r) * n);
            ASSERT_TRUE(this->solver.inverseBlock(r, c, block.data()).ok());
            for (std::size_t j = 0; j < n; ++j) {
                const std::vector<TypeParam> column =
                    this->inverseColumn(this->A.blockOffset(c) + j);
                for (std::size_t i = 0; i < this->A.blockSize(r); ++i)
                    ASSERT_NEAR(double(block[i * n + j]),
                                double(column[this->A.blockOffset(r) + i]),
                                this->tolerance * this->largest(column));
            }
        }
    }
}

TYPED_TEST(ManySolves, ConstraintSpaceMatrixIsThatOfItsDefinition)
{
    Random random(4);
    const std::vector<TypeParam> a = random.scalars<TypeParam>(6);
    const std::vector<TypeParam> b = random.scalars<TypeParam>(6);
    const unsigned int last = this->A.numBlockRows() - 1;
    // Row 1 names a block twice; row 2 has no term.
    const std::vector<JacobianRow<TypeParam>> J = {
        {{{0, a.data()}, {1, b.data()}}}, {{{1, a.data()}, {last, b.data()}, {1, b.data()}}}, {}};
    std::vector<TypeParam> W(9, 7);

    ASSERT_TRUE(this->solver.constraintSpace(J, W.data()).ok()) << this->solver.info().message;

    for (std::size_t j = 0; j < 3; ++j) {
        std::vector<TypeParam> rows[3];
        for (std::size_t i = 0; i < 3; ++i) {
            rows[i].assign(this->A.dimension(), 0);
            for (const auto& term : J[i].terms)
                for (unsigned int k = 0; k < this->A.blockSize(term.block); ++k)
                    rows[i][this->A.blockOffset(term.block) + k] += term.values[k];
        }
        const std::vector<TypeParam> x = this->solved(rows[j]);
        for (std::size_t i = 0; i < 3; ++i) {
            double expected = 0;
            for (std::size_t k = 0; k < x.size(); ++k)
                expected += double(rows[i][k]) * double(x[k]);
            EXPECT_NEAR(double(W[3 * i + j]), expected, this->tolerance * this->largest(x));
            EXPECT_EQ(W[3 * i + j], W[3 * j + i]) << "symmetric to the bit";
        }
    }
}

TYPED_TEST(ManySolves, BlocksOutOfRangeAreRefused)
{
    const unsigned int n = this->A.numBlockRows();
    std::vector<TypeParam> x(this->A.dimension(), 1);
    const std::vector<JacobianRow<TypeParam>> J = {{{{n, x.data()}}}};

    EXPECT_EQ(this->solver.solveForBlock(n, x.data(), x.data()).code, StatusCode::InvalidInput);
    EXPECT_EQ(this->solver.inverseBlock(n, 0, x.data()).code, StatusCode::InvalidInput);
    EXPECT_EQ(this->solver.inverseBlock(0, n, x.data()).code, StatusCode::InvalidInput);
    EXPECT_EQ(this->solver.constraintSpace(J, x.data()).code, StatusCode::InvalidInput);
    EXPECT_EQ(this->solver.info().message,
              "block " + std::to_string(n) + " is not one of the " + std::to_string(n) + " blocks");
}

TYPED_TEST(ManySolves, MissingPointersAreRefused)
{
    std::vector<TypeParam> x(this->A.dimension(), 1);

    EXPECT_EQ(this->solver.solveForBlock(0, nullptr, x.data()).code, StatusCode::InvalidInput);
    EXPECT_EQ(this->solver.solveForBlock(0, x.data(), nullptr).code, StatusCode::InvalidInput);
    EXPECT_EQ(this->solver.inverseBlock(0, 0, nullptr).code, StatusCode::InvalidInput);
    EXPECT_EQ(this->solver.constraintSpace({{}}, nullptr).code, StatusCode::InvalidInput);
}

TYPED_TEST(ManySolves, NaNsAreNamed)
{
    std::vector<TypeParam> v(6, std::numeric_limits<TypeParam>::quiet_NaN());
    std::vector<TypeParam> x(this->A.dimension(), 3);

    const Status status = this->solver.solveForBlock(1, v.data(), x.data());

    EXPECT_EQ(status.code, StatusCode::NotFinite);
    EXPECT_EQ(status.block, 1u);
    EXPECT_EQ(x[0], 3);
    const std::vector<JacobianRow<TypeParam>> J = {{}, {{{0, v.data()}}}};
    EXPECT_EQ(this->solver.constraintSpace(J, x.data()).message,
              "row 1 of the Jacobian holds an infinity or NaN");
}

TYPED_TEST(ManySolves, BeforeAFactorizationAllAreOutOfSequence)
{
    BlockLDLT<TypeParam> fresh;
    TypeParam x[1] = {1};

    EXPECT_EQ(fresh.solve(x, x, 1, 1, 1).code, StatusCode::CallSequence);
    EXPECT_EQ(fresh.solveForBlock(0, x, x).code, StatusCode::CallSequence);
    EXPECT_EQ(fresh.inverseBlock(0, 0, x).code, StatusCode::CallSequence);
    EXPECT_EQ(fresh.constraintSpace({}, x).code, StatusCode::CallSequence);
}

TYPED_TEST(ManySolves, BlockWithoutRowsHasTheZeroSolution)
{
    BlockMatrix<TypeParam> B({1, 0, 1});
    *B.block(0, 0) = *B.block(2, 2) = 4;
    *B.block(2, 0) = 1;
    BlockLDLT<TypeParam> small;
    ASSERT_TRUE(small.compute(B).ok());
    TypeParam x[] = {9, 9};

    ASSERT_TRUE(small.solveForBlock(1, x, x).ok());

    EXPECT_EQ(x[0], 0);
    EXPECT_EQ(x[1], 0);
}

} // namespace
