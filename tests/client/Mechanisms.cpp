// Joint mechanisms at zero compliance, as physics engines make them.

#include "support/Mechanisms.h"
#include "support/BlockSystems.h"
#include "support/Random.h"
#include "support/RedundantMechanisms.h"

#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/Diagnosis>

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::Dependency;
using kyrOrvel::client::Ordering;
using kyrOrvel::client::Status;
using kyrOrvel::client::StatusCode;
using support::Mechanism;
using support::Random;

namespace {

/// The backward error of a solve without refinement.
double solvedError(BlockLDLT<double>& solver, const BlockMatrix<double>& A)
{
    Random random(1);
    const std::vector<double> b = random.scalars<double>(A.dimension());
    std::vector<double> x(b.size());
    EXPECT_TRUE(solver.solve(b.data(), x.data()).ok()) << solver.info().message;
    return support::backwardError(A, x, b);
}

/// Seeds of one test: a thousand each, so that they can run side by side.
class Mechanisms : public testing::TestWithParam<unsigned int> {
protected:
    template <class F> static void forEachSeed(F f)
    {
        for (unsigned int i = 1; i <= 1000; ++i) {
            const unsigned int seed = 1000 * GetParam() + i;
            SCOPED_TRACE(seed);
            Random random(seed);
            f(random);
            if (HasFatalFailure())
                return;
        }
    }
};

TEST_P(Mechanisms, WithoutRedundantJointsAreSolvedAccurately)
{
    forEachSeed([](Random& random) {
        const auto A = support::matrixOf<double>(support::randomMechanism(random));
        BlockLDLT<double> solver;

        ASSERT_TRUE(solver.compute(A).ok()) << solver.info().message;

        ASSERT_LT(solvedError(solver, A), 1e-12);
    });
}

INSTANTIATE_TEST_SUITE_P(TenThousand, Mechanisms, testing::Range(0u, 10u));

class SomeMechanisms : public Mechanisms {};

TEST_P(SomeMechanisms, AnalysedByPatternAloneAreSolvedAccurately)
{
    unsigned int again = 0;
    forEachSeed([&](Random& random) {
        const auto A = support::matrixOf<double>(support::randomMechanism(random));
        BlockLDLT<double> solver;
        ASSERT_TRUE(solver.analyzePattern(A).ok()) << solver.info().message;

        ASSERT_TRUE(solver.factorize(A).ok()) << solver.info().message;

        ASSERT_LT(solvedError(solver, A), 1e-12);
        again += solver.analysis().orderedAgain;
    });
    EXPECT_GT(again, 5u) << "counting rows should not always be enough";
}

TEST_P(SomeMechanisms, InOtherOrdersAreSolvedAccurately)
{
    forEachSeed([](Random& random) {
        const auto A = support::matrixOf<double>(support::randomMechanism(random));
        for (const Ordering ordering : {Ordering::Natural, Ordering::Best}) {
            BlockLDLT<double> solver;
            solver.setOrdering(ordering);
            ASSERT_TRUE(solver.compute(A).ok()) << solver.info().message;
            ASSERT_LT(solvedError(solver, A), 1e-12);
        }
    });
}

/// |row - Σ coefficient·row| / |row| of the dependency that a status reports.
double unexplained(const BlockMatrix<double>& A, const Status& status)
{
    const auto dense = support::denseOf(A);
    auto rest = dense[A.blockOffset(status.block) + status.row];
    long double whole = 0;
    for (const long double v : rest)
        whole += v * v;
    for (const Dependency& dependency : status.dependsOn)
        for (std::size_t k = 0; k < rest.size(); ++k)
            rest[k] -=
                dependency.coefficient * dense[A.blockOffset(dependency.block) + dependency.row][k];
    long double left = 0;
    for (const long double v : rest)
        left += v * v;
    return double(std::sqrt(left / whole));
}

TEST_P(SomeMechanisms, WithOneJointTooManyNameOneWhoseRemovalHelps)
{
    unsigned int told = 0;
    unsigned int roughly = 0;
    forEachSeed([&](Random& random) {
        const Mechanism mechanism = support::redundantMechanism(random);
        if (mechanism.bodies.empty())
            return;
        const auto A = support::matrixOf<double>(mechanism);
        BlockLDLT<double> solver;

        const Status status = solver.compute(A);

        ++told;
        ASSERT_EQ(status.code, StatusCode::Singular);
        ASSERT_GE(status.block, A.firstTrailing()) << status.message;
        ASSERT_LT(status.block, A.numBlockRows());
        const double share = unexplained(A, status);
        ASSERT_LT(share, 1e-4) << status.message; // 3e-5 was seen
        roughly += share > 1e-6;
        Mechanism rest = mechanism;
        rest.joints.erase(rest.joints.begin() + (status.block - A.firstTrailing()));
        if (!support::isIndependent(rest, 1e-4))
            return; // there was more than one too many
        const auto B = support::matrixOf<double>(rest);
        ASSERT_TRUE(solver.compute(B).ok()) << solver.info().message;
    });
    EXPECT_GT(told, 700u);
    EXPECT_LE(roughly, 1u);
}

TEST_P(SomeMechanisms, WithRedundantJointsFactorWithoutThoseThatAreFound)
{
    forEachSeed([&](Random& random) {
        Mechanism mechanism = support::redundantMechanism(random);
        if (mechanism.joints.empty())
            return;
        mechanism.joints.push_back(mechanism.joints.front()); // one more
        const auto A = support::matrixOf<double>(mechanism);

        const std::vector<Status> found = kyrOrvel::client::findRedundant(A);

        ASSERT_FALSE(found.empty());
        Mechanism rest;
        rest.bodies = mechanism.bodies;
        std::vector<bool> removed(mechanism.joints.size(), false);
        for (const Status& status : found) {
            ASSERT_EQ(status.code, StatusCode::Singular) << status.message;
            removed[status.block - A.firstTrailing()] = true;
        }
        for (std::size_t j = 0; j < mechanism.joints.size(); ++j)
            if (!removed[j])
                rest.joints.push_back(mechanism.joints[j]);
        BlockLDLT<double> solver;
        ASSERT_TRUE(solver.compute(support::matrixOf<double>(rest)).ok()) << solver.info().message;
    });
}

TEST_P(SomeMechanisms, WithOneJointTooManyFactorWithTheComplianceProposed)
{
    forEachSeed([&](Random& random) {
        const Mechanism mechanism = support::redundantMechanism(random);
        if (mechanism.bodies.empty())
            return;
        const auto A = support::matrixOf<double>(mechanism);
        BlockLDLT<double> solver;
        const Status status = solver.compute(A);
        ASSERT_GT(status.compliance, 0) << status.message;

        solver.setCompliance(status.compliance);

        ASSERT_TRUE(solver.compute(A).ok()) << solver.info().message;
    });
}

INSTANTIATE_TEST_SUITE_P(OneThousand, SomeMechanisms, testing::Values(20u));

TEST(FindRedundant, FindsNothingWhereNothingIs)
{
    Random random(1);
    EXPECT_TRUE(
        kyrOrvel::client::findRedundant(support::matrixOf<double>(support::randomMechanism(random)))
            .empty());
}

TEST(FindRedundant, EndsWithWhatIsNoMatterOfRedundancy)
{
    // The second body has no mass; the two constraints are the same.
    const auto A = support::scalarMatrix<double>({{4}, {0, 0}, {1, 0, 0}, {1, 0, 0, 0}}, 2);

    const std::vector<Status> found = kyrOrvel::client::findRedundant(A);

    ASSERT_FALSE(found.empty());
    EXPECT_EQ(found.back().block, 1u);
}

} // namespace
