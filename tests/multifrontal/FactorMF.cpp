// The factorization on threads against the serial one, and its corners.

#include "Problem.h"

#include "support/Allocations.h"
#include "support/Bits.h"
#include "support/Scalars.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <vector>

using kyrOrvel::Orvel;
using kyrOrvel::OrvelData;
using kyrOrvel::client::SyncMode;
using support::Problem;
using support::Random;
using support::System;
using support::Words;

namespace {

template <class T> class FactorMF : public testing::Test {
protected:
    /// Rounding of sums of some dozen terms, of magnitude up to the dimension.
    static constexpr T kTolerance = 2000 * std::numeric_limits<T>::epsilon();

    static testing::AssertionResult near(const T* actual, const T* expected, std::size_t n)
    {
        T scale = 1;
        for (std::size_t i = 0; i < n; ++i)
            scale = std::max(scale, std::abs(expected[i]));
        for (std::size_t i = 0; i < n; ++i)
            if (!(std::abs(actual[i] - expected[i]) <= kTolerance * scale))
                return testing::AssertionFailure()
                       << "element " << i << ": " << actual[i] << ", expected " << expected[i];
        return testing::AssertionSuccess();
    }

    /// The factors of both are the same up to rounding, block by block.
    static void expectNear(const OrvelData<T>& actual, const OrvelData<T>& expected)
    {
        ASSERT_EQ(actual.pivots.size, expected.pivots.size);
        EXPECT_TRUE(near(actual.pivots.data, expected.pivots.data, expected.pivots.size));
        ASSERT_EQ(actual.factor.numBlocks, expected.factor.numBlocks);
        ASSERT_EQ(actual.scaledFactor.numBlocks, expected.factor.numBlocks);
        const unsigned int* const sizes = expected.factor.blockSizes;
        for (unsigned int r = 0; r < expected.factor.numBlockRows; ++r)
            for (unsigned int s = expected.factor.rowStart[r]; s < expected.factor.rowStart[r + 1];
                 ++s) {
                const unsigned int c = expected.factor.blockColumns[s];
                ASSERT_EQ(actual.factor.blockColumns[s], c);
                const std::size_t n = std::size_t(sizes[r]) * sizes[c];
                EXPECT_TRUE(near(actual.factor.blockData[s], expected.factor.blockData[s], n))
                    << "L(" << r << ", " << c << ")";
                EXPECT_TRUE(
                    near(actual.scaledFactor.blockData[s], expected.scaledFactor.blockData[s], n))
                    << "LD(" << r << ", " << c << ")";
            }
    }

    static void expectSerialResult(Problem<T>& problem)
    {
        const auto serial = support::makeData(problem.system);
        Orvel::factorSerial(*serial);
        problem.data.factored = 0;
        Orvel::factorMF(problem.data);
        EXPECT_EQ(problem.data.factored, 1);
        expectNear(problem.data, *serial);
    }
};
TYPED_TEST_SUITE(FactorMF, support::Scalars);

TYPED_TEST(FactorMF, OnMappedTreesAgreesWithTheSerialFactorization)
{
    for (unsigned int seed = 1; seed <= 12; ++seed)
        for (const std::string& shape : support::shapes()) {
            SCOPED_TRACE(shape + " " + std::to_string(seed));
            Random random(seed);
            const Words parents = support::tree(shape, random, random.integer(1, 40));
            Problem<TypeParam> problem(
                support::systemOfTree<TypeParam>(random, parents, seed % 2, 5));
            for (const unsigned int threads : {1u, 2u, 3u, 4u, 8u, 16u}) {
                SCOPED_TRACE(threads);
                problem.map(threads);
                this->expectSerialResult(problem);
            }
        }
}

TYPED_TEST(FactorMF, WithAnyOwnersAgreesWithTheSerialFactorization)
{
    for (unsigned int seed = 1; seed <= 12; ++seed)
        for (const std::string& shape : support::shapes()) {
            SCOPED_TRACE(shape + " " + std::to_string(seed));
            Random random(seed);
            const Words parents = support::tree(shape, random, random.integer(1, 40));
            Problem<TypeParam> problem(
                support::systemOfTree<TypeParam>(random, parents, seed % 2, 5));
            for (const unsigned int threads : {2u, 3u, 4u, 8u, 16u}) {
                SCOPED_TRACE(threads);
                problem.use(support::listedOneByOne(
                    support::randomOwners(random, parents.size(), threads), threads));
                this->expectSerialResult(problem);
            }
        }
}

TYPED_TEST(FactorMF, SpinningAgreesWithTheSerialFactorization)
{
    for (unsigned int seed = 1; seed <= 10; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const Words parents = support::randomUpwardForest(random, random.integer(2, 12));
        Problem<TypeParam> problem(support::systemOfTree<TypeParam>(random, parents, 1, 3));
        problem.use(support::listedOneByOne(support::randomOwners(random, parents.size(), 2), 2));
        problem.build(SyncMode::Spinning);
        this->expectSerialResult(problem);
    }
}

TYPED_TEST(FactorMF, OfAnIndefiniteSystemAgreesWithTheSerialFactorization)
{
    Random random(5);
    Problem<TypeParam> problem(support::quasiDefiniteSystem<TypeParam>(random, 24, 0.15, 1, 6));
    problem.map(4);
    this->expectSerialResult(problem);
}

TYPED_TEST(FactorMF, IsDoneByASolveThatFindsNoFactor)
{
    Random random(6);
    Problem<TypeParam> problem(support::quasiDefiniteSystem<TypeParam>(random, 12, 0.2, 1, 4));
    problem.map(2);
    problem.data.useMultifrontal = 1;
    std::vector<TypeParam> onDemand(12 * 4, TypeParam(1)); // as many scalars as there can be
    std::vector<TypeParam> afterwards = onDemand;
    problem.data.factored = 0;

    Orvel::solve(problem.data, onDemand.data());
    EXPECT_EQ(problem.data.factored, 1);
    Orvel::factorMF(problem.data);
    Orvel::solve(problem.data, afterwards.data());

    EXPECT_EQ(onDemand, afterwards);
}

// Its L·D rounds otherwise than the products of L and D.
TYPED_TEST(FactorMF, LeavesNoProductsThatSolvesMayMakeAnew)
{
    Random random(6);
    Problem<TypeParam> problem(support::quasiDefiniteSystem<TypeParam>(random, 12, 0.2, 1, 4));
    problem.map(2);
    problem.data.scaledIsProduct = 1; // as a serial factorization does

    Orvel::factorMF(problem.data);

    EXPECT_EQ(problem.data.scaledIsProduct, 0);
}

TYPED_TEST(FactorMF, OfAnEmptySystemSetsFactored)
{
    Problem<TypeParam> problem{System<TypeParam>()};
    problem.data.numThreads = 3;

    Orvel::factorMF(problem.data);

    EXPECT_EQ(problem.data.factored, 1);
    EXPECT_EQ(problem.data.factor.numBlockRows, 0u);
    EXPECT_EQ(problem.data.factor.numBlocks, 0u);
    EXPECT_EQ(problem.data.factor.valueCapacity, 64u);
    EXPECT_EQ(problem.data.scaledFactor.valueCapacity, 64u);
    EXPECT_EQ(problem.data.pivots.size, 0u);
}

TYPED_TEST(FactorMF, NoThreadsCountAsOne)
{
    Random random(3);
    Problem<TypeParam> problem(support::systemOfTree<TypeParam>(random, support::comb(12), 1, 4));
    problem.map(1);
    problem.data.numThreads = 0;

    this->expectSerialResult(problem);
}

TYPED_TEST(FactorMF, BlocksOfSizeZeroCountForNothing)
{
    Random random(8);
    System<TypeParam> system = support::systemOfTree<TypeParam>(random, support::chain(5), 2, 2);
    for (const unsigned int empty : {0u, 2u, 4u}) {
        system.sizes[empty] = 0;
        for (auto& [place, block] : system.blocks)
            if (place.first == empty || place.second == empty)
                block.clear();
    }
    Problem<TypeParam> problem(std::move(system));
    problem.use(support::listedOneByOne({0, 1, 2, 0, 1}, 3));

    this->expectSerialResult(problem);
    EXPECT_EQ(problem.data.pivots.size, 4u);
}

// The last row lists only a column beyond its diagonal: neither factor gets a block for it. Nodes 0
// and 1 are factored as if it was not there.
TYPED_TEST(FactorMF, ARowThatStartsBeyondTheDiagonalHasNoBlocks)
{
    Problem<TypeParam> problem(
        support::scalarSystem<TypeParam>({"X", "X X", ". . X"}, {{4}, {8, 21}, {0, 0, 1}}));
    OrvelData<TypeParam>& data = problem.data;
    data.factorRowStart = {0, 1, 3, 4};
    data.factorColumns = {0, 0, 1, 3};
    kyrOrvel::client::TreeMapping mapping;
    mapping.numOwners = 2;
    mapping.owner = {0, 1, 0};
    mapping.assignment = {{0, 0}, {1, 1}}; // no thread is given node 2, which has nothing to factor
    problem.use(mapping);

    Orvel::factorMF(data);

    EXPECT_EQ(data.factored, 1);
    EXPECT_EQ(data.factor.numBlocks, 3u);
    EXPECT_EQ(data.scaledFactor.numBlocks, 3u);
    EXPECT_EQ(data.factor.rowStart[1], 1u);
    EXPECT_EQ(data.factor.rowStart[2], 3u);
    EXPECT_EQ(*data.factor.blockData[1], TypeParam(2)); // 8 / 4
    EXPECT_EQ(*data.scaledFactor.blockData[1], TypeParam(8));
    EXPECT_EQ(data.pivots.data[0], TypeParam(4));
    EXPECT_EQ(data.pivots.data[1], TypeParam(5)); // 21 - 8·8/4
}

TYPED_TEST(FactorMF, LeavesEveryScaledBlockMarkedAsComputed)
{
    Random random(4);
    Problem<TypeParam> problem(support::dominantSystem<TypeParam>(random, 15, 0.2, 1, 4));
    problem.map(3);

    Orvel::factorMF(problem.data);

    const auto& S = problem.data.scaledFactor;
    EXPECT_EQ(std::count(S.blockTags, S.blockTags + S.numBlocks, 1u),
              static_cast<long>(S.numBlocks));
}

TYPED_TEST(FactorMF, HasRoomForAllBlocksAnd64ScalarsMore)
{
    // X        sizes 2, 3, 1
    // . X      2·2 + 3·3 + 1·2 + 1·3 + 1·1 = 19
    // X X X
    Random random(4);
    System<TypeParam> system;
    system.sizes = {2, 3, 1};
    system.rows = support::drawnRows({"X", ". X", "X X X"});
    system.factorRows = system.rows;
    system.blocks = support::drawBlocks<TypeParam>(system.sizes, system.rows,
                                                   [&] { return random.scalar<TypeParam>(); });
    Problem<TypeParam> problem(std::move(system));
    problem.data.matrix.sizeHint = 17;
    problem.map(2);

    Orvel::factorMF(problem.data);

    for (const auto* factor : {&problem.data.factor, &problem.data.scaledFactor}) {
        EXPECT_EQ(factor->valueCapacity, 19u + 64u);
        EXPECT_EQ(factor->blockCapacity, 5u);
        EXPECT_EQ(factor->sizeHint, 17u);
    }
}

TYPED_TEST(FactorMF, AZeroPivotGivesInfinitiesAndNoFailure)
{
    Problem<TypeParam> problem(support::scalarSystem<TypeParam>({"X", "X X"}, {{0}, {1, 1}}));
    problem.use(support::listedOneByOne({0, 1}, 2));

    Orvel::factorMF(problem.data);

    EXPECT_EQ(problem.data.factored, 1);
    EXPECT_TRUE(std::isinf(*problem.data.factor.blockData[1]));
}

TYPED_TEST(FactorMF, KeepsTheScheduleForTheNextValues)
{
    Random random(6);
    Problem<TypeParam> problem(support::systemOfTree<TypeParam>(random, support::comb(20), 1, 4));
    problem.map(4);
    this->expectSerialResult(problem);
    for (auto& [place, block] : problem.system.blocks)
        for (TypeParam& value : block)
            value *= place.first == place.second ? TypeParam(3) : TypeParam(0.5);
    support::fillUpper(problem.data.matrix, problem.system);

    this->expectSerialResult(problem);
}

TYPED_TEST(FactorMF, AnAllocationThatFailsLeavesFactoredAtZeroAndTheNextRunWhole)
{
    Random random(7);
    const System<TypeParam> system =
        support::systemOfTree<TypeParam>(random, support::comb(9), 1, 3);
    for (std::size_t n = 1;; ++n) {
        SCOPED_TRACE(n);
        Problem<TypeParam> problem(system);
        problem.map(1);
        problem.data.factored = 1;
        const bool failed = support::failsOnAllocation(n, [&] { Orvel::factorMF(problem.data); });
        ASSERT_EQ(problem.data.factored, failed ? 0 : 1);
        this->expectSerialResult(problem);
        if (!failed)
            break;
    }
}

// A node whose thread gave up is never done: who waits for it is let go.
TYPED_TEST(FactorMF, AnAllocationThatFailsOnAnyThreadEndsTheRunOfAll)
{
    using kyrOrvel::client::SyncMode;
    Random random(8);
    const System<TypeParam> system =
        support::systemOfTree<TypeParam>(random, support::comb(12), 1, 3);
    for (const SyncMode mode : {SyncMode::Blocking, SyncMode::Spinning}) {
        Problem<TypeParam> problem(system);
        problem.mapping = support::listedOneByOne({0, 1, 2, 0, 1, 2, 0, 1, 2, 0, 1, 2}, 3);
        problem.build(mode);
        for (std::size_t n = 1;; ++n) {
            SCOPED_TRACE(n);
            kyrOrvel::FactorTrace trace;
            trace.threads.resize(3);
            problem.data.trace = &trace;
            const bool failed =
                support::failsOnAllocation(n, [&] { Orvel::factorMF(problem.data); });
            ASSERT_EQ(problem.data.factored, failed ? 0 : 1);
            problem.data.trace = nullptr;
            this->expectSerialResult(problem);
            if (!failed)
                break;
        }
    }
}

} // namespace
