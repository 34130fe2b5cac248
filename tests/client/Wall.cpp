#include "support/Joints.h"

#include <kyrOrvelClient/Scenes>

#include <gtest/gtest.h>

#include <array>
#include <set>
#include <utility>
#include <vector>

using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::makeWall;
using kyrOrvel::client::Scene;
using support::bodiesOf;
using support::centreOf;
using support::complianceOf;
using support::countJoints;
using support::rowVelocity;
using support::solve;

namespace {

TEST(Wall, HasTheBricksAndContactsOfItsSize)
{
    for (const auto& [width, height] :
         {std::pair<unsigned int, unsigned int>{1, 1}, {1, 2}, {2, 1}, {3, 4}, {5, 5}, {40, 3}}) {
        SCOPED_TRACE(testing::Message() << width << " by " << height);
        const Scene scene = makeWall(width, height);
        const BlockMatrix<double>& A = scene.matrix;

        EXPECT_EQ(A.firstTrailing(), width * height + height / 2);
        EXPECT_EQ(A.numBlockRows() - A.firstTrailing(), (3 * width - 1) * height + height / 2);
        EXPECT_EQ(countJoints(A, 3, 1), 2 * width) << "on the ground";
        EXPECT_EQ(countJoints(A, 3, 1) + countJoints(A, 3, 2),
                  A.numBlockRows() - A.firstTrailing());
    }
}

TEST(Wall, OfNoRowsOrBricksHasOne)
{
    EXPECT_EQ(makeWall(0, 0).matrix.firstTrailing(), 1u);
    EXPECT_EQ(makeWall(3, 0).matrix.firstTrailing(), 3u);
    EXPECT_EQ(makeWall(0, 3).matrix.firstTrailing(), 4u);
}

// +-----+-----+    6     7        The bricks of a wall 2 wide and 3 high.
// +--+-----+--+    3  4  5
// +-----+-----+    0     1        (5 and 3 are halves; the middle row has 3, so the top begins at
// 5)
TEST(Wall, BricksTouchTheirNeighboursBelowAndBeside)
{
    const BlockMatrix<double> A = makeWall(2, 3).matrix;
    std::set<std::vector<unsigned int>> pairs;
    for (unsigned int j = A.firstTrailing(); j < A.numBlockRows(); ++j)
        if (bodiesOf(A, j).size() == 2) {
            EXPECT_TRUE(pairs.insert(bodiesOf(A, j)).second) << "one contact a pair";
        }

    const std::set<std::vector<unsigned int>> expected = {
        {0, 1}, {2, 3}, {3, 4}, {5, 6},  // beside
        {0, 2}, {0, 3}, {1, 3}, {1, 4},  // middle row on the lowest
        {2, 5}, {3, 5}, {3, 6}, {4, 6}}; // top row on the middle one
    EXPECT_EQ(pairs, expected);
}

TEST(Wall, HalvesWeighHalf)
{
    const BlockMatrix<double> A = makeWall(2, 2).matrix;
    const double whole = A.find(0, 0)[0];

    EXPECT_EQ(A.find(1, 1)[0], whole);
    EXPECT_EQ(A.find(2, 2)[0], whole / 2);
    EXPECT_EQ(A.find(3, 3)[0], whole);
    EXPECT_EQ(A.find(4, 4)[0], whole / 2);
}

TEST(Wall, FirstRowOfAContactIsItsNormal)
{
    const Scene scene = makeWall(3, 2);
    const BlockMatrix<double>& A = scene.matrix;
    for (unsigned int j = A.firstTrailing(); j < A.numBlockRows(); ++j) {
        SCOPED_TRACE(j);
        const unsigned int body = bodiesOf(A, j).back(); // above, or to the right
        const bool below = bodiesOf(A, j).size() == 1 ||
                           centreOf(scene, bodiesOf(A, j).front())[1] < centreOf(scene, body)[1];
        const std::array<double, 6> apart = below ? std::array<double, 6>{0, 1, 0, 0, 0, 0}
                                                  : std::array<double, 6>{1, 0, 0, 0, 0, 0};
        EXPECT_EQ(rowVelocity(A, j, body, apart), (std::vector<double>{1, 0, 0}));
        EXPECT_EQ(complianceOf(A, j), 1e-4);
    }
}

TEST(Wall, GroundCarriesItsWeight)
{
    const Scene scene = makeWall(6, 6);
    const BlockMatrix<double>& A = scene.matrix;
    const std::vector<double> x = solve(scene);
    double weight = 0;
    for (unsigned int b = 0; b < A.firstTrailing(); ++b)
        weight += scene.rightHandSide[A.blockOffset(b) + 1];
    double carried = 0;
    for (unsigned int j = A.firstTrailing(); j < A.numBlockRows(); ++j)
        if (bodiesOf(A, j).size() == 1)
            carried += x[A.blockOffset(j)];

    EXPECT_NEAR(carried / weight, 1, 0.01) << "the contacts give way a little";
    EXPECT_LT(carried / weight, 1);
}

} // namespace
