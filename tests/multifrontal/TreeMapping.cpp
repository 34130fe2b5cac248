// Which thread factors which node: every node once, by a schedule that never stands still.

#include "TreeMapping.h"

#include "PlainMultifrontal.h"
#include "Trees.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <string>
#include <vector>

using kyrOrvel::EliminationTree;
using kyrOrvel::client::mapTree;
using kyrOrvel::client::TreeMapping;
using support::PlainSchedule;
using support::Random;
using support::Words;

namespace {

using Work = std::vector<std::uint64_t>;

TreeMapping mapped(const Words& parents, const Work& work, unsigned int owners)
{
    EliminationTree tree;
    support::setForest(tree, parents);
    return mapTree(tree, work, owners);
}

Work randomWork(Random& random, std::size_t n)
{
    Work work(n);
    for (std::uint64_t& w : work)
        w = random.chance(0.2) ? random.integer(0, 1000000) : random.integer(1, 100);
    return work;
}

/// Work on the heaviest way from a leaf to its root.
std::uint64_t heaviestPath(const Words& parents, const Work& work)
{
    Work path = work;
    std::uint64_t heaviest = 0;
    std::vector<std::uint64_t> below(parents.size(), 0);
    for (unsigned int k = 0; k < parents.size(); ++k) {
        path[k] = work[k] + below[k];
        heaviest = std::max(heaviest, path[k]);
        if (parents[k] != k)
            below[parents[k]] = std::max(below[parents[k]], path[k]);
    }
    return heaviest;
}

void expectComplete(const TreeMapping& mapping, const Words& parents)
{
    ASSERT_EQ(mapping.owner.size(), parents.size());
    for (const unsigned char owner : mapping.owner)
        ASSERT_LT(owner, mapping.numOwners);
    for (const auto& [node, thread] : mapping.assignment)
        ASSERT_EQ(thread, mapping.owner[node]);
    const PlainSchedule plain = {parents, Words(mapping.owner.begin(), mapping.owner.end()),
                                 mapping.assignment};
    const std::vector<Words> orders = support::nodesOfThreads(plain, mapping.numOwners);
    Words reached;
    for (const Words& order : orders)
        reached.insert(reached.end(), order.begin(), order.end());
    std::sort(reached.begin(), reached.end());
    Words all(parents.size());
    std::iota(all.begin(), all.end(), 0u);
    ASSERT_EQ(reached, all) << "not every node is factored exactly once";
    // Children before parents within a thread; no standstill among threads.
    for (const Words& order : orders) {
        std::vector<std::size_t> place(parents.size(), 0);
        for (std::size_t i = 0; i < order.size(); ++i)
            place[order[i]] = i;
        for (const unsigned int k : order)
            if (parents[k] != k && mapping.owner[parents[k]] == mapping.owner[k]) {
                ASSERT_LT(place[k], place[parents[k]]);
            }
    }
    ASSERT_EQ(support::jointOrder(plain, orders).size(), parents.size()) << "deadlock";
}

/// Trees of all shapes and many sizes.
template <class F> void forEachTree(F f)
{
    for (unsigned int seed = 1; seed <= 12; ++seed)
        for (const std::string& shape : support::shapes()) {
            SCOPED_TRACE(shape + " " + std::to_string(seed));
            Random random(seed);
            const unsigned int n = seed <= 3 ? seed : random.integer(4, 300);
            const Words parents = support::tree(shape, random, n);
            const Work work = seed % 2 == 0 ? Work(n, 1) : randomWork(random, n);
            f(parents, work);
        }
}

constexpr unsigned int kOwners[] = {1, 2, 3, 4, 5, 7, 8, 13, 16, 31, 64, 255};

TEST(TreeMapping, EveryNodeIsFactoredOnceByItsOwnerAndNobodyWaitsForEver)
{
    forEachTree([](const Words& parents, const Work& work) {
        for (const unsigned int owners : kOwners) {
            SCOPED_TRACE(owners);
            expectComplete(mapped(parents, work, owners), parents);
        }
    });
}

TEST(TreeMapping, MakespanIsAtLeastAFairShareAndTheHeaviestPath)
{
    forEachTree([](const Words& parents, const Work& work) {
        const std::uint64_t total = std::accumulate(work.begin(), work.end(), std::uint64_t(0));
        const std::uint64_t path = heaviestPath(parents, work);
        for (const unsigned int owners : kOwners) {
            SCOPED_TRACE(owners);
            const TreeMapping mapping = mapped(parents, work, owners);
            EXPECT_EQ(mapping.totalWork, total);
            EXPECT_GE(mapping.makespan * owners, total);
            EXPECT_GE(mapping.makespan, path);
            EXPECT_LE(mapping.makespan, total);
        }
    });
}

TEST(TreeMapping, MakespanIsThatOfItsOwnScheduleDoneStepByStep)
{
    forEachTree([](const Words& parents, const Work& work) {
        for (const unsigned int owners : kOwners) {
            SCOPED_TRACE(owners);
            const TreeMapping mapping = mapped(parents, work, owners);
            const PlainSchedule plain = {parents, Words(mapping.owner.begin(), mapping.owner.end()),
                                         mapping.assignment};
            const std::vector<Words> orders = support::nodesOfThreads(plain, owners);
            Work ready(parents.size(), 0); // when the last child is done
            Work freeAt(owners, 0);
            for (const unsigned int k : support::jointOrder(plain, orders)) {
                std::uint64_t& time = freeAt[mapping.owner[k]];
                time = std::max(time, ready[k]) + work[k];
                ready[parents[k]] = std::max(ready[parents[k]], time);
            }
            EXPECT_EQ(*std::max_element(freeAt.begin(), freeAt.end()), mapping.makespan);
        }
    });
}

TEST(TreeMapping, OneOwnerDoesAllTheWork)
{
    forEachTree([](const Words& parents, const Work& work) {
        const TreeMapping mapping = mapped(parents, work, 1);
        EXPECT_EQ(mapping.makespan, mapping.totalWork);
        EXPECT_EQ(std::count(mapping.owner.begin(), mapping.owner.end(), 0),
                  static_cast<long>(parents.size()));
    });
}

TEST(TreeMapping, DependsOnTreeWorkAndOwnersOnly)
{
    forEachTree([](const Words& parents, const Work& work) {
        const TreeMapping first = mapped(parents, work, 4);
        mapped(support::star(9), Work(9, 5), 3);
        const TreeMapping second = mapped(parents, work, 4);
        EXPECT_EQ(first.owner, second.owner);
        EXPECT_EQ(first.assignment, second.assignment);
        EXPECT_EQ(first.makespan, second.makespan);
    });
}

TEST(TreeMapping, OfNoNodesIsEmpty)
{
    const TreeMapping mapping = mapped({}, {}, 4);

    EXPECT_EQ(mapping.numOwners, 4u);
    EXPECT_TRUE(mapping.owner.empty());
    EXPECT_TRUE(mapping.assignment.empty());
    EXPECT_EQ(mapping.totalWork, 0u);
    EXPECT_EQ(mapping.makespan, 0u);
}

TEST(TreeMapping, OfEqualRootsSharesThemOut)
{
    Words roots(8);
    std::iota(roots.begin(), roots.end(), 0u);

    const TreeMapping mapping = mapped(roots, Work(8, 10), 4);

    EXPECT_EQ(mapping.makespan, 20u);
    for (unsigned char owner = 0; owner < 4; ++owner)
        EXPECT_EQ(std::count(mapping.owner.begin(), mapping.owner.end(), owner), 2);
}

TEST(TreeMapping, OfAStarSharesTheLeavesOut)
{
    // Eight leaves of 10 and a root of 1 below which four owners work for 20.
    Work work(9, 10);
    work[8] = 1;

    EXPECT_EQ(mapped(support::star(9), work, 4).makespan, 21u);
}

TEST(TreeMapping, OfAChainKeepsItWithOneOwner)
{
    const TreeMapping mapping = mapped(support::chain(100), Work(100, 7), 8);

    EXPECT_EQ(mapping.makespan, 700u);
    EXPECT_EQ(std::count(mapping.owner.begin(), mapping.owner.end(), mapping.owner[0]), 100);
}

TEST(TreeMapping, FindsTheBranchesBelowALongChain)
{
    // Two heavy leaves below a chain of 50 light nodes.
    Words parents = support::chain(52);
    parents[0] = 2;
    Work work(52, 1);
    work[0] = work[1] = 1000;

    const TreeMapping mapping = mapped(parents, work, 2);

    EXPECT_EQ(mapping.makespan, 1050u);
    EXPECT_NE(mapping.owner[0], mapping.owner[1]);
}

TEST(TreeMapping, OfADeepTreeEndsInTime)
{
    constexpr unsigned int n = 200000;
    for (const Words& parents : {support::chain(n), support::comb(n), support::star(n)}) {
        const TreeMapping mapping = mapped(parents, Work(n, 1), 8);
        ASSERT_NO_FATAL_FAILURE(expectComplete(mapping, parents));
    }
}

} // namespace
