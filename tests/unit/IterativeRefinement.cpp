#include "support/Bits.h"
#include "support/Systems.h"

#include <kyrOrvel/Orvel>

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <csignal>
#include <limits>
#include <memory>
#include <vector>

using kyrOrvel::Orvel;
using kyrOrvel::OrvelData;
using support::System;

namespace {

/// A = the identity, uncoupled scalars.
System<double> identity(unsigned int n)
{
    System<double> system;
    system.sizes.assign(n, 1);
    for (unsigned int r = 0; r < n; ++r) {
        system.rows.push_back({r});
        system.blocks[{r, r}] = {1};
    }
    system.factorRows = system.rows;
    return system;
}

/// The identity with a factor of other pivots: each step multiplies residual i by 1 - 1/pivot i.
std::unique_ptr<OrvelData<double>> identityWithPivots(const std::vector<double>& pivots)
{
    const auto n = static_cast<unsigned int>(pivots.size());
    auto data = support::makeData(identity(n));
    for (unsigned int r = 0; r < n; ++r)
        *data->matrix.blockData[r] = pivots[r];
    Orvel::factorSerial(*data);
    for (unsigned int r = 0; r < n; ++r)
        *data->matrix.blockData[r] = 1;
    return data;
}

TEST(IterativeRefinement, NoIterationsLeaveXAndDoNotFactor)
{
    const auto data = support::makeData(identity(2));
    const std::vector<double> b{3, 4};

    for (const int maxIterations : {0, -1, INT_MIN}) {
        std::vector<double> x{1, 1};
        Orvel::iterativeRefinement(*data, b.data(), x.data(), maxIterations);
        EXPECT_EQ(x, (std::vector<double>{1, 1}));
    }
    EXPECT_EQ(data->factored, 0);
}

TEST(IterativeRefinement, FactorsOnDemand)
{
    const auto data = support::makeData(identity(2));
    const std::vector<double> b{3, 4};
    std::vector<double> x{0, 0};

    Orvel::iterativeRefinement(*data, b.data(), x.data(), 1);

    EXPECT_EQ(x, b);
    EXPECT_EQ(data->factored, 1);
}

TEST(IterativeRefinement, StoredFactorIsUsed)
{
    const auto data = identityWithPivots({2});
    const double b = 8;
    double x = 0;

    Orvel::iterativeRefinement(*data, &b, &x, 3);

    EXPECT_EQ(x, 7.0); // residuals 8, 4, 2; corrections 4, 2, 1
}

TEST(IterativeRefinement, RightHandSideIsNotChanged)
{
    const auto data = identityWithPivots({2, 4});
    const std::vector<double> b{8, 9};
    std::vector<double> x{0, 0};

    Orvel::iterativeRefinement(*data, b.data(), x.data(), 5);

    EXPECT_EQ(b, (std::vector<double>{8, 9}));
}

TEST(IterativeRefinement, ExactStartStaysExactThroughAllIterations)
{
    const auto data = identityWithPivots({2, 4});
    const std::vector<double> b{8, 9};
    std::vector<double> x = b;

    Orvel::iterativeRefinement(*data, b.data(), x.data(), 50);

    EXPECT_EQ(x, b);
}

TEST(IterativeRefinement, ExactStartStillSolvesForTheZeroResidual)
{
    // Not even a zero residual ends the loop: the solve shows that it ran.
    const auto data = support::makeData(identity(1));
    const double b = 8;
    double x = 8;

    Orvel::iterativeRefinement(*data, &b, &x, 1);

    EXPECT_EQ(data->factored, 1);
    EXPECT_EQ(x, 8.0);
}

// The squares of so small a residual underflow: its norm is zero, and each step goes on all the
// same.
TEST(IterativeRefinement, NormOfZeroDoesNotEndTheIterations)
{
    const auto data = identityWithPivots({2});
    const double b = 0x1p-700;
    double x = 0;

    Orvel::iterativeRefinement(*data, &b, &x, 4);

    EXPECT_EQ(x, b * (1 - 0x1p-4));
}

TEST(IterativeRefinement, EqualNormGoesOn)
{
    // Every step turns the residual r into -r.
    const auto data = identityWithPivots({0.5});
    const double b = 8;

    for (int iterations = 1; iterations <= 6; ++iterations) {
        double x = 0;
        Orvel::iterativeRefinement(*data, &b, &x, iterations);
        EXPECT_EQ(x, iterations % 2 == 1 ? 16.0 : 0.0) << iterations << " iterations";
    }
}

TEST(IterativeRefinement, GrowingResidualRestoresTheValueOnEntryNotTheBestIterate)
{
    // Residuals (100, 1), (0, -3), (0, 9): better, then worse.
    const auto data = identityWithPivots({1, 0.25});
    const std::vector<double> b{100, 1};
    std::vector<double> x{0, 0};

    Orvel::iterativeRefinement(*data, b.data(), x.data(), 2);
    EXPECT_EQ(x, (std::vector<double>{100, -8})); // the growth is not seen yet

    x = {0, 0};
    Orvel::iterativeRefinement(*data, b.data(), x.data(), 3);
    EXPECT_EQ(x, (std::vector<double>{0, 0}));

    x = {0, 0};
    Orvel::iterativeRefinement(*data, b.data(), x.data(), 100);
    EXPECT_EQ(x, (std::vector<double>{0, 0}));
}

TEST(IterativeRefinement, ValueOnEntryIsRestoredToTheBit)
{
    const auto data = identityWithPivots({0.25, 0.25, 0.25});
    const std::vector<double> b{1, 1, 1};
    const std::vector<double> entry{0.1, -0.0, 1e-310};
    std::vector<double> x = entry;

    Orvel::iterativeRefinement(*data, b.data(), x.data(), 10);

    EXPECT_TRUE(support::sameBits(x.data(), entry.data(), 3));
}

TEST(IterativeRefinement, StartingNormAboveABillionLeavesX)
{
    const auto data = support::makeData(identity(1));
    const double b = std::nextafter(1e9, 2e9);
    double x = 0;

    Orvel::iterativeRefinement(*data, &b, &x, 5);

    EXPECT_EQ(x, 0.0);
    EXPECT_EQ(data->factored, 0); // no correction was computed
}

TEST(IterativeRefinement, StartingNormOfABillionIsCorrected)
{
    const auto data = support::makeData(identity(1));
    const double b = 1e9;
    double x = 0;

    Orvel::iterativeRefinement(*data, &b, &x, 5);

    EXPECT_EQ(x, 1e9);
}

TEST(IterativeRefinement, NormIsTheRootOfTheSumOfSquares)
{
    // 6e8, 8e8: the norm is exactly 1e9, the largest element and the sum are not.
    const auto data = support::makeData(identity(2));
    const std::vector<double> b{6e8, 8e8};
    std::vector<double> x{0, 0};

    Orvel::iterativeRefinement(*data, b.data(), x.data(), 1);
    EXPECT_EQ(x, b);

    const std::vector<double> larger{6e8, 8e8 + 1};
    x = {0, 0};
    Orvel::iterativeRefinement(*data, larger.data(), x.data(), 1);
    EXPECT_EQ(x, (std::vector<double>{0, 0}));
}

TEST(IterativeRefinement, NaNResidualIsNotAGrowth)
{
    const auto data = support::makeData(identity(1));
    const double b = std::numeric_limits<double>::quiet_NaN();
    double x = 1;

    Orvel::iterativeRefinement(*data, &b, &x, 1);

    EXPECT_TRUE(std::isnan(x));
}

TEST(IterativeRefinement, EmptySystemTouchesNothing)
{
    OrvelData<double> data;
    double x = 3;

    Orvel::iterativeRefinement(data, nullptr, &x, 4);

    EXPECT_EQ(x, 3.0);
    EXPECT_EQ(data.factored, 1);
}

TEST(IterativeRefinement, ResidualOfAPerturbedFactorShrinks)
{
    support::Random random(31);
    const auto system = support::dominantSystem<double>(random, 10, 0.3, 1, 6);
    const auto data = support::makeData(system);
    Orvel::factorSerial(*data);
    for (unsigned int slot = 0; slot < data->scaledFactor.numBlocks; ++slot)
        data->scaledFactor.blockData[slot][0] *= 1.01;
    std::vector<double> b = random.scalars<double>(system.dimension());
    std::vector<double> x(b.size());
    Orvel::solve(*data, b.data(), x.data());
    const auto residualNorm = [&] {
        std::vector<double> r(b.size());
        data->matrix.multiply(x.data(), r.data());
        double sum = 0;
        for (std::size_t i = 0; i < r.size(); ++i)
            sum += (b[i] - r[i]) * (b[i] - r[i]);
        return std::sqrt(sum);
    };
    const double before = residualNorm();

    Orvel::iterativeRefinement(*data, b.data(), x.data(), 5);

    EXPECT_LT(residualNorm(), 1e-6 * before);
}

} // namespace
