// The memory that an analysis foretells, against what is held once the matrix is factored.

#include "support/Allocations.h"
#include "support/BlockSystems.h"
#include "support/Random.h"

#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/Scenes>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <vector>

using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::Factorization;

namespace {

/// What is foretold may be that much more or less than what is held.
constexpr double kFactor = 1.1;

struct Bytes {
    double foretold = 0;
    double held = 0;
};

template <class T>
Bytes bytesOf(const BlockMatrix<T>& A, const std::vector<T>& b,
              Factorization factorization = Factorization::Serial)
{
    std::vector<T> x(b.size());
    const std::size_t before = support::liveBytes();
    BlockLDLT<T> solver;
    solver.setThreads(2);
    solver.setFactorization(factorization);
    Bytes bytes;
    EXPECT_TRUE(solver.analyzePattern(A).ok());
    bytes.foretold = double(solver.statistics().bytes);
    EXPECT_TRUE(solver.factorize(A).ok()) << solver.info().message;
    EXPECT_FALSE(solver.analysis().orderedAgain) << "the figure is that of another order";
    EXPECT_TRUE(solver.solve(b.data(), x.data()).ok());
    bytes.held = double(support::liveBytes() - before);
    return bytes;
}

void expectForetold(const Bytes& bytes)
{
    EXPECT_LT(bytes.held, kFactor * bytes.foretold);
    EXPECT_GT(bytes.held, bytes.foretold / kFactor);
}

void expectForetold(const kyrOrvel::client::Scene& scene)
{
    for (const Factorization factorization :
         {Factorization::Serial, Factorization::Multifrontal, Factorization::Parallel}) {
        SCOPED_TRACE(int(factorization));
        expectForetold(bytesOf(scene.matrix, scene.rightHandSide, factorization));
    }
}

TEST(ReportedBytes, OfARope)
{
    expectForetold(kyrOrvel::client::makeRope(300));
}

TEST(ReportedBytes, OfARagdollPile)
{
    expectForetold(kyrOrvel::client::makeRagdollPile(20));
}

TEST(ReportedBytes, OfALattice)
{
    expectForetold(kyrOrvel::client::makeLattice(6));
}

TEST(ReportedBytes, OfManyTinyBlocks)
{
    support::Random random(4);
    const auto A = support::randomSpd<double>(random, 1000, 0.003, 1, 1);

    expectForetold(bytesOf(A, random.scalars<double>(A.dimension())));
}

TEST(ReportedBytes, OfSinglePrecision)
{
    support::Random random(4);
    const auto A = support::randomSpd<float>(random, 200, 0.03, 4, 6);

    expectForetold(bytesOf(A, random.scalars<float>(A.dimension())));
}

TEST(ReportedBytes, OfOneLargeBlock)
{
    support::Random random(4);
    const auto A = support::randomSpd<double>(random, 1, 0, 200, 200);

    expectForetold(bytesOf(A, random.scalars<double>(A.dimension())));
}

} // namespace
