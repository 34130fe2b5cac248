// Mechanisms of bodies and joints without redundancy, at zero compliance: every one has to factor
// and to be solved to rounding, whatever its joints and however they close.

#include "support/Mechanisms.h"
#include "support/BlockSystems.h"
#include "support/Random.h"

#include <kyrOrvelClient/BlockLDLT>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <vector>

using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::Ordering;
using support::Mechanism;
using support::Random;

namespace {

constexpr std::uint64_t kSeedsPerTest = 2000;
constexpr double kRounding = 1e-12;

/// The seeds from a parameter on.
class Mechanisms : public testing::TestWithParam<std::uint64_t> {
protected:
    template <class Check> static void forEachSeed(std::uint64_t seeds, Check check)
    {
        for (std::uint64_t seed = GetParam(); seed < GetParam() + seeds; ++seed) {
            SCOPED_TRACE(seed);
            Random random(seed);
            const Mechanism mechanism = support::randomMechanism(random);
            check(support::matrixOf<double>(mechanism), random);
            if (testing::Test::HasFailure())
                return;
        }
    }

    static void expectSolvedToRounding(BlockLDLT<double>& solver, const BlockMatrix<double>& A,
                                       Random& random)
    {
        ASSERT_TRUE(solver.info().ok()) << solver.info().message;
        const std::vector<double> b = random.scalars<double>(A.dimension());
        std::vector<double> x(b.size());
        ASSERT_TRUE(solver.solve(b.data(), x.data()).ok()) << solver.info().message;
        EXPECT_LT(support::backwardError(A, x, b), kRounding);
    }

    /// By inertia: a pivot of its sign for every freedom and for every joint row.
    static void expectSigns(const BlockLDLT<double>& solver, const BlockMatrix<double>& A)
    {
        const std::size_t freedoms =
            A.firstTrailing() < A.numBlockRows() ? A.blockOffset(A.firstTrailing()) : A.dimension();
        EXPECT_EQ(solver.statistics().positivePivots, freedoms);
        EXPECT_EQ(solver.statistics().negativePivots, A.dimension() - freedoms);
        EXPECT_EQ(solver.statistics().regularizedPivots, 0u);
    }
};

TEST_P(Mechanisms, OrderedByTheirValuesAreSolvedToRounding)
{
    forEachSeed(kSeedsPerTest, [](const BlockMatrix<double>& A, Random& random) {
        BlockLDLT<double> solver;

        solver.compute(A);

        expectSolvedToRounding(solver, A, random);
        expectSigns(solver, A);
    });
}

INSTANTIATE_TEST_SUITE_P(SeedsFrom, Mechanisms, testing::Values(1, 2001, 4001, 6001, 8001),
                         testing::PrintToStringParamName());

class MechanismsByPattern : public Mechanisms {};

TEST_P(MechanismsByPattern, AreSolvedToRounding)
{
    forEachSeed(kSeedsPerTest, [](const BlockMatrix<double>& A, Random& random) {
        BlockLDLT<double> solver;
        ASSERT_TRUE(solver.analyzePattern(A).ok()) << solver.info().message;

        solver.factorize(A);

        expectSolvedToRounding(solver, A, random);
        expectSigns(solver, A);
    });
}

INSTANTIATE_TEST_SUITE_P(SeedsFrom, MechanismsByPattern, testing::Values(1),
                         testing::PrintToStringParamName());

/// Every order that promises safe pivots keeps the promise.
class MechanismsInOrder : public Mechanisms {
protected:
    static void expectSolved(Ordering ordering)
    {
        forEachSeed(400, [&](const BlockMatrix<double>& A, Random& random) {
            BlockLDLT<double> solver;
            solver.setOrdering(ordering);

            solver.compute(A);

            expectSolvedToRounding(solver, A, random);
            expectSigns(solver, A);
        });
    }
};

TEST_P(MechanismsInOrder, NaturalAreSolvedToRounding)
{
    expectSolved(Ordering::Natural);
}

TEST_P(MechanismsInOrder, OfNestedDissectionAreSolvedToRounding)
{
    if (!kyrOrvel::client::hasNestedDissection())
        GTEST_SKIP() << "built without METIS";
    expectSolved(Ordering::NestedDissection);
}

TEST_P(MechanismsInOrder, BestAreSolvedToRounding)
{
    expectSolved(Ordering::Best);
}

INSTANTIATE_TEST_SUITE_P(SeedsFrom, MechanismsInOrder, testing::Values(1),
                         testing::PrintToStringParamName());

} // namespace
