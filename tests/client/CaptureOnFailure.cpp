#include "client/Captures.h"
#include "support/Files.h"
#include "support/Scalars.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

using captures::readBack;
using captures::systemOf;
using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::replay;
using kyrOrvel::client::StatusCode;

namespace {

template <class T> class CaptureOnFailure : public testing::Test {
protected:
    CaptureOnFailure() { EXPECT_TRUE(m_solver.captureOnFailure(m_folder.path("c")).ok()); }

    static BlockMatrix<T> regular() { return support::scalarMatrix<T>({{4}, {2, 4}}); }
    static BlockMatrix<T> singular() { return support::scalarMatrix<T>({{4}, {2, 1}}); }

    support::Folder m_folder;
    BlockLDLT<T> m_solver;
};
TYPED_TEST_SUITE(CaptureOnFailure, support::Scalars);

TYPED_TEST(CaptureOnFailure, SuccessLeavesNoFile)
{
    EXPECT_TRUE(this->m_solver.compute(this->regular()).ok());

    EXPECT_EQ(this->m_folder.numFiles(), 0u);
    EXPECT_TRUE(this->m_solver.captureInfo().ok());
}

TYPED_TEST(CaptureOnFailure, FailedFactorizationIsLeftToReplay)
{
    EXPECT_EQ(this->m_solver.compute(this->singular()).code, StatusCode::Singular);

    EXPECT_TRUE(this->m_solver.captureInfo().ok()) << this->m_solver.captureInfo().message;
    const auto capture = readBack(this->m_folder.path("c"));
    EXPECT_EQ(capture.outcome.status.message, this->m_solver.info().message);
    EXPECT_EQ(systemOf<TypeParam>(capture).matrix.find(1, 1)[0], TypeParam(1));
    EXPECT_TRUE(replay(capture).same());
}

TYPED_TEST(CaptureOnFailure, FailedAnalysisIsLeftToReplay)
{
    const BlockMatrix<TypeParam> A({1, 1}, 0);
    EXPECT_EQ(this->m_solver.analyzePattern(A).code, StatusCode::Singular);

    const auto capture = readBack(this->m_folder.path("c"));
    EXPECT_EQ(capture.outcome.status.code, StatusCode::Singular);
    EXPECT_TRUE(capture.outcome.order.empty());
    EXPECT_TRUE(replay(capture).same());
}

TYPED_TEST(CaptureOnFailure, LatestFailureStays)
{
    this->m_solver.compute(this->singular());
    BlockMatrix<TypeParam> A = this->regular();
    *A.block(0, 0) = std::numeric_limits<TypeParam>::infinity();
    this->m_solver.factorize(A);
    this->m_solver.factorize(this->regular());

    EXPECT_EQ(readBack(this->m_folder.path("c")).outcome.status.code, StatusCode::NotFinite);
}

TYPED_TEST(CaptureOnFailure, MisuseIsNotCaptured)
{
    EXPECT_EQ(this->m_solver.factorize(this->regular()).code, StatusCode::CallSequence);
    ASSERT_TRUE(this->m_solver.analyzePattern(this->regular()).ok());
    EXPECT_EQ(this->m_solver.factorize(support::scalarMatrix<TypeParam>({{1}})).code,
              StatusCode::PatternMismatch);

    EXPECT_EQ(this->m_folder.numFiles(), 0u);
}

TYPED_TEST(CaptureOnFailure, EmptyPathEndsIt)
{
    EXPECT_TRUE(this->m_solver.captureOnFailure("").ok());
    EXPECT_EQ(this->m_solver.compute(this->singular()).code, StatusCode::Singular);

    EXPECT_EQ(this->m_folder.numFiles(), 0u);
}

TYPED_TEST(CaptureOnFailure, PathThatCannotBeWrittenLeavesTheStatusOfTheStep)
{
    const std::string path = this->m_folder.path("none/c");
    EXPECT_TRUE(this->m_solver.captureOnFailure(path).ok());

    EXPECT_EQ(this->m_solver.compute(this->singular()).code, StatusCode::Singular);

    EXPECT_EQ(this->m_solver.info().code, StatusCode::Singular);
    EXPECT_EQ(this->m_solver.captureInfo().code, StatusCode::InvalidInput);
    EXPECT_EQ(this->m_solver.captureInfo().message, path + ": No such file or directory");
}

} // namespace
