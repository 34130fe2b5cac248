// Chain, wall and tracks: what holds for the joints of all of them.

#include "support/Joints.h"

#include <kyrOrvelClient/Scenes>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>
#include <vector>

using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::Scene;
using support::bodiesOf;
using support::centreOf;
using support::countJoints;
using support::turning;
using support::Vector;

namespace {

/// A scene by its name.
class MechanicalScenes : public testing::TestWithParam<const char*> {
protected:
    static Scene make()
    {
        const std::string name = GetParam();
        if (name == "Chain")
            return kyrOrvel::client::makeChain(9);
        return name == "Wall" ? kyrOrvel::client::makeWall(4, 5) : kyrOrvel::client::makeTracks(31);
    }
};

TEST_P(MechanicalScenes, MovedAsAWholeStrainNoJoint)
{
    const Scene scene = make();
    const BlockMatrix<double>& A = scene.matrix;
    for (unsigned int motion = 0; motion < 6; ++motion) {
        std::vector<double> velocity(A.dimension());
        for (unsigned int b = 0; b < A.firstTrailing(); ++b) {
            Vector axis = {0, 0, 0};
            axis[motion % 3] = 1;
            const std::array<double, 6> v =
                motion < 3 ? std::array<double, 6>{axis[0], axis[1], axis[2], 0, 0, 0}
                           : turning(axis, {0.3, -0.2, 0.1}, centreOf(scene, b));
            std::copy(v.begin(), v.end(), velocity.begin() + 6 * b);
        }
        std::vector<double> product(A.dimension());
        A.multiply(velocity.data(), product.data());
        for (unsigned int j = A.firstTrailing(); j < A.numBlockRows(); ++j) {
            if (bodiesOf(A, j).size() != 2)
                continue;
            for (unsigned int i = 0; i < A.blockSize(j); ++i)
                EXPECT_NEAR(product[A.blockOffset(j) + i], 0, 1e-14)
                    << "motion " << motion << ", joint " << j << ", row " << i;
        }
    }
}

TEST_P(MechanicalScenes, OnlyWeightActsOnThem)
{
    const Scene scene = make();
    const BlockMatrix<double>& A = scene.matrix;
    for (unsigned int b = 0; b < A.numBlockRows(); ++b)
        for (unsigned int i = 0; i < A.blockSize(b); ++i) {
            const double value = scene.rightHandSide[A.blockOffset(b) + i];
            if (b < A.firstTrailing() && i == 1)
                EXPECT_DOUBLE_EQ(value, -9.81 / 60 * A.find(b, b)[7]) << "mass times h·g";
            else
                EXPECT_EQ(value, 0);
        }
}

TEST_P(MechanicalScenes, HaveAnAnchorForEveryJointWithTheGround)
{
    const Scene scene = make();
    EXPECT_EQ(scene.anchors.size(),
              countJoints(scene.matrix, 3, 1) + countJoints(scene.matrix, 5, 1));
}

INSTANTIATE_TEST_SUITE_P(, MechanicalScenes, testing::Values("Chain", "Wall", "Tracks"),
                         [](const auto& parameter) { return std::string(parameter.param); });

} // namespace
