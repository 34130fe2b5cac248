#include <kyrOrvelClient/Scenes>

#include "RigidBodies.h"

#include <algorithm>

namespace kyrOrvel {
namespace client {

namespace {

constexpr double kTimeStep = 1.0 / 60; // s
constexpr double kSegmentLength = 0.4; // m, along the span
constexpr double kSagOfSpan = 0.12;    // lowest point under the anchors, as a share of the span
constexpr double kWidth = 1.2;         // m
constexpr double kRopeRadius = 0.02;   // m
constexpr double kRopeMass = 0.5;      // kg a segment
constexpr double kPlankRadius = 0.08;  // m
constexpr double kPlankMass = 6;       // kg

/// Link i of a rope: a parabola, for a taut straight rope could carry any tension and would have no
/// unique solution.
Vector3 linkPoint(unsigned int i, unsigned int segments, double z)
{
    const double span = kSegmentLength * segments;
    const double s = 2.0 * i / segments - 1; // -1 and 1 at the anchors
    return {span * (s + 1) / 2, kSagOfSpan * span * (s * s - 1), z};
}

/// Adds a rope with its joints and both anchors; returns its first segment.
unsigned int addRope(RigidBodies& bodies, unsigned int segments, double z)
{
    unsigned int first = 0;
    for (unsigned int i = 0; i < segments; ++i) {
        const unsigned int body = bodies.addRod(
            linkPoint(i, segments, z), linkPoint(i + 1, segments, z), kRopeRadius, kRopeMass);
        if (i == 0)
            first = body;
        bodies.addBallJoint(body, i == 0 ? RigidBodies::kGround : body - 1,
                            linkPoint(i, segments, z));
    }
    bodies.addBallJoint(first + segments - 1, RigidBodies::kGround,
                        linkPoint(segments, segments, z));
    return first;
}

} // namespace

Scene makeRopeBridge(unsigned int segments)
{
    segments = std::max(segments, 2u);
    RigidBodies bodies;
    const unsigned int left = addRope(bodies, segments, 0);
    const unsigned int right = addRope(bodies, segments, kWidth);
    for (unsigned int i = 1; i < segments; ++i) {
        const Vector3 a = linkPoint(i, segments, 0);
        const Vector3 b = linkPoint(i, segments, kWidth);
        const unsigned int plank = bodies.addRod(a, b, kPlankRadius, kPlankMass);
        bodies.addBallJoint(plank, left + i, a);
        bodies.addBallJoint(plank, right + i, b);
    }
    return bodies.makeScene(kTimeStep);
}

} // namespace client
} // namespace kyrOrvel
