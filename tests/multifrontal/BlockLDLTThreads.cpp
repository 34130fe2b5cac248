// The client's solver on threads.

#include "support/Allocations.h"
#include "support/Bits.h"
#include "support/BlockSystems.h"
#include "support/Scalars.h"

#include <kyrOrvel/FactorTrace>
#include <kyrOrvel/Orvel>
#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/Scenes>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

using kyrOrvel::FactorTrace;
using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::Factorization;
using kyrOrvel::client::Scene;
using kyrOrvel::client::StatusCode;
using kyrOrvel::client::Waiting;
using support::Random;

namespace {

std::vector<std::pair<std::string, Scene>> scenes()
{
    std::vector<std::pair<std::string, Scene>> all;
    all.emplace_back("bridge", kyrOrvel::client::makeRopeBridge(12));
    all.emplace_back("rope", kyrOrvel::client::makeRope(20));
    all.emplace_back("net", kyrOrvel::client::makeNet(6));
    all.emplace_back("ragdolls", kyrOrvel::client::makeRagdollPile(6));
    all.emplace_back("lattice", kyrOrvel::client::makeLattice(4));
    return all;
}

constexpr unsigned int kThreads[] = {1, 2, 3, 4, 8};

template <class T>
double residualOf(const BlockMatrix<T>& A, const std::vector<T>& x, const std::vector<T>& b)
{
    std::vector<T> product(b.size());
    A.multiply(x.data(), product.data());
    double residual = 0;
    double whole = 0;
    for (std::size_t i = 0; i < b.size(); ++i) {
        residual += std::pow(static_cast<double>(b[i]) - static_cast<double>(product[i]), 2);
        whole += std::pow(static_cast<double>(b[i]), 2);
    }
    return std::sqrt(residual / whole);
}

/// Factors on threads and solves.
template <class T>
std::vector<T> solved(BlockLDLT<T>& solver, const BlockMatrix<T>& A, const std::vector<T>& b)
{
    std::vector<T> x(b.size());
    EXPECT_TRUE(solver.compute(A).ok()) << solver.info().message;
    EXPECT_TRUE(solver.solve(b.data(), x.data()).ok()) << solver.info().message;
    return x;
}

template <class T> void useThreads(BlockLDLT<T>& solver, unsigned int threads)
{
    EXPECT_TRUE(solver.setThreads(threads).ok());
    solver.setFactorization(Factorization::Multifrontal);
}

TEST(BlockLDLTThreads, EverySceneIsSolvedOnAnyNumberOfThreads)
{
    for (const auto& [name, scene] : scenes())
        for (const unsigned int threads : kThreads) {
            SCOPED_TRACE(name + " on " + std::to_string(threads));
            BlockLDLT<double> solver;
            useThreads(solver, threads);
            Random random(1);
            const std::vector<double> b = random.scalars<double>(scene.matrix.dimension());

            std::vector<double> x = solved(solver, scene.matrix, b);

            EXPECT_TRUE(solver.analysis().multifrontal);
            EXPECT_EQ(solver.analysis().threads, threads);
            EXPECT_LT(residualOf(scene.matrix, x, b), 1e-8);
            EXPECT_TRUE(solver.refine(b.data(), x.data(), 5).ok());
            EXPECT_LT(residualOf(scene.matrix, x, b), 1e-10);
        }
}

TEST(BlockLDLTThreads, ASceneHasTheSameBitsInEveryRunAndForEveryWayOfWaiting)
{
    for (const auto& [name, scene] : scenes())
        for (const unsigned int threads : kThreads) {
            SCOPED_TRACE(name + " on " + std::to_string(threads));
            Random random(2);
            const std::vector<double> b = random.scalars<double>(scene.matrix.dimension());
            BlockLDLT<double> solver;
            useThreads(solver, threads);
            const std::vector<double> first = solved(solver, scene.matrix, b);
            const kyrOrvel::OrvelData<double>& data = solver.data();
            const std::vector<double> pivots(data.pivots.data, data.pivots.data + data.pivots.size);
            for (int run = 0; run < 3; ++run) {
                const std::vector<double> again = solved(solver, scene.matrix, b);
                ASSERT_TRUE(support::sameBits(again.data(), first.data(), first.size()));
            }
            BlockLDLT<double> other;
            useThreads(other, threads);
            if (threads <= 2) // the machine may have no more cores
                other.setWaiting(Waiting::Spinning);
            const std::vector<double> again = solved(other, scene.matrix, b);
            EXPECT_TRUE(support::sameBits(again.data(), first.data(), first.size()));
            EXPECT_TRUE(support::sameBits(other.data().pivots.data, pivots.data(), pivots.size()));
        }
}

template <class T> class BlockLDLTThreadsOf : public testing::Test {
};
TYPED_TEST_SUITE(BlockLDLTThreadsOf, support::Scalars);

/// Blocks that couple to nothing, among ones that do: in front, at the end and between.
template <class T> BlockMatrix<T> withIsolatedBlocks(Random& random, const std::vector<bool>& alone)
{
    std::vector<unsigned int> sizes(alone.size());
    for (unsigned int& size : sizes)
        size = random.integer(1, 4);
    BlockMatrix<T> A(sizes);
    for (unsigned int r = 0; r < sizes.size(); ++r) {
        for (unsigned int c = 0; c < r; ++c)
            if (!alone[r] && !alone[c] && random.chance(0.4))
                for (unsigned int i = 0; i < sizes[r] * sizes[c]; ++i)
                    A.block(r, c)[i] = random.scalar<T>();
        support::writeMass<T>(random, A.block(r, r), sizes[r], 20);
    }
    return A;
}

TYPED_TEST(BlockLDLTThreadsOf, IsolatedBlocksAnywhereAreSolvedAndRefined)
{
    using T = TypeParam;
    const T tolerance = sizeof(T) == 8 ? T(1e-14) : T(1e-5);
    for (unsigned int seed = 1; seed <= 60; ++seed)
        for (const unsigned int threads : {1u, 3u}) {
            SCOPED_TRACE(std::to_string(seed) + " on " + std::to_string(threads));
            Random random(seed);
            std::vector<bool> alone(random.integer(1, 12));
            for (std::size_t r = 0; r < alone.size(); ++r)
                alone[r] = r < seed % 4 || random.chance(0.4);
            const BlockMatrix<T> A = withIsolatedBlocks<T>(random, alone);
            BlockLDLT<T> solver;
            useThreads(solver, threads);
            const std::vector<T> b = random.scalars<T>(A.dimension());

            std::vector<T> x = solved(solver, A, b);

            EXPECT_LT(support::backwardError(A, x, b), tolerance);
            // Refinement multiplies by the permuted matrix: from nothing it gets to the solution.
            std::fill(x.begin(), x.end(), T(0));
            int steps = 0;
            EXPECT_TRUE(solver.refine(b.data(), x.data(), 20, &steps).ok());
            EXPECT_GE(steps, 1);
            EXPECT_LT(support::backwardError(A, x, b), tolerance);
        }
}

TYPED_TEST(BlockLDLTThreadsOf, ProductsWithThePermutedMatrixAreThoseOfTheMatrix)
{
    using T = TypeParam;
    for (unsigned int seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        std::vector<bool> alone(random.integer(1, 12));
        for (std::size_t r = 0; r < alone.size(); ++r)
            alone[r] = r < seed % 4 || random.chance(0.4);
        const BlockMatrix<T> A = withIsolatedBlocks<T>(random, alone);
        BlockLDLT<T> solver;
        useThreads(solver, 2);
        ASSERT_TRUE(solver.compute(A).ok());
        const std::vector<T> x = random.scalars<T>(A.dimension());
        const std::vector<long double> expected = support::multiply(support::denseOf(A), x);
        // multiply only reads the matrix.
        auto& permuted = const_cast<kyrOrvel::SparseMatrix<T>&>(solver.data().matrix);
        std::vector<T> from(x.size());
        std::vector<T> to(x.size());
        const std::vector<unsigned int>& order = solver.analysis().order;
        const unsigned int* const offsets = permuted.blockOffsets;
        for (unsigned int k = 0; k < order.size(); ++k)
            for (unsigned int i = 0; i < A.blockSize(order[k]); ++i)
                from[offsets[k] + i] = x[A.blockOffset(order[k]) + i];

        permuted.multiply(from.data(), to.data());

        for (unsigned int k = 0; k < order.size(); ++k)
            for (unsigned int i = 0; i < A.blockSize(order[k]); ++i)
                EXPECT_NEAR(static_cast<double>(to[offsets[k] + i]),
                            static_cast<double>(expected[A.blockOffset(order[k]) + i]), 1e-3);
    }
}

TYPED_TEST(BlockLDLTThreadsOf, TrailingBlocksWithAndWithoutPartnersAreSolved)
{
    using T = TypeParam;
    for (unsigned int seed = 1; seed <= 30; ++seed)
        for (const unsigned int threads : {1u, 2u, 4u}) {
            SCOPED_TRACE(std::to_string(seed) + " on " + std::to_string(threads));
            Random random(seed);
            support::KktShape shape;
            shape.bodies = random.integer(4, 20);
            shape.joints = random.integer(1, 4);
            const BlockMatrix<T> A = support::randomKkt<T>(random, shape);
            BlockLDLT<T> solver;
            useThreads(solver, threads);
            const std::vector<T> b = random.scalars<T>(A.dimension());

            const std::vector<T> x = solved(solver, A, b);

            EXPECT_LT(support::backwardError(A, x, b), sizeof(T) == 8 ? 1e-12 : 1e-4);
        }
}

TYPED_TEST(BlockLDLTThreadsOf, AnEmptyMatrixIsSolved)
{
    BlockLDLT<TypeParam> solver;
    useThreads(solver, 3);

    EXPECT_TRUE(solver.compute(BlockMatrix<TypeParam>()).ok()) << solver.info().message;
    EXPECT_TRUE(solver.solve(nullptr, nullptr).ok());
    EXPECT_EQ(solver.analysis().work, 0u);
    EXPECT_EQ(solver.analysis().makespan, 0u);
}

TEST(BlockLDLTThreads, AutomaticIsSerialForOneThread)
{
    const Scene scene = kyrOrvel::client::makeLattice(7);
    BlockLDLT<double> solver;

    ASSERT_TRUE(solver.analyzePattern(scene.matrix).ok());

    EXPECT_FALSE(solver.analysis().multifrontal);
    EXPECT_EQ(solver.analysis().threads, 1u);
    EXPECT_EQ(solver.analysis().work, 0u);
    EXPECT_EQ(solver.analysis().makespan, 0u);
}

TEST(BlockLDLTThreads, AutomaticIsSerialForSmallSystems)
{
    const Scene scene = kyrOrvel::client::makeRope(10);
    BlockLDLT<double> solver;
    ASSERT_TRUE(solver.setThreads(4).ok());

    ASSERT_TRUE(solver.compute(scene.matrix).ok());

    EXPECT_FALSE(solver.analysis().multifrontal);
    EXPECT_EQ(solver.analysis().threads, 1u);
    EXPECT_EQ(solver.data().useMultifrontal, 0u);
}

/// A binary tree of large blocks.
BlockMatrix<double> treeOfBlocks(unsigned int blocks, unsigned int size)
{
    BlockMatrix<double> A(std::vector<unsigned int>(blocks, size));
    for (unsigned int b = 0; b < blocks; ++b) {
        for (unsigned int i = 0; i < size; ++i)
            A.block(b, b)[i * (size + 1)] = 4;
        if (b > 0)
            A.block(b, (b - 1) / 2)[0] = 1;
    }
    return A;
}

TEST(BlockLDLTThreads, AutomaticTakesThreadsWhereTheTreeBranches)
{
    const BlockMatrix<double> A = treeOfBlocks(511, 48);
    BlockLDLT<double> solver;
    ASSERT_TRUE(solver.setThreads(4).ok());

    ASSERT_TRUE(solver.analyzePattern(A).ok());

    EXPECT_FALSE(solver.analysis().multifrontal);
    EXPECT_EQ(solver.analysis().threads, 4u);
    EXPECT_GE(solver.analysis().makespan * 4, solver.analysis().work);
    EXPECT_LT(solver.analysis().makespan, solver.analysis().work);
}

TEST(BlockLDLTThreads, AutomaticIsSerialWhereTheTreeDoesNotBranch)
{
    BlockMatrix<double> A(std::vector<unsigned int>(60, 24));
    for (unsigned int b = 0; b < 60; ++b) {
        for (unsigned int i = 0; i < 24; ++i)
            A.block(b, b)[i * 25] = 4;
        if (b > 0)
            A.block(b, b - 1)[0] = 1;
    }
    BlockLDLT<double> solver;
    ASSERT_TRUE(solver.setThreads(4).ok());
    solver.setOrdering(kyrOrvel::client::Ordering::Natural);

    ASSERT_TRUE(solver.analyzePattern(A).ok());

    EXPECT_EQ(solver.analysis().threads, 1u);
}

TEST(BlockLDLTThreads, OnlyMultifrontalHasOtherBitsThanSerial)
{
    for (const auto& [name, scene] : scenes()) {
        BlockLDLT<double> serial;
        serial.setFactorization(Factorization::Serial);
        const std::vector<double> expected = solved(serial, scene.matrix, scene.rightHandSide);
        for (const Factorization factorization :
             {Factorization::Automatic, Factorization::Parallel})
            for (const unsigned int threads : kThreads) {
                SCOPED_TRACE(name + " on " + std::to_string(threads));
                BlockLDLT<double> solver;
                ASSERT_TRUE(solver.setThreads(threads).ok());
                solver.setFactorization(factorization);

                const std::vector<double> x = solved(solver, scene.matrix, scene.rightHandSide);

                EXPECT_TRUE(support::sameBits(x.data(), expected.data(), x.size()));
                if (factorization == Factorization::Parallel) {
                    EXPECT_EQ(solver.analysis().threads, threads);
                }
            }
    }
}

TEST(BlockLDLTThreads, SerialStaysSerialWhateverTheThreads)
{
    const Scene scene = kyrOrvel::client::makeLattice(9);
    BlockLDLT<double> solver;
    ASSERT_TRUE(solver.setThreads(4).ok());
    solver.setFactorization(Factorization::Serial);

    ASSERT_TRUE(solver.analyzePattern(scene.matrix).ok());

    EXPECT_FALSE(solver.analysis().multifrontal);
}

TEST(BlockLDLTThreads, NoneAndTooManyAreInvalid)
{
    BlockLDLT<double> solver;

    EXPECT_EQ(solver.setThreads(0).code, StatusCode::InvalidInput);
    EXPECT_EQ(solver.info().message, "0 threads are outside the range 1 to 255");
    EXPECT_EQ(solver.setThreads(256).code, StatusCode::InvalidInput);
    EXPECT_EQ(solver.info().message, "256 threads are outside the range 1 to 255");
    EXPECT_TRUE(solver.setThreads(255).ok());
}

TEST(BlockLDLTThreads, AnInvalidNumberChangesNothing)
{
    const Scene scene = kyrOrvel::client::makeRope(5);
    BlockLDLT<double> solver;
    useThreads(solver, 2);
    ASSERT_TRUE(solver.analyzePattern(scene.matrix).ok());

    solver.setThreads(0);

    EXPECT_TRUE(solver.factorize(scene.matrix).ok());
    EXPECT_EQ(solver.data().numThreads, 2u);
}

TEST(BlockLDLTThreads, EverySettingAsksForANewAnalysis)
{
    const Scene scene = kyrOrvel::client::makeRope(5);
    std::vector<double> x(scene.matrix.dimension());
    BlockLDLT<double> solver;
    const auto expectForgotten = [&] {
        EXPECT_EQ(solver.solve(x.data(), x.data()).code, StatusCode::CallSequence);
        EXPECT_EQ(solver.factorize(scene.matrix).code, StatusCode::CallSequence);
        EXPECT_TRUE(solver.compute(scene.matrix).ok());
    };
    ASSERT_TRUE(solver.compute(scene.matrix).ok());

    solver.setThreads(2);
    expectForgotten();
    solver.setFactorization(Factorization::Multifrontal);
    expectForgotten();
    solver.setWaiting(Waiting::Spinning);
    expectForgotten();
}

TEST(BlockLDLTThreads, TheTraceCoversEveryNodeOnceOnItsOwnThread)
{
    for (const auto& [name, scene] : scenes())
        for (const unsigned int threads : kThreads) {
            SCOPED_TRACE(name + " on " + std::to_string(threads));
            BlockLDLT<double> solver;
            useThreads(solver, threads);
            FactorTrace trace;
            solver.setTrace(&trace);
            ASSERT_TRUE(solver.compute(scene.matrix).ok());
            ASSERT_TRUE(solver.factorize(scene.matrix).ok()); // not added to what is there

            const auto& manager = solver.data().multifront;
            ASSERT_EQ(trace.threads.size(), threads);
            std::vector<unsigned int> factored(scene.matrix.numBlockRows(), 0);
            std::vector<unsigned int> awaited(scene.matrix.numBlockRows(), 0);
            for (unsigned int t = 0; t < threads; ++t) {
                FactorTrace::Clock::time_point last;
                for (const FactorTrace::Event& event : trace.threads[t]) {
                    EXPECT_LE(event.begin, event.end);
                    EXPECT_LE(last, event.end);
                    last = event.end;
                    const auto& node = manager.nodes[event.node];
                    EXPECT_EQ(event.waiting ? manager.nodes[node.parent].owner : node.owner, t);
                    ++(event.waiting ? awaited : factored)[event.node];
                }
            }
            for (unsigned int k = 0; k < manager.numNodes; ++k) {
                EXPECT_EQ(factored[k], 1u) << k;
                EXPECT_EQ(awaited[k], manager.nodes[k].updates ? 1u : 0u) << k;
            }
            solver.setTrace(nullptr);
            const std::size_t events = trace.threads[0].size();
            ASSERT_TRUE(solver.factorize(scene.matrix).ok());
            EXPECT_EQ(trace.threads[0].size(), events);
        }
}

/// What a warm factorization allocates: per run and thread a task, a job and a stack of nodes.
std::pair<std::size_t, std::size_t> warmAllocations(const BlockMatrix<double>& A,
                                                    unsigned int threads)
{
    BlockLDLT<double> solver;
    useThreads(solver, threads);
    EXPECT_TRUE(solver.compute(A).ok());
    EXPECT_TRUE(solver.factorize(A).ok());
    const support::AllocationCount count;
    const bool ok = solver.factorize(A).ok();
    const std::pair<std::size_t, std::size_t> result(count.allocations(), count.bytes());
    EXPECT_TRUE(ok);
    return result;
}

TEST(BlockLDLTThreads, AWarmFactorizationAllocatesTheTaskAndItsStacksWhateverTheSystem)
{
    Random random(9);
    const BlockMatrix<double> small = support::randomSpd<double>(random, 6, 0.3, 1, 2);
    const BlockMatrix<double> large = support::randomSpd<double>(random, 60, 0.1, 6, 12);
    for (const unsigned int threads : {1u, 2u, 4u}) {
        SCOPED_TRACE(threads);
        const auto [allocations, bytes] = warmAllocations(small, threads);

        EXPECT_EQ(warmAllocations(large, threads), std::make_pair(allocations, bytes));
        // The task, its name twice, a list of workers; a job, and map and first piece of a deque.
        EXPECT_LE(allocations, 6 + 4 * threads);
    }
}

TEST(BlockLDLTThreads, MoreThreadsThanBlocksAreHarmless)
{
    Random random(10);
    const BlockMatrix<double> A = support::randomSpd<double>(random, 3, 0.5, 1, 3);
    const std::vector<double> b = random.scalars<double>(A.dimension());
    BlockLDLT<double> solver;
    useThreads(solver, 40);

    const std::vector<double> x = solved(solver, A, b);

    EXPECT_LT(support::backwardError(A, x, b), 1e-14);
}

} // namespace
