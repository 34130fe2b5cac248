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
using kyrOrvel::client::Factorization;
using kyrOrvel::client::Status;
using kyrOrvel::client::StatusCode;
using support::KktShape;
using support::Random;

namespace {

template <class T> class Singular : public testing::Test {
protected:
    static Status computed(const BlockMatrix<T>& A)
    {
        BlockLDLT<T> solver;
        const Status status = solver.compute(A);
        T x[64] = {5};
        EXPECT_LE(A.dimension(), 64u);
        if (!status.ok()) {
            EXPECT_EQ(solver.solve(x, x).code, StatusCode::CallSequence);
        }
        EXPECT_EQ(x[0], T(5));
        return status;
    }

    static void expectSingular(const Status& status, unsigned int block, unsigned int row)
    {
        EXPECT_EQ(status.code, StatusCode::Singular) << status.message;
        EXPECT_EQ(status.block, block) << status.message;
        EXPECT_EQ(status.row, row) << status.message;
        EXPECT_EQ(status.message.find("the pivot of row " + std::to_string(row) + " of block " +
                                      std::to_string(block) + " is "),
                  0u)
            << status.message;
    }
};
TYPED_TEST_SUITE(Singular, support::Scalars);

constexpr char kDependent[] =
    ": the row is zero or depends on rows eliminated before it; remove what is redundant or give "
    "the block a diagonal (a compliance)";

// 4 . 1 1     Blocks 2 and 3 are the same constraint.
// . 4 1 1
// 1 1 . .
// 1 1 . .
TYPED_TEST(Singular, DuplicatedConstraintIsNamed)
{
    const Status status =
        this->computed(support::scalarMatrix<TypeParam>({{4}, {0, 4}, {1, 1, 0}, {1, 1, 0, 0}}, 2));

    EXPECT_EQ(status.code, StatusCode::Singular);
    EXPECT_TRUE(status.block == 2 || status.block == 3) << status.block;
    EXPECT_EQ(status.row, 0u);
    EXPECT_EQ(status.message, "the pivot of row 0 of block " + std::to_string(status.block) +
                                  " is 0" + kDependent + "; it depends on block " +
                                  std::to_string(5 - status.block) + "; a compliance of " +
                                  (sizeof(TypeParam) == 4 ? "0.000345" : "1.49e-08") + " would do");
}

// 4 .  . 1     Body 1 has a mass of zero.
// . 0  . .
// . .  4 1
// 1 .  1 .
TYPED_TEST(Singular, BodyWithoutMassIsToldSo)
{
    const Status status =
        this->computed(support::scalarMatrix<TypeParam>({{4}, {0, 0}, {0, 0, 4}, {1, 0, 1, 0}}, 3));

    EXPECT_EQ(status.code, StatusCode::Singular);
    EXPECT_EQ(status.block, 1u);
    EXPECT_EQ(status.message,
              "the pivot of row 0 of block 1 is 0: the row is zero or depends on rows eliminated "
              "before it; the diagonal block of an ordinary block has to be positive definite; see "
              "that its mass and inertia are filled in, and not zero");
}

// 4 . . 1     Row 1 of the joint holds nothing.
// . 4 . 2
// . . 4 3
// 1 2 3 .
//         .
TYPED_TEST(Singular, ZeroRowOfAConstraintIsNamed)
{
    BlockMatrix<TypeParam> A({3, 2}, 1);
    for (unsigned int i = 0; i < 3; ++i) {
        A.block(0, 0)[4 * i] = 4;
        A.block(1, 0)[i] = TypeParam(i + 1);
    }

    const Status status = this->computed(A);

    this->expectSingular(status, 1, 1);
    EXPECT_EQ(status.message, std::string("the pivot of row 1 of block 1 is 0") + kDependent);
}

TYPED_TEST(Singular, ZeroRowOfABodyIsNamed)
{
    this->expectSingular(this->computed(support::scalarMatrix<TypeParam>({{1}, {0, 0}, {1, 0, 2}})),
                         1, 0);
}

TYPED_TEST(Singular, ZeroMatrixIsNamed)
{
    this->expectSingular(this->computed(BlockMatrix<TypeParam>({3})), 0, 0);
}

// Trailing blocks whose stored diagonal blocks turn out to be zero.
TYPED_TEST(Singular, StoredDiagonalBlockOfZerosHoldsNothing)
{
    BlockMatrix<TypeParam> A({1, 1}, 1);
    *A.block(0, 0) = 1;
    *A.block(1, 1) = 0;

    this->expectSingular(this->computed(A), 1, 0);
}

// The third row of the joint is the sum of the first two.
TYPED_TEST(Singular, RankDeficientJointIsNamedByItsRow)
{
    Random random(1);
    BlockMatrix<TypeParam> A({6, 3}, 1);
    support::writeMass<TypeParam>(random, A.block(0, 0), 6, 1);
    TypeParam* const G = A.block(1, 0);
    for (unsigned int i = 0; i < 6; ++i) {
        G[i] = TypeParam(random.integer(0, 16)) / 16;
        G[6 + i] = TypeParam(random.integer(0, 16)) / 16;
        G[12 + i] = G[i] + G[6 + i];
    }

    this->expectSingular(this->computed(A), 1, 2);
}

// More rows than the body has coordinates.
TYPED_TEST(Singular, OverconstrainedBodyIsNamedByTheFirstRowTooMany)
{
    Random random(2);
    BlockMatrix<TypeParam> A({2, 4}, 1);
    support::writeMass<TypeParam>(random, A.block(0, 0), 2, 1);
    TypeParam* const G = A.block(1, 0);
    for (unsigned int i = 0; i < 8; ++i)
        G[i] = random.scalar<TypeParam>();

    this->expectSingular(this->computed(A), 1, 2);
}

// A positive pivot so small that it is lost beside the other row of its block.
TYPED_TEST(Singular, PivotTinyAgainstItsBlockIsNamed)
{
    const TypeParam epsilon = std::numeric_limits<TypeParam>::epsilon();
    BlockMatrix<TypeParam> A({1, 2});
    *A.block(0, 0) = 1;
    TypeParam* const block = A.block(1, 1);
    block[0] = 8;
    block[3] = 4 * epsilon;

    const Status status = this->computed(A);

    this->expectSingular(status, 1, 1);
    EXPECT_NE(status.message.find(", nothing beside its block's scale of 8: scale the block's rows "
                                  "to comparable sizes"),
              std::string::npos)
        << status.message;
    block[3] = 64 * epsilon;
    EXPECT_TRUE(this->computed(A).ok());
}

TYPED_TEST(Singular, SmallPivotInABlockOfItsOwnIsFine)
{
    BlockMatrix<TypeParam> A({1, 1});
    *A.block(0, 0) = 1;
    *A.block(1, 1) = std::numeric_limits<TypeParam>::min() * 4;

    EXPECT_TRUE(this->computed(A).ok());
}

// 1 1        1 + 2ε - 1 = 2ε: nothing but rounding is left of two terms of 1.
// 1 1+2ε
TYPED_TEST(Singular, PivotLostToCancellationIsNamed)
{
    const TypeParam epsilon = std::numeric_limits<TypeParam>::epsilon();
    BlockMatrix<TypeParam> A({2});
    TypeParam* const block = A.block(0, 0);
    block[0] = 1;
    block[2] = 1;
    block[3] = 1 + 2 * epsilon;

    const Status status = this->computed(A);

    this->expectSingular(status, 0, 1);
    EXPECT_NE(status.message.find(", rounding noise beside its terms of 2: the row depends"),
              std::string::npos)
        << status.message;
}

TYPED_TEST(Singular, FactorsAgainOnceTheCauseIsGone)
{
    BlockMatrix<TypeParam> A =
        support::scalarMatrix<TypeParam>({{4}, {0, 4}, {1, 1, 0}, {1, 1, 0, 0}}, 2);
    BlockLDLT<TypeParam> solver;
    ASSERT_FALSE(solver.compute(A).ok());
    *A.block(3, 1) = -1;

    EXPECT_TRUE(solver.factorize(A).ok()) << solver.info().message;

    const std::vector<TypeParam> b = {1, 2, 3, 4};
    std::vector<TypeParam> x(4);
    ASSERT_TRUE(solver.solve(b.data(), x.data()).ok());
    EXPECT_LT(support::backwardError(A, x, b),
              16 * double(std::numeric_limits<TypeParam>::epsilon()));
}

// Random redundancy

/// A system of bodies and joints with values in 16ths, so that sums of its rows are exact.
template <class T> BlockMatrix<T> roundedKkt(Random& random)
{
    KktShape shape;
    shape.bodies = random.integer(2, 20);
    shape.joints = random.integer(1, shape.bodies);
    shape.partners = random.integer(1, 2);
    BlockMatrix<T> A = support::randomKkt<T>(random, shape);
    for (unsigned int r = 0; r < A.numBlockRows(); ++r)
        for (const auto& entry : A.row(r))
            for (std::size_t i = 0; i < std::size_t(A.blockSize(r)) * A.blockSize(entry.column);
                 ++i)
                entry.values[i] = std::round(entry.values[i] * 16) / 16;
    return A;
}

/// The matrix with one further trailing block, still without couplings.
template <class T> BlockMatrix<T> withFurtherJoint(const BlockMatrix<T>& A, unsigned int size)
{
    std::vector<unsigned int> sizes = A.blockSizes();
    sizes.push_back(size);
    BlockMatrix<T> larger(sizes, A.firstTrailing());
    for (unsigned int r = 0; r < A.numBlockRows(); ++r)
        for (const auto& entry : A.row(r))
            std::copy_n(entry.values, std::size_t(sizes[r]) * sizes[entry.column],
                        larger.block(r, entry.column));
    return larger;
}

/// Adds weight times row i of a joint to row `target` of the last one.
template <class T>
void addConstraintRow(BlockMatrix<T>& A, unsigned int joint, unsigned int i, unsigned int target,
                      T weight)
{
    for (const auto& entry : A.row(joint)) {
        const unsigned int n = A.blockSize(entry.column);
        T* const to = A.block(A.numBlockRows() - 1, entry.column) + target * n;
        for (unsigned int j = 0; j < n; ++j)
            to[j] += weight * entry.values[i * n + j];
    }
}

template <class T> class RedundantConstraints : public testing::Test {
protected:
    /// With scales of the pivots that the factorization leaves, and with some that are computed.
    template <class F> static void forEachFactorization(F f)
    {
        for (const Factorization kind : {Factorization::Serial, Factorization::Multifrontal}) {
            SCOPED_TRACE(int(kind));
            BlockLDLT<T> solver;
            solver.setFactorization(kind);
            solver.setThreads(2);
            f(solver);
        }
    }

    /// Expects a report that names a joint, and a row that it has.
    static void expectReport(const BlockMatrix<T>& A)
    {
        forEachFactorization([&](BlockLDLT<T>& solver) { expectReport(A, solver); });
    }

    static void expectReport(const BlockMatrix<T>& A, BlockLDLT<T>& solver)
    {
        const Status& status = solver.compute(A);
        EXPECT_EQ(status.code, StatusCode::Singular) << status.message;
        if (status.code != StatusCode::Singular)
            return;
        EXPECT_GE(status.block, A.firstTrailing()) << status.message;
        EXPECT_LT(status.block, A.numBlockRows()) << status.message;
        EXPECT_LT(status.row, A.blockSize(status.block)) << status.message;
    }
};
TYPED_TEST_SUITE(RedundantConstraints, support::Scalars);

TYPED_TEST(RedundantConstraints, JointGivenTwiceIsNeverOk)
{
    for (unsigned int seed = 1; seed <= 500; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const BlockMatrix<TypeParam> system = roundedKkt<TypeParam>(random);
        const unsigned int joint =
            random.integer(system.firstTrailing(), system.numBlockRows() - 1);
        const unsigned int size = system.blockSize(joint);
        BlockMatrix<TypeParam> A = withFurtherJoint(system, size);
        for (unsigned int i = 0; i < size; ++i)
            addConstraintRow(A, joint, i, i, TypeParam(1));

        this->expectReport(A);
    }
}

TYPED_TEST(RedundantConstraints, SumOfTwoJointsIsNeverOk)
{
    for (unsigned int seed = 1; seed <= 500; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const BlockMatrix<TypeParam> system = roundedKkt<TypeParam>(random);
        BlockMatrix<TypeParam> A = withFurtherJoint(system, 1);
        for (int n = 0; n < 2; ++n) {
            const unsigned int joint =
                random.integer(system.firstTrailing(), system.numBlockRows() - 1);
            for (unsigned int i = 0; i < system.blockSize(joint); ++i)
                addConstraintRow(A, joint, i, 0, (TypeParam(random.integer(0, 8)) - 4) / 4);
        }

        this->expectReport(A);
    }
}

TYPED_TEST(RedundantConstraints, SumOfAllJointsIsNeverOk)
{
    for (unsigned int seed = 1; seed <= 500; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const BlockMatrix<TypeParam> system = roundedKkt<TypeParam>(random);
        BlockMatrix<TypeParam> A = withFurtherJoint(system, 1);
        for (unsigned int joint = system.firstTrailing(); joint < system.numBlockRows(); ++joint)
            for (unsigned int i = 0; i < system.blockSize(joint); ++i)
                addConstraintRow(A, joint, i, 0, (TypeParam(random.integer(0, 8)) - 4) / 4);

        this->expectReport(A);
    }
}

// No false alarms

TYPED_TEST(RedundantConstraints, LightAndHeavyBodiesRaiseNoAlarm)
{
    const double lightest = sizeof(TypeParam) == sizeof(double) ? 1e-8 : 1e-4;
    for (const double compliance : {0.0, 1e-5})
        for (unsigned int seed = 1; seed <= 400; ++seed) {
            SCOPED_TRACE(seed);
            Random random(seed);
            KktShape shape;
            shape.bodies = random.integer(1, 20);
            shape.joints = random.integer(0, shape.bodies);
            shape.partners = random.integer(1, 3);
            shape.lightestMass = lightest;
            shape.compliance = compliance;
            const BlockMatrix<TypeParam> A = support::randomKkt<TypeParam>(random, shape);

            this->forEachFactorization([&](BlockLDLT<TypeParam>& solver) {
                ASSERT_TRUE(solver.compute(A).ok()) << solver.info().message;
            });
        }
}

// A row in other units than the rest, in every block: by a factor that stays within a block's
// precision.
TYPED_TEST(RedundantConstraints, UnitsOfWholeBlocksRaiseNoAlarm)
{
    for (unsigned int seed = 1; seed <= 200; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        KktShape shape;
        shape.bodies = random.integer(1, 15);
        shape.joints = random.integer(0, shape.bodies);
        BlockMatrix<TypeParam> A = support::randomKkt<TypeParam>(random, shape);
        std::vector<TypeParam> units(A.numBlockRows());
        for (TypeParam& unit : units)
            unit = std::ldexp(TypeParam(1), static_cast<int>(random.integer(0, 30)) - 15);
        for (unsigned int r = 0; r < A.numBlockRows(); ++r)
            for (const auto& entry : A.row(r))
                for (std::size_t i = 0; i < std::size_t(A.blockSize(r)) * A.blockSize(entry.column);
                     ++i)
                    entry.values[i] *= units[r] * units[entry.column];

        this->forEachFactorization([&](BlockLDLT<TypeParam>& solver) {
            ASSERT_TRUE(solver.compute(A).ok()) << solver.info().message;
        });
    }
}

} // namespace
