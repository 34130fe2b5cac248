#include "support/BlockSystems.h"
#include "support/Mechanisms.h"
#include "support/Random.h"
#include "support/Scalars.h"

#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/Diagnosis>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <vector>

using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::findRedundant;
using kyrOrvel::client::Status;
using kyrOrvel::client::StatusCode;
using support::Random;

namespace {

template <class T> class FindRedundant : public testing::Test {
protected:
    static std::vector<unsigned int> blocksOf(const std::vector<Status>& found)
    {
        std::vector<unsigned int> blocks;
        for (const Status& status : found) {
            EXPECT_EQ(status.code, StatusCode::Singular) << status.message;
            blocks.push_back(status.block);
        }
        std::sort(blocks.begin(), blocks.end());
        return blocks;
    }
};
TYPED_TEST_SUITE(FindRedundant, support::Scalars);

TYPED_TEST(FindRedundant, InAnEmptyMatrixIsNothing)
{
    EXPECT_TRUE(findRedundant(BlockMatrix<TypeParam>()).empty());
}

TYPED_TEST(FindRedundant, WhereTheMatrixFactorsIsNothing)
{
    for (std::uint64_t seed = 1; seed <= 50; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const auto A = support::matrixOf<TypeParam>(support::randomMechanism(random, 0.05));

        EXPECT_TRUE(findRedundant(A).empty());
    }
}

// 4 1 . .     Blocks 2 and 3 lean on constraint 1 alone, and on each other: fine as it is, with
// 1 . 1 .     pivots of both signs.
// . 1 . 1
// . . 1 .
TYPED_TEST(FindRedundant, ConstraintsThatLeanOnConstraintsAreNotNamed)
{
    const auto A = support::scalarMatrix<TypeParam>({{4}, {1, 0}, {0, 1, 0}, {0, 0, 1, 0}}, 1);
    BlockLDLT<TypeParam> solver;
    ASSERT_TRUE(solver.compute(A).ok()) << solver.info().message;

    const std::vector<Status> found = findRedundant(A);

    EXPECT_TRUE(found.empty()) << found.front().message;
}

// 4 1 1 .     Block 2 repeats block 1; block 3 leans on block 1 and holds.
// 1 . . 1
// 1 . . 1
// . 1 1 .
TYPED_TEST(FindRedundant, BesideConstraintsThatLeanOnConstraintsTheRedundantOneIsNamed)
{
    const auto A = support::scalarMatrix<TypeParam>({{4}, {1, 0}, {1, 0, 0}, {0, 1, 1, 0}}, 1);

    const std::vector<unsigned int> blocks = this->blocksOf(findRedundant(A));

    ASSERT_EQ(blocks.size(), 1u);
    EXPECT_TRUE(blocks[0] == 1 || blocks[0] == 2) << blocks[0];
}

// 4 . 1 1 1     Three times the same joint: two are too many.
// . 4 1 1 1
// 1 1 . . .
// 1 1 . . .
// 1 1 . . .
TYPED_TEST(FindRedundant, OfThreeEqualJointsTwoAreNamed)
{
    const auto A = support::scalarMatrix<TypeParam>(
        {{4}, {0, 4}, {1, 1, 0}, {1, 1, 0, 0}, {1, 1, 0, 0, 0}}, 2);

    const std::vector<unsigned int> blocks = this->blocksOf(findRedundant(A));

    ASSERT_EQ(blocks.size(), 2u);
    EXPECT_NE(blocks[0], blocks[1]);
    EXPECT_GE(blocks[0], 2u);
}

// 4 .     A joint that holds nothing.
// . .
TYPED_TEST(FindRedundant, JointThatCouplesToNothingIsNamed)
{
    BlockMatrix<TypeParam> A({1, 1}, 1);
    *A.block(0, 0) = 4;

    EXPECT_EQ(this->blocksOf(findRedundant(A)), std::vector<unsigned int>{1});
}

TYPED_TEST(FindRedundant, SingularBodyEndsTheList)
{
    const auto A = support::scalarMatrix<TypeParam>(
        {{4}, {0, 4}, {0, 0, 0}, {1, 1, 0, 0}, {1, 1, 0, 0, 0}}, 3);

    const std::vector<Status> found = findRedundant(A);

    ASSERT_FALSE(found.empty());
    EXPECT_EQ(found.back().code, StatusCode::Singular);
    EXPECT_EQ(found.back().block, 2u);
}

TYPED_TEST(FindRedundant, OtherFailureEndsTheList)
{
    auto A = support::scalarMatrix<TypeParam>({{4}, {1, 0}}, 1);
    *A.block(0, 0) = std::numeric_limits<TypeParam>::quiet_NaN();

    const std::vector<Status> found = findRedundant(A);

    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].code, StatusCode::NotFinite);
}

TYPED_TEST(FindRedundant, LeavesTheMatrixAsItIs)
{
    const auto A = support::scalarMatrix<TypeParam>({{4}, {1, 0}, {1, 0, 0}}, 1);
    const support::Dense before = support::denseOf(A);

    EXPECT_EQ(findRedundant(A).size(), 1u);

    EXPECT_EQ(support::denseOf(A), before);
    EXPECT_EQ(A.numBlocks(), 3u);
}

} // namespace
