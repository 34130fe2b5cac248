#include "client/Captures.h"
#include "support/Files.h"
#include "support/RedundantMechanisms.h"
#include "support/Scalars.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

using captures::readBack;
using captures::systemOf;
using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::Capture;
using kyrOrvel::client::replay;
using kyrOrvel::client::shrink;
using kyrOrvel::client::ShrinkProgress;
using kyrOrvel::client::Status;
using kyrOrvel::client::StatusCode;
using kyrOrvel::client::writeCapture;

namespace {

template <class T> Capture failedCapture(const BlockMatrix<T>& A, const T* b = nullptr)
{
    BlockLDLT<T> solver;
    std::vector<T> x(A.dimension());
    if (solver.compute(A).ok() && b)
        solver.solve(b, x.data());
    EXPECT_FALSE(solver.info().ok());
    const support::Folder folder;
    const std::string path = folder.path("c.capture");
    const Status status = writeCapture(path, solver, A, b, x.data());
    EXPECT_TRUE(status.ok()) << status.message;
    return readBack(path);
}

Capture shrunk(const Capture& capture)
{
    Capture smallest;
    const Status status = shrink(capture, smallest);
    EXPECT_TRUE(status.ok()) << status.message;
    EXPECT_TRUE(replay(smallest).same());
    return smallest;
}

/// The ids of the blocks: by default their numbers in the whole.
template <class T> std::vector<std::uint64_t> idsOf(const Capture& capture)
{
    std::vector<std::uint64_t> ids;
    const BlockMatrix<T>& A = systemOf<T>(capture).matrix;
    for (unsigned int b = 0; b < A.numBlockRows(); ++b)
        ids.push_back(A.id(b));
    return ids;
}

using Ids = std::vector<std::uint64_t>;

/// n scalar bodies in a chain of joints, and a second joint between bodies k and k + 1.
template <class T> BlockMatrix<T> chainWithADoubleJoint(unsigned int n, unsigned int k)
{
    BlockMatrix<T> A(std::vector<unsigned int>(2 * std::size_t(n), 1), n);
    for (unsigned int b = 0; b < n; ++b)
        *A.block(b, b) = 4;
    for (unsigned int j = 0; j < n; ++j) {
        const unsigned int first = j + 1 < n ? j : k;
        *A.block(n + j, first) = 1;
        *A.block(n + j, first + 1) = -1;
    }
    return A;
}

template <class T> class CaptureShrink : public testing::Test {
};
TYPED_TEST_SUITE(CaptureShrink, support::Scalars);

TYPED_TEST(CaptureShrink, DoubledJointIsLeftWithItsBodies)
{
    const Capture capture = failedCapture(chainWithADoubleJoint<TypeParam>(20, 7));
    ASSERT_EQ(capture.outcome.status.code, StatusCode::Singular);

    const Capture smallest = shrunk(capture);

    EXPECT_EQ(smallest.outcome.status.code, StatusCode::Singular);
    EXPECT_EQ(idsOf<TypeParam>(smallest), (Ids{7, 8, 27, 39}));
    EXPECT_EQ(systemOf<TypeParam>(smallest).matrix.firstTrailing(), 2u);
}

// A joint whose bodies are all gone would be singular alone.
TYPED_TEST(CaptureShrink, LoopOfJointsIsLeftWhole)
{
    BlockMatrix<TypeParam> A(std::vector<unsigned int>(9, 1), 5);
    for (unsigned int b = 0; b < 5; ++b)
        *A.block(b, b) = 2;
    const unsigned int ends[4][2] = {{0, 1}, {1, 3}, {2, 3}, {0, 3}};
    for (unsigned int j = 0; j < 4; ++j) {
        *A.block(5 + j, ends[j][0]) = 1;
        *A.block(5 + j, ends[j][1]) = -1;
    }

    EXPECT_EQ(idsOf<TypeParam>(shrunk(failedCapture(A))), (Ids{0, 1, 3, 5, 6, 8}));
}

TYPED_TEST(CaptureShrink, JointThatCouplesToNothingIsLeftAlone)
{
    BlockMatrix<TypeParam> A = support::scalarMatrix<TypeParam>({{4}, {0, 4}, {1, 1, 0}, {}}, 2);

    const Capture smallest = shrunk(failedCapture(A));

    EXPECT_EQ(idsOf<TypeParam>(smallest), Ids{3});
    EXPECT_EQ(smallest.outcome.status.row, kyrOrvel::kNone);
}

// Signs are asked for where there are trailing blocks: one joint is left, with one of its bodies.
TYPED_TEST(CaptureShrink, NegativeMassIsLeftWithAJoint)
{
    BlockMatrix<TypeParam> A = support::scalarMatrix<TypeParam>(
        {{4}, {1, 4}, {0, 0, -3}, {0, 0, 0, 4}, {1, 1, 0, 0, 0}, {0, 1, 0, 1, 0, 0}}, 4);
    const Capture capture = failedCapture(A);
    ASSERT_EQ(capture.outcome.status.code, StatusCode::WrongSigns);

    const Capture smallest = shrunk(capture);

    EXPECT_EQ(idsOf<TypeParam>(smallest), (Ids{0, 2, 4}));
    EXPECT_EQ(smallest.outcome.status.id, 2u);
}

TYPED_TEST(CaptureShrink, NotANumberIsLeftWithItsBlocks)
{
    BlockMatrix<TypeParam> A = chainWithADoubleJoint<TypeParam>(6, 2);
    *A.block(9, 4) = std::numeric_limits<TypeParam>::quiet_NaN();
    const Capture capture = failedCapture(A);
    ASSERT_EQ(capture.outcome.status.code, StatusCode::NotFinite);

    EXPECT_EQ(idsOf<TypeParam>(shrunk(capture)), (Ids{4, 9}));
}

TYPED_TEST(CaptureShrink, FailedSolveKeepsItsRightHandSide)
{
    using T = TypeParam;
    const BlockMatrix<T> A =
        support::scalarMatrix<T>({{4}, {1, 4}, {0, 1, 4}, {0, 0, 1, 4}, {0, 0, 0, 1, 4}});
    const T b[] = {1, 2, 3, std::numeric_limits<T>::infinity(), 5};

    const Capture smallest = shrunk(failedCapture(A, b));

    EXPECT_EQ(idsOf<T>(smallest), Ids{3});
    EXPECT_EQ(systemOf<T>(smallest).rightHandSide, std::vector<T>{b[3]});
    EXPECT_TRUE(smallest.outcome.factored);
}

TYPED_TEST(CaptureShrink, CompliancesGoWithTheirBlocks)
{
    using T = TypeParam;
    const BlockMatrix<T> A = support::scalarMatrix<T>(
        {{4}, {0, 4}, {0, 0, 4}, {1, 0, 0, 0}, {0, 1, 0, 0, 0}, {0, 1, 0, 0, 0, 0}, {0, 0, 1}}, 3);
    BlockLDLT<T> solver;
    ASSERT_TRUE(solver.setCompliance(std::vector<T>{T(0.5), 0, 0, T(0.25)}).ok());
    ASSERT_EQ(solver.compute(A).code, StatusCode::Singular);
    const support::Folder folder;
    ASSERT_TRUE(writeCapture(folder.path("c"), solver, A).ok());

    const Capture smallest = shrunk(readBack(folder.path("c")));

    EXPECT_EQ(idsOf<T>(smallest), (Ids{1, 4, 5}));
    EXPECT_EQ(systemOf<T>(smallest).settings.compliances, (std::vector<T>{0, 0}));
}

TYPED_TEST(CaptureShrink, IdsOfTheCallerAreKept)
{
    BlockMatrix<TypeParam> A = chainWithADoubleJoint<TypeParam>(5, 1);
    for (unsigned int b = 0; b < A.numBlockRows(); ++b)
        A.setId(b, 1000 + b);

    EXPECT_EQ(idsOf<TypeParam>(shrunk(failedCapture(A))), (Ids{1001, 1002, 1006, 1009}));
}

TYPED_TEST(CaptureShrink, NoBlockCanBeTakenFromTheResult)
{
    using T = TypeParam;
    for (std::uint64_t seed = 1; seed <= 12; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        support::Random random(seed);
        const support::Mechanism mechanism = support::redundantMechanism(random);
        if (mechanism.bodies.empty())
            continue;
        const Capture smallest = shrunk(failedCapture(support::matrixOf<T>(mechanism)));
        Capture again;
        ASSERT_TRUE(shrink(smallest, again).ok());
        EXPECT_EQ(idsOf<T>(again), idsOf<T>(smallest));
    }
}

TYPED_TEST(CaptureShrink, OrderThatNamesNoBlocksStaysWrong)
{
    using T = TypeParam;
    const BlockMatrix<T> A = support::scalarMatrix<T>({{4}, {1, 4}});
    BlockLDLT<T> solver;
    solver.setOrder({0, 7});
    ASSERT_EQ(solver.compute(A).code, StatusCode::InvalidInput);
    const support::Folder folder;
    ASSERT_TRUE(writeCapture(folder.path("c"), solver, A).ok());

    const Capture smallest = shrunk(readBack(folder.path("c")));

    EXPECT_EQ(idsOf<T>(smallest), Ids{0});
    EXPECT_EQ(systemOf<T>(smallest).settings.order, (std::vector<unsigned int>{0, 7}));
}

/// Some values replaced by zeros, infinities and the like.
template <class T> BlockMatrix<T> spoiledSystem(support::Random& random)
{
    support::KktShape shape;
    shape.bodies = random.integer(1, 8);
    shape.joints = random.integer(0, shape.bodies);
    shape.partners = 2;
    BlockMatrix<T> A = support::randomKkt<T>(random, shape);
    for (unsigned int r = 0; r < A.numBlockRows(); ++r)
        for (const auto& entry : A.row(r))
            if (random.chance(0.15))
                entry.values[0] = random.chance(0.2) ? random.nastyScalar<T>() : T(0);
    return A;
}

TYPED_TEST(CaptureShrink, AnyFailureIsShrunkToOneThatReplays)
{
    using T = TypeParam;
    unsigned int failures = 0;
    for (std::uint64_t seed = 1; seed <= 300; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        support::Random random(seed);
        const BlockMatrix<T> A = spoiledSystem<T>(random);
        const std::vector<T> b = random.scalars<T>(A.dimension());
        BlockLDLT<T> solver;
        std::vector<T> x(b.size());
        if (solver.compute(A).ok() && solver.solve(b.data(), x.data()).ok())
            continue;
        const Capture capture = failedCapture(A, b.data());
        const Capture smallest = shrunk(capture);
        EXPECT_EQ(smallest.outcome.status.code, capture.outcome.status.code);
        EXPECT_LE(idsOf<T>(smallest).size(), A.numBlockRows());
        ++failures;
    }
    EXPECT_GT(failures, 30u);
}

TEST(CaptureShrinkProgress, TellsFewerAndFewerBlocks)
{
    const Capture capture = failedCapture(chainWithADoubleJoint<double>(20, 7));
    std::vector<ShrinkProgress> told;
    Capture smallest;

    ASSERT_TRUE(shrink(capture, smallest, [&](const ShrinkProgress& progress) {
                    told.push_back(progress);
                    return true;
                }).ok());

    ASSERT_FALSE(told.empty());
    for (std::size_t i = 0; i < told.size(); ++i) {
        EXPECT_EQ(told[i].tried, i + 1);
        if (i > 0) {
            EXPECT_LE(told[i].blocks, told[i - 1].blocks);
        }
    }
    EXPECT_EQ(told.back().blocks, 4u);
    EXPECT_LE(told.size(), 200u) << "each of 40 blocks is tried a few times at the most";
}

TEST(CaptureShrinkProgress, FalseEndsTheSearchWithAFailingSystem)
{
    const Capture capture = failedCapture(chainWithADoubleJoint<double>(20, 7));
    std::size_t tried = 0;
    Capture smallest;

    ASSERT_TRUE(shrink(capture, smallest, [&](const ShrinkProgress& progress) {
                    tried = progress.tried;
                    return progress.tried < 5;
                }).ok());

    EXPECT_EQ(tried, 5u);
    EXPECT_EQ(smallest.outcome.status.code, StatusCode::Singular);
    EXPECT_LE(systemOf<double>(smallest).matrix.numBlockRows(), 40u);
}

TEST(CaptureShrinkErrors, SystemThatDidNotFailIsRefused)
{
    Capture smallest;
    smallest.outcome.L = 42;

    const Status status = shrink(Capture(), smallest);

    EXPECT_EQ(status.code, StatusCode::InvalidInput);
    EXPECT_EQ(status.message, "the system captured did not fail: nothing to shrink");
    EXPECT_EQ(smallest.outcome.L, 42u);
}

TEST(CaptureShrinkErrors, SystemThatDoesNotFailAgainIsRefused)
{
    Capture capture = failedCapture(chainWithADoubleJoint<double>(3, 1));
    auto& system = std::get<kyrOrvel::client::CapturedSystem<double>>(capture.system);
    *system.matrix.block(5, 1) = 0.5;
    *system.matrix.block(5, 0) = 1;
    Capture smallest;

    const Status status = shrink(capture, smallest);

    EXPECT_EQ(status.code, StatusCode::InvalidInput);
    EXPECT_EQ(status.message,
              "the system does not fail as captured: its status is Ok, and was Singular");
}

} // namespace
