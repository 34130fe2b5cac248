#include "client/Captures.h"
#include "support/Files.h"
#include "support/Scalars.h"

#include <gtest/gtest.h>

#include <cmath>
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
using kyrOrvel::client::CapturedSystem;
using kyrOrvel::client::Comparison;
using kyrOrvel::client::Factorization;
using kyrOrvel::client::Ordering;
using kyrOrvel::client::Regularization;
using kyrOrvel::client::replay;
using kyrOrvel::client::ReplayReport;
using kyrOrvel::client::Status;
using kyrOrvel::client::StatusCode;
using kyrOrvel::client::writeCapture;
using support::Random;

namespace {

template <class T>
Capture captureOf(const BlockLDLT<T>& solver, const BlockMatrix<T>& A, const T* b = nullptr,
                  const T* x = nullptr)
{
    const support::Folder folder;
    const std::string path = folder.path("c.capture");
    const Status status = writeCapture(path, solver, A, b, x);
    EXPECT_TRUE(status.ok()) << status.message;
    return readBack(path);
}

/// Factored by compute and solved.
template <class T>
Capture solvedCapture(BlockLDLT<T>& solver, const BlockMatrix<T>& A, std::uint64_t seed = 1)
{
    std::vector<T> b = Random(seed).scalars<T>(A.dimension());
    std::vector<T> x(b.size());
    EXPECT_TRUE(solver.compute(A).ok()) << solver.info().message;
    EXPECT_TRUE(solver.solve(b.data(), x.data()).ok()) << solver.info().message;
    return captureOf(solver, A, b.data(), x.data());
}

void expectAllSame(const ReplayReport& report)
{
    EXPECT_EQ(report.order, Comparison::Same);
    EXPECT_EQ(report.status, Comparison::Same) << report.outcome.status.message;
    EXPECT_EQ(report.pattern, Comparison::Same);
    EXPECT_EQ(report.L, Comparison::Same);
    EXPECT_EQ(report.D, Comparison::Same);
    EXPECT_EQ(report.x, Comparison::Same);
    EXPECT_TRUE(report.same());
}

template <class T> class CaptureReplay : public testing::Test {
};
TYPED_TEST_SUITE(CaptureReplay, support::Scalars);

TYPED_TEST(CaptureReplay, SolvedSystemsAreTheSameAgain)
{
    for (std::uint64_t seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        BlockLDLT<TypeParam> solver;
        expectAllSame(replay(solvedCapture(solver, support::randomKkt<TypeParam>(random, {}))));
    }
}

TYPED_TEST(CaptureReplay, SettingsAreThoseCaptured)
{
    using T = TypeParam;
    Random random(5);
    const BlockMatrix<T> A = support::randomKkt<T>(random, {});
    for (const Ordering ordering : {Ordering::Symamd, Ordering::Natural})
        for (const Factorization way : {Factorization::Serial, Factorization::Multifrontal}) {
            BlockLDLT<T> solver;
            ASSERT_TRUE(solver.setThreads(3).ok());
            solver.setOrdering(ordering);
            solver.setFactorization(way);
            ASSERT_TRUE(solver.setCompliance(T(0.125)).ok());
            expectAllSame(replay(solvedCapture(solver, A)));
        }
}

TYPED_TEST(CaptureReplay, AnalysisWithoutValuesIsRepeatedAsSuch)
{
    using T = TypeParam;
    for (std::uint64_t seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        const BlockMatrix<T> A = support::randomKkt<T>(random, {});
        BlockLDLT<T> solver;
        ASSERT_TRUE(solver.analyzePattern(A).ok());
        ASSERT_TRUE(solver.factorize(A).ok());
        const Capture capture = captureOf(solver, A);
        EXPECT_FALSE(systemOf<T>(capture).byValues);

        const ReplayReport report = replay(capture);

        EXPECT_EQ(report.order, Comparison::Same);
        EXPECT_EQ(report.L, Comparison::Same);
        EXPECT_EQ(report.D, Comparison::Same);
        EXPECT_EQ(report.x, Comparison::NotCompared);
        EXPECT_TRUE(report.same());
    }
}

// 4 . 1 1     Blocks 2 and 3 are the same constraint.
// . 4 1 1
// 1 1 . .
// 1 1 . .
TYPED_TEST(CaptureReplay, FailureIsTheSameAgain)
{
    using T = TypeParam;
    const BlockMatrix<T> A = support::scalarMatrix<T>({{4}, {0, 4}, {1, 1, 0}, {1, 1, 0, 0}}, 2);
    BlockLDLT<T> solver;
    ASSERT_EQ(solver.compute(A).code, StatusCode::Singular);

    const ReplayReport report = replay(captureOf(solver, A));

    EXPECT_EQ(report.outcome.status.code, StatusCode::Singular);
    EXPECT_EQ(report.status, Comparison::Same);
    EXPECT_EQ(report.L, Comparison::NotCompared);
    EXPECT_TRUE(report.same());
}

TYPED_TEST(CaptureReplay, FailedSolveIsTheSameAgain)
{
    using T = TypeParam;
    const BlockMatrix<T> A = support::scalarMatrix<T>({{std::numeric_limits<T>::min()}});
    BlockLDLT<T> solver;
    const T b[] = {std::numeric_limits<T>::max()};
    T x[] = {0};
    ASSERT_TRUE(solver.compute(A).ok());
    ASSERT_EQ(solver.solve(b, x).code, StatusCode::NotFinite);

    const Capture capture = captureOf(solver, A, b, x);
    const ReplayReport report = replay(capture);

    EXPECT_FALSE(capture.outcome.solved);
    EXPECT_EQ(report.status, Comparison::Same) << report.outcome.status.message;
    EXPECT_EQ(report.D, Comparison::Same);
    EXPECT_EQ(report.x, Comparison::NotCompared);
}

TYPED_TEST(CaptureReplay, RegularizedSystemIsTheSameAgain)
{
    using T = TypeParam;
    const BlockMatrix<T> A = support::scalarMatrix<T>({{4}, {0, 4}, {1, 1, 0}, {1, 1, 0, 0}}, 2);
    BlockLDLT<T> solver;
    ASSERT_TRUE(solver.setRegularization(Regularization::Dynamic).ok());
    ASSERT_EQ(solver.compute(A).code, StatusCode::Regularized);

    const ReplayReport report = replay(captureOf(solver, A));

    EXPECT_EQ(report.outcome.status.code, StatusCode::Regularized);
    EXPECT_TRUE(report.same());
    EXPECT_EQ(report.L, Comparison::Same);
}

TYPED_TEST(CaptureReplay, ChangedValueIsFound)
{
    using T = TypeParam;
    Random random(8);
    BlockLDLT<T> solver;
    Capture capture = solvedCapture(solver, support::randomKkt<T>(random, {}));
    auto& system = std::get<CapturedSystem<T>>(capture.system);
    T& value = system.matrix.block(0, 0)[0];
    value = std::nextafter(value, T(1000));

    const ReplayReport report = replay(capture);

    EXPECT_EQ(report.status, Comparison::Same);
    EXPECT_EQ(report.pattern, Comparison::Same);
    EXPECT_EQ(report.D, Comparison::Differs);
    EXPECT_FALSE(report.same());
}

TYPED_TEST(CaptureReplay, ChangedRightHandSideIsFoundInXAlone)
{
    using T = TypeParam;
    Random random(9);
    BlockLDLT<T> solver;
    Capture capture = solvedCapture(solver, support::randomKkt<T>(random, {}));
    std::get<CapturedSystem<T>>(capture.system).rightHandSide[0] += 1;

    const ReplayReport report = replay(capture);

    EXPECT_EQ(report.L, Comparison::Same);
    EXPECT_EQ(report.D, Comparison::Same);
    EXPECT_EQ(report.x, Comparison::Differs);
    EXPECT_FALSE(report.same());
}

TYPED_TEST(CaptureReplay, ChangedPatternIsFound)
{
    using T = TypeParam;
    BlockLDLT<T> solver;
    Capture capture = solvedCapture(solver, support::scalarMatrix<T>({{4}, {1, 4}, {0, 1, 4}}));
    *std::get<CapturedSystem<T>>(capture.system).matrix.block(2, 0) = 1;

    const ReplayReport report = replay(capture);

    EXPECT_EQ(report.pattern, Comparison::Differs);
    EXPECT_FALSE(report.same());
}

TYPED_TEST(CaptureReplay, OtherStatusIsFound)
{
    using T = TypeParam;
    BlockLDLT<T> solver;
    Capture capture = solvedCapture(solver, support::scalarMatrix<T>({{4}, {2, 4}}));
    *std::get<CapturedSystem<T>>(capture.system).matrix.block(1, 1) = 1;

    const ReplayReport report = replay(capture);

    EXPECT_EQ(report.status, Comparison::Differs);
    EXPECT_EQ(report.outcome.status.code, StatusCode::Singular);
    EXPECT_EQ(report.L, Comparison::NotCompared);
    EXPECT_FALSE(report.same());
}

/// Four bodies of 3 in a row, each linked to the next by a joint of 1 row, the first two by another
/// one. On the second body the rows of these two are independent, or the same.
BlockMatrix<double> twiceLinked(bool independent)
{
    BlockMatrix<double> A({3, 3, 3, 3, 1, 1, 1, 1}, 4);
    for (unsigned int b = 0; b < 4; ++b)
        for (unsigned int i = 0; i < 3; ++i)
            A.block(b, b)[4 * i] = 2;
    for (unsigned int j = 0; j < 4; ++j) {
        const unsigned int body = j == 0 ? 0 : j - 1;
        A.block(4 + j, body)[j % 2] = 1;
        A.block(4 + j, body + 1)[independent ? j % 2 : 0] = -1;
    }
    return A;
}

// A solver that has met values which made it move joints keeps that order; a fresh one does not
// come to it.
TEST(CaptureReplayOrder, OrderOfEarlierValuesIsTakenFromTheCapture)
{
    const BlockMatrix<double> A = twiceLinked(true);
    BlockLDLT<double> solver;
    ASSERT_TRUE(solver.analyzePattern(A).ok());
    const std::vector<unsigned int> fresh = solver.analysis().order;
    ASSERT_TRUE(solver.factorize(twiceLinked(false)).ok()) << solver.info().message;
    ASSERT_TRUE(solver.factorize(A).ok());
    ASSERT_NE(solver.analysis().order, fresh) << "the other values have to matter";

    const ReplayReport report = replay(captureOf(solver, A));

    EXPECT_EQ(report.order, Comparison::Differs);
    EXPECT_EQ(report.outcome.order, solver.analysis().order);
    EXPECT_EQ(report.pattern, Comparison::Same);
    EXPECT_EQ(report.L, Comparison::Same);
    EXPECT_EQ(report.D, Comparison::Same);
    EXPECT_TRUE(report.same());
}

} // namespace
