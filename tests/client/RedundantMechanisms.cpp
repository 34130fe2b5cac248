// Mechanisms with one joint too many, at zero compliance: never Ok, and the report can be acted on.

#include "support/BlockSystems.h"
#include "support/Mechanisms.h"
#include "support/Random.h"

#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/Diagnosis>

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::Dependency;
using kyrOrvel::client::Status;
using kyrOrvel::client::StatusCode;
using support::Joint;
using support::JointKind;
using support::Mechanism;
using support::Random;
using support::RowSpace;

namespace {

/// Shares of its length that a row keeps beside the others: clearly independent, and dependent up
/// to rounding. Nothing in between is drawn.
constexpr double kApart = 1e-3;
constexpr double kExact = 1e-12;

RowSpace spaceOf(const Mechanism& mechanism)
{
    RowSpace space(mechanism.bodies);
    for (const Joint& joint : mechanism.joints)
        space.add(joint, 0);
    return space;
}

/// Cuts a joint behind its first row that depends on a space; false if there is none, or if a row
/// is neither clearly independent nor dependent.
bool cutBehindDependentRow(const RowSpace& space, Joint& joint)
{
    const std::vector<Joint>::size_type all = joint.rows.size();
    for (std::size_t n = 1; n <= all; ++n) {
        Joint part = joint;
        part.rows.resize(n);
        if (space.isIndependent(part, kApart))
            continue;
        joint.rows.resize(n);
        return !space.isIndependent(part, kExact);
    }
    return false;
}

Mechanism insert(Random& random, Mechanism mechanism, Joint joint)
{
    const auto at = random.integer(0, static_cast<unsigned int>(mechanism.joints.size()));
    mechanism.joints.insert(mechanism.joints.begin() + at, std::move(joint));
    return mechanism;
}

Mechanism withJoints(Random& random)
{
    for (;;) {
        Mechanism mechanism = support::randomMechanism(random, kApart);
        if (!mechanism.joints.empty())
            return mechanism;
    }
}

const Joint& anyJoint(Random& random, const Mechanism& mechanism)
{
    return mechanism
        .joints[random.integer(0, static_cast<unsigned int>(mechanism.joints.size() - 1))];
}

Mechanism duplicated(Random& random)
{
    Mechanism mechanism = withJoints(random);
    const Joint joint = anyJoint(random, mechanism);
    return insert(random, std::move(mechanism), joint);
}

Mechanism repeatedInPart(Random& random)
{
    Mechanism mechanism = withJoints(random);
    Joint joint = anyJoint(random, mechanism);
    joint.rows.resize(random.integer(1, static_cast<unsigned int>(joint.rows.size())));
    for (auto& pair : joint.rows)
        for (auto& row : pair)
            for (double& value : row)
                value *= -2;
    return insert(random, std::move(mechanism), std::move(joint));
}

/// A loop closed by a joint of which one row is too many.
Mechanism overClosed(Random& random)
{
    for (;;) {
        Mechanism mechanism = withJoints(random);
        const RowSpace space = spaceOf(mechanism);
        const auto last = static_cast<unsigned int>(mechanism.bodies.size() - 1);
        for (int attempt = 0; attempt < 20; ++attempt) {
            const unsigned int first = random.integer(0, last);
            const unsigned int second =
                random.chance(0.3) ? Joint::kGround : random.integer(0, last);
            if (first == second)
                continue;
            Joint joint =
                support::randomJoint(random, mechanism.bodies, first, second, random.chance(0.5));
            if (cutBehindDependentRow(space, joint))
                return insert(random, std::move(mechanism), std::move(joint));
        }
    }
}

/// Bodies in a row, each welded to the one before and the first to the ground, so that nothing can
/// move; and one row of a joint between the last one and the ground.
Mechanism groundedBridge(Random& random)
{
    const unsigned int n = random.integer(2, 12);
    const bool aligned = random.chance(0.5);
    Mechanism mechanism;
    mechanism.bodies = support::makeBodies(random, n, aligned);
    for (support::Body& body : mechanism.bodies)
        body.rigid = true;
    for (unsigned int b = 0; b < n; ++b)
        mechanism.joints.push_back(support::makeJoint(
            mechanism.bodies, JointKind::Weld, b, b == 0 ? Joint::kGround : b - 1,
            mechanism.bodies[b].at, support::direction(random, aligned)));
    Joint extra = support::randomJoint(random, mechanism.bodies, n - 1, Joint::kGround, aligned);
    extra.rows.resize(1);
    return insert(random, std::move(mechanism), std::move(extra));
}

Mechanism without(Mechanism mechanism, unsigned int joint)
{
    mechanism.joints.erase(mechanism.joints.begin() + joint);
    return mechanism;
}

/// How much of the failed row is left, of its length, without what it is said to depend on.
double unexplainedShare(const BlockMatrix<double>& A, const Status& status)
{
    const support::Dense dense = support::denseOf(A);
    std::vector<long double> row = dense[A.blockOffset(status.block) + status.row];
    const auto normOf = [](const std::vector<long double>& v) {
        long double sum = 0;
        for (const long double x : v)
            sum += x * x;
        return std::sqrt(sum);
    };
    const long double whole = normOf(row);
    for (const Dependency& dependency : status.dependsOn)
        for (std::size_t j = 0; j < row.size(); ++j)
            row[j] -= static_cast<long double>(dependency.coefficient) *
                      dense[A.blockOffset(dependency.block) + dependency.row][j];
    return static_cast<double>(normOf(row) / whole);
}

/// The factorization by values, or by the pattern alone.
Status computed(const BlockMatrix<double>& A, bool byPattern)
{
    BlockLDLT<double> solver;
    if (!byPattern)
        return solver.compute(A);
    return solver.analyzePattern(A).ok() ? solver.factorize(A) : solver.info();
}

void expectHelpfulReport(const Mechanism& mechanism, bool byPattern)
{
    const auto A = support::matrixOf<double>(mechanism);

    const Status status = computed(A, byPattern);

    ASSERT_EQ(status.code, StatusCode::Singular) << status.message;
    ASSERT_GE(status.block, A.firstTrailing()) << status.message;
    ASSERT_LT(status.block, A.numBlockRows());
    EXPECT_FALSE(status.dependsOn.empty()) << status.message;
    EXPECT_LT(unexplainedShare(A, status), 1e-5) << status.message; // 4e-6 was seen
    const unsigned int joint = status.block - A.firstTrailing();
    const Status rest = computed(support::matrixOf<double>(without(mechanism, joint)), byPattern);
    EXPECT_TRUE(rest.ok()) << rest.message << "\n after " << status.message;
}

void expectComplianceHelps(const Mechanism& mechanism)
{
    const auto A = support::matrixOf<double>(mechanism);
    BlockLDLT<double> solver;
    ASSERT_EQ(solver.compute(A).code, StatusCode::Singular) << solver.info().message;
    std::vector<double> compliances(mechanism.joints.size(), 0);
    ASSERT_GT(solver.info().compliance, 0);
    compliances[solver.info().block - A.firstTrailing()] = solver.info().compliance;
    ASSERT_TRUE(solver.setCompliance(compliances).ok());

    EXPECT_TRUE(solver.compute(A).ok()) << solver.info().message;
}

void expectRestOfFoundFactors(const Mechanism& mechanism)
{
    const auto A = support::matrixOf<double>(mechanism);

    const std::vector<Status> found = kyrOrvel::client::findRedundant(A);

    ASSERT_FALSE(found.empty());
    std::vector<bool> redundant(mechanism.joints.size(), false);
    for (const Status& status : found) {
        ASSERT_EQ(status.code, StatusCode::Singular) << status.message;
        redundant.at(status.block - A.firstTrailing()) = true;
    }
    Mechanism rest = mechanism;
    for (unsigned int j = static_cast<unsigned int>(redundant.size()); j-- > 0;)
        if (redundant[j])
            rest = without(std::move(rest), j);
    EXPECT_LT(rest.joints.size(), mechanism.joints.size());
    const Status status = computed(support::matrixOf<double>(rest), false);
    EXPECT_TRUE(status.ok()) << status.message;
}

using Make = Mechanism (*)(Random&);

struct Kind {
    const char* name;
    Make make;
};

class RedundantMechanisms : public testing::TestWithParam<Kind> {
protected:
    template <class Check> static void forEachSeed(std::uint64_t seeds, Check check)
    {
        for (std::uint64_t seed = 1; seed <= seeds; ++seed) {
            SCOPED_TRACE(seed);
            Random random(seed);
            check(GetParam().make(random), seed);
            if (testing::Test::HasFailure())
                return;
        }
    }
};

TEST_P(RedundantMechanisms, NameAJointWithoutWhichTheRestFactors)
{
    forEachSeed(1250, [](const Mechanism& mechanism, std::uint64_t seed) {
        expectHelpfulReport(mechanism, seed % 2 == 0);
    });
}

TEST_P(RedundantMechanisms, FactorWithTheComplianceProposed)
{
    forEachSeed(500, [](const Mechanism& mechanism, std::uint64_t /*seed*/) {
        expectComplianceHelps(mechanism);
    });
}

TEST_P(RedundantMechanisms, FactorWithoutTheJointsFound)
{
    forEachSeed(500, [](const Mechanism& mechanism, std::uint64_t /*seed*/) {
        expectRestOfFoundFactors(mechanism);
    });
}

INSTANTIATE_TEST_SUITE_P(Of, RedundantMechanisms,
                         testing::Values(Kind{"Duplicated", duplicated},
                                         Kind{"RepeatedInPart", repeatedInPart},
                                         Kind{"OverClosed", overClosed},
                                         Kind{"GroundedBridge", groundedBridge}),
                         [](const auto& kind) { return kind.param.name; });

} // namespace
