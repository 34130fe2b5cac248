// Compliances added to the diagonals of trailing blocks.

#include "support/Bits.h"
#include "support/BlockSystems.h"
#include "support/Mechanisms.h"
#include "support/Random.h"
#include "support/Scalars.h"

#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/Scenes>

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

/// A with minus those compliances on the diagonals, the plain way.
template <class T>
BlockMatrix<T> withDiagonals(const BlockMatrix<T>& A, const std::vector<T>& compliances)
{
    BlockMatrix<T> copy(A.blockSizes(), A.firstTrailing());
    for (unsigned int r = 0; r < A.numBlockRows(); ++r)
        for (const auto& entry : A.row(r))
            copy.add(r, entry.column, entry.values);
    for (unsigned int t = A.firstTrailing(); t < A.numBlockRows(); ++t)
        for (unsigned int i = 0; i < A.blockSize(t); ++i)
            copy.block(t, t)[i * (A.blockSize(t) + 1)] -= compliances[t - A.firstTrailing()];
    return copy;
}

template <class T> class Compliance : public testing::Test {
protected:
    Compliance() : m_random(8), A(support::randomKkt<T>(m_random, support::KktShape()))
    {
        b = m_random.scalars<T>(A.dimension());
        x.resize(b.size());
    }

    std::size_t trailing() const { return A.numBlockRows() - A.firstTrailing(); }

    void expectSolves(BlockLDLT<T>& solver, const std::vector<T>& compliances)
    {
        ASSERT_TRUE(solver.solve(b.data(), x.data()).ok()) << solver.info().message;
        EXPECT_LT(support::backwardError(withDiagonals(A, compliances), x, b),
                  64 * double(std::numeric_limits<T>::epsilon()));
    }

    Random m_random;
    BlockMatrix<T> A;
    std::vector<T> b;
    std::vector<T> x;
};
TYPED_TEST_SUITE(Compliance, support::Scalars);

TYPED_TEST(Compliance, OfAllBlocksIsOnEveryTrailingDiagonal)
{
    BlockLDLT<TypeParam> solver;
    ASSERT_TRUE(solver.setCompliance(TypeParam(0.5)).ok());

    ASSERT_TRUE(solver.compute(this->A).ok()) << solver.info().message;

    this->expectSolves(solver, std::vector<TypeParam>(this->trailing(), TypeParam(0.5)));
}

TYPED_TEST(Compliance, OfEachBlockIsOnItsDiagonal)
{
    std::vector<TypeParam> compliances(this->trailing());
    for (TypeParam& c : compliances)
        c = static_cast<TypeParam>(this->m_random.unit());
    compliances[1] = 0;
    BlockLDLT<TypeParam> solver;
    ASSERT_TRUE(solver.setCompliance(compliances).ok());

    ASSERT_TRUE(solver.compute(this->A).ok()) << solver.info().message;

    this->expectSolves(solver, compliances);
}

TYPED_TEST(Compliance, OnThreadsIsTheSameMatrix)
{
    std::vector<TypeParam> compliances(this->trailing(), TypeParam(0.25));
    compliances[0] = 2;
    BlockLDLT<TypeParam> solver;
    solver.setFactorization(Factorization::Multifrontal);
    solver.setThreads(2);
    ASSERT_TRUE(solver.setCompliance(compliances).ok());

    ASSERT_TRUE(solver.compute(this->A).ok()) << solver.info().message;

    ASSERT_TRUE(solver.analysis().multifrontal);
    this->expectSolves(solver, compliances);
}

TYPED_TEST(Compliance, AddsToADiagonalBlockThatIsThere)
{
    const auto joint = support::scalarMatrix<TypeParam>({{4}, {2, -1}}, 1);
    BlockLDLT<TypeParam> solver;
    solver.setCompliance(TypeParam(3));

    ASSERT_TRUE(solver.compute(joint).ok());

    TypeParam v[] = {0, 10};
    ASSERT_TRUE(solver.solve(v, v).ok()); // [4 2; 2 -4]
    EXPECT_EQ(v[0], TypeParam(1));
    EXPECT_EQ(v[1], TypeParam(-2));
}

TYPED_TEST(Compliance, TakesEffectWithTheNextFactorization)
{
    BlockLDLT<TypeParam> solver;
    ASSERT_TRUE(solver.compute(this->A).ok());

    ASSERT_TRUE(solver.setCompliance(TypeParam(0.5)).ok());

    this->expectSolves(solver, std::vector<TypeParam>(this->trailing(), 0));
    ASSERT_TRUE(solver.factorize(this->A).ok());
    this->expectSolves(solver, std::vector<TypeParam>(this->trailing(), TypeParam(0.5)));
}

TYPED_TEST(Compliance, IsNotAddedTwice)
{
    BlockLDLT<TypeParam> solver;
    solver.setCompliance(TypeParam(0.5));
    ASSERT_TRUE(solver.compute(this->A).ok());
    ASSERT_TRUE(solver.solve(this->b.data(), this->x.data()).ok());
    const std::vector<TypeParam> once = this->x;

    ASSERT_TRUE(solver.factorize(this->A).ok());

    ASSERT_TRUE(solver.solve(this->b.data(), this->x.data()).ok());
    EXPECT_TRUE(support::sameBits(this->x.data(), once.data(), once.size()));
}

TYPED_TEST(Compliance, ThatIsTakenBackLeavesNoTrace)
{
    BlockLDLT<TypeParam> fresh;
    ASSERT_TRUE(fresh.compute(this->A).ok());
    ASSERT_TRUE(fresh.solve(this->b.data(), this->x.data()).ok());
    const std::vector<TypeParam> expected = this->x;
    BlockLDLT<TypeParam> solver;
    solver.setCompliance(TypeParam(0.5));
    ASSERT_TRUE(solver.compute(this->A).ok());

    solver.setCompliance(TypeParam(0));

    ASSERT_TRUE(solver.factorize(this->A).ok());
    ASSERT_TRUE(solver.solve(this->b.data(), this->x.data()).ok());
    EXPECT_TRUE(support::sameBits(this->x.data(), expected.data(), expected.size()));
}

TYPED_TEST(Compliance, OfZeroLeavesTheBits)
{
    BlockLDLT<TypeParam> plain;
    ASSERT_TRUE(plain.compute(this->A).ok());
    ASSERT_TRUE(plain.solve(this->b.data(), this->x.data()).ok());
    const std::vector<TypeParam> expected = this->x;
    BlockLDLT<TypeParam> solver;
    solver.setCompliance(TypeParam(1));
    solver.setCompliance(TypeParam(0));

    ASSERT_TRUE(solver.compute(this->A).ok());

    ASSERT_TRUE(solver.solve(this->b.data(), this->x.data()).ok());
    EXPECT_TRUE(support::sameBits(this->x.data(), expected.data(), expected.size()));
}

TYPED_TEST(Compliance, LastSettingCounts)
{
    BlockLDLT<TypeParam> solver;
    solver.setCompliance(std::vector<TypeParam>(this->trailing(), TypeParam(9)));
    solver.setCompliance(TypeParam(0.5));

    ASSERT_TRUE(solver.compute(this->A).ok());
    this->expectSolves(solver, std::vector<TypeParam>(this->trailing(), TypeParam(0.5)));

    solver.setCompliance(std::vector<TypeParam>(this->trailing(), TypeParam(2)));
    ASSERT_TRUE(solver.factorize(this->A).ok());
    this->expectSolves(solver, std::vector<TypeParam>(this->trailing(), TypeParam(2)));
}

TYPED_TEST(Compliance, RefinementIsAgainstTheMatrixWithIt)
{
    BlockLDLT<TypeParam> solver;
    solver.setCompliance(TypeParam(0.5));
    ASSERT_TRUE(solver.compute(this->A).ok());
    this->x.assign(this->x.size(), 0);

    ASSERT_TRUE(solver.refine(this->b.data(), this->x.data(), 5).ok());

    const auto stiff =
        withDiagonals(this->A, std::vector<TypeParam>(this->trailing(), TypeParam(0.5)));
    EXPECT_LT(support::backwardError(stiff, this->x, this->b),
              4 * double(std::numeric_limits<TypeParam>::epsilon()));
}

TYPED_TEST(Compliance, LeavesTheMatrixAsItIs)
{
    const support::Dense before = support::denseOf(this->A);
    BlockLDLT<TypeParam> solver;
    solver.setCompliance(TypeParam(0.5));

    ASSERT_TRUE(solver.compute(this->A).ok());

    EXPECT_EQ(support::denseOf(this->A), before);
}

TYPED_TEST(Compliance, ThatMakesNoSenseIsRefusedAndChangesNothing)
{
    using Limits = std::numeric_limits<TypeParam>;
    BlockLDLT<TypeParam> solver;
    solver.setCompliance(TypeParam(0.5));
    for (const TypeParam c : {TypeParam(-1), -Limits::denorm_min(), Limits::infinity(),
                              -Limits::infinity(), Limits::quiet_NaN()}) {
        EXPECT_EQ(solver.setCompliance(c).code, StatusCode::InvalidInput);
        EXPECT_EQ(solver.info().message, "a compliance has to be zero or positive, and finite");
        std::vector<TypeParam> several(this->trailing(), TypeParam(1));
        several.back() = c;
        EXPECT_EQ(solver.setCompliance(several).code, StatusCode::InvalidInput);
    }

    ASSERT_TRUE(solver.compute(this->A).ok());
    this->expectSolves(solver, std::vector<TypeParam>(this->trailing(), TypeParam(0.5)));
}

TYPED_TEST(Compliance, NumberHasToBeThatOfTheTrailingBlocks)
{
    for (const std::size_t count : {this->trailing() - 1, this->trailing() + 1}) {
        BlockLDLT<TypeParam> solver;
        ASSERT_TRUE(solver.setCompliance(std::vector<TypeParam>(count, TypeParam(1))).ok());
        ASSERT_TRUE(solver.analyzePattern(this->A).ok());

        EXPECT_EQ(solver.factorize(this->A).code, StatusCode::InvalidInput);

        EXPECT_EQ(solver.info().message,
                  "there are " + std::to_string(count) + " compliances for 6 trailing blocks");
        EXPECT_EQ(solver.solve(this->b.data(), this->x.data()).code, StatusCode::CallSequence);
        solver.setCompliance(TypeParam(0));
        EXPECT_TRUE(solver.factorize(this->A).ok());
    }
}

TYPED_TEST(Compliance, MakesAnyRedundantMechanismFactor)
{
    for (std::uint64_t seed = 1; seed <= 100; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        support::Mechanism mechanism = support::randomMechanism(random, 0.05);
        const std::size_t joints = mechanism.joints.size();
        for (std::size_t j = 0; j < joints; ++j)
            mechanism.joints.push_back(mechanism.joints[j]);
        this->A = support::matrixOf<TypeParam>(mechanism);
        this->b = random.scalars<TypeParam>(this->A.dimension());
        this->x.resize(this->b.size());
        BlockLDLT<TypeParam> solver;
        solver.setCompliance(TypeParam(0.1));

        ASSERT_TRUE(solver.compute(this->A).ok()) << solver.info().message;

        this->expectSolves(solver, std::vector<TypeParam>(2 * joints, TypeParam(0.1)));
    }
}

/// Patterns that are singular without a compliance.
template <class T> class StructuralCompliance : public testing::Test {
};
TYPED_TEST_SUITE(StructuralCompliance, support::Scalars);

// A body, and a constraint that couples to nothing.
TYPED_TEST(StructuralCompliance, IsADiagonalForATrailingBlockThatCouplesToNothing)
{
    BlockMatrix<TypeParam> A({1, 1}, 1);
    *A.block(0, 0) = 2;
    BlockLDLT<TypeParam> solver;
    ASSERT_EQ(solver.compute(A).code, StatusCode::Singular);

    solver.setCompliance(TypeParam(0.5));

    for (const bool values : {false, true}) {
        ASSERT_TRUE((values ? solver.compute(A) : solver.analyzePattern(A)).ok());
        ASSERT_TRUE(solver.factorize(A).ok()) << solver.info().message;
        const std::vector<TypeParam> b{4, 1};
        std::vector<TypeParam> x(2);
        ASSERT_TRUE(solver.solve(b.data(), x.data()).ok());
        EXPECT_EQ(x, (std::vector<TypeParam>{2, -2}));
    }
}

// A body of one freedom and a constraint of two rows.
TYPED_TEST(StructuralCompliance, IsADiagonalInOrdersOfTheUsers)
{
    BlockMatrix<TypeParam> A({1, 2}, 1);
    *A.block(0, 0) = 1;
    A.block(1, 0)[0] = 1;
    A.block(1, 0)[1] = TypeParam(0.5);
    for (const std::vector<unsigned int>& order :
         {std::vector<unsigned int>{0, 1}, std::vector<unsigned int>{1, 0}}) {
        BlockLDLT<TypeParam> solver;
        solver.setOrder(order);
        ASSERT_EQ(solver.compute(A).code, StatusCode::Singular);
        solver.setCompliance(std::vector<TypeParam>{TypeParam(0.1)});

        ASSERT_TRUE(solver.compute(A).ok()) << solver.info().message;

        EXPECT_EQ(solver.analysis().order, order);
    }
}

TYPED_TEST(StructuralCompliance, OfSomeBlocksLeavesOthersWithoutADiagonal)
{
    BlockMatrix<TypeParam> A({1, 1, 1}, 1);
    *A.block(0, 0) = 2;
    BlockLDLT<TypeParam> solver;
    solver.setCompliance(std::vector<TypeParam>{1, 0});

    EXPECT_EQ(solver.compute(A).code, StatusCode::Singular);
    EXPECT_EQ(solver.info().block, 2u);
}

TYPED_TEST(StructuralCompliance, ThatIsTakenBackMakesAPatternSingularAgain)
{
    BlockMatrix<TypeParam> A({1, 1}, 1);
    *A.block(0, 0) = 2;
    BlockLDLT<TypeParam> solver;
    solver.setCompliance(TypeParam(0.5));
    ASSERT_TRUE(solver.compute(A).ok());

    solver.setCompliance(TypeParam(0));

    EXPECT_EQ(solver.factorize(A).code, StatusCode::Singular);
    EXPECT_EQ(solver.analyzePattern(A).code, StatusCode::Singular);
}

/// Two tracks without their compliances: loops of hinges in contact with wheels and the ground.
kyrOrvel::client::Scene rigidTracks()
{
    auto scene = kyrOrvel::client::makeTracks(20);
    BlockMatrix<double>& A = scene.matrix;
    for (unsigned int t = A.firstTrailing(); t < A.numBlockRows(); ++t)
        std::fill_n(A.block(t, t), std::size_t(A.blockSize(t)) * A.blockSize(t), 0.0);
    return scene;
}

double largestOf(const std::vector<double>& values, std::size_t begin, std::size_t end)
{
    double largest = 0;
    for (std::size_t i = begin; i < end; ++i)
        largest = std::max(largest, std::abs(values[i]));
    return largest;
}

// The rows of a hinge are in different units: the proposals are for the rows that they name.
TEST(ComplianceOfRows, ProposedOneByOneLeavesJointsTight)
{
    const auto scene = rigidTracks();
    BlockMatrix<double> A = rigidTracks().matrix;
    BlockLDLT<double> solver;

    int proposals = 0;
    while (solver.compute(A).code == StatusCode::Singular && proposals < 200) {
        const auto status = solver.info();
        ASSERT_GT(status.compliance, 0) << status.message;
        A.block(status.block, status.block)[status.row * (A.blockSize(status.block) + 1)] -=
            status.compliance;
        ++proposals;
    }

    ASSERT_TRUE(solver.info().ok()) << solver.info().message;
    EXPECT_GE(proposals, 6);
    const std::vector<double>& b = scene.rightHandSide;
    std::vector<double> x(b.size());
    std::vector<double> drift(b.size());
    ASSERT_TRUE(solver.solve(b.data(), x.data()).ok());
    scene.matrix.multiply(x.data(), drift.data());
    for (std::size_t i = 0; i < b.size(); ++i)
        drift[i] -= b[i];
    const std::size_t joints = A.blockOffset(A.firstTrailing());
    EXPECT_LT(largestOf(drift, joints, b.size()), 1e-9 * largestOf(x, 0, joints));
}

} // namespace
