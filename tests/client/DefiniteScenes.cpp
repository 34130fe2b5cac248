// Pose graph and elasticity: positive definite systems without joints.

#include <kyrOrvelClient/Scenes>

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <vector>

using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::makeElasticity;
using kyrOrvel::client::makePoseGraph;
using kyrOrvel::client::Scene;

namespace {

using Vector = std::array<double, 3>;

double dot(const Vector& a, const Vector& b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

Vector cross(const Vector& a, const Vector& b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

std::vector<double> multiply(const BlockMatrix<double>& A, const std::vector<double>& x)
{
    std::vector<double> y(A.dimension());
    A.multiply(x.data(), y.data());
    return y;
}

// Pose graph

TEST(PoseGraph, HasABlockPerPoseAndALinePerStep)
{
    for (const unsigned int poses : {1u, 2u, 50u}) {
        SCOPED_TRACE(poses);
        const Scene scene = makePoseGraph(poses);

        EXPECT_EQ(scene.matrix.blockSizes(), std::vector<unsigned int>(poses, 6));
        EXPECT_EQ(scene.bodies.size(), poses - 1);
        EXPECT_EQ(scene.anchors.size(), 1u);
        for (std::size_t i = 1; i < scene.bodies.size(); ++i)
            EXPECT_EQ(scene.bodies[i][0], scene.bodies[i - 1][1]);
    }
}

// A lap of 100 poses is 16, the power of two whose square reaches twice their number.
TEST(PoseGraph, CouplesPosesToTheNextAndToNearOnesOfTheLapBefore)
{
    const BlockMatrix<double> A = makePoseGraph(100).matrix;
    std::size_t beside = 0;
    for (unsigned int j = 0; j < 100; ++j) {
        SCOPED_TRACE(j);
        for (const auto& entry : A.row(j)) {
            const unsigned int back = j - entry.column;
            EXPECT_TRUE(back <= 1 || (back >= 15 && back <= 17)) << back;
            beside += back == 15 || back == 17;
        }
        EXPECT_EQ(A.find(j, j - 1) != nullptr, j >= 1);
        EXPECT_EQ(A.find(j, j - 16) != nullptr, j >= 16);
    }
    EXPECT_GT(beside, 20u);
    EXPECT_LT(beside, 84u);
}

TEST(PoseGraph, LiesOnASphereInStepsOfAboutAMetre)
{
    const Scene scene = makePoseGraph(200); // in laps of 32
    const double radius = 32 / 6.283185307179586;
    for (const auto& [from, to] : scene.bodies) {
        EXPECT_NEAR(std::sqrt(dot(to, to)), radius, 1e-12);
        const Vector step = {to[0] - from[0], to[1] - from[1], to[2] - from[2]};
        EXPECT_LT(std::sqrt(dot(step, step)), 1.1);
    }
}

/// A motion of the whole walk (v + ω × p at every place p), seen by each pose in its own axes:
/// ahead along the lap, to the side, up from the sphere.
std::vector<double> movedAsAWhole(const Scene& scene, const Vector& v, const Vector& w)
{
    std::vector<double> motion;
    for (std::size_t i = 0; i <= scene.bodies.size(); ++i) {
        const Vector place = i == 0 ? scene.bodies[0][0] : scene.bodies[i - 1][1];
        const double radius = std::sqrt(dot(place, place));
        const double around = std::sqrt(place[0] * place[0] + place[1] * place[1]);
        const Vector up = {place[0] / radius, place[1] / radius, place[2] / radius};
        const Vector ahead = {-place[1] / around, place[0] / around, 0};
        const Vector axes[] = {ahead, cross(up, ahead), up};
        const Vector turn = cross(w, place);
        for (const Vector& axis : axes)
            motion.push_back(dot(axis, {v[0] + turn[0], v[1] + turn[1], v[2] + turn[2]}));
        for (const Vector& axis : axes)
            motion.push_back(dot(axis, w));
    }
    return motion;
}

// Measurements from pose to pose do not change if all move together; the anchor's does.
TEST(PoseGraph, IsHeldInPlaceByItsFirstPoseAlone)
{
    const Scene scene = makePoseGraph(60);
    for (unsigned int k = 0; k < 6; ++k) {
        SCOPED_TRACE(k);
        Vector v = {0, 0, 0};
        Vector w = {0, 0, 0};
        (k < 3 ? v : w)[k % 3] = 1;

        const std::vector<double> force = multiply(scene.matrix, movedAsAWhole(scene, v, w));

        double first = 0;
        for (std::size_t i = 0; i < 6; ++i)
            first = std::max(first, std::abs(force[i]));
        EXPECT_GT(first, 1000);
        for (std::size_t i = 6; i < force.size(); ++i)
            EXPECT_NEAR(force[i], 0, 1e-9) << i;
    }
}

// Elasticity

TEST(Elasticity, HasABlockPerNodeAndNothingToDraw)
{
    for (const unsigned int size : {2u, 5u}) {
        const Scene scene = makeElasticity(size);
        EXPECT_EQ(scene.matrix.blockSizes(), std::vector<unsigned int>(size * size * size, 3));
        EXPECT_TRUE(scene.bodies.empty());
        EXPECT_TRUE(scene.anchors.empty());
    }
}

// Node (x, y, z) couples to (x', y', z') wherever no coordinate differs by more than 1.
TEST(Elasticity, CouplesEachNodeToThoseAroundIt)
{
    constexpr unsigned int n = 4;
    const BlockMatrix<double> A = makeElasticity(n).matrix;
    const auto apart = [](unsigned int a, unsigned int b) { return a < b ? b - a : a - b; };
    for (unsigned int r = 0; r < n * n * n; ++r)
        for (unsigned int c = 0; c <= r; ++c) {
            const bool near = apart(r % n, c % n) <= 1 && apart(r / n % n, c / n % n) <= 1 &&
                              apart(r / n / n, c / n / n) <= 1;
            EXPECT_EQ(A.find(r, c) != nullptr, near) << r << ", " << c;
        }
}

// Displacements that grow in proportion with the distance from the wall strain the cube evenly,
// which leaves the nodes inside in balance (the patch test of finite elements).
TEST(Elasticity, InnerNodesOfAnEvenStrainAreInBalance)
{
    constexpr unsigned int n = 5;
    const BlockMatrix<double> A = makeElasticity(n).matrix;
    std::vector<double> displacement;
    for (unsigned int node = 0; node < n * n * n; ++node)
        for (const double growth : {1e-3, -2e-3, 0.5e-3})
            displacement.push_back(growth * (node % n + 1));

    const std::vector<double> force = multiply(A, displacement);

    double largest = 0;
    for (unsigned int node = 0; node < n * n * n; ++node) {
        const unsigned int x = node % n;
        const unsigned int y = node / n % n;
        const unsigned int z = node / n / n;
        const bool inner = x + 1 < n && y > 0 && y + 1 < n && z > 0 && z + 1 < n;
        for (unsigned int i = 0; i < 3; ++i) {
            largest = std::max(largest, std::abs(force[3 * node + i]));
            EXPECT_NEAR(inner ? force[3 * node + i] : 0, 0, 1e-9) << "node " << node;
        }
    }
    EXPECT_GT(largest, 100) << "the sides are not";
}

// A cube of 1 m and 1000 kg/m³ in elements of (1 m / size)³, size by (size - 1)² of them; what
// weighs on the nodes of the wall is not in the system.
TEST(Elasticity, BendsUnderItsWeight)
{
    constexpr unsigned int n = 4;
    const Scene scene = makeElasticity(n);
    double sum = 0;
    for (std::size_t i = 0; i < scene.rightHandSide.size(); ++i) {
        if (i % 3 == 1) {
            EXPECT_LT(scene.rightHandSide[i], 0);
            sum += scene.rightHandSide[i];
        } else {
            EXPECT_EQ(scene.rightHandSide[i], 0);
        }
    }
    EXPECT_NEAR(sum, -9.81 * 1000 * (n - 0.5) * (n - 1) * (n - 1) / (n * n * n), 1e-9);
}

} // namespace
