// Signs that are asked for, compliances, and pivots kept to bounds.

#include "support/BlockSystems.h"
#include "support/Mechanisms.h"
#include "support/Random.h"
#include "support/Scalars.h"

#include <kyrOrvelClient/BlockLDLT>

#include <gtest/gtest.h>

#include <limits>
#include <vector>

using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::Factorization;
using kyrOrvel::client::Regularization;
using kyrOrvel::client::Signs;
using kyrOrvel::client::Status;
using kyrOrvel::client::StatusCode;
using support::scalarMatrix;

namespace {

template <class T> class SignsAndBounds : public testing::Test {
protected:
    BlockLDLT<T> solver;
};
TYPED_TEST_SUITE(SignsAndBounds, support::Scalars);

TYPED_TEST(SignsAndBounds, NegativeMassHasTheWrongSign)
{
    const Status status =
        this->solver.compute(scalarMatrix<TypeParam>({{4}, {0, -4}, {1, 0, 0}}, 2));

    EXPECT_EQ(status.code, StatusCode::WrongSigns);
    EXPECT_EQ(status.block, 1u);
    EXPECT_EQ(
        status.message,
        "the pivot of row 0 of block 1 is -4, not positive: the matrix of the ordinary blocks "
        "is not positive definite; mend that, or allow any signs");
}

TYPED_TEST(SignsAndBounds, PositiveTrailingDiagonalHasTheWrongSign)
{
    const Status status = this->solver.compute(scalarMatrix<TypeParam>({{4}, {1, 5}}, 1));

    EXPECT_EQ(status.code, StatusCode::WrongSigns);
    EXPECT_EQ(status.block, 1u);
    EXPECT_NE(
        status.message.find("not negative: the diagonal of a trailing block has to be zero or "
                            "minus a compliance"),
        std::string::npos)
        << status.message;
}

TYPED_TEST(SignsAndBounds, AnySignsAreTakenWhenAllowed)
{
    this->solver.setSigns(Signs::Any);

    EXPECT_TRUE(this->solver.compute(scalarMatrix<TypeParam>({{4}, {0, -4}, {1, 2, 0}}, 2)).ok());
    EXPECT_TRUE(this->solver.compute(scalarMatrix<TypeParam>({{4}, {1, 5}}, 1)).ok());
}

TYPED_TEST(SignsAndBounds, MatrixWithoutTrailingBlocksMayHaveAnySigns)
{
    EXPECT_TRUE(this->solver.compute(scalarMatrix<TypeParam>({{4}, {1, -5}})).ok());
}

// A constraint on a constraint: its pivot is positive.
TYPED_TEST(SignsAndBounds, TrailingBlocksCoupledWithoutDiagonalsMayHaveAnySigns)
{
    EXPECT_TRUE(this->solver.compute(scalarMatrix<TypeParam>({{4}, {1, 0}, {0, 1, 0}}, 1)).ok());
    EXPECT_EQ(this->solver.statistics().positivePivots, 2u);
}

// 4 1     With a compliance of 1/4: pivots 4 and -1/4 - 1/4.
// 1 0
TYPED_TEST(SignsAndBounds, ComplianceIsTakenFromTheTrailingDiagonal)
{
    ASSERT_TRUE(this->solver.setCompliance(TypeParam(0.25)).ok());

    ASSERT_TRUE(this->solver.compute(scalarMatrix<TypeParam>({{4}, {1, 0}}, 1)).ok());

    EXPECT_EQ(this->solver.statistics().smallestPivot, -0.5);
}

TYPED_TEST(SignsAndBounds, ComplianceCanDifferByBlock)
{
    ASSERT_TRUE(this->solver.setCompliance(std::vector<TypeParam>{0.75, 0}).ok());

    ASSERT_TRUE(
        this->solver.compute(scalarMatrix<TypeParam>({{4}, {0, 1}, {1, 0, 0}, {0, 1, 0, 0}}, 2))
            .ok());

    TypeParam x[] = {0, 0, 1, 1};
    ASSERT_TRUE(this->solver.solve(x, x).ok());
    EXPECT_EQ(x[2], TypeParam(-1)); // -1 / (3/4 + 1/4)
    EXPECT_EQ(x[3], TypeParam(-1)); // -1 / 1
}

TYPED_TEST(SignsAndBounds, ComplianceWorksInTheMultifrontalOrderToo)
{
    this->solver.setFactorization(Factorization::Multifrontal);
    ASSERT_TRUE(this->solver.setCompliance(TypeParam(0.25)).ok());

    ASSERT_TRUE(this->solver.compute(scalarMatrix<TypeParam>({{4}, {1, 0}}, 1)).ok());

    EXPECT_EQ(this->solver.statistics().smallestPivot, -0.5);
}

TYPED_TEST(SignsAndBounds, SeveralCompliancesHaveToMatchTheTrailingBlocks)
{
    ASSERT_TRUE(this->solver.setCompliance(std::vector<TypeParam>{1, 2}).ok());

    const Status status = this->solver.compute(scalarMatrix<TypeParam>({{4}, {1, 0}}, 1));

    EXPECT_EQ(status.code, StatusCode::InvalidInput);
    EXPECT_EQ(status.message, "there are 2 compliances for 1 trailing block");
}

TYPED_TEST(SignsAndBounds, NegativeOrInfiniteCompliancesAreRefused)
{
    const TypeParam infinity = std::numeric_limits<TypeParam>::infinity();

    EXPECT_EQ(this->solver.setCompliance(TypeParam(-1)).code, StatusCode::InvalidInput);
    EXPECT_EQ(this->solver.setCompliance(infinity).code, StatusCode::InvalidInput);
    EXPECT_EQ(this->solver.setCompliance(std::vector<TypeParam>{1, -1}).code,
              StatusCode::InvalidInput);
}

// Two equal constraints: the second one's pivot is zero, and replaced.
TYPED_TEST(SignsAndBounds, RedundantConstraintIsRegularizedAndSolved)
{
    const auto A = scalarMatrix<TypeParam>({{4}, {0, 4}, {1, 1, 0}, {1, 1, 0, 0}}, 2);
    for (const Factorization how : {Factorization::Serial, Factorization::Multifrontal}) {
        this->solver.setFactorization(how);
        ASSERT_TRUE(this->solver.setRegularization(Regularization::Dynamic).ok());

        const Status status = this->solver.compute(A);

        EXPECT_EQ(status.code, StatusCode::Regularized);
        EXPECT_TRUE(status.ok());
        EXPECT_GE(status.block, 2u);
        EXPECT_EQ(this->solver.statistics().regularizedPivots, 1u);
        const TypeParam b[] = {8, 0, 0, 0};
        TypeParam x[4];
        ASSERT_TRUE(this->solver.solve(b, x).ok());
        const double tolerance = 64 * double(std::numeric_limits<TypeParam>::epsilon());
        EXPECT_NEAR(double(x[0]), 1, tolerance);
        EXPECT_NEAR(double(x[1]), -1, tolerance);
        EXPECT_NEAR(double(x[2] + x[3]), 4, 8 * tolerance);
        EXPECT_LT(this->solver.statistics().backwardError, tolerance);
    }
}

TYPED_TEST(SignsAndBounds, SoundMatrixIsNotRegularized)
{
    ASSERT_TRUE(this->solver.setRegularization(Regularization::Dynamic).ok());

    EXPECT_EQ(this->solver.compute(scalarMatrix<TypeParam>({{4}, {1, 0}}, 1)).code, StatusCode::Ok);

    EXPECT_EQ(this->solver.statistics().regularizedPivots, 0u);
}

TYPED_TEST(SignsAndBounds, IndefiniteMatrixKeepsItsSignsWhenRegularized)
{
    ASSERT_TRUE(this->solver.setRegularization(Regularization::Dynamic).ok());

    EXPECT_EQ(this->solver.compute(scalarMatrix<TypeParam>({{4}, {1, -5}})).code, StatusCode::Ok);

    EXPECT_EQ(this->solver.statistics().negativePivots, 1u);
}

TYPED_TEST(SignsAndBounds, MatrixOfZerosIsRegularized)
{
    ASSERT_TRUE(this->solver.setRegularization(Regularization::Dynamic, TypeParam(0.5)).ok());

    EXPECT_EQ(this->solver.compute(scalarMatrix<TypeParam>({{0}, {0, 0}})).code,
              StatusCode::Regularized);

    EXPECT_EQ(this->solver.statistics().smallestPivot, 0.5);
}

TYPED_TEST(SignsAndBounds, ShareHasToLieBetweenZeroAndOne)
{
    for (const TypeParam share :
         {TypeParam(0), TypeParam(1), TypeParam(-1), std::numeric_limits<TypeParam>::quiet_NaN()})
        EXPECT_EQ(this->solver.setRegularization(Regularization::Dynamic, share).code,
                  StatusCode::InvalidInput);
}

TEST(Ids, AreInTheStatusAndItsDependencies)
{
    BlockMatrix<double> A = scalarMatrix<double>({{4}, {0, 4}, {1, 1, 0}, {1, 1, 0, 0}}, 2);
    for (unsigned int b = 0; b < 4; ++b)
        A.setId(b, 100 + b);
    BlockLDLT<double> solver;

    const Status status = solver.compute(A);

    EXPECT_EQ(status.id, 100u + status.block);
    ASSERT_EQ(status.dependsOn.size(), 1u);
    EXPECT_EQ(status.dependsOn[0].block, 5 - status.block);
    EXPECT_EQ(status.dependsOn[0].id, 105u - status.block);
    EXPECT_EQ(status.dependsOn[0].coefficient, 1);
    const std::string suffix = " (block 3 is 103, block 2 is 102)";
    EXPECT_EQ(status.message.substr(status.message.size() - suffix.size()), suffix);
}

TEST(Ids, AreTheNumbersOfTheBlocksIfNoneAreSet)
{
    BlockLDLT<double> solver;

    const Status status =
        solver.compute(scalarMatrix<double>({{4}, {0, 4}, {1, 1, 0}, {1, 1, 0, 0}}, 2));

    EXPECT_EQ(status.id, status.block);
    ASSERT_EQ(status.dependsOn.size(), 1u);
    EXPECT_EQ(status.dependsOn[0].id, status.dependsOn[0].block);
}

TEST(Ids, OutOfRangeAreIgnored)
{
    BlockMatrix<double> A({1, 1});

    A.setId(2, 5);

    EXPECT_FALSE(A.hasIds());
    EXPECT_EQ(A.id(1), 1u);
}

} // namespace
