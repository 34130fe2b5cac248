#include "support/Joints.h"

#include <kyrOrvelClient/Scenes>

#include <gtest/gtest.h>

#include <utility>
#include <vector>

using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::makeChain;
using kyrOrvel::client::Scene;
using support::bodiesOf;
using support::centreOf;
using support::jointSizes;
using support::largest;
using support::rowVelocity;
using support::turning;
using support::Vector;

namespace {

TEST(Chain, HasBallJointsAndHingesByTurns)
{
    EXPECT_EQ(jointSizes(makeChain(1).matrix), (std::vector<unsigned int>{3}));
    EXPECT_EQ(jointSizes(makeChain(5).matrix), (std::vector<unsigned int>{3, 5, 3, 5, 3}));
    EXPECT_EQ(makeChain(5).matrix.firstTrailing(), 5u);
}

TEST(Chain, HangsLinkByLinkFromOneAnchor)
{
    const Scene scene = makeChain(6);
    const BlockMatrix<double>& A = scene.matrix;

    EXPECT_EQ(scene.anchors.size(), 1u);
    EXPECT_EQ(bodiesOf(A, 6), (std::vector<unsigned int>{0}));
    for (unsigned int j = 1; j < 6; ++j) {
        EXPECT_EQ(bodiesOf(A, 6 + j), (std::vector<unsigned int>{j - 1, j}));
        EXPECT_EQ(A.find(6 + j, 6 + j), nullptr) << "no compliance";
    }
}

TEST(Chain, HingeGivesWayAboutItsAxisAlone)
{
    const Scene scene = makeChain(4);
    const Vector axes[] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    for (const auto& [joint, free] : {std::pair<unsigned int, unsigned int>{5, 2}, {7, 0}})
        for (unsigned int k = 0; k < 3; ++k) {
            const unsigned int body = joint - 4;
            const Vector pin = scene.bodies[body][0];
            const double resisted = largest(rowVelocity(
                scene.matrix, joint, body, turning(axes[k], pin, centreOf(scene, body))));
            EXPECT_NEAR(resisted, k == free ? 0 : 1, 1e-14) << "joint " << joint << ", axis " << k;
        }
}

} // namespace
