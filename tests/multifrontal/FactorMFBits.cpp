// The factorization on threads to the last bit: it is the sum that its schedule describes, whatever
// the timing.

#include "Problem.h"
#include "Soak.h"

#include "support/FactorComparison.h"
#include "support/FactorPaths.h"
#include "support/Scalars.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <string>

using kyrOrvel::Orvel;
using kyrOrvel::client::SyncMode;
using support::PlainFactors;
using support::Problem;
using support::Random;
using support::sameFactors;
using support::System;
using support::Words;

namespace {

template <class T> class FactorMFBits : public testing::Test {
protected:
    static System<T> randomSystem(Random& random, const std::string& shape)
    {
        const Words parents = support::tree(shape, random, random.integer(1, 40));
        return support::systemOfTree<T>(random, parents, random.integer(0, 1), 5);
    }

    static void expectPlainResult(Problem<T>& problem)
    {
        const PlainFactors<T> expected = problem.plainFactors();
        for (int run = 0; run < 2; ++run) {
            Orvel::factorMF(problem.data);
            ASSERT_TRUE(sameFactors(problem.data, expected)) << "run " << run;
        }
    }
};
TYPED_TEST_SUITE(FactorMFBits, support::Scalars);

TYPED_TEST(FactorMFBits, OnMappedTreesAreThoseOfTheScheduleDoneInSequence)
{
    for (unsigned int seed = 1; seed <= 12; ++seed)
        for (const std::string& shape : support::shapes()) {
            SCOPED_TRACE(shape + " " + std::to_string(seed));
            Random random(100 + seed);
            Problem<TypeParam> problem(this->randomSystem(random, shape));
            for (const unsigned int threads : {1u, 2u, 3u, 4u, 8u, 16u}) {
                SCOPED_TRACE(threads);
                problem.map(threads);
                this->expectPlainResult(problem);
            }
        }
}

TYPED_TEST(FactorMFBits, WithAnyOwnersAreThoseOfTheScheduleDoneInSequence)
{
    for (unsigned int seed = 1; seed <= 12; ++seed)
        for (const std::string& shape : support::shapes()) {
            SCOPED_TRACE(shape + " " + std::to_string(seed));
            Random random(200 + seed);
            Problem<TypeParam> problem(this->randomSystem(random, shape));
            for (const unsigned int threads : {2u, 3u, 4u, 8u, 16u}) {
                SCOPED_TRACE(threads);
                problem.use(support::listedOneByOne(
                    support::randomOwners(random, problem.system.sizes.size(), threads), threads));
                this->expectPlainResult(problem);
            }
        }
}

/// Owners that change along few edges, each thread's regions listed by their tops only, from the
/// leaves up, so that depth-first descents are long.
TYPED_TEST(FactorMFBits, WithRegionsListedByTheirTopsAreThoseOfTheScheduleDoneInSequence)
{
    for (unsigned int seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE(seed);
        Random random(300 + seed);
        Problem<TypeParam> problem(this->randomSystem(random, "forest"));
        const Words parents = problem.parents();
        const unsigned int threads = random.integer(2, 6);
        // The owners fall from the root down, so that nobody waits for a thread above.
        kyrOrvel::client::TreeMapping mapping;
        mapping.numOwners = threads;
        mapping.owner.assign(parents.size(), 0);
        for (unsigned int k = problem.system.numRows(); k-- > 0;) {
            const unsigned int above = parents[k] == k ? threads - 1 : mapping.owner[parents[k]];
            const bool steps = above > 0 && random.chance(0.3);
            mapping.owner[k] = static_cast<unsigned char>(steps ? above - 1 : above);
        }
        for (unsigned int k = 0; k < problem.system.numRows(); ++k)
            if (parents[k] == k || mapping.owner[parents[k]] != mapping.owner[k])
                mapping.assignment.emplace_back(k, mapping.owner[k]);
        problem.use(mapping);

        this->expectPlainResult(problem);
    }
}

/// Subtrees of one owner wait for nobody, so they may come in any order, before all other nodes.
/// From the last to the first, a thread meets columns that its searches in the rows have passed.
TYPED_TEST(FactorMFBits, WithSubtreesOutOfOrderAreThoseOfTheScheduleDoneInSequence)
{
    for (unsigned int seed = 1; seed <= 30; ++seed) {
        SCOPED_TRACE(seed);
        Random random(400 + seed);
        Problem<TypeParam> problem(this->randomSystem(random, "forest"));
        problem.map(random.integer(1, 4));
        kyrOrvel::client::TreeMapping mapping = problem.mapping;
        const Words parents = problem.parents();
        // mapTree lists the subtrees first, then the nodes above them.
        const auto isAbove = [&](const std::pair<unsigned int, unsigned int>& entry) {
            return std::any_of(mapping.assignment.begin(), mapping.assignment.end(),
                               [&](const auto& other) {
                                   return other != entry && parents[other.first] == entry.first;
                               });
        };
        const auto above =
            std::find_if(mapping.assignment.begin(), mapping.assignment.end(), isAbove);
        std::reverse(mapping.assignment.begin(), above);
        problem.use(mapping);

        this->expectPlainResult(problem);
    }
}

TYPED_TEST(FactorMFBits, OfHardValuesAreThoseOfTheScheduleDoneInSequence)
{
    for (unsigned int seed = 1; seed <= 30; ++seed) {
        SCOPED_TRACE(seed);
        Random random(500 + seed);
        System<TypeParam> system = this->randomSystem(random, "forest");
        for (auto& [place, block] : system.blocks)
            for (TypeParam& value : block)
                if (random.chance(0.02))
                    value = random.nastyScalar<TypeParam>();
        Problem<TypeParam> problem(std::move(system));
        problem.use(support::listedOneByOne(
            support::randomOwners(random, problem.system.sizes.size(), 4), 4));
        this->expectPlainResult(problem);
    }
}

TYPED_TEST(FactorMFBits, OfLargeBlocksAreThoseOfTheScheduleDoneInSequenceOnEveryProcessor)
{
    for (unsigned int seed = 1; seed <= 8; ++seed) {
        SCOPED_TRACE(seed);
        Random random(700 + seed);
        const Words parents = support::tree("forest", random, random.integer(1, 8));
        System<TypeParam> system = support::systemOfTree<TypeParam>(random, parents, 1, 30);
        for (auto& entry : system.blocks)
            for (TypeParam& value : entry.second)
                if (random.chance(0.002))
                    value = random.nastyScalar<TypeParam>();
        Problem<TypeParam> problem(std::move(system));
        problem.map(2);
        support::forEachInstructionSet([&] { this->expectPlainResult(problem); });
    }
}

TYPED_TEST(FactorMFBits, DoNotDependOnTheWayOfWaiting)
{
    for (unsigned int seed = 1; seed <= 10; ++seed) {
        SCOPED_TRACE(seed);
        Random random(600 + seed);
        const Words parents = support::randomUpwardForest(random, random.integer(2, 12));
        Problem<TypeParam> problem(support::systemOfTree<TypeParam>(random, parents, 1, 3));
        problem.map(2);
        problem.build(SyncMode::Spinning);
        this->expectPlainResult(problem);
    }
}

/// More threads than cores, small nodes, hand-overs everywhere: whatever the scheduler makes of it.
TEST(FactorMFSoak, EveryOneOfManyRunsHasTheSameBits)
{
    constexpr unsigned int kProblems = 20;
    std::deque<Problem<double>> problems;
    std::vector<PlainFactors<double>> expected;
    Random random(700);
    for (unsigned int p = 0; p < kProblems; ++p) {
        const Words parents = support::tree(support::shapes()[p % 5], random, 24);
        Problem<double>& problem =
            problems.emplace_back(support::systemOfTree<double>(random, parents, 1, 3));
        const unsigned int threads = p % 3 == 0 ? random.integer(5, 8) : 4;
        if (p % 2 == 0)
            problem.map(threads);
        else
            problem.use(support::listedOneByOne(
                support::randomOwners(random, parents.size(), threads), threads));
        expected.push_back(problem.plainFactors());
    }
    for (unsigned int run = 0; run < support::soakRuns(); ++run) {
        const unsigned int p = run % kProblems;
        Orvel::factorMF(problems[p].data);
        ASSERT_TRUE(sameFactors(problems[p].data, expected[p])) << "run " << run;
    }
}

} // namespace
