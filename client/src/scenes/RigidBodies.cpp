#include "RigidBodies.h"

#include <cmath>

namespace kyrOrvel {
namespace client {

namespace {

constexpr unsigned int kBodySize = 6;
constexpr unsigned int kBallSize = 3;
constexpr double kGravity = 9.81; // m/s²

Vector3 subtract(const Vector3& a, const Vector3& b)
{
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}

} // namespace

unsigned int RigidBodies::addRod(const Vector3& a, const Vector3& b, double radius, double mass)
{
    Vector3 axis = subtract(b, a);
    const double length = std::sqrt(axis[0] * axis[0] + axis[1] * axis[1] + axis[2] * axis[2]);
    for (double& v : axis)
        v /= length;
    const Vector3 centre = {(a[0] + b[0]) / 2, (a[1] + b[1]) / 2, (a[2] + b[2]) / 2};
    const double along = mass * radius * radius / 2;
    const double across = mass * (3 * radius * radius + length * length) / 12;
    m_bodies.push_back({{a, b}, centre, axis, mass, along, across});
    return static_cast<unsigned int>(m_bodies.size() - 1);
}

void RigidBodies::addBallJoint(unsigned int bodyA, unsigned int bodyB, const Vector3& point,
                               double compliance)
{
    m_joints.push_back({{bodyA, bodyB}, point, compliance});
}

/// diag(m, m, m, I) with I = across·(1 - u·uᵀ) + along·u·uᵀ.
void RigidBodies::writeMass(const Body& body, double* block) const
{
    for (unsigned int i = 0; i < 3; ++i) {
        block[i * kBodySize + i] = body.mass;
        for (unsigned int j = 0; j < 3; ++j) {
            const double axial = body.axis[i] * body.axis[j];
            block[(3 + i) * kBodySize + 3 + j] =
                body.inertiaAcross * ((i == j ? 1.0 : 0.0) - axial) + body.inertiaAlong * axial;
        }
    }
}

/// The velocity of the joint's point on one body is v + ω × r = [1, -(r×)]·[v; ω]; the second body
/// counts negative.
void RigidBodies::writeJacobian(const Joint& joint, int side, double* block) const
{
    const Vector3 r = subtract(joint.point, m_bodies[joint.bodies[side]].centre);
    const double sign = side == 0 ? 1 : -1;
    const double cross[3][3] = {{0, r[2], -r[1]}, {-r[2], 0, r[0]}, {r[1], -r[0], 0}};
    for (unsigned int i = 0; i < kBallSize; ++i) {
        block[i * kBodySize + i] = sign;
        for (unsigned int j = 0; j < 3; ++j)
            block[i * kBodySize + 3 + j] = sign * cross[i][j];
    }
}

Scene RigidBodies::makeScene(double timeStep) const
{
    const auto numBodies = static_cast<unsigned int>(m_bodies.size());
    std::vector<unsigned int> sizes(m_bodies.size(), kBodySize);
    sizes.resize(m_bodies.size() + m_joints.size(), kBallSize);
    Scene scene{BlockMatrix<double>(std::move(sizes), numBodies), {}, {}, {}};
    scene.rightHandSide.resize(scene.matrix.dimension());
    for (unsigned int b = 0; b < numBodies; ++b) {
        const Body& body = m_bodies[b];
        writeMass(body, scene.matrix.block(b, b));
        scene.rightHandSide[scene.matrix.blockOffset(b) + 1] = -timeStep * kGravity * body.mass;
        scene.bodies.push_back({body.ends[0], body.ends[1]});
    }
    for (unsigned int j = 0; j < m_joints.size(); ++j) {
        if (m_joints[j].compliance != 0) {
            double* const diagonal = scene.matrix.block(numBodies + j, numBodies + j);
            for (unsigned int i = 0; i < kBallSize; ++i)
                diagonal[i * kBallSize + i] = -m_joints[j].compliance;
        }
        for (const int side : {0, 1}) {
            const unsigned int body = m_joints[j].bodies[side];
            if (body == kGround)
                scene.anchors.push_back(m_joints[j].point);
            else
                writeJacobian(m_joints[j], side, scene.matrix.block(numBodies + j, body));
        }
    }
    return scene;
}

} // namespace client
} // namespace kyrOrvel
