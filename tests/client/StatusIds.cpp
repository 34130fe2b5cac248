// Where a report names a block it names it by the caller's id as well.

#include "support/BlockSystems.h"
#include "support/Scalars.h"

#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/Diagnosis>

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

using kyrOrvel::kNone;
using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::Dependency;
using kyrOrvel::client::Signs;
using kyrOrvel::client::Status;
using kyrOrvel::client::StatusCode;

namespace {

constexpr std::uint64_t kBody = 0x100000000u;
constexpr std::uint64_t kJoint = 0xFFFFFFFF00000000u;

template <class T> class StatusIds : public testing::Test {
protected:
    // 4 . 1 1     Blocks 2 and 3 are the same joint.
    // . 4 1 1
    // 1 1 . .
    // 1 1 . .
    static BlockMatrix<T> twice()
    {
        return support::scalarMatrix<T>({{4}, {0, 4}, {1, 1, 0}, {1, 1, 0, 0}}, 2);
    }

    static void setIds(BlockMatrix<T>& A)
    {
        for (unsigned int b = 0; b < A.numBlockRows(); ++b)
            A.setId(b, idOf(A, b));
    }

    static std::uint64_t idOf(const BlockMatrix<T>& A, unsigned int b)
    {
        return b < A.firstTrailing() ? kBody + b : kJoint + b;
    }

    /// Expects the id of block b, and the sentence to end with it and that of the block that it
    /// depends on, if there is one.
    static void expectNamed(const Status& status, unsigned int b, std::uint64_t id)
    {
        EXPECT_EQ(status.block, b) << status.message;
        EXPECT_EQ(status.id, id) << status.message;
        std::string end = " (" + isText(b, id);
        for (const auto& dependency : status.dependsOn)
            end += ", " + isText(dependency.block, dependency.id);
        end += ")";
        ASSERT_GE(status.message.size(), end.size());
        EXPECT_EQ(status.message.substr(status.message.size() - end.size()), end);
    }

private:
    static std::string isText(unsigned int block, std::uint64_t id)
    {
        return "block " + std::to_string(block) + " is " + std::to_string(id);
    }
};
TYPED_TEST_SUITE(StatusIds, support::Scalars);

TYPED_TEST(StatusIds, WithoutIdsAreTheNumbers)
{
    BlockLDLT<TypeParam> solver;

    const Status status = solver.compute(this->twice());

    ASSERT_EQ(status.code, StatusCode::Singular);
    EXPECT_EQ(status.id, status.block);
    ASSERT_EQ(status.dependsOn.size(), 1u);
    EXPECT_EQ(status.dependsOn[0].id, status.dependsOn[0].block);
    EXPECT_EQ(status.message.find(" is " + std::to_string(status.block) + ")"), std::string::npos);
}

TYPED_TEST(StatusIds, OfASingularMatrixNameTheJointAndWhatItDependsOn)
{
    BlockMatrix<TypeParam> A = this->twice();
    this->setIds(A);
    BlockLDLT<TypeParam> solver;

    const Status status = solver.compute(A);

    ASSERT_EQ(status.code, StatusCode::Singular);
    this->expectNamed(status, status.block, kJoint + status.block);
    ASSERT_EQ(status.dependsOn.size(), 1u);
    const Dependency& dependency = status.dependsOn[0];
    EXPECT_EQ(dependency.block, 5 - status.block);
    EXPECT_EQ(dependency.row, 0u);
    EXPECT_EQ(dependency.coefficient, 1);
    EXPECT_EQ(dependency.id, kJoint + dependency.block);
}

TYPED_TEST(StatusIds, NeedNotBeSetForAllBlocks)
{
    BlockMatrix<TypeParam> A = this->twice();
    A.setId(0, 77);
    BlockLDLT<TypeParam> solver;

    const Status status = solver.compute(A);

    this->expectNamed(status, status.block, status.block);
}

// 4 .     Block 1 couples to nothing: found before any value is looked at.
// . .
TYPED_TEST(StatusIds, OfAFailedAnalysisAreThoseOfTheMatrixGiven)
{
    BlockMatrix<TypeParam> other = this->twice();
    other.setId(1, 5);
    BlockMatrix<TypeParam> A({1, 1}, 1);
    *A.block(0, 0) = 4;
    this->setIds(A);
    BlockLDLT<TypeParam> solver;
    solver.compute(other);

    this->expectNamed(solver.analyzePattern(A), 1, kJoint + 1);

    BlockMatrix<TypeParam> bare({1, 1}, 1);
    *bare.block(0, 0) = 4;
    EXPECT_EQ(solver.analyzePattern(bare).id, 1u);
}

TYPED_TEST(StatusIds, OfAPatternMismatchAreThoseOfTheMatrixGiven)
{
    BlockLDLT<TypeParam> solver;
    solver.analyzePattern(this->twice());
    BlockMatrix<TypeParam> A = this->twice();
    *A.block(3, 3) = -1;
    this->setIds(A);

    solver.factorize(A);

    ASSERT_EQ(solver.info().code, StatusCode::PatternMismatch);
    this->expectNamed(solver.info(), 3, kJoint + 3);
}

TYPED_TEST(StatusIds, OfAValueThatIsNotFiniteAreThoseOfTheMatrixGiven)
{
    BlockMatrix<TypeParam> A = this->twice();
    this->setIds(A);
    *A.block(2, 1) = std::numeric_limits<TypeParam>::infinity();
    BlockLDLT<TypeParam> solver;

    solver.compute(A);

    ASSERT_EQ(solver.info().code, StatusCode::NotFinite);
    this->expectNamed(solver.info(), 2, kJoint + 2);
}

TYPED_TEST(StatusIds, OfWrongSignsNameTheBody)
{
    auto A = support::scalarMatrix<TypeParam>({{4}, {0, -20}, {1, 1, 0}}, 2);
    this->setIds(A);
    BlockLDLT<TypeParam> solver;

    solver.compute(A);

    ASSERT_EQ(solver.info().code, StatusCode::WrongSigns);
    this->expectNamed(solver.info(), 1, kBody + 1);
}

TYPED_TEST(StatusIds, OfASolveAreThoseOfTheMatrixFactored)
{
    auto A = support::scalarMatrix<TypeParam>({{4}, {0, 4}, {1, 1, 0}}, 2);
    this->setIds(A);
    BlockLDLT<TypeParam> solver;
    ASSERT_TRUE(solver.compute(A).ok());
    TypeParam b[] = {1, std::numeric_limits<TypeParam>::quiet_NaN(), 1};

    this->expectNamed(solver.solve(b, b), 1, kBody + 1);
}

TYPED_TEST(StatusIds, ReachTheListOfRedundantConstraints)
{
    BlockMatrix<TypeParam> A = this->twice();
    this->setIds(A);

    const std::vector<Status> found = kyrOrvel::client::findRedundant(A);

    ASSERT_EQ(found.size(), 1u);
    this->expectNamed(found[0], found[0].block, kJoint + found[0].block);
}

TYPED_TEST(StatusIds, OfARefusedBlockAreThoseOfTheMatrix)
{
    BlockMatrix<TypeParam> A({2, 2});
    A.setId(1, 40);

    EXPECT_EQ(A.add(1, 0, nullptr).id, 40u);
    EXPECT_EQ(A.add(9, 0, nullptr).id, 9u);
}

TYPED_TEST(StatusIds, AreNoPartOfThePattern)
{
    BlockMatrix<TypeParam> A = this->twice();
    BlockLDLT<TypeParam> solver;
    ASSERT_TRUE(solver.analyzePattern(A).ok());
    this->setIds(A);

    EXPECT_EQ(solver.factorize(A).code, StatusCode::Singular);
    solver.analyzePattern(A);
    EXPECT_TRUE(solver.statistics().analysisReused);
}

} // namespace
