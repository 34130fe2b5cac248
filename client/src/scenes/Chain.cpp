#include <kyrOrvelClient/Scenes>

#include "RigidBodies.h"

#include <algorithm>

namespace kyrOrvel {
namespace client {

namespace {

constexpr double kTimeStep = 1.0 / 60; // s
constexpr double kLength = 0.1;        // m, of a link
constexpr double kRadius = 0.01;       // m
constexpr double kMass = 0.5;          // kg

/// The chain hangs in zigzag.
Vector3 linkPoint(unsigned int i)
{
    return {i % 2 == 0 ? 0.0 : 0.03, -kLength * i, i % 3 == 0 ? 0.0 : 0.02};
}

/// Hinges turn about z and x by turns.
Vector3 hingeAxis(unsigned int i)
{
    return i % 4 == 1 ? Vector3{0, 0, 1} : Vector3{1, 0, 0};
}

} // namespace

Scene makeChain(unsigned int bodies)
{
    RigidBodies links;
    for (unsigned int i = 0; i < std::max(bodies, 1u); ++i) {
        const unsigned int link = links.addRod(linkPoint(i), linkPoint(i + 1), kRadius, kMass);
        const unsigned int above = i == 0 ? RigidBodies::kGround : link - 1;
        if (i % 2 == 0)
            links.addBallJoint(link, above, linkPoint(i));
        else
            links.addHinge(link, above, linkPoint(i), hingeAxis(i));
    }
    return links.makeScene(kTimeStep);
}

} // namespace client
} // namespace kyrOrvel
