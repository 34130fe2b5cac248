#include "support/Orderings.h"
#include "support/BlockSystems.h"
#include "support/Mechanisms.h"
#include "support/Random.h"

#include <kyrOrvel/Orvel>
#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/Scenes>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <vector>

using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::checkOrder;
using kyrOrvel::client::Ordering;
using kyrOrvel::client::OrderingMethod;
using kyrOrvel::client::Status;
using kyrOrvel::client::StatusCode;
using support::Random;
using support::Words;

namespace {

/// Bodies of 6 joined to a tree by ball joints: body b hangs on parents[b], body 0 on nothing.
BlockMatrix<double> tree(const Words& parents)
{
    Random random(1);
    const auto n = static_cast<unsigned int>(parents.size());
    Words sizes(n, 6);
    sizes.resize(2 * std::size_t(n) - 1, 3);
    BlockMatrix<double> A(sizes, n);
    for (unsigned int b = 0; b < n; ++b)
        support::writeMass<double>(random, A.block(b, b), 6, 1);
    for (unsigned int b = 1; b < n; ++b)
        for (const unsigned int body : {b, parents[b]})
            for (unsigned int i = 0; i < 3; ++i)
                A.block(n + b - 1, body)[7 * i] = body == b ? 1 : -1;
    return A;
}

Words randomParents(Random& random, unsigned int n)
{
    Words parents(n, 0);
    for (unsigned int b = 1; b < n; ++b)
        parents[b] = random.integer(0, b - 1);
    return parents;
}

/// Blocks on the longest way from a leaf of the elimination tree to its root.
unsigned int heightOf(const BlockLDLT<double>& solver)
{
    const auto& parent = solver.data().eliminationTree.parent;
    const auto n = static_cast<unsigned int>(solver.analysis().order.size());
    std::vector<unsigned int> height(n, 1);
    for (unsigned int k = 0; k < n; ++k)
        if (parent[k] != k)
            height[parent[k]] = std::max(height[parent[k]], height[k] + 1);
    return *std::max_element(height.begin(), height.end());
}

std::uint64_t operationsOf(const BlockMatrix<double>& A, Ordering ordering)
{
    BlockLDLT<double> solver;
    solver.setOrdering(ordering);
    EXPECT_TRUE(solver.compute(A).ok()) << solver.info().message;
    return solver.analysis().operations;
}

void expectAccurateSolve(const BlockMatrix<double>& A)
{
    BlockLDLT<double> solver;
    ASSERT_TRUE(solver.compute(A).ok()) << solver.info().message;
    const std::vector<double> b(A.dimension(), 1);
    std::vector<double> x(b.size());

    ASSERT_TRUE(solver.solve(b.data(), x.data()).ok());

    EXPECT_LT(support::backwardError(A, x, b), 1e-14);
}

TEST(ConstraintAwareOrdering, HasNoFillOnTrees)
{
    for (unsigned int seed = 1; seed <= 100; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const BlockMatrix<double> A = tree(randomParents(random, random.integer(2, 200)));
        BlockLDLT<double> solver;

        ASSERT_TRUE(solver.compute(A).ok()) << solver.info().message;

        EXPECT_EQ(solver.statistics().fillBlocks, 0u);
        EXPECT_EQ(solver.analysis().method, OrderingMethod::ConstraintAware);
    }
}

TEST(ConstraintAwareOrdering, HasNoFillOnAStarAroundAHub)
{
    const BlockMatrix<double> A = tree(Words(500, 0));
    BlockLDLT<double> solver;

    ASSERT_TRUE(solver.compute(A).ok()) << solver.info().message;

    EXPECT_EQ(solver.statistics().fillBlocks, 0u);
    EXPECT_EQ(solver.analysis().earlyBlocks, 499u);
}

// A weld takes all six freedoms of the body between two ball joints: neither can be early there.
TEST(ConstraintAwareOrdering, JointsOfABodyWeldedToTheGroundWait)
{
    BlockMatrix<double> A({6, 6, 6, 3, 3, 6}, 3);
    Random random(2);
    for (unsigned int b = 0; b < 3; ++b)
        support::writeMass<double>(random, A.block(b, b), 6, 1);
    for (unsigned int j = 0; j < 2; ++j)
        for (unsigned int i = 0; i < 3; ++i) {
            A.block(3 + j, j)[7 * i] = 1;
            A.block(3 + j, j + 1)[7 * i] = -1;
        }
    for (unsigned int i = 0; i < 6; ++i)
        A.block(5, 1)[7 * i] = 1;
    expectAccurateSolve(A);
}

// One joint of a large star is weak on its leaf: it alone has to wait for the hub.
TEST(ConstraintAwareOrdering, WeakJointDoesNotDelayTheOthers)
{
    BlockMatrix<double> A = tree(Words(300, 0));
    for (unsigned int i = 0; i < 3; ++i)
        A.block(300 + 7, 8)[7 * i] = 0; // joint 7 holds the hub alone
    A.block(300 + 7, 8)[0] = 1e-9;
    BlockLDLT<double> solver;
    ASSERT_TRUE(solver.analyzePattern(A).ok());
    ASSERT_EQ(solver.analysis().earlyBlocks, 299u);

    ASSERT_TRUE(solver.factorize(A).ok()) << solver.info().message;

    EXPECT_TRUE(solver.analysis().orderedAgain);
    EXPECT_EQ(solver.analysis().earlyBlocks, 298u);
}

TEST(ConstraintAwareOrdering, WhereThereAreManyLoopsEveryJointWaitsForItsBodies)
{
    using namespace kyrOrvel::client;
    for (const BlockMatrix<double>& A : {makeNet(6).matrix, makeWall(5, 4).matrix,
                                         makeRopeBridge(12).matrix, makeTracks(20).matrix}) {
        BlockLDLT<double> solver;

        ASSERT_TRUE(solver.analyzePattern(A).ok()) << solver.info().message;

        const Words& position = solver.analysis().position;
        EXPECT_EQ(solver.analysis().earlyBlocks, 0u);
        for (unsigned int t = A.firstTrailing(); t < A.numBlockRows(); ++t)
            for (const auto& entry : A.row(t))
                EXPECT_LE(position[entry.column], position[t]);
    }
}

// The joints cannot be ordered by themselves then: what they share is not only their bodies.
TEST(ConstraintAwareOrdering, LoopsOfBodiesThatCoupleToEachOtherAreOrderedAsAWhole)
{
    BlockMatrix<double> A = kyrOrvel::client::makeNet(6).matrix;
    *A.block(1, 0) = 1e-3;
    expectAccurateSolve(A);
}

TEST(NaturalOrdering, IsAsNumbered)
{
    const BlockMatrix<double> A = tree({0, 0, 1, 1});
    BlockLDLT<double> solver;
    solver.setOrdering(Ordering::Natural);

    ASSERT_TRUE(solver.compute(A).ok());

    EXPECT_EQ(solver.analysis().order, (Words{0, 1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(solver.analysis().method, OrderingMethod::Natural);
}

TEST(UserOrdering, IsTakenAsItIs)
{
    const BlockMatrix<double> A = tree({0, 0, 1, 1});
    const Words order = {3, 2, 5, 6, 1, 4, 0};
    BlockLDLT<double> solver;
    solver.setOrder(order);

    ASSERT_TRUE(solver.compute(A).ok()) << solver.info().message;

    EXPECT_EQ(solver.analysis().order, order);
    EXPECT_EQ(solver.analysis().method, OrderingMethod::User);
}

TEST(UserOrdering, ThatIsNoOrderIsRefused)
{
    const BlockMatrix<double> A = tree({0, 0});
    for (const Words& order : {Words{0, 1}, Words{0, 1, 1}, Words{0, 1, 3}, Words{0, 1, 2, 2}}) {
        BlockLDLT<double> solver;
        solver.setOrder(order);
        EXPECT_EQ(solver.analyzePattern(A).code, StatusCode::InvalidInput);
        EXPECT_EQ(solver.info().message, "the order does not name each of the 3 blocks once");
    }
}

TEST(UserOrdering, WithAJointBeforeItsBodiesNamesIt)
{
    BlockLDLT<double> solver;
    solver.setOrder({2, 0, 1});

    const Status status = solver.analyzePattern(tree({0, 0}));

    EXPECT_EQ(status.code, StatusCode::Singular);
    EXPECT_EQ(status.block, 2u);
}

TEST(NestedDissection, IsRepeatable)
{
    if (!kyrOrvel::client::hasNestedDissection())
        GTEST_SKIP() << "built without METIS";
    // One dissection is made of the net, several are of the lattice.
    for (const auto& scene : {kyrOrvel::client::makeNet(12), kyrOrvel::client::makeLattice(10)}) {
        Words first;
        for (int run = 0; run < 3; ++run) {
            BlockLDLT<double> solver;
            solver.setOrdering(Ordering::NestedDissection);
            ASSERT_TRUE(solver.analyzePattern(scene.matrix).ok()) << solver.info().message;
            EXPECT_EQ(solver.analysis().method, OrderingMethod::NestedDissection);
            if (run == 0)
                first = solver.analysis().order;
            EXPECT_EQ(solver.analysis().order, first);
        }
    }
}

TEST(NestedDissection, OrdersMatricesWithoutCouplings)
{
    if (!kyrOrvel::client::hasNestedDissection())
        GTEST_SKIP() << "built without METIS";
    for (const unsigned int n : {0u, 1u, 5u}) {
        BlockLDLT<double> solver;
        solver.setOrdering(Ordering::NestedDissection);
        EXPECT_TRUE(solver.analyzePattern(BlockMatrix<double>(Words(n, 2))).ok());
        EXPECT_EQ(solver.analysis().order.size(), n);
    }
}

TEST(BestOrdering, NeedsNoMoreOperationsThanItsCandidates)
{
    for (const auto& scene : {kyrOrvel::client::makeNet(12), kyrOrvel::client::makeLattice(6)}) {
        const std::uint64_t best = operationsOf(scene.matrix, Ordering::Best);
        EXPECT_LE(best, operationsOf(scene.matrix, Ordering::ConstraintAware));
        if (kyrOrvel::client::hasNestedDissection()) {
            EXPECT_LE(best, operationsOf(scene.matrix, Ordering::NestedDissection));
        }
    }
}

/// Whether elimination in that order meets a zero pivot for random values on A's pattern: with
/// probability one, the same as for all values.
bool meetsZeroPivot(Random& random, const BlockMatrix<double>& A, const Words& order)
{
    std::vector<std::size_t> scalars;
    for (const unsigned int block : order)
        for (unsigned int i = 0; i < A.blockSize(block); ++i)
            scalars.push_back(A.blockOffset(block) + i);
    std::vector<std::vector<long double>> values(A.dimension(),
                                                 std::vector<long double>(A.dimension(), 0));
    for (unsigned int r = 0; r < A.numBlockRows(); ++r)
        for (const auto& entry : A.row(r))
            for (unsigned int i = 0; i < A.blockSize(r); ++i)
                for (unsigned int j = 0; j < A.blockSize(entry.column); ++j) {
                    const std::size_t row = A.blockOffset(r) + i;
                    const std::size_t column = A.blockOffset(entry.column) + j;
                    if (column <= row)
                        values[row][column] = values[column][row] = 1 + random.unit();
                }
    std::vector<std::vector<long double>> D(scalars.size());
    for (std::size_t i = 0; i < scalars.size(); ++i)
        for (const std::size_t j : scalars)
            D[i].push_back(values[scalars[i]][j]);
    // A zero pivot inside a block is only an unlucky order of its rows: leading minors of whole
    // blocks decide, by elimination with pivoting inside the block.
    std::size_t begin = 0;
    for (const unsigned int block : order) {
        const std::size_t end = begin + A.blockSize(block);
        for (std::size_t k = begin; k < end; ++k) {
            std::size_t best = k;
            for (std::size_t i = k; i < end; ++i)
                if (std::abs(D[i][k]) > std::abs(D[best][k]))
                    best = i;
            if (std::abs(D[best][k]) < 1e-9L)
                return true;
            std::swap(D[k], D[best]);
            for (std::size_t i = k + 1; i < D.size(); ++i) {
                const long double factor = D[i][k] / D[k][k];
                for (std::size_t j = k; j < D.size(); ++j)
                    D[i][j] -= factor * D[k][j];
            }
        }
        begin = end;
    }
    return false;
}

TEST(CheckOrder, AgreesWithEliminationOfRandomValues)
{
    unsigned int zero = 0;
    unsigned int sound = 0;
    for (unsigned int seed = 1; seed <= 2000; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const unsigned int n = random.integer(1, 7);
        const unsigned int firstTrailing = random.integer(0, n);
        Words sizes(n);
        for (unsigned int& size : sizes)
            size = random.integer(1, 3);
        BlockMatrix<double> A(sizes, firstTrailing);
        for (unsigned int r = 0; r < n; ++r)
            for (unsigned int c = 0; c <= r; ++c)
                if (c == r ? r < firstTrailing || random.chance(0.2) : random.chance(0.5))
                    A.block(r, c);
        Words order(n);
        std::iota(order.begin(), order.end(), 0u);
        for (unsigned int k = n; k-- > 1;)
            std::swap(order[k], order[random.integer(0, k)]);

        const Status status = checkOrder(A, order);

        ASSERT_EQ(status.code == StatusCode::Singular, meetsZeroPivot(random, A, order));
        ++(status.ok() ? sound : zero);
    }
    EXPECT_GT(zero, 300u);
    EXPECT_GT(sound, 300u);
}

TEST(CheckOrder, OfNoBlocksIsFine)
{
    EXPECT_TRUE(checkOrder(BlockMatrix<double>(), {}).ok());
}

// A joint of three rows behind a body of two: one row has nothing left.
TEST(CheckOrder, CountsRows)
{
    BlockMatrix<double> A({2, 2, 3}, 2);
    for (unsigned int b = 0; b < 2; ++b) {
        A.block(b, b);
        A.block(2, b);
    }

    EXPECT_EQ(checkOrder(A, {0, 2, 1}).block, 2u);
    EXPECT_TRUE(checkOrder(A, {0, 1, 2}).ok());
}

TEST(Orderings, ChainsAreTakenFromBothEnds)
{
    for (const bool values : {true, false}) {
        SCOPED_TRACE(values);
        const auto scene = kyrOrvel::client::makeChain(50);
        const auto n = scene.matrix.numBlockRows();
        BlockLDLT<double> solver;
        const Status& status =
            values ? solver.compute(scene.matrix) : solver.analyzePattern(scene.matrix);
        ASSERT_TRUE(status.ok()) << status.message;

        EXPECT_LT(heightOf(solver), 0.55 * n);
        EXPECT_LE(solver.analysis().factorBlocks,
                  solver.analysis().matrixBlocks + (values ? 2 : n));
    }
}

TEST(Orderings, BlocksOfBothEndsTakeTurns)
{
    const auto scene = kyrOrvel::client::makeRope(50);
    BlockLDLT<double> solver;
    ASSERT_TRUE(solver.compute(scene.matrix).ok());

    const auto& parent = solver.data().eliminationTree.parent;
    unsigned int next = 0; // blocks that the one behind them waits for
    for (unsigned int k = 0; k + 1 < scene.matrix.numBlockRows(); ++k)
        next += parent[k] == k + 1;
    EXPECT_LT(next, 10u);
}

TEST(Orderings, ShortChainsAreTakenFromOneEndWithoutFill)
{
    const auto scene = kyrOrvel::client::makeRope(6);
    BlockLDLT<double> solver;
    ASSERT_TRUE(solver.compute(scene.matrix).ok());

    EXPECT_EQ(heightOf(solver), scene.matrix.numBlockRows());
    EXPECT_EQ(solver.statistics().fillBlocks, 0u);
}

} // namespace
