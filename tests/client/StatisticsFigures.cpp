// The figures that a solver reports, against what is known or computed in another way.

#include "support/BlockSystems.h"
#include "support/Mechanisms.h"
#include "support/Random.h"
#include "support/Scalars.h"

#include <kyrOrvel/Orvel>
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
using kyrOrvel::client::Ordering;
using kyrOrvel::client::Signs;
using kyrOrvel::client::Statistics;
using support::Random;

namespace {

template <class T> class StatisticsFigures : public testing::Test {
protected:
    /// |b - A·x| in the 2-norm and the largest |b - A·x| / (|A|·|x| + |b|), by wide arithmetic.
    struct Errors {
        double norm = 0;
        double backward = 0;
    };

    static Errors errorsOf(const BlockMatrix<T>& A, const std::vector<T>& x,
                           const std::vector<T>& b)
    {
        const support::Dense dense = support::denseOf(A);
        long double square = 0;
        Errors errors;
        for (std::size_t i = 0; i < b.size(); ++i) {
            long double residual = b[i];
            long double weight = std::abs(b[i]);
            for (std::size_t j = 0; j < x.size(); ++j) {
                residual -= dense[i][j] * static_cast<long double>(x[j]);
                weight += std::abs(dense[i][j] * static_cast<long double>(x[j]));
            }
            square += residual * residual;
            if (residual != 0)
                errors.backward =
                    std::max(errors.backward, static_cast<double>(std::abs(residual) / weight));
        }
        errors.norm = static_cast<double>(std::sqrt(square));
        return errors;
    }
};
TYPED_TEST_SUITE(StatisticsFigures, support::Scalars);

TYPED_TEST(StatisticsFigures, AreZeroAtFirst)
{
    const Statistics s = BlockLDLT<TypeParam>().statistics();

    EXPECT_EQ(s.positivePivots + s.negativePivots + s.regularizedPivots, 0u);
    EXPECT_EQ(s.smallestPivot, 0);
    EXPECT_EQ(s.largestPivot, 0);
    EXPECT_EQ(s.fillBlocks + s.operations + s.bytes, 0u);
    EXPECT_FALSE(s.analysisReused);
    EXPECT_EQ(s.refinementSteps, 0);
    EXPECT_EQ(s.residualNorm, 0);
    EXPECT_EQ(s.backwardError, 0);
    EXPECT_EQ(s.analysisSeconds + s.factorizationSeconds + s.solveSeconds, 0);
}

TYPED_TEST(StatisticsFigures, PivotsAreUnknownAfterTheAnalysisAlone)
{
    BlockLDLT<TypeParam> solver;
    ASSERT_TRUE(solver.analyzePattern(support::scalarMatrix<TypeParam>({{4}, {2, 5}})).ok());

    EXPECT_EQ(solver.statistics().positivePivots, 0u);
    EXPECT_GT(solver.statistics().bytes, 0u);
}

// 8 . .      Pivots 8, -2 and 0.5 - 4²/(-2) = 8.5.
// . -2 4
// . 4 0.5
TYPED_TEST(StatisticsFigures, PivotsAreThoseOfTheElimination)
{
    const auto A =
        support::scalarMatrix<TypeParam>({{8}, {0, TypeParam(-2)}, {0, 4, TypeParam(0.5)}});
    BlockLDLT<TypeParam> solver;
    solver.setOrdering(Ordering::Natural);

    ASSERT_TRUE(solver.compute(A).ok()) << solver.info().message;

    EXPECT_EQ(solver.statistics().positivePivots, 2u);
    EXPECT_EQ(solver.statistics().negativePivots, 1u);
    EXPECT_EQ(solver.statistics().smallestPivot, -2);
    EXPECT_EQ(solver.statistics().largestPivot, 8.5);
}

// Congruence does not change the inertia: Bᵀ·S·B has that of the signs S, whatever B.
TYPED_TEST(StatisticsFigures, InertiaIsThatOfTheMatrixByConstruction)
{
    for (std::uint64_t seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const unsigned int n = random.integer(1, 8);
        std::vector<std::vector<double>> B(n, std::vector<double>(n, 0));
        std::vector<std::vector<TypeParam>> lower(n);
        for (auto& row : B)
            for (double& v : row)
                v = random.scalar<double>() / 4;
        for (unsigned int i = 0; i < n; ++i) // unit upper triangular: never near singular
            for (unsigned int j = 0; j <= i; ++j)
                B[i][j] = i == j;
        std::vector<double> signs(n);
        for (double& sign : signs)
            sign = random.chance(0.5) ? 1 : -1;
        const auto negative = static_cast<std::size_t>(std::count(signs.begin(), signs.end(), -1));
        for (unsigned int i = 0; i < n; ++i)
            for (unsigned int j = 0; j <= i; ++j) {
                double sum = 0;
                for (unsigned int k = 0; k < n; ++k)
                    sum += B[k][i] * signs[k] * B[k][j];
                lower[i].push_back(TypeParam(sum));
            }
        BlockLDLT<TypeParam> solver;
        solver.setSigns(Signs::Any);

        ASSERT_TRUE(solver.compute(support::scalarMatrix(lower)).ok()) << solver.info().message;

        EXPECT_EQ(solver.statistics().negativePivots, negative);
        EXPECT_EQ(solver.statistics().positivePivots, n - negative);
    }
}

// Whether the pivots are checked all at once or, where some are doubtful, block by block.
TYPED_TEST(StatisticsFigures, CountsAndExtremesAreThoseOfThePivots)
{
    unsigned int checked = 0;
    for (std::uint64_t seed = 1; seed <= 300; ++seed)
        for (const Factorization way : {Factorization::Serial, Factorization::Multifrontal})
            for (const Signs signs : {Signs::Expected, Signs::Any}) {
                SCOPED_TRACE(seed);
                Random random(seed);
                const auto A = support::matrixOf<TypeParam>(support::randomMechanism(random));
                BlockLDLT<TypeParam> solver;
                solver.setFactorization(way);
                solver.setSigns(signs);
                solver.setCompliance(TypeParam(seed % 2) / 1000);
                if (!solver.compute(A).ok())
                    continue; // some are too close to singular for float
                ++checked;

                const auto& pivots = solver.data().pivots;
                const std::vector<TypeParam> d(pivots.data, pivots.data + A.dimension());
                const auto bySize = [](TypeParam a, TypeParam b) {
                    return std::abs(a) < std::abs(b);
                };
                const Statistics s = solver.statistics();
                const auto negative =
                    std::count_if(d.begin(), d.end(), [](TypeParam v) { return v < 0; });
                EXPECT_EQ(s.negativePivots, std::size_t(negative));
                EXPECT_EQ(s.positivePivots, d.size() - std::size_t(negative));
                EXPECT_EQ(s.smallestPivot, *std::min_element(d.begin(), d.end(), bySize));
                EXPECT_EQ(s.largestPivot, *std::max_element(d.begin(), d.end(), bySize));
            }
    EXPECT_GT(checked, 1000u);
}

// X           An arrow eliminated from its head fills in completely.
// X X
// X . X
// X . . X
TEST(StatisticsOfAPattern, FillIsCountedInBlocks)
{
    const auto A = support::drawnMatrix({"X", "X X", "X . X", "X . . X"}, kyrOrvel::kNone);
    BlockLDLT<double> solver;
    solver.setOrder({0, 1, 2, 3});
    ASSERT_TRUE(solver.analyzePattern(A).ok());

    EXPECT_EQ(solver.statistics().fillBlocks, 3u);
    EXPECT_EQ(solver.statistics().operations, solver.analysis().operations);
    EXPECT_EQ(solver.statistics().bytes, solver.analysis().bytes);

    solver.setOrder({3, 2, 1, 0});
    ASSERT_TRUE(solver.analyzePattern(A).ok());
    EXPECT_EQ(solver.statistics().fillBlocks, 0u);
}

TYPED_TEST(StatisticsFigures, ResidualAndBackwardErrorAreThoseOfTheSolution)
{
    const double epsilon = double(std::numeric_limits<TypeParam>::epsilon());
    for (std::uint64_t seed = 1; seed <= 40; ++seed)
        for (const bool onThreads : {false, true})
            for (const int maxSteps : {0, 3}) {
                SCOPED_TRACE(seed);
                SCOPED_TRACE(maxSteps);
                Random random(seed);
                const auto A = support::randomKkt<TypeParam>(random, support::KktShape());
                const auto b = random.scalars<TypeParam>(A.dimension());
                // A guess far off has a residual that rounding does not blur.
                auto x = random.scalars<TypeParam>(A.dimension());
                BlockLDLT<TypeParam> solver;
                if (onThreads) {
                    solver.setFactorization(Factorization::Multifrontal);
                    solver.setThreads(2);
                }
                ASSERT_TRUE(solver.compute(A).ok());
                int steps = -1;

                ASSERT_TRUE(solver.refine(b.data(), x.data(), maxSteps, &steps).ok());

                const auto errors = this->errorsOf(A, x, b);
                const Statistics s = solver.statistics();
                EXPECT_EQ(s.refinementSteps, steps);
                if (maxSteps == 0) {
                    EXPECT_NEAR(s.residualNorm, errors.norm, 100 * epsilon * errors.norm);
                    EXPECT_NEAR(s.backwardError, errors.backward, 100 * epsilon * errors.backward);
                } else {
                    EXPECT_GT(steps, 0);
                    EXPECT_NEAR(s.residualNorm, errors.norm, 1000 * epsilon);
                    EXPECT_NEAR(s.backwardError, errors.backward, 20 * epsilon);
                    EXPECT_LT(s.backwardError, 20 * epsilon);
                }
            }
}

TYPED_TEST(StatisticsFigures, OfAnExactSolutionAreZero)
{
    const auto A = support::scalarMatrix<TypeParam>({{4}, {2, 5}});
    const TypeParam b[] = {8, 12};
    TypeParam x[] = {1, 2};
    BlockLDLT<TypeParam> solver;
    ASSERT_TRUE(solver.compute(A).ok());

    ASSERT_TRUE(solver.refine(b, x, 5).ok());

    EXPECT_EQ(solver.statistics().residualNorm, 0);
    EXPECT_EQ(solver.statistics().backwardError, 0);
    EXPECT_EQ(solver.statistics().refinementSteps, 0);
}

TYPED_TEST(StatisticsFigures, CountsAreThoseOfTheLastFactorization)
{
    BlockLDLT<TypeParam> solver;
    ASSERT_TRUE(solver.compute(support::scalarMatrix<TypeParam>({{4}, {2, 5}})).ok());
    ASSERT_TRUE(solver.compute(support::scalarMatrix<TypeParam>({{-4}})).ok());

    EXPECT_EQ(solver.statistics().positivePivots, 0u);
    EXPECT_EQ(solver.statistics().negativePivots, 1u);
    EXPECT_EQ(solver.statistics().smallestPivot, -4);
    EXPECT_EQ(solver.statistics().largestPivot, -4);
}

// 4 2 .     The second pivot is 1 - 2²/4.
// 2 1 1
// . 1 4
TYPED_TEST(StatisticsFigures, CountPivotsUpToTheOneThatFails)
{
    const auto A = support::scalarMatrix<TypeParam>({{4}, {2, 1}, {0, 1, 4}});
    BlockLDLT<TypeParam> solver;
    solver.setOrdering(Ordering::Natural);

    ASSERT_FALSE(solver.compute(A).ok());

    EXPECT_EQ(solver.info().block, 1u);
    EXPECT_EQ(solver.statistics().positivePivots, 1u);
    EXPECT_EQ(solver.statistics().negativePivots, 0u);
}

} // namespace
