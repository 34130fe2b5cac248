// Analyses that are remembered: when they are found, and that results do not depend on it.

#include "support/Bits.h"
#include "support/BlockSystems.h"
#include "support/Random.h"
#include "support/Scalars.h"

#include <kyrOrvelClient/BlockLDLT>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <iterator>
#include <vector>

using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::Factorization;
using kyrOrvel::client::Ordering;
using kyrOrvel::client::StatusCode;
using kyrOrvel::client::Waiting;
using support::Random;

namespace {

template <class T> class AnalysisCache : public testing::Test {
protected:
    /// Matrices of different patterns and sizes.
    AnalysisCache()
    {
        for (std::uint64_t seed = 1; seed <= 6; ++seed) {
            Random random(seed);
            support::KktShape shape;
            shape.bodies = 6 + 2 * static_cast<unsigned int>(seed);
            shape.joints = 4 + static_cast<unsigned int>(seed);
            shape.compliance = seed % 2 == 0 ? 0 : 0.125;
            matrices.push_back(support::randomKkt<T>(random, shape));
        }
    }

    bool reused(std::size_t i)
    {
        EXPECT_TRUE(solver.analyzePattern(matrices[i]).ok()) << solver.info().message;
        return solver.statistics().analysisReused;
    }

    static std::vector<T> solutionOf(BlockLDLT<T>& solver, const BlockMatrix<T>& A)
    {
        Random random(7);
        const std::vector<T> b = random.scalars<T>(A.dimension());
        std::vector<T> x(b.size());
        EXPECT_TRUE(solver.factorize(A).ok()) << solver.info().message;
        EXPECT_TRUE(solver.solve(b.data(), x.data()).ok()) << solver.info().message;
        return x;
    }

    std::vector<BlockMatrix<T>> matrices;
    BlockLDLT<T> solver;
};
TYPED_TEST_SUITE(AnalysisCache, support::Scalars);

TYPED_TEST(AnalysisCache, HoldsTheLastFourPatterns)
{
    for (std::size_t i = 0; i < 5; ++i)
        EXPECT_FALSE(this->reused(i)) << i;

    for (const std::size_t i : {1u, 2u, 3u, 4u})
        EXPECT_TRUE(this->reused(i)) << i;
    EXPECT_FALSE(this->reused(0));
}

TYPED_TEST(AnalysisCache, ForgetsThePatternThatWasUsedLongestAgo)
{
    for (const std::size_t i : {0u, 1u, 2u, 3u, 0u, 4u}) // 1 is the oldest now
        this->reused(i);

    EXPECT_TRUE(this->reused(0));
    EXPECT_FALSE(this->reused(1));
}

TYPED_TEST(AnalysisCache, FindsThePatternOfAnyMatrixThatHasIt)
{
    Random random(3);
    this->reused(2);

    ASSERT_TRUE(this->solver.analyzePattern(support::shuffledCopy(random, this->matrices[2])).ok());

    EXPECT_TRUE(this->solver.statistics().analysisReused);
}

TYPED_TEST(AnalysisCache, FindsThePatternForComputeAsWell)
{
    ASSERT_TRUE(this->solver.compute(this->matrices[0]).ok());
    EXPECT_FALSE(this->solver.statistics().analysisReused);

    ASSERT_TRUE(this->solver.compute(this->matrices[0]).ok());

    EXPECT_TRUE(this->solver.statistics().analysisReused);
}

// One more block, another size, another first trailing block: another pattern.
TYPED_TEST(AnalysisCache, TellsPatternsApart)
{
    const auto solve = [&](const BlockMatrix<TypeParam>& A) {
        EXPECT_TRUE(this->solver.analyzePattern(A).ok());
        return this->solver.statistics().analysisReused;
    };
    BlockMatrix<TypeParam> A({2, 2, 1}, 2);
    A.block(2, 0);
    EXPECT_FALSE(solve(A));
    EXPECT_TRUE(solve(A));

    A.block(2, 1);
    EXPECT_FALSE(solve(A));

    BlockMatrix<TypeParam> otherSize({2, 3, 1}, 2);
    otherSize.block(2, 0);
    EXPECT_FALSE(solve(otherSize));

    BlockMatrix<TypeParam> otherTrailing({2, 2, 1});
    otherTrailing.block(2, 0);
    EXPECT_FALSE(solve(otherTrailing));
}

TYPED_TEST(AnalysisCache, SettingsArePartOfTheKey)
{
    using Solver = BlockLDLT<TypeParam>;
    const unsigned int n = this->matrices[0].numBlockRows();
    std::vector<unsigned int> order(n);
    for (unsigned int b = 0; b < n; ++b)
        order[b] = b;
    const std::function<void(Solver&)> changes[] = {
        [](Solver& s) { s.setOrdering(Ordering::Natural); },
        [&](Solver& s) { s.setOrder(order); },
        [](Solver& s) { s.setThreads(2); },
        [](Solver& s) { s.setFactorization(Factorization::Multifrontal); },
        [](Solver& s) { s.setWaiting(Waiting::Spinning); },
    };
    for (std::size_t i = 0; i < std::size(changes); ++i) {
        SCOPED_TRACE(i);
        Solver fresh;
        ASSERT_TRUE(fresh.analyzePattern(this->matrices[0]).ok());

        changes[i](fresh);

        ASSERT_TRUE(fresh.analyzePattern(this->matrices[0]).ok()) << fresh.info().message;
        EXPECT_FALSE(fresh.statistics().analysisReused);
    }
}

TYPED_TEST(AnalysisCache, FindsTheAnalysisOfEarlierSettingsAgain)
{
    this->reused(0);
    const std::vector<unsigned int> order = this->solver.analysis().order;
    this->solver.setOrdering(Ordering::Natural);
    EXPECT_FALSE(this->reused(0));
    EXPECT_NE(this->solver.analysis().order, order);

    this->solver.setOrdering(Ordering::Automatic);

    EXPECT_TRUE(this->reused(0));
    EXPECT_EQ(this->solver.analysis().order, order);
}

TYPED_TEST(AnalysisCache, SettingMeansThatAnalyzePatternHasToComeAgain)
{
    this->reused(0);

    this->solver.setOrdering(Ordering::Natural);

    EXPECT_EQ(this->solver.factorize(this->matrices[0]).code, StatusCode::CallSequence);
}

TYPED_TEST(AnalysisCache, SizeCanBeChanged)
{
    for (std::size_t i = 0; i < 4; ++i)
        this->reused(i);

    this->solver.setCacheSize(2);
    EXPECT_TRUE(this->reused(3));
    EXPECT_TRUE(this->reused(2));
    EXPECT_FALSE(this->reused(1));

    this->solver.setCacheSize(6);
    for (const std::size_t i : {0u, 2u, 3u, 4u, 5u})
        this->reused(i);
    for (const std::size_t i : {0u, 1u, 2u, 3u, 4u, 5u})
        EXPECT_TRUE(this->reused(i)) << i;
}

TYPED_TEST(AnalysisCache, HoldsOnePatternAtLeast)
{
    this->solver.setCacheSize(0);
    EXPECT_FALSE(this->reused(0));
    EXPECT_TRUE(this->reused(0));
    EXPECT_FALSE(this->reused(1));
    EXPECT_FALSE(this->reused(0));
}

TYPED_TEST(AnalysisCache, ShrinkingKeepsThePresentFactor)
{
    for (const std::size_t i : {1u, 0u})
        this->reused(i);
    const std::vector<TypeParam> expected = this->solutionOf(this->solver, this->matrices[0]);

    this->solver.setCacheSize(1);

    Random random(7);
    std::vector<TypeParam> x = random.scalars<TypeParam>(expected.size());
    ASSERT_TRUE(this->solver.solve(x.data(), x.data()).ok());
    EXPECT_TRUE(support::sameBits(x.data(), expected.data(), x.size()));
}

TYPED_TEST(AnalysisCache, FailedAnalysisIsNotRemembered)
{
    BlockMatrix<TypeParam> bad({1, 1}, 1);
    bad.block(0, 0);
    this->reused(0);
    for (int again = 0; again < 2; ++again) {
        EXPECT_EQ(this->solver.analyzePattern(bad).code, StatusCode::Singular);
        EXPECT_FALSE(this->solver.statistics().analysisReused);
    }
    EXPECT_TRUE(this->reused(0));
}

// Analyses by the pattern alone, so that a fresh solver finds the same orders.
TYPED_TEST(AnalysisCache, PatternsTakenInAnyOrderGiveTheBitsOfFreshSolvers)
{
    for (const bool onThreads : {false, true}) {
        BlockLDLT<TypeParam> used;
        used.setCacheSize(3);
        const auto prepare = [&](BlockLDLT<TypeParam>& one) {
            if (onThreads) {
                one.setFactorization(Factorization::Multifrontal);
                one.setThreads(2);
            }
        };
        prepare(used);
        Random random(12);
        unsigned int reused = 0;
        for (int step = 0; step < 60; ++step) {
            const unsigned int i = random.integer(0, 5);
            SCOPED_TRACE(i);
            ASSERT_TRUE(used.analyzePattern(this->matrices[i]).ok());
            reused += used.statistics().analysisReused;
            const std::vector<TypeParam> x = this->solutionOf(used, this->matrices[i]);
            ASSERT_FALSE(used.analysis().orderedAgain);

            BlockLDLT<TypeParam> fresh;
            prepare(fresh);
            ASSERT_TRUE(fresh.analyzePattern(this->matrices[i]).ok());
            const std::vector<TypeParam> y = this->solutionOf(fresh, this->matrices[i]);
            ASSERT_TRUE(support::sameBits(x.data(), y.data(), y.size()));
        }
        EXPECT_GT(reused, 10u);
        EXPECT_LT(reused, 50u);
    }
}

} // namespace
