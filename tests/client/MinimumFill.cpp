// The order that is chosen where there are no trailing blocks to mind.

#include "support/BlockSystems.h"
#include "support/Orderings.h"
#include "support/Random.h"
#include "support/Systems.h"

#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/Scenes>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

using kyrOrvel::client::Analysis;
using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::Ordering;
using kyrOrvel::client::OrderingMethod;
using support::Random;
using support::Words;

namespace {

using Couplings = std::vector<std::pair<unsigned int, unsigned int>>;

BlockMatrix<double> coupled(const Words& sizes, const Couplings& couplings)
{
    BlockMatrix<double> A(sizes);
    for (unsigned int b = 0; b < sizes.size(); ++b)
        A.block(b, b);
    for (const auto& [a, b] : couplings)
        A.block(std::max(a, b), std::min(a, b));
    return A;
}

Analysis analysed(const BlockMatrix<double>& A, Ordering ordering = Ordering::Automatic)
{
    BlockLDLT<double> solver;
    solver.setOrdering(ordering);
    EXPECT_TRUE(solver.analyzePattern(A).ok()) << solver.info().message;
    return solver.analysis();
}

/// Blocks 0 .. n-1 in a ring.
Couplings ring(unsigned int n)
{
    Couplings couplings;
    for (unsigned int b = 0; b < n; ++b)
        couplings.emplace_back(b, (b + 1) % n);
    return couplings;
}

TEST(MinimumFill, OrdersAnyPatternOnce)
{
    for (unsigned int seed = 1; seed <= 1000; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const unsigned int n = random.integer(0, 60);
        const Words sizes = support::randomSizes(random, n, 0, 7);
        const double density = random.unit() * random.unit();
        Couplings couplings;
        for (unsigned int a = 0; a < n; ++a)
            for (unsigned int b = 0; b < a; ++b)
                if (random.chance(density))
                    couplings.emplace_back(a, b);

        const Analysis analysis = analysed(coupled(sizes, couplings));

        ASSERT_EQ(analysis.method, OrderingMethod::MinimumFill);
        ASSERT_TRUE(support::isOrder(analysis.order, n));
    }
}

TEST(MinimumFill, TreesAreEliminatedWithoutFill)
{
    for (unsigned int seed = 1; seed <= 200; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const unsigned int n = random.integer(1, 300);
        const Words parents = support::randomForest(random, n, 40);
        Couplings couplings;
        for (unsigned int b = 0; b < n; ++b)
            if (parents[b] != b)
                couplings.emplace_back(b, parents[b]);

        const Analysis analysis =
            analysed(coupled(support::randomSizes(random, n, 1, 6), couplings));

        ASSERT_EQ(analysis.factorBlocks, analysis.matrixBlocks);
    }
}

TEST(MinimumFill, RingsTakeThreeBlocksOfFillLessThanTheyHaveBlocks)
{
    for (unsigned int n = 3; n < 100; ++n) {
        SCOPED_TRACE(n);
        const Analysis analysis = analysed(coupled(Words(n, 3), ring(n)));

        EXPECT_EQ(analysis.factorBlocks - analysis.matrixBlocks, n - 3);
    }
}

TEST(MinimumFill, OfEqualBlocksTheFirstGoesFirst)
{
    Couplings chain = ring(20);
    chain.pop_back();

    EXPECT_EQ(analysed(coupled(Words(20, 2), chain)).order, support::identity(20));
}

// X X . X    Eliminating a small block couples the two large ones: 36 scalars. Eliminating a large
// X X X .    one couples the two small ones: one scalar.
// . X X X
// X . X X
TEST(MinimumFill, FillCountsByScalars)
{
    const std::uint64_t diagonals = 2 * 1 + 2 * 36;
    const std::uint64_t couplings = 4 * 6;
    for (const Words& sizes : {Words{1, 6, 1, 6}, Words{6, 1, 6, 1}})
        EXPECT_EQ(analysed(coupled(sizes, ring(4))).factorScalars, diagonals + couplings + 1);
}

TEST(MinimumFill, BlockThatCouplesToVeryManyGoesLast)
{
    const unsigned int n = 1001;
    Couplings couplings;
    for (unsigned int b = 1; b < n; ++b) {
        couplings.emplace_back(b, 0);
        if (b > 1 && b % 10 != 1)
            couplings.emplace_back(b, b - 1);
    }

    const Analysis analysis = analysed(coupled(Words(n, 1), couplings));

    EXPECT_EQ(analysis.order.back(), 0u);
    EXPECT_EQ(analysis.factorBlocks, analysis.matrixBlocks);
}

TEST(MinimumFill, ManyBlocksThatCoupleToVeryManyAreOrderedToo)
{
    const unsigned int n = 400;
    const unsigned int hubs = 5;
    Couplings couplings;
    for (unsigned int hub = 0; hub < hubs; ++hub)
        for (unsigned int b = hub + 1; b < n; ++b)
            couplings.emplace_back(hub, b);

    const Analysis analysis = analysed(coupled(Words(n, 2), couplings));

    EXPECT_EQ(analysis.factorBlocks, analysis.matrixBlocks);
    for (unsigned int hub = 0; hub < hubs; ++hub)
        EXPECT_GE(analysis.position[hub], n - hubs - 1);
}

TEST(MinimumFill, BlocksWithTheSameCouplingsStandTogether)
{
    // A grid of 12 by 12, of each node five blocks, which all couple to each other.
    const unsigned int side = 12;
    const unsigned int copies = 5;
    const unsigned int n = side * side;
    Couplings couplings;
    const auto couple = [&](unsigned int a, unsigned int b) {
        for (unsigned int i = 0; i < copies; ++i)
            for (unsigned int j = 0; j < copies; ++j)
                if (a + i * n > b + j * n)
                    couplings.emplace_back(a + i * n, b + j * n);
    };
    for (unsigned int a = 0; a < n; ++a) {
        couple(a, a);
        if (a % side + 1 < side) {
            couple(a, a + 1);
            couple(a + 1, a);
        }
        if (a + side < n) {
            couple(a, a + side);
            couple(a + side, a);
        }
    }

    const Words order = analysed(coupled(Words(n * copies, 1), couplings)).order;

    for (unsigned int k = 0; k < n * copies; ++k)
        ASSERT_EQ(order[k] % n, order[k - k % copies] % n) << "position " << k;
}

/// Operations in the order that is chosen, as a share of those in symamd's.
double shareOfSymamd(const BlockMatrix<double>& A)
{
    return static_cast<double>(analysed(A).operations) /
           static_cast<double>(analysed(A, Ordering::Symamd).operations);
}

TEST(MinimumFill, TakesFewerOperationsThanMinimumDegreeOnLattices)
{
    using namespace kyrOrvel::client;
    for (const unsigned int n : {8u, 10u, 12u}) {
        SCOPED_TRACE(n);
        EXPECT_LT(shareOfSymamd(makeLattice(n).matrix), 1.0);
        EXPECT_LT(shareOfSymamd(makeElasticity(n).matrix), 1.1);
    }
    EXPECT_LT(shareOfSymamd(makePoseGraph(1000).matrix), 1.1);
}

// There, two orders are made, which differ by a quarter.
TEST(MinimumFill, TakesTheBetterOfTwoOrdersWhereFactorizationsAreLong)
{
    EXPECT_LT(shareOfSymamd(kyrOrvel::client::makeElasticity(20).matrix), 1.0);
}

TEST(MinimumFill, TakesFewerOperationsThanMinimumDegreeOnRandomGraphs)
{
    double ours = 0;
    double symamds = 0;
    for (unsigned int seed = 1; seed <= 100; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const unsigned int n = random.integer(100, 400);
        Couplings couplings;
        for (unsigned int b = 1; b < n; ++b)
            for (unsigned int k = 0; k < 3; ++k)
                couplings.emplace_back(b, b - random.integer(1, std::min(b, 25u)));
        const BlockMatrix<double> A = coupled(support::randomSizes(random, n, 1, 6), couplings);
        ours += static_cast<double>(analysed(A).operations);
        symamds += static_cast<double>(analysed(A, Ordering::Symamd).operations);
    }
    EXPECT_LT(ours, 0.9 * symamds);
}

} // namespace
