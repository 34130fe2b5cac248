#include <kyrOrvelClient/Scenes>

#include "RigidBodies.h"

#include <algorithm>

namespace kyrOrvel {
namespace client {

namespace {

constexpr double kTimeStep = 1.0 / 60; // s
constexpr double kMesh = 0.25;         // m between knots
constexpr double kKnot = 0.04;         // m, length of a knot
constexpr double kMass = 0.2;          // kg
constexpr double kCompliance = 1e-2;   // of the cords, in units of the joints' diagonal

Vector3 knotCentre(unsigned int x, unsigned int y)
{
    return {kMesh * x, 0.02 * ((x * 7 + y * 3) % 5), kMesh * y};
}

} // namespace

Scene makeNet(unsigned int size)
{
    size = std::max(size, 2u);
    RigidBodies bodies;
    for (unsigned int y = 0; y < size; ++y)
        for (unsigned int x = 0; x < size; ++x) {
            const Vector3 c = knotCentre(x, y);
            bodies.addRod({c[0] - kKnot / 2, c[1], c[2]}, {c[0] + kKnot / 2, c[1], c[2]}, kKnot / 2,
                          kMass);
        }
    const auto knot = [size](unsigned int x, unsigned int y) { return y * size + x; };
    for (unsigned int y = 0; y < size; ++y)
        for (unsigned int x = 0; x < size; ++x) {
            const Vector3 here = knotCentre(x, y);
            if (x + 1 < size)
                bodies.addBallJoint(knot(x, y), knot(x + 1, y), halfway(here, knotCentre(x + 1, y)),
                                    kCompliance);
            if (y + 1 < size)
                bodies.addBallJoint(knot(x, y), knot(x, y + 1), halfway(here, knotCentre(x, y + 1)),
                                    kCompliance);
        }
    bodies.addBallJoint(knot(0, 0), RigidBodies::kGround, knotCentre(0, 0));
    bodies.addBallJoint(knot(size - 1, 0), RigidBodies::kGround, knotCentre(size - 1, 0));
    return bodies.makeScene(kTimeStep);
}

} // namespace client
} // namespace kyrOrvel
