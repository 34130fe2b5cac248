// Every choice of an elimination order, on scenes and on random mechanisms.

#include "support/Orderings.h"
#include "support/BlockSystems.h"
#include "support/Mechanisms.h"
#include "support/Random.h"

#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/Scenes>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <utility>
#include <vector>

using kyrOrvel::client::Analysis;
using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::Ordering;
using kyrOrvel::client::OrderingMethod;
using kyrOrvel::client::Scene;
using kyrOrvel::client::Status;
using kyrOrvel::client::StatusCode;
using support::Random;
using support::Words;

namespace {

constexpr Ordering kAll[] = {Ordering::Automatic, Ordering::ConstraintAware,
                             Ordering::Symamd,    Ordering::NestedDissection,
                             Ordering::Natural,   Ordering::User,
                             Ordering::Best};

bool isOffered(Ordering ordering)
{
    return ordering != Ordering::NestedDissection || kyrOrvel::client::hasNestedDissection();
}

std::vector<Scene> smallScenes()
{
    std::vector<Scene> scenes;
    scenes.push_back(kyrOrvel::client::makeRopeBridge(6));
    scenes.push_back(kyrOrvel::client::makeRope(20));
    scenes.push_back(kyrOrvel::client::makeNet(5));
    scenes.push_back(kyrOrvel::client::makeRagdollPile(4));
    scenes.push_back(kyrOrvel::client::makeLattice(3));
    return scenes;
}

void choose(BlockLDLT<double>& solver, Ordering ordering, const BlockMatrix<double>& A)
{
    if (ordering == Ordering::User)
        solver.setOrder(support::identity(A.numBlockRows()));
    else
        solver.setOrdering(ordering);
}

Analysis analysisOf(const BlockMatrix<double>& A, Ordering ordering)
{
    BlockLDLT<double> solver;
    choose(solver, ordering, A);
    EXPECT_TRUE(solver.analyzePattern(A).ok()) << solver.info().message;
    return solver.analysis();
}

BlockMatrix<double> mechanismMatrix(std::uint64_t seed)
{
    Random random(seed);
    return support::matrixOf<double>(support::randomMechanism(random));
}

/// A tree of bodies of six with a joint to each parent, all diagonals 1.
BlockMatrix<double> treeOf(const Words& parents, unsigned int rows)
{
    const auto n = static_cast<unsigned int>(parents.size());
    std::vector<unsigned int> sizes(n, 6);
    sizes.resize(2 * n - 1, rows);
    BlockMatrix<double> A(sizes, n);
    Random random(n);
    for (unsigned int b = 0; b < n; ++b)
        support::writeMass<double>(random, A.block(b, b), 6, 1);
    for (unsigned int b = 1; b < n; ++b)
        for (const unsigned int body : {b, parents[b]}) {
            double* const block = A.block(n + b - 1, body);
            for (unsigned int i = 0; i < rows * 6; ++i)
                block[i] = random.scalar<double>() / 8;
            for (unsigned int i = 0; i < rows; ++i)
                block[7 * i] += body == b ? 1 : -1;
        }
    return A;
}

TEST(Orderings, OnScenesEveryOneSolvesToRounding)
{
    for (const Scene& scene : smallScenes())
        for (const Ordering ordering : kAll) {
            if (!isOffered(ordering) || ordering == Ordering::Symamd) // which promises less
                continue;
            SCOPED_TRACE(static_cast<int>(ordering));
            BlockLDLT<double> solver;
            choose(solver, ordering, scene.matrix);

            ASSERT_TRUE(solver.compute(scene.matrix).ok()) << solver.info().message;

            std::vector<double> x(scene.rightHandSide.size());
            ASSERT_TRUE(solver.solve(scene.rightHandSide.data(), x.data()).ok());
            EXPECT_LT(support::backwardError(scene.matrix, x, scene.rightHandSide), 1e-9);
        }
}

// The repairs alone keep structurally zero pivots out on most systems; what is left is reported.
TEST(Orderings, SymamdEitherSolvesAMechanismOrReportsIt)
{
    unsigned int solved = 0;
    unsigned int reported = 0;
    for (std::uint64_t seed = 1; seed <= 200; ++seed) {
        SCOPED_TRACE(seed);
        const BlockMatrix<double> A = mechanismMatrix(seed);
        BlockLDLT<double> solver;
        solver.setOrdering(Ordering::Symamd);

        const Status status = solver.compute(A);

        ++(status.ok() ? solved : reported);
        if (status.ok()) {
            Random random(seed);
            const std::vector<double> b = random.scalars<double>(A.dimension());
            std::vector<double> x(b.size());
            EXPECT_TRUE(solver.solve(b.data(), x.data()).ok());
            EXPECT_LT(support::backwardError(A, x, b), 1e-3) << "no digits to speak of";
        } else {
            EXPECT_TRUE(status.code == StatusCode::Singular ||
                        status.code == StatusCode::WrongSigns)
                << status.message;
        }
        EXPECT_FALSE(solver.analysis().orderedAgain);
    }
    EXPECT_GT(solved, 0u);
    EXPECT_GT(reported, 0u);
}

TEST(Orderings, OnMechanismsEveryOneIsAnOrderWithoutStructurallyZeroPivots)
{
    for (std::uint64_t seed = 1; seed <= 200; ++seed)
        for (const Ordering ordering :
             {Ordering::Automatic, Ordering::ConstraintAware, Ordering::NestedDissection,
              Ordering::Natural, Ordering::User, Ordering::Best}) {
            if (!isOffered(ordering))
                continue;
            SCOPED_TRACE(seed);
            SCOPED_TRACE(static_cast<int>(ordering));
            const BlockMatrix<double> A = mechanismMatrix(seed);

            const Analysis analysis = analysisOf(A, ordering);

            ASSERT_TRUE(support::isOrder(analysis.order, A.numBlockRows()));
            ASSERT_EQ(analysis.position, support::inverseOf(analysis.order));
            ASSERT_TRUE(checkOrder(A, analysis.order).ok());
        }
}

TEST(Orderings, AreRepeatable)
{
    for (std::uint64_t seed = 1; seed <= 100; ++seed)
        for (const Ordering ordering : kAll) {
            if (!isOffered(ordering))
                continue;
            SCOPED_TRACE(seed);
            const BlockMatrix<double> A = mechanismMatrix(seed);

            EXPECT_EQ(analysisOf(A, ordering).order, analysisOf(A, ordering).order);
        }
}

TEST(Orderings, TellHowTheyCameAbout)
{
    const BlockMatrix<double> A = mechanismMatrix(3);
    ASSERT_LT(A.firstTrailing(), A.numBlockRows());

    EXPECT_EQ(analysisOf(A, Ordering::Automatic).method, OrderingMethod::ConstraintAware);
    EXPECT_EQ(analysisOf(A, Ordering::ConstraintAware).method, OrderingMethod::ConstraintAware);
    EXPECT_EQ(analysisOf(A, Ordering::Natural).method, OrderingMethod::Natural);
    EXPECT_EQ(analysisOf(A, Ordering::User).method, OrderingMethod::User);
    if (isOffered(Ordering::NestedDissection)) {
        EXPECT_EQ(analysisOf(A, Ordering::NestedDissection).method,
                  OrderingMethod::NestedDissection);
    }
}

TEST(Orderings, AutomaticWithoutTrailingBlocksIsMinimumDegree)
{
    const Scene scene = kyrOrvel::client::makeLattice(3);

    const Analysis analysis = analysisOf(scene.matrix, Ordering::Automatic);

    EXPECT_EQ(analysis.method, OrderingMethod::Symamd);
    EXPECT_EQ(analysis.order, analysisOf(scene.matrix, Ordering::Symamd).order);
}

TEST(Orderings, OfTreesMakeNoFill)
{
    for (std::uint64_t seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        Words parents(random.integer(2, 60), 0);
        for (unsigned int b = 1; b < parents.size(); ++b)
            parents[b] = random.integer(0, b - 1);
        const BlockMatrix<double> A = treeOf(parents, random.integer(1, 6));
        BlockLDLT<double> solver;

        ASSERT_TRUE(solver.compute(A).ok()) << solver.info().message;

        EXPECT_FALSE(solver.analysis().orderedAgain);
        EXPECT_EQ(solver.analysis().factorBlocks, solver.analysis().matrixBlocks);
        EXPECT_EQ(analysisOf(A, Ordering::Automatic).factorBlocks, solver.analysis().matrixBlocks);
    }
}

// Late elimination of a star's joints would couple them all through the hub.
TEST(Orderings, OfAStarEliminateTheJointsEarly)
{
    const BlockMatrix<double> A = treeOf(Words(50, 0), 5);

    const Analysis analysis = analysisOf(A, Ordering::Automatic);

    EXPECT_EQ(analysis.earlyBlocks, 49u);
    EXPECT_EQ(analysis.factorBlocks, analysis.matrixBlocks);
}

TEST(Orderings, BestHasNoMoreOperationsThanEither)
{
    unsigned int dissected = 0;
    std::vector<BlockMatrix<double>> matrices;
    for (Scene& scene : smallScenes())
        matrices.push_back(std::move(scene.matrix));
    matrices.push_back(kyrOrvel::client::makeLattice(7).matrix);
    for (std::uint64_t seed = 1; seed <= 200; ++seed)
        matrices.push_back(mechanismMatrix(seed));
    for (std::size_t i = 0; i < matrices.size(); ++i) {
        SCOPED_TRACE(i);
        const BlockMatrix<double>& A = matrices[i];

        const Analysis best = analysisOf(A, Ordering::Best);

        EXPECT_LE(best.operations, analysisOf(A, Ordering::ConstraintAware).operations);
        if (isOffered(Ordering::NestedDissection)) {
            EXPECT_LE(best.operations, analysisOf(A, Ordering::NestedDissection).operations);
        }
        dissected += best.method == OrderingMethod::NestedDissection;
    }
    EXPECT_EQ(dissected > 0, isOffered(Ordering::NestedDissection));
}

TEST(Orderings, NestedDissectionIsRefusedWhereItIsMissing)
{
    const Scene scene = kyrOrvel::client::makeRope(3);
    BlockLDLT<double> solver;
    solver.setOrdering(Ordering::NestedDissection);

    const Status status = solver.analyzePattern(scene.matrix);

    EXPECT_EQ(status.code,
              kyrOrvel::client::hasNestedDissection() ? StatusCode::Ok : StatusCode::InvalidInput);
}

// Engines draw from the C library's random numbers and count on the sequence.
TEST(Orderings, LeaveTheRandomNumbersOfTheProcessAlone)
{
    std::srand(5);
    const int expected[] = {std::rand(), std::rand()};
    const Scene scene = kyrOrvel::client::makeLattice(5);
    for (const Ordering ordering : kAll) {
        std::srand(5);
        EXPECT_EQ(std::rand(), expected[0]);
        BlockLDLT<double> solver;
        choose(solver, ordering, scene.matrix);

        solver.analyzePattern(scene.matrix);

        EXPECT_EQ(std::rand(), expected[1]) << static_cast<int>(ordering);
    }
}

TEST(Orderings, OnesThatDoNotExistAreInvalidInput)
{
    BlockLDLT<double> solver;
    solver.setOrdering(static_cast<Ordering>(99));

    EXPECT_EQ(solver.analyzePattern(BlockMatrix<double>({1})).code, StatusCode::InvalidInput);
    EXPECT_EQ(solver.info().message, "there is no such ordering");
}

} // namespace
