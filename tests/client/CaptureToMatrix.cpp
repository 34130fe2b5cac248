#include "client/Captures.h"
#include "support/Files.h"
#include "support/Scalars.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using captures::readBack;
using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::toMatrix;
using kyrOrvel::client::writeCapture;

namespace {

template <class T> class CaptureToMatrix : public testing::Test {
protected:
    /// Two bodies and two joints, the second with a diagonal block.
    static BlockMatrix<T> bodiesAndJoints()
    {
        return support::scalarMatrix<T>({{4}, {T(0.1), 4}, {1, 1, 0}, {0, 1, 0, -1}}, 2);
    }

    static BlockMatrix<double> captured(const BlockLDLT<T>& solver, const BlockMatrix<T>& A)
    {
        const support::Folder folder;
        EXPECT_TRUE(writeCapture(folder.path("c"), solver, A).ok());
        return toMatrix(readBack(folder.path("c")));
    }
};
TYPED_TEST_SUITE(CaptureToMatrix, support::Scalars);

TYPED_TEST(CaptureToMatrix, ValuesPatternAndIdsAreThoseCaptured)
{
    BlockMatrix<TypeParam> A = this->bodiesAndJoints();
    A.setId(3, 33);

    const BlockMatrix<double> matrix = this->captured(BlockLDLT<TypeParam>(), A);

    EXPECT_EQ(support::rowsOf(matrix), support::rowsOf(A));
    EXPECT_EQ(support::denseOf(matrix), support::denseOf(A));
    EXPECT_EQ(matrix.firstTrailing(), 2u);
    EXPECT_EQ(matrix.id(3), 33u);
}

TYPED_TEST(CaptureToMatrix, OneComplianceIsOnEveryTrailingDiagonal)
{
    BlockLDLT<TypeParam> solver;
    ASSERT_TRUE(solver.setCompliance(TypeParam(0.1)).ok());

    const BlockMatrix<double> matrix = this->captured(solver, this->bodiesAndJoints());

    EXPECT_EQ(*matrix.find(1, 1), 4);
    EXPECT_EQ(*matrix.find(2, 2), static_cast<double>(-TypeParam(0.1)));
    EXPECT_EQ(*matrix.find(3, 3), static_cast<double>(TypeParam(-1) - TypeParam(0.1)));
}

TYPED_TEST(CaptureToMatrix, CompliancesOfTheirOwnAreOnTheirDiagonals)
{
    BlockLDLT<TypeParam> solver;
    ASSERT_TRUE(solver.setCompliance(std::vector<TypeParam>{0, TypeParam(0.5)}).ok());

    const BlockMatrix<double> matrix = this->captured(solver, this->bodiesAndJoints());

    EXPECT_EQ(matrix.find(2, 2), nullptr);
    EXPECT_EQ(*matrix.find(3, 3), -1.5);
}

} // namespace
