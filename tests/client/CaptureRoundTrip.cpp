#include "client/Captures.h"
#include "support/Bits.h"
#include "support/Files.h"
#include "support/Scalars.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

using captures::readBack;
using captures::systemOf;
using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::Capture;
using kyrOrvel::client::CapturedSystem;
using kyrOrvel::client::Factorization;
using kyrOrvel::client::Ordering;
using kyrOrvel::client::Regularization;
using kyrOrvel::client::Signs;
using kyrOrvel::client::SolverSettings;
using kyrOrvel::client::StatusCode;
using kyrOrvel::client::Waiting;
using kyrOrvel::client::writeCapture;
using support::Random;

namespace {

template <class T> class CaptureRoundTrip : public testing::Test {
protected:
    support::Folder m_folder;

    std::string path() const { return m_folder.path("c.capture"); }
};
TYPED_TEST_SUITE(CaptureRoundTrip, support::Scalars);

template <class T> void expectSameMatrix(const BlockMatrix<T>& actual, const BlockMatrix<T>& A)
{
    EXPECT_EQ(actual.blockSizes(), A.blockSizes());
    EXPECT_EQ(actual.firstTrailing(), A.firstTrailing());
    EXPECT_EQ(actual.hasIds(), A.hasIds());
    for (unsigned int r = 0; r < A.numBlockRows(); ++r) {
        EXPECT_EQ(actual.id(r), A.id(r));
        ASSERT_EQ(actual.row(r).size(), A.row(r).size()) << "block row " << r;
        for (std::size_t i = 0; i < A.row(r).size(); ++i) {
            const auto& entry = A.row(r)[i];
            ASSERT_EQ(actual.row(r)[i].column, entry.column);
            const std::size_t size = std::size_t(A.blockSize(r)) * A.blockSize(entry.column);
            EXPECT_EQ(std::memcmp(actual.row(r)[i].values, entry.values, size * sizeof(T)), 0);
        }
    }
}

TYPED_TEST(CaptureRoundTrip, MatrixAndRightHandSideAreTheSameToTheBit)
{
    using T = TypeParam;
    for (std::uint64_t seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        const BlockMatrix<T> A = support::randomKkt<T>(random, {});
        const std::vector<T> b = random.scalars<T>(A.dimension());
        BlockLDLT<T> solver;

        ASSERT_TRUE(writeCapture(this->path(), solver, A, b.data()).ok());

        const Capture capture = readBack(this->path());
        expectSameMatrix(systemOf<T>(capture).matrix, A);
        EXPECT_TRUE(systemOf<T>(capture).hasRightHandSide);
        ASSERT_EQ(systemOf<T>(capture).rightHandSide.size(), b.size());
        EXPECT_TRUE(
            support::sameBits(systemOf<T>(capture).rightHandSide.data(), b.data(), b.size()));
    }
}

TYPED_TEST(CaptureRoundTrip, HardValuesAndTheUnreadTriangleAreKept)
{
    using T = TypeParam;
    using Limits = std::numeric_limits<T>;
    BlockMatrix<T> A({2, 0, 1}, 2);
    const T values[] = {Limits::infinity(), -Limits::quiet_NaN(), T(-0.0), Limits::denorm_min()};
    std::copy_n(values, 4, A.block(0, 0));
    A.block(1, 0);
    std::copy_n(values + 1, 2, A.block(2, 0));

    ASSERT_TRUE(writeCapture(this->path(), BlockLDLT<T>(), A).ok());

    const Capture capture = readBack(this->path());
    expectSameMatrix(systemOf<T>(capture).matrix, A);
    EXPECT_FALSE(systemOf<T>(capture).hasRightHandSide);
}

TYPED_TEST(CaptureRoundTrip, IdsAreKept)
{
    using T = TypeParam;
    BlockMatrix<T> A({1, 2, 3}, 1);
    A.setId(0, 0xFFFFFFFFFFFFFFFFu);
    A.setId(2, 77);

    ASSERT_TRUE(writeCapture(this->path(), BlockLDLT<T>(), A).ok());

    expectSameMatrix(systemOf<T>(readBack(this->path())).matrix, A);
}

TYPED_TEST(CaptureRoundTrip, MatrixWithoutBlocksIsKept)
{
    using T = TypeParam;
    ASSERT_TRUE(writeCapture(this->path(), BlockLDLT<T>(), BlockMatrix<T>()).ok());

    EXPECT_EQ(systemOf<T>(readBack(this->path())).matrix.numBlockRows(), 0u);
}

TYPED_TEST(CaptureRoundTrip, EverySettingIsKept)
{
    using T = TypeParam;
    SolverSettings<T> written;
    written.threads = 7;
    written.factorization = Factorization::Multifrontal;
    written.waiting = Waiting::Spinning;
    written.ordering = Ordering::User;
    written.order = {2, 0, 1};
    written.signs = Signs::Any;
    written.compliances = {T(0.25), T(3)};
    written.regularization = Regularization::Dynamic;
    written.share = T(1e-3);
    written.corrections = -5;
    written.cacheSize = 9;
    BlockLDLT<T> solver;
    ASSERT_TRUE(solver.setSettings(written).ok());

    ASSERT_TRUE(writeCapture(this->path(), solver, BlockMatrix<T>({1, 1, 1}, 1)).ok());

    const Capture capture = readBack(this->path());
    const SolverSettings<T>& read = systemOf<T>(capture).settings;
    EXPECT_EQ(read.threads, 7u);
    EXPECT_EQ(read.factorization, Factorization::Multifrontal);
    EXPECT_EQ(read.waiting, Waiting::Spinning);
    EXPECT_EQ(read.ordering, Ordering::User);
    EXPECT_EQ(read.order, (std::vector<unsigned int>{2, 0, 1}));
    EXPECT_EQ(read.signs, Signs::Any);
    EXPECT_EQ(read.compliance, T(0));
    EXPECT_EQ(read.compliances, (std::vector<T>{T(0.25), T(3)}));
    EXPECT_EQ(read.regularization, Regularization::Dynamic);
    EXPECT_EQ(read.share, T(1e-3));
    EXPECT_EQ(read.corrections, -5);
    EXPECT_EQ(read.cacheSize, 9u);
}

TYPED_TEST(CaptureRoundTrip, OneComplianceForAllIsKept)
{
    using T = TypeParam;
    BlockLDLT<T> solver;
    ASSERT_TRUE(solver.setCompliance(T(0.125)).ok());

    ASSERT_TRUE(writeCapture(this->path(), solver, BlockMatrix<T>({1, 1}, 1)).ok());

    const Capture capture = readBack(this->path());
    EXPECT_EQ(systemOf<T>(capture).settings.compliance, T(0.125));
    EXPECT_TRUE(systemOf<T>(capture).settings.compliances.empty());
}

// 4 . 1 1     Blocks 2 and 3 are the same constraint.
// . 4 1 1
// 1 1 . .
// 1 1 . .
TYPED_TEST(CaptureRoundTrip, StatusOfAFailureIsKept)
{
    using T = TypeParam;
    BlockMatrix<T> A = support::scalarMatrix<T>({{4}, {0, 4}, {1, 1, 0}, {1, 1, 0, 0}}, 2);
    A.setId(3, 1003);
    BlockLDLT<T> solver;
    ASSERT_EQ(solver.compute(A).code, StatusCode::Singular);

    ASSERT_TRUE(writeCapture(this->path(), solver, A).ok());

    const Capture capture = readBack(this->path());
    const auto& status = capture.outcome.status;
    EXPECT_EQ(status.code, StatusCode::Singular);
    EXPECT_EQ(status.message, solver.info().message);
    EXPECT_EQ(status.block, solver.info().block);
    EXPECT_EQ(status.row, 0u);
    EXPECT_EQ(status.id, solver.info().id);
    EXPECT_EQ(status.compliance, solver.info().compliance);
    ASSERT_EQ(status.dependsOn.size(), 1u);
    EXPECT_EQ(status.dependsOn[0].block, solver.info().dependsOn[0].block);
    EXPECT_EQ(status.dependsOn[0].row, 0u);
    EXPECT_EQ(status.dependsOn[0].id, solver.info().dependsOn[0].id);
    EXPECT_EQ(status.dependsOn[0].coefficient, solver.info().dependsOn[0].coefficient);
    EXPECT_EQ(capture.outcome.order, solver.analysis().order);
    EXPECT_FALSE(capture.outcome.factored);
    EXPECT_FALSE(capture.outcome.solved);
}

// [4 2; 2 5]: L = [1 .; 0.5 1], D = [4 4]; for (8, 8), x = (1.5, 1). FNV-1a over the bits.
TYPED_TEST(CaptureRoundTrip, HashesAreThoseOfTheBitsOfLDAndX)
{
    using T = TypeParam;
    const BlockMatrix<T> A = support::scalarMatrix<T>({{4}, {2, 5}});
    BlockLDLT<T> solver;
    solver.setOrdering(Ordering::Natural);
    const T b[] = {8, 8};
    T x[2];
    ASSERT_TRUE(solver.compute(A).ok());
    ASSERT_TRUE(solver.solve(b, x).ok());
    ASSERT_EQ(x[0], T(1.5));

    ASSERT_TRUE(writeCapture(this->path(), solver, A, b, x).ok());

    const auto outcome = readBack(this->path()).outcome;
    EXPECT_TRUE(outcome.factored);
    EXPECT_TRUE(outcome.solved);
    EXPECT_EQ(outcome.L, captures::hashOf<T>({1, T(0.5), 1}));
    EXPECT_EQ(outcome.D, captures::hashOf<T>({4, 4}));
    EXPECT_EQ(outcome.x, captures::hashOf<T>({T(1.5), 1}));
}

TYPED_TEST(CaptureRoundTrip, WrittenAgainItIsTheSameFile)
{
    using T = TypeParam;
    Random random(3);
    const BlockMatrix<T> A = support::randomKkt<T>(random, {});
    std::vector<T> b = random.scalars<T>(A.dimension());
    std::vector<T> x(b.size());
    BlockLDLT<T> solver;
    ASSERT_TRUE(solver.compute(A).ok());
    ASSERT_TRUE(solver.solve(b.data(), x.data()).ok());
    ASSERT_TRUE(writeCapture(this->path(), solver, A, b.data(), x.data()).ok());
    const std::string again = this->m_folder.path("again.capture");

    ASSERT_TRUE(writeCapture(again, readBack(this->path())).ok());

    EXPECT_EQ(support::contentOf(again), support::contentOf(this->path()));
}

TEST(CaptureFile, PathInNoFolderIsReportedAndLeavesNothing)
{
    const support::Folder folder;
    const std::string path = folder.path("none/c.capture");

    const auto status = writeCapture(path, BlockLDLT<double>(), BlockMatrix<double>({1}));

    EXPECT_EQ(status.code, StatusCode::InvalidInput);
    EXPECT_EQ(status.message, path + ": No such file or directory");
    EXPECT_EQ(folder.numFiles(), 0u);
}

} // namespace
