#include "support/Joints.h"

#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/Scenes>

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::makeTracks;
using kyrOrvel::client::Scene;
using kyrOrvel::client::StatusCode;
using support::bodiesOf;
using support::centreOf;
using support::complianceOf;
using support::countJoints;
using support::largest;
using support::rowVelocity;
using support::solve;
using support::turning;
using support::Vector;

namespace {

TEST(Tracks, HaveTheBodiesAndJointsOfTheirShoes)
{
    for (const unsigned int shoes : {20u, 21u, 80u, 133u}) {
        SCOPED_TRACE(shoes);
        const BlockMatrix<double> A = makeTracks(shoes).matrix;

        EXPECT_EQ(A.firstTrailing(), 2 * shoes + 15);
        EXPECT_EQ(countJoints(A, 5, 2), 2 * shoes + 14) << "hinges";
        EXPECT_EQ(countJoints(A, 3, 2), 42u) << "wheels on shoes";
        EXPECT_EQ(countJoints(A, 3, 1), 2 * ((shoes - 16) / 2)) << "shoes on the ground";
        EXPECT_EQ(A.numBlockRows() - A.firstTrailing(), 2 * shoes + 14 + 42 + 2 * (shoes / 2 - 8));
    }
}

TEST(Tracks, ShoesCloseToALoop)
{
    const Scene scene = makeTracks(24);
    for (const unsigned int first : {1u, 1u + 24 + 7})
        for (unsigned int i = 0; i < 24; ++i) {
            const auto& shoe = scene.bodies[first + i];
            const auto& next = scene.bodies[first + (i + 1) % 24];
            EXPECT_EQ(shoe[1], next[0]) << "shoe " << i;
        }
}

TEST(Tracks, ShoesOfAnEvenNumberHaveOneLength)
{
    const Scene scene = makeTracks(40);
    for (unsigned int i = 0; i < 40; ++i) {
        const auto& [from, to] = scene.bodies[1 + i];
        const double length = std::sqrt((to[0] - from[0]) * (to[0] - from[0]) +
                                        (to[1] - from[1]) * (to[1] - from[1]));
        EXPECT_NEAR(length, 0.8 * 0.19509032201612825, 1e-14) << "the sine of a 16th of pi";
    }
}

TEST(Tracks, HingesGiveWayAcrossTheTrackAlone)
{
    const Scene scene = makeTracks(22);
    const BlockMatrix<double>& A = scene.matrix;
    for (unsigned int j = A.firstTrailing(); j < A.numBlockRows(); ++j) {
        if (A.blockSize(j) != 5)
            continue;
        const std::vector<unsigned int> bodies = bodiesOf(A, j);
        const bool wheel = bodies.front() == 0;
        const Vector pin = wheel ? centreOf(scene, bodies.back())
                           : scene.bodies[bodies.front()][1] == scene.bodies[bodies.back()][0]
                               ? scene.bodies[bodies.back()][0]
                               : scene.bodies[bodies.front()][0];
        for (const unsigned int body : bodies) {
            const Vector centre = centreOf(scene, body);
            EXPECT_NEAR(largest(rowVelocity(A, j, body, turning({0, 0, 1}, pin, centre))), 0,
                        1e-14);
            EXPECT_NEAR(largest(rowVelocity(A, j, body, turning({1, 0, 0}, pin, centre))), 1,
                        1e-14);
        }
        EXPECT_EQ(complianceOf(A, j) == 0, wheel);
    }
}

// A chain of hinges with parallel axes that closes has three rows too many.
TEST(Tracks, WithoutComplianceOfTheirHingesAreSingular)
{
    const Scene scene = makeTracks(24);
    const BlockMatrix<double>& A = scene.matrix;
    BlockMatrix<double> rigid(A.blockSizes(), A.firstTrailing());
    for (unsigned int r = 0; r < A.numBlockRows(); ++r)
        for (const auto& entry : A.row(r))
            if (r < A.firstTrailing() || entry.column != r || A.blockSize(r) != 5) {
                ASSERT_TRUE(rigid.add(r, entry.column, entry.values).ok());
            }
    BlockLDLT<double> solver;

    EXPECT_EQ(solver.compute(rigid).code, StatusCode::Singular);
    EXPECT_EQ(solver.info().row < 5 ? rigid.blockSize(solver.info().block) : 0, 5u)
        << "it names a hinge: " << solver.info().message;
}

TEST(Tracks, HullSinksSlowerThanItWouldFall)
{
    const std::vector<double> x = solve(makeTracks(80));

    EXPECT_LT(x[1], 0);
    EXPECT_GT(x[1], -9.81 / 60 / 2);
    EXPECT_NEAR(x[2], 0, 1e-12) << "both sides are the same";
}

} // namespace
