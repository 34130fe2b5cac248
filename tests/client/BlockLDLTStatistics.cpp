#include "support/BlockSystems.h"
#include "support/Mechanisms.h"
#include "support/Random.h"

#include <kyrOrvelClient/BlockLDLT>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::Statistics;
using support::Random;

namespace {

TEST(StatisticsOf, FreshSolverAreZero)
{
    const Statistics statistics = BlockLDLT<double>().statistics();

    EXPECT_EQ(statistics.positivePivots, 0u);
    EXPECT_EQ(statistics.negativePivots, 0u);
    EXPECT_EQ(statistics.bytes, 0u);
    EXPECT_EQ(statistics.largestPivot, 0);
}

// 4 2 .     D = 4, -5 - 1, 3
// 2 -5 .
// . . 3
TEST(StatisticsOf, KnownFactorAreItsPivots)
{
    BlockLDLT<double> solver;
    solver.setOrder({0, 1, 2});

    ASSERT_TRUE(solver.compute(support::scalarMatrix<double>({{4}, {2, -5}, {0, 0, 3}})).ok());

    const Statistics statistics = solver.statistics();
    EXPECT_EQ(statistics.positivePivots, 2u);
    EXPECT_EQ(statistics.negativePivots, 1u);
    EXPECT_EQ(statistics.smallestPivot, 3);
    EXPECT_EQ(statistics.largestPivot, -6);
    EXPECT_EQ(statistics.regularizedPivots, 0u);
}

// X         Eliminating 0 first couples 1 and 2.
// X X
// X . X
TEST(StatisticsOf, FillIsCounted)
{
    BlockLDLT<double> solver;
    solver.setOrder({0, 1, 2});

    ASSERT_TRUE(solver.compute(support::drawnMatrix({"X", "X X", "X . X"}, 3)).code !=
                kyrOrvel::client::StatusCode::InvalidInput);

    EXPECT_EQ(solver.statistics().fillBlocks, 1u);
}

TEST(StatisticsOf, MechanismHaveItsInertia)
{
    for (unsigned int seed = 1; seed <= 50; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const auto A = support::matrixOf<double>(support::randomMechanism(random));
        BlockLDLT<double> solver;
        ASSERT_TRUE(solver.compute(A).ok());

        const std::size_t bodies =
            A.firstTrailing() < A.numBlockRows() ? A.blockOffset(A.firstTrailing()) : A.dimension();
        EXPECT_EQ(solver.statistics().positivePivots, bodies);
        EXPECT_EQ(solver.statistics().negativePivots, A.dimension() - bodies);
    }
}

TEST(StatisticsOf, RefinementAreResidualAndBackwardError)
{
    Random random(3);
    const auto A = support::matrixOf<double>(support::randomMechanism(random));
    const std::vector<double> b = random.scalars<double>(A.dimension());
    std::vector<double> x(b.size());
    BlockLDLT<double> solver;
    ASSERT_TRUE(solver.compute(A).ok());
    ASSERT_TRUE(solver.solve(b.data(), x.data()).ok());
    for (double& v : x)
        v *= 1.001;

    ASSERT_TRUE(solver.refine(b.data(), x.data(), 0).ok());

    const auto dense = support::denseOf(A);
    long double square = 0;
    long double error = 0;
    for (std::size_t i = 0; i < b.size(); ++i) {
        long double residual = b[i];
        long double weight = std::abs(b[i]);
        for (std::size_t j = 0; j < b.size(); ++j) {
            residual -= dense[i][j] * x[j];
            weight += std::abs(dense[i][j] * x[j]);
        }
        square += residual * residual;
        error = std::max(error, std::abs(residual) / weight);
    }
    EXPECT_EQ(solver.statistics().refinementSteps, 0);
    EXPECT_NEAR(solver.statistics().residualNorm, double(std::sqrt(square)), 1e-12);
    EXPECT_NEAR(solver.statistics().backwardError, double(error), 1e-12);
}

TEST(StatisticsOf, TimesAreThoseOfTheLastStepOfEachKind)
{
    const auto A = support::scalarMatrix<double>({{4}, {1, 3}});
    double x[] = {1, 1};
    BlockLDLT<double> solver;
    ASSERT_TRUE(solver.compute(A).ok());
    ASSERT_EQ(solver.statistics().solveSeconds, 0);

    ASSERT_TRUE(solver.solve(x, x).ok());

    EXPECT_GT(solver.statistics().analysisSeconds, 0);
    EXPECT_GT(solver.statistics().factorizationSeconds, 0);
    EXPECT_GT(solver.statistics().solveSeconds, 0);
}

} // namespace
