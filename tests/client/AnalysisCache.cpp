#include "support/Bits.h"
#include "support/BlockSystems.h"
#include "support/Random.h"

#include <kyrOrvelClient/BlockLDLT>

#include <gtest/gtest.h>

#include <vector>

using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::Factorization;
using kyrOrvel::client::Ordering;
using kyrOrvel::client::StatusCode;
using support::Random;

namespace {

/// n scalars in a chain.
BlockMatrix<double> chain(unsigned int n)
{
    BlockMatrix<double> A(std::vector<unsigned int>(n, 1));
    for (unsigned int i = 0; i < n; ++i) {
        *A.block(i, i) = 4 + i;
        if (i > 0)
            *A.block(i, i - 1) = -1;
    }
    return A;
}

bool isReused(BlockLDLT<double>& solver, const BlockMatrix<double>& A)
{
    EXPECT_TRUE(solver.analyzePattern(A).ok()) << solver.info().message;
    return solver.statistics().analysisReused;
}

TEST(AnalysisCache, SamePatternIsFoundAgain)
{
    BlockLDLT<double> solver;

    EXPECT_FALSE(isReused(solver, chain(5)));
    EXPECT_TRUE(isReused(solver, chain(5)));
}

TEST(AnalysisCache, ValuesAndIdsDoNotMatter)
{
    BlockLDLT<double> solver;
    ASSERT_FALSE(isReused(solver, chain(5)));
    BlockMatrix<double> A = chain(5);
    *A.block(2, 2) = 99;
    A.setId(3, 7);

    EXPECT_TRUE(isReused(solver, A));
}

TEST(AnalysisCache, OtherBlocksSizesOrTrailingClassesAreOtherPatterns)
{
    BlockLDLT<double> solver;
    ASSERT_FALSE(isReused(solver, BlockMatrix<double>({2, 1, 1})));

    EXPECT_FALSE(isReused(solver, BlockMatrix<double>({1, 2, 1})));
    BlockMatrix<double> coupled({2, 1, 1});
    coupled.block(1, 0);
    EXPECT_FALSE(isReused(solver, coupled));
    BlockMatrix<double> trailing({2, 1, 1}, 2);
    trailing.block(2, 0);
    EXPECT_FALSE(isReused(solver, trailing));
}

TEST(AnalysisCache, LastFourPatternsAreRemembered)
{
    BlockLDLT<double> solver;
    for (const unsigned int n : {2u, 3u, 4u, 5u})
        ASSERT_FALSE(isReused(solver, chain(n)));

    for (const unsigned int n : {2u, 3u, 4u, 5u})
        EXPECT_TRUE(isReused(solver, chain(n)));
    EXPECT_FALSE(isReused(solver, chain(6)));
    EXPECT_FALSE(isReused(solver, chain(2))) << "the one not used for longest";
    EXPECT_TRUE(isReused(solver, chain(5)));
}

TEST(AnalysisCache, ItsSizeCanBeSet)
{
    BlockLDLT<double> solver;
    solver.setCacheSize(1);
    ASSERT_FALSE(isReused(solver, chain(2)));
    ASSERT_FALSE(isReused(solver, chain(3)));

    EXPECT_FALSE(isReused(solver, chain(2)));
    EXPECT_TRUE(isReused(solver, chain(2)));
}

TEST(AnalysisCache, SizeZeroCountsAsOne)
{
    BlockLDLT<double> solver;
    solver.setCacheSize(0);
    ASSERT_FALSE(isReused(solver, chain(2)));

    EXPECT_TRUE(isReused(solver, chain(2)));
}

TEST(AnalysisCache, ShrinkingKeepsTheLatest)
{
    BlockLDLT<double> solver;
    ASSERT_FALSE(isReused(solver, chain(2)));
    ASSERT_FALSE(isReused(solver, chain(3)));

    solver.setCacheSize(1);

    EXPECT_TRUE(isReused(solver, chain(3)));
    EXPECT_FALSE(isReused(solver, chain(2)));
}

TEST(AnalysisCache, OtherSettingsAreOtherAnalyses)
{
    BlockLDLT<double> solver;
    ASSERT_FALSE(isReused(solver, chain(5)));

    solver.setOrdering(Ordering::Natural);
    EXPECT_FALSE(isReused(solver, chain(5)));
    solver.setOrder({4, 3, 2, 1, 0});
    EXPECT_FALSE(isReused(solver, chain(5)));
    solver.setOrdering(Ordering::Automatic);
    solver.setFactorization(Factorization::Multifrontal);
    EXPECT_FALSE(isReused(solver, chain(5)));
}

TEST(AnalysisCache, SwitchingBackHasTheBitsOfAFreshSolver)
{
    BlockLDLT<double> solver;
    for (unsigned int round = 0; round < 3; ++round)
        for (const unsigned int n : {7u, 30u, 12u}) {
            SCOPED_TRACE(n);
            const BlockMatrix<double> A = chain(n);
            Random random(n);
            const std::vector<double> b = random.scalars<double>(n);
            std::vector<double> x(n);
            std::vector<double> expected(n);
            BlockLDLT<double> fresh;
            ASSERT_TRUE(fresh.compute(A).ok());
            ASSERT_TRUE(fresh.solve(b.data(), expected.data()).ok());

            ASSERT_TRUE(solver.compute(A).ok());
            ASSERT_TRUE(solver.solve(b.data(), x.data()).ok());

            EXPECT_EQ(solver.statistics().analysisReused, round > 0);
            EXPECT_TRUE(support::sameBits(x.data(), expected.data(), n));
        }
}

TEST(AnalysisCache, FoundAnalysisStillNeedsAFactorization)
{
    const BlockMatrix<double> A = chain(3);
    BlockLDLT<double> solver;
    ASSERT_TRUE(solver.compute(A).ok());
    double x[] = {1, 1, 1};

    ASSERT_TRUE(isReused(solver, A));

    EXPECT_EQ(solver.solve(x, x).code, StatusCode::CallSequence);
}

TEST(AnalysisCache, FailedAnalysisIsNotRemembered)
{
    BlockMatrix<double> singular({1, 1}, 1); // the trailing block couples to nothing
    BlockLDLT<double> solver;

    EXPECT_EQ(solver.analyzePattern(singular).code, StatusCode::Singular);
    EXPECT_EQ(solver.analyzePattern(singular).code, StatusCode::Singular);
    EXPECT_FALSE(solver.statistics().analysisReused);
}

} // namespace
