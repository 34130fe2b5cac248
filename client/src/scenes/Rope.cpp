#include <kyrOrvelClient/Scenes>

#include "RigidBodies.h"

#include <algorithm>

namespace kyrOrvel {
namespace client {

namespace {

constexpr double kTimeStep = 1.0 / 60; // s
constexpr double kLength = 0.2;        // m, of a piece
constexpr double kRadius = 0.02;       // m
constexpr double kMass = 0.3;          // kg

/// The rope zigzags a little on its way down.
Vector3 linkPoint(unsigned int i)
{
    return {i % 2 == 0 ? 0.0 : 0.05, -kLength * i, i % 3 == 0 ? 0.0 : 0.03};
}

} // namespace

Scene makeRope(unsigned int segments)
{
    RigidBodies bodies;
    for (unsigned int i = 0; i < std::max(segments, 1u); ++i) {
        const unsigned int body = bodies.addRod(linkPoint(i), linkPoint(i + 1), kRadius, kMass);
        bodies.addBallJoint(body, i == 0 ? RigidBodies::kGround : body - 1, linkPoint(i));
    }
    return bodies.makeScene(kTimeStep);
}

} // namespace client
} // namespace kyrOrvel
