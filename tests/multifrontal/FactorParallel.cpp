// The serial factorization on several threads: the same bits for any number of them.

#include "support/BitSystems.h"
#include "support/Bits.h"
#include "support/FactorComparison.h"
#include "support/FactorPaths.h"
#include "support/Scalars.h"

#include <kyrOrvel/Orvel>
#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/Scenes>

#include <gtest/gtest.h>

#include <cfenv>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

using kyrOrvel::Orvel;
using kyrOrvel::OrvelData;
using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::Factorization;
using kyrOrvel::client::Scene;
using support::FactorPath;
using support::FactorSchedule;
using support::Random;
using support::System;

namespace {

constexpr FactorSchedule kSchedules[] = {FactorSchedule::Rows, FactorSchedule::Panels};

template <class T> class FactorParallel : public support::FactorPaths<T> {
protected:
    /// Sparse patterns: several trees, and trees that branch.
    static System<T> system(Random& random, const support::Sizes& kinds)
    {
        System<T> result;
        const unsigned int n = random.integer(1, 120);
        for (unsigned int r = 0; r < n; ++r)
            result.sizes.push_back(
                kinds[random.integer(0, static_cast<unsigned int>(kinds.size()) - 1)]);
        result.rows = support::randomRows(random, n, 2 * random.unit() / n);
        result.factorRows = support::eliminated(result.rows);
        FactorParallel::setValues(random, 0.2, result);
        return result;
    }

    static void expectSerialBits(const System<T>& system)
    {
        const auto serial = support::makeData(system);
        Orvel::factorSerial(*serial);
        for (const FactorSchedule schedule : kSchedules)
            for (const unsigned int threads : {0u, 1u, 2u, 3u, 8u}) {
                SCOPED_TRACE(std::to_string(threads) + " threads, schedule " +
                             std::to_string(int(schedule)));
                setFactorSchedule(schedule);
                const auto data = support::makeData(system);
                for (int run = 0; run < 2; ++run) { // the second knows who does what
                    data->factored = 0;
                    Orvel::factorParallel(*data, threads);
                    ASSERT_TRUE(support::sameFactors(*data, *serial));
                    EXPECT_EQ(data->factored, 1u);
                }
            }
    }
};
TYPED_TEST_SUITE(FactorParallel, support::Scalars);

TYPED_TEST(FactorParallel, EqualsTheSerialOneOnForests)
{
    for (std::uint64_t seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        this->expectSerialBits(this->system(random, {0, 1, 3, 3, 5, 6, 6, 8}));
    }
}

TYPED_TEST(FactorParallel, EqualsTheSerialOneOnForestsOfLargeBlocks)
{
    for (std::uint64_t seed = 101; seed <= 115; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        this->expectSerialBits(this->system(random, {2, 6, 9, 17, 30}));
    }
}

TYPED_TEST(FactorParallel, EqualsTheSerialOneOnAnyPatterns)
{
    for (std::uint64_t seed = 201; seed <= 230; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        this->expectSerialBits(support::bitSystem<TypeParam>(random));
    }
}

TYPED_TEST(FactorParallel, OfAnEmptySystemDoesNothing)
{
    OrvelData<TypeParam> data;

    Orvel::factorParallel(data, 3);

    EXPECT_EQ(data.factored, 1u);
    EXPECT_EQ(data.factor.numBlocks, 0u);
}

TYPED_TEST(FactorParallel, TakesAnotherNumberOfThreadsAndAnotherPatternAnyTime)
{
    Random random(5);
    OrvelData<TypeParam> data;
    for (int run = 0; run < 40; ++run) {
        SCOPED_TRACE(run);
        System<TypeParam> system = this->system(random, {1, 3, 6});
        support::load(system, data);
        const auto expected = support::plainFactor(system);
        setFactorSchedule(kSchedules[run % 2]);
        for (const unsigned int threads : {2u, 1u, 4u}) {
            Orvel::factorParallel(data, threads);
            ASSERT_TRUE(support::sameFactors(data, expected));
        }
    }
}

TYPED_TEST(FactorParallel, EqualsTheSerialOneWhicheverWayTheThreadRounds)
{
    for (std::uint64_t seed = 401; seed <= 405; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const System<TypeParam> system = this->system(random, {3, 6});
        this->expectSerialBits(system); // workers are there from now on
        std::fesetround(FE_UPWARD);
        this->expectSerialBits(system);
        std::fesetround(FE_TONEAREST);
    }
}

TYPED_TEST(FactorParallel, ByThePlainPathEqualsItTheSame)
{
    Random random(6);
    const System<TypeParam> system = this->system(random, {3, 6});
    const auto fast = support::makeData(system);
    Orvel::factorParallel(*fast, 2);
    setFactorPath(FactorPath::Plain);
    const auto plain = support::makeData(system);

    Orvel::factorParallel(*plain, 2);

    EXPECT_TRUE(support::sameFactors(*plain, *fast));
}

std::vector<std::pair<std::string, Scene>> scenes()
{
    std::vector<std::pair<std::string, Scene>> all;
    all.emplace_back("bridge", kyrOrvel::client::makeRopeBridge(40));
    all.emplace_back("rope", kyrOrvel::client::makeRope(300));
    all.emplace_back("net", kyrOrvel::client::makeNet(12));
    all.emplace_back("ragdolls", kyrOrvel::client::makeRagdollPile(20));
    all.emplace_back("wall", kyrOrvel::client::makeWall(8, 6));
    all.emplace_back("lattice", kyrOrvel::client::makeLattice(5));
    all.emplace_back("elasticity", kyrOrvel::client::makeElasticity(5));
    return all;
}

TEST(FactorParallelScenes, HaveTheSerialBitsOnAnyNumberOfThreads)
{
    for (const auto& [name, scene] : scenes())
        for (const auto ordering :
             {kyrOrvel::client::Ordering::Automatic, kyrOrvel::client::Ordering::NestedDissection})
            for (const FactorSchedule schedule : kSchedules) {
                SCOPED_TRACE(name + ", schedule " + std::to_string(int(schedule)));
                setFactorSchedule(schedule);
                BlockLDLT<double> serial;
                BlockLDLT<double> parallel;
                for (BlockLDLT<double>* solver : {&serial, &parallel}) {
                    solver->setFactorization(Factorization::Serial);
                    solver->setOrdering(ordering);
                    ASSERT_TRUE(solver->compute(scene.matrix).ok()) << solver->info().message;
                }
                // What the solver holds may be factored again by anyone who knows how.
                auto& data = const_cast<OrvelData<double>&>(parallel.data());
                for (const unsigned int threads : {2u, 3u, 5u}) {
                    Orvel::factorParallel(data, threads);
                    EXPECT_TRUE(support::sameFactors(data, serial.data())) << threads;
                }
            }
    setFactorSchedule(FactorSchedule::Automatic);
}

} // namespace
