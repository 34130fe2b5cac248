// Which signs the pivots must have, and where nothing is asked of them.

#include "support/BlockSystems.h"
#include "support/Mechanisms.h"
#include "support/Random.h"
#include "support/Scalars.h"

#include <kyrOrvelClient/BlockLDLT>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::Ordering;
using kyrOrvel::client::Status;
using kyrOrvel::client::StatusCode;
using support::Random;
using SignDemand = kyrOrvel::client::Signs;

namespace {

template <class T> class Signs : public testing::Test {
protected:
    static void expectSolves(BlockLDLT<T>& solver, const BlockMatrix<T>& A)
    {
        Random random(5);
        const std::vector<T> b = random.scalars<T>(A.dimension());
        std::vector<T> x(b.size());
        ASSERT_TRUE(solver.solve(b.data(), x.data()).ok()) << solver.info().message;
        EXPECT_LT(support::backwardError(A, x, b), 64 * double(std::numeric_limits<T>::epsilon()));
    }

    static Status expectWrong(BlockLDLT<T>& solver, const BlockMatrix<T>& A, unsigned int block)
    {
        const Status status = solver.compute(A);
        EXPECT_EQ(status.code, StatusCode::WrongSigns) << status.message;
        EXPECT_EQ(status.block, block) << status.message;
        T x[16] = {};
        EXPECT_EQ(solver.solve(x, x).code, StatusCode::CallSequence);
        return status;
    }

    static void expectRightIfAllowed(BlockLDLT<T>& solver, const BlockMatrix<T>& A)
    {
        solver.setSigns(SignDemand::Any);
        ASSERT_TRUE(solver.factorize(A).ok()) << solver.info().message;
        expectSolves(solver, A);
    }
};
TYPED_TEST_SUITE(Signs, support::Scalars);

//  4  .  1
//  . -2  1
//  1  1  .
TYPED_TEST(Signs, NegativeMassIsWrong)
{
    const auto A = support::scalarMatrix<TypeParam>({{4}, {0, -2}, {1, 1, 0}}, 2);
    BlockLDLT<TypeParam> solver;
    solver.setOrdering(Ordering::Natural);

    const Status status = this->expectWrong(solver, A, 1);

    EXPECT_EQ(status.row, 0u);
    EXPECT_EQ(
        status.message,
        "the pivot of row 0 of block 1 is -2, not positive: the matrix of the ordinary blocks "
        "is not positive definite; mend that, or allow any signs");
    this->expectRightIfAllowed(solver, A);
}

// 4 1 .      The trailing block has a diagonal that outweighs its coupling: 3 - 1/4.
// 1 3 .
TYPED_TEST(Signs, PositiveTrailingDiagonalIsWrong)
{
    const auto A = support::scalarMatrix<TypeParam>({{4}, {1, 3}}, 1);
    BlockLDLT<TypeParam> solver;

    const Status status = this->expectWrong(solver, A, 1);

    EXPECT_EQ(status.message,
              "the pivot of row 0 of block 1 is 2.75, not negative: the diagonal of a trailing "
              "block has to be zero or minus a compliance; mend that, or allow any signs");
    this->expectRightIfAllowed(solver, A);
}

TYPED_TEST(Signs, RowInsideABlockIsNamed)
{
    BlockMatrix<TypeParam> A({3, 1}, 1);
    for (unsigned int i = 0; i < 3; ++i) {
        A.block(0, 0)[4 * i] = i == 1 ? TypeParam(-5) : TypeParam(5);
        A.block(1, 0)[i] = 1;
    }
    BlockLDLT<TypeParam> solver;

    EXPECT_EQ(this->expectWrong(solver, A, 0).row, 1u);
}

TYPED_TEST(Signs, ZeroAndNegativeTrailingDiagonalsAreRight)
{
    for (const TypeParam diagonal : {TypeParam(0), TypeParam(-1), TypeParam(-100)}) {
        auto A = support::scalarMatrix<TypeParam>({{4}, {1, 0}}, 1);
        *A.block(1, 1) = diagonal;
        BlockLDLT<TypeParam> solver;

        ASSERT_TRUE(solver.compute(A).ok()) << solver.info().message;

        EXPECT_EQ(solver.statistics().positivePivots, 1u);
        EXPECT_EQ(solver.statistics().negativePivots, 1u);
        this->expectSolves(solver, A);
    }
}

// A positive diagonal that the coupling outweighs leaves the sign as it should be.
TYPED_TEST(Signs, OfThePivotsCountNotThoseOfTheDiagonal)
{
    const auto A = support::scalarMatrix<TypeParam>({{1}, {4, 3}}, 1); // 3 - 16
    BlockLDLT<TypeParam> solver;

    ASSERT_TRUE(solver.compute(A).ok()) << solver.info().message;

    this->expectSolves(solver, A);
}

TYPED_TEST(Signs, AreNotAskedWithoutTrailingBlocks)
{
    const auto A = support::scalarMatrix<TypeParam>({{-4}, {1, 3}, {0, 1, -5}});
    BlockLDLT<TypeParam> solver;

    ASSERT_TRUE(solver.compute(A).ok()) << solver.info().message;

    EXPECT_EQ(solver.statistics().negativePivots, 2u);
    EXPECT_EQ(solver.statistics().positivePivots, 1u);
    this->expectSolves(solver, A);
}

// 4 1 .     Pivots 4, -1/4 and 4: trailing blocks that couple to each other have any signs.
// 1 . 1
// . 1 .
TYPED_TEST(Signs, AreNotAskedWhereTrailingBlocksCoupleWithoutDiagonals)
{
    const auto A = support::scalarMatrix<TypeParam>({{4}, {1, 0}, {0, 1, 0}}, 1);
    BlockLDLT<TypeParam> solver;

    ASSERT_TRUE(solver.compute(A).ok()) << solver.info().message;

    EXPECT_EQ(solver.statistics().positivePivots, 2u);
    EXPECT_EQ(solver.statistics().negativePivots, 1u);
    this->expectSolves(solver, A);
}

// 4  1  1     The compliance couples two constraints: its matrix [2 1; 1 2] is positive definite,
// 1 -2 -1     so the pivots are negative.
// 1 -1 -2
TYPED_TEST(Signs, AreAskedWhereCoupledTrailingBlocksHaveDiagonals)
{
    auto A = support::scalarMatrix<TypeParam>({{4}, {1, -2}, {1, -1, -2}}, 1);
    BlockLDLT<TypeParam> solver;
    ASSERT_TRUE(solver.compute(A).ok()) << solver.info().message;
    EXPECT_EQ(solver.statistics().negativePivots, 2u);
    this->expectSolves(solver, A);

    *A.block(2, 1) = -8; // an indefinite one
    ASSERT_EQ(solver.factorize(A).code, StatusCode::WrongSigns);
    EXPECT_GE(solver.info().block, 1u);
    this->expectRightIfAllowed(solver, A);
}

TYPED_TEST(Signs, DemandTakesEffectWithTheNextFactorization)
{
    const auto A = support::scalarMatrix<TypeParam>({{4}, {1, 3}}, 1);
    BlockLDLT<TypeParam> solver;
    solver.setSigns(SignDemand::Any);
    ASSERT_TRUE(solver.compute(A).ok());

    solver.setSigns(SignDemand::Expected);

    this->expectSolves(solver, A);
    EXPECT_EQ(solver.factorize(A).code, StatusCode::WrongSigns);
}

// Random signs of masses: by Sylvester's law the number of negative pivots does not depend on the
// order. Any order has to accept them, or find a pivot that is nearly zero.
TYPED_TEST(Signs, AnyAcceptsIndefiniteBodies)
{
    for (std::uint64_t seed = 1; seed <= 50; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        auto A = support::randomSpd<TypeParam>(random, 10, 0.3, 1, 3);
        for (unsigned int b = 0; b < A.numBlockRows(); b += 2)
            for (unsigned int i = 0; i < A.blockSize(b) * A.blockSize(b); ++i)
                A.block(b, b)[i] *= -1;
        std::size_t negative = 0; // diagonally dominant: as many as negative diagonals
        for (unsigned int b = 0; b < A.numBlockRows(); b += 2)
            negative += A.blockSize(b);
        for (const Ordering ordering : {Ordering::Automatic, Ordering::Natural}) {
            BlockLDLT<TypeParam> solver;
            solver.setOrdering(ordering);
            solver.setSigns(SignDemand::Any);

            ASSERT_TRUE(solver.compute(A).ok()) << solver.info().message;

            EXPECT_EQ(solver.statistics().negativePivots, negative);
            EXPECT_EQ(solver.statistics().positivePivots, A.dimension() - negative);
            this->expectSolves(solver, A);
        }
    }
}

// In other orders joints may have taken away the freedoms that the negative mass has.
TYPED_TEST(Signs, OfAMechanismWithANegativeMassNameItWhereBodiesGoFirst)
{
    for (std::uint64_t seed = 1; seed <= 200; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        auto A = support::matrixOf<TypeParam>(support::randomMechanism(random, 0.05));
        if (A.firstTrailing() == A.numBlockRows())
            continue;
        const unsigned int body = random.integer(0, A.firstTrailing() - 1);
        for (unsigned int i = 0; i < A.blockSize(body); ++i)
            A.block(body, body)[i * (A.blockSize(body) + 1)] *= -1;
        BlockLDLT<TypeParam> solver;
        solver.setOrdering(Ordering::Natural);

        EXPECT_EQ(solver.compute(A).code, StatusCode::WrongSigns);
        EXPECT_EQ(solver.info().block, body);
    }
}

// -1  5     The diagonal block of a joint that its coupling does not make negative definite: the
//  5 -1     second pivot, -1 + 25, is none that rounding made.
TYPED_TEST(Signs, IndefiniteTrailingBlockIsWrong)
{
    BlockMatrix<TypeParam> A({1, 2}, 1);
    *A.block(0, 0) = 4;
    const TypeParam held[] = {-1, 5, 5, -1};
    A.add(1, 1, held);
    A.block(1, 0);
    BlockLDLT<TypeParam> solver;

    const Status status = this->expectWrong(solver, A, 1);

    EXPECT_EQ(status.row, 1u);
    this->expectRightIfAllowed(solver, A);
}

} // namespace
