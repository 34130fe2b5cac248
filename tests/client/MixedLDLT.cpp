#include "support/Bits.h"
#include "support/BlockSystems.h"
#include "support/Mechanisms.h"
#include "support/Random.h"

#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/MixedLDLT>
#include <kyrOrvelClient/Scenes>

#include <gtest/gtest.h>

#include <limits>
#include <utility>
#include <vector>

using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::MixedLDLT;
using kyrOrvel::client::Scene;
using kyrOrvel::client::Signs;
using kyrOrvel::client::SolverSettings;
using kyrOrvel::client::StatusCode;
using support::Random;

namespace {

/// Solves for a random right-hand side; expects an accurate solution, and returns the corrections.
int expectSolved(MixedLDLT& solver, const BlockMatrix<double>& A, double accuracy = 1e-14)
{
    Random random(5);
    const std::vector<double> b = random.scalars<double>(A.dimension());
    std::vector<double> x(b.size());
    EXPECT_TRUE(solver.solve(b.data(), x.data()).ok()) << solver.info().message;
    EXPECT_LT(support::backwardError(A, x, b), accuracy);
    return solver.statistics().refinementSteps;
}

class MixedLDLTOnScenes : public testing::TestWithParam<Scene (*)()> {};

TEST_P(MixedLDLTOnScenes, IsAsAccurateAsDouble)
{
    const Scene scene = GetParam()();
    MixedLDLT solver;
    ASSERT_TRUE(solver.compute(scene.matrix).ok()) << solver.info().message;

    const int steps = expectSolved(solver, scene.matrix);

    EXPECT_GT(steps, 1) << "float alone cannot have been enough";
    EXPECT_LT(solver.statistics().backwardError, 1e-12);
}

INSTANTIATE_TEST_SUITE_P(Scenes, MixedLDLTOnScenes,
                         testing::Values(
                             +[] { return kyrOrvel::client::makeRope(100); },
                             +[] { return kyrOrvel::client::makeRopeBridge(20); },
                             +[] { return kyrOrvel::client::makeRagdollPile(8); },
                             +[] { return kyrOrvel::client::makeNet(8); },
                             +[] { return kyrOrvel::client::makeLattice(4); }));

// One of them is so close to redundant that float's factor says too little about it.
TEST(MixedLDLT, SolvesMechanismsWithoutRedundantJoints)
{
    unsigned int refused = 0;
    for (unsigned int seed = 1; seed <= 300; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const auto A = support::matrixOf<double>(support::randomMechanism(random));
        const std::vector<double> b = Random(5).scalars<double>(A.dimension());
        std::vector<double> x(b.size());
        MixedLDLT solver;
        ASSERT_TRUE(solver.compute(A).ok()) << solver.info().message;
        if (solver.solve(b.data(), x.data()).ok()) {
            EXPECT_LT(support::backwardError(A, x, b), 1e-11);
        } else {
            EXPECT_EQ(solver.info().code, StatusCode::Inaccurate) << solver.info().message;
            ++refused;
        }
    }
    EXPECT_LE(refused, 1u);
}

// Plain corrections grow on these: their joints are within a thousandth of redundant, and float's
// factor is wrong in a few directions.
TEST(MixedLDLT, SolvesWherePlainCorrectionDiverges)
{
    for (const unsigned int seed : {265u, 890u, 1872u}) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const auto A = support::matrixOf<double>(support::randomMechanism(random));
        MixedLDLT solver;
        ASSERT_TRUE(solver.compute(A).ok()) << solver.info().message;
        expectSolved(solver, A, 1e-11);
    }
}

/// Pairs that float cannot tell from singular ones: Krylov steps are needed.
BlockMatrix<double> nearlySingularPairs(unsigned int n)
{
    BlockMatrix<double> A(std::vector<unsigned int>(n, 2));
    for (unsigned int b = 0; b < n; ++b) {
        double* const values = A.block(b, b);
        values[0] = values[2] = 1;
        values[3] = 1 + 1e-9 * (b + 1);
    }
    return A;
}

TEST(MixedLDLT, SolvesSystemsOfAnySizeOneAfterTheOther)
{
    MixedLDLT solver;
    for (const unsigned int n : {1u, 40u, 1u}) {
        SCOPED_TRACE(n);
        const BlockMatrix<double> A = nearlySingularPairs(n);
        std::vector<double> b(A.dimension());
        for (std::size_t i = 0; i < b.size(); ++i)
            b[i] = 1 + 0.1 * double(i);
        std::vector<double> x(b.size());
        std::vector<double> expected(b.size());
        MixedLDLT fresh;
        fresh.compute(A);
        const StatusCode code = fresh.solve(b.data(), expected.data()).code;
        ASSERT_TRUE(solver.compute(A).ok() || solver.info().code == fresh.info().code);

        EXPECT_EQ(solver.solve(b.data(), x.data()).code, code);

        EXPECT_TRUE(support::sameBits(x.data(), expected.data(), x.size()));
    }
}

TEST(MixedLDLT, StatusesHaveTheIdsOfTheMatrixFactored)
{
    BlockMatrix<double> A({1, 1});
    *A.block(0, 0) = *A.block(1, 1) = 1;
    A.setId(1, 12);
    MixedLDLT solver;
    ASSERT_TRUE(solver.analyzePattern(A).ok());
    A.setId(1, 22);
    *A.block(1, 1) = std::numeric_limits<double>::infinity();

    EXPECT_EQ(solver.factorize(A).id, 22u);

    BlockMatrix<double> without({1, 1});
    *without.block(0, 0) = 1;
    *without.block(1, 1) = std::numeric_limits<double>::infinity();
    EXPECT_EQ(solver.factorize(without).id, 1u);
}

TEST(MixedLDLT, SingularMatrixIsInaccurateAndLeavesX)
{
    const auto A = support::scalarMatrix<double>({{4}, {0, 4}, {1, 1, 0}, {1, 1, 0, 0}}, 2);
    const double b[] = {1, 2, 3, 4}; // the two constraints contradict each other
    double x[] = {7, 7, 7, 7};
    MixedLDLT solver;
    ASSERT_TRUE(solver.compute(A).ok()) << solver.info().message;

    EXPECT_EQ(solver.solve(b, x).code, StatusCode::Inaccurate);

    EXPECT_EQ(x[0], 7);
    EXPECT_EQ(x[3], 7);
}

TEST(MixedLDLT, IndefiniteMatrixIsSolvedWithAnySigns)
{
    const auto A = support::scalarMatrix<double>({{4}, {1, -3}, {1, 2, 5}}, 3);
    MixedLDLT solver;
    solver.factorSolver().setSigns(Signs::Any);
    ASSERT_TRUE(solver.compute(A).ok()) << solver.info().message;

    expectSolved(solver, A);
}

// 2  1
// 1 -1     -1 is the compliance alone: the matrix has no block there.
TEST(MixedLDLT, ComplianceOfAllBlocksIsOnEveryTrailingDiagonal)
{
    const auto A = support::scalarMatrix<double>({{2}, {1, 0}}, 1);
    MixedLDLT solver;
    solver.factorSolver().setCompliance(1);
    ASSERT_TRUE(solver.compute(A).ok()) << solver.info().message;
    double x[] = {1, 0};

    ASSERT_TRUE(solver.solve(x, x).ok()) << solver.info().message;

    EXPECT_NEAR(x[0], 1.0 / 3, 1e-15);
    EXPECT_NEAR(x[1], 1.0 / 3, 1e-15);
}

// 4  1  1
// 1 -2  .     The matrix has -1 where the first compliance adds to it, and no third diagonal block.
// 1  . -2
TEST(MixedLDLT, ComplianceOfEachBlockIsOnItsDiagonal)
{
    const auto A = support::scalarMatrix<double>({{4}, {1, -1}, {1, 0, 0}}, 1);
    MixedLDLT solver;
    solver.factorSolver().setCompliance(std::vector<float>{1, 2});
    ASSERT_TRUE(solver.compute(A).ok()) << solver.info().message;
    double x[] = {6, -1, -1};

    ASSERT_TRUE(solver.solve(x, x).ok()) << solver.info().message;

    EXPECT_NEAR(x[0], 1, 1e-15);
    EXPECT_NEAR(x[1], 1, 1e-15);
    EXPECT_NEAR(x[2], 1, 1e-15);
}

TEST(MixedLDLT, ComplianceThatIsTakenBackLeavesNoTrace)
{
    const auto A = support::scalarMatrix<double>({{4}, {1, -1}, {1, 0, 0}}, 1);
    MixedLDLT solver;
    solver.factorSolver().setCompliance(std::vector<float>{1, 2});
    ASSERT_TRUE(solver.compute(A).ok()) << solver.info().message;

    solver.factorSolver().setCompliance(0);

    ASSERT_TRUE(solver.factorize(A).ok()) << solver.info().message;
    expectSolved(solver, A);
}

TEST(MixedLDLT, NumberOfCompliancesHasToBeThatOfTheTrailingBlocks)
{
    const auto A = support::scalarMatrix<double>({{4}, {1, -1}, {1, 0, 0}}, 1);
    MixedLDLT solver;
    solver.factorSolver().setCompliance(std::vector<float>{1});

    EXPECT_EQ(solver.compute(A).code, StatusCode::InvalidInput);
}

// 4 . 1 1     The second constraint is the first once more.
// . 4 1 1
// 1 1 . .
// 1 1 . .
TEST(MixedLDLT, SettingsOfTheFactorSolverLeaveItsRegularization)
{
    const auto A = support::scalarMatrix<double>({{4}, {0, 4}, {1, 1, 0}, {1, 1, 0, 0}}, 2);
    const double b[] = {1, 2, 3, 3};
    double expected[4];
    double x[4];
    MixedLDLT untouched;
    ASSERT_TRUE(untouched.compute(A).ok()) << untouched.info().message;
    ASSERT_TRUE(untouched.solve(b, expected).ok()) << untouched.info().message;
    MixedLDLT solver;

    solver.factorSolver().setSettings(SolverSettings<float>());

    ASSERT_TRUE(solver.compute(A).ok()) << solver.info().message;
    ASSERT_TRUE(solver.solve(b, x).ok()) << solver.info().message;
    EXPECT_TRUE(support::sameBits(x, expected, 4));
}

TEST(MixedLDLT, SettingsOfTheFactorSolverLeaveItsCorrections)
{
    const Scene scene = kyrOrvel::client::makeRope(100);
    MixedLDLT untouched;
    ASSERT_TRUE(untouched.compute(scene.matrix).ok()) << untouched.info().message;
    MixedLDLT solver;

    solver.factorSolver().setSettings(SolverSettings<float>());

    ASSERT_TRUE(solver.compute(scene.matrix).ok()) << solver.info().message;
    EXPECT_EQ(expectSolved(solver, scene.matrix), expectSolved(untouched, scene.matrix));
}

TEST(MixedLDLT, NewValuesTakeEffect)
{
    BlockMatrix<double> A = support::scalarMatrix<double>({{4}, {1, 3}});
    MixedLDLT solver;
    ASSERT_TRUE(solver.compute(A).ok());
    *A.block(0, 0) = 0.7;

    ASSERT_TRUE(solver.factorize(A).ok());

    expectSolved(solver, A);
}

TEST(MixedLDLT, HugeAndTinyRightHandSidesAreSolved)
{
    const auto A = support::scalarMatrix<double>({{4}, {1, 3}});
    MixedLDLT solver;
    ASSERT_TRUE(solver.compute(A).ok());
    for (const double unit : {1e-200, 1e200}) {
        const double b[] = {5 * unit, 4 * unit};
        double x[2];
        ASSERT_TRUE(solver.solve(b, x).ok()) << solver.info().message;
        EXPECT_NEAR(x[0] / unit, 1, 1e-14);
        EXPECT_NEAR(x[1] / unit, 1, 1e-14);
    }
}

TEST(MixedLDLT, ZeroRightHandSideHasTheZeroSolution)
{
    const auto A = support::scalarMatrix<double>({{4}, {1, 3}});
    MixedLDLT solver;
    ASSERT_TRUE(solver.compute(A).ok());
    double x[] = {0, 0};

    ASSERT_TRUE(solver.solve(x, x).ok());

    EXPECT_EQ(x[0], 0);
    EXPECT_EQ(x[1], 0);
}

TEST(MixedLDLT, ValuesBeyondFloatAreNotFinite)
{
    const auto A = support::scalarMatrix<double>({{4}, {1e200, 3}});
    MixedLDLT solver;

    EXPECT_EQ(solver.compute(A).code, StatusCode::NotFinite);
}

TEST(MixedLDLT, ValueBeyondFloatIsNamed)
{
    auto A = support::scalarMatrix<double>({{4}, {1e40, 3}});
    A.setId(1, 77);
    MixedLDLT solver;

    solver.compute(A);

    EXPECT_EQ(solver.info().message,
              "block (1, 0) holds 1e+40 in its row 0, beyond float's range: scale the matrix or "
              "factor it in double (block 1 is 77)");
    EXPECT_EQ(solver.info().block, 1u);
    EXPECT_EQ(solver.info().row, 0u);
    EXPECT_EQ(solver.info().id, 77u);
}

TEST(MixedLDLT, InfinityIsNotCalledBeyondFloat)
{
    const auto A =
        support::scalarMatrix<double>({{4}, {std::numeric_limits<double>::infinity(), 1e40}});
    MixedLDLT solver;

    solver.compute(A);

    EXPECT_EQ(solver.info().message, "block (1, 0) holds an infinity or NaN in its row 0");
}

TEST(MixedLDLT, StepsOutOfSequenceAreRefused)
{
    const auto A = support::scalarMatrix<double>({{4}, {1, 3}});
    double x[] = {1, 1};
    MixedLDLT solver;

    EXPECT_EQ(solver.factorize(A).code, StatusCode::CallSequence);
    EXPECT_EQ(solver.solve(x, x).code, StatusCode::CallSequence);
    ASSERT_TRUE(solver.compute(A).ok());
    EXPECT_EQ(solver.solve(x, nullptr).code, StatusCode::InvalidInput);
    EXPECT_EQ(solver.solve(nullptr, x).code, StatusCode::InvalidInput);
    x[1] = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(solver.solve(x, x).code, StatusCode::NotFinite);
}

TEST(MixedLDLT, OtherPatternIsAMismatch)
{
    MixedLDLT solver;
    ASSERT_TRUE(solver.compute(support::scalarMatrix<double>({{4}, {1, 3}})).ok());

    EXPECT_EQ(solver.factorize(support::scalarMatrix<double>({{4}, {1, 3}, {0, 1, 2}})).code,
              StatusCode::PatternMismatch);
}

TEST(MixedLDLT, MovedSolverKeepsItsFactor)
{
    const auto A = support::scalarMatrix<double>({{4}, {1, 3}});
    MixedLDLT solver;
    ASSERT_TRUE(solver.compute(A).ok());

    MixedLDLT moved(std::move(solver));
    expectSolved(moved, A);

    MixedLDLT assigned;
    assigned = std::move(moved);
    expectSolved(assigned, A);
}

} // namespace
