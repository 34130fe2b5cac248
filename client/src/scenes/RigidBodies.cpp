#include "RigidBodies.h"

#include <cmath>
#include <utility>

namespace kyrOrvel {
namespace client {

namespace {

constexpr unsigned int kBodySize = 6;
constexpr double kGravity = 9.81; // m/s²
constexpr Vector3 kSideways = {0, 0, 1};

/// Two unit vectors that are perpendicular to a third and to each other.
std::pair<Vector3, Vector3> across(const Vector3& axis)
{
    unsigned int least = 0;
    for (const unsigned int i : {1u, 2u})
        if (std::abs(axis[i]) < std::abs(axis[least]))
            least = i;
    Vector3 other = {0, 0, 0};
    other[least] = 1;
    const Vector3 first = unit(cross(axis, other));
    return {first, cross(axis, first)};
}

/// [1, -(r×)]: the velocity v + ω × r of a point, in coordinates.
void writePointRows(const Vector3& r, double sign, double* rows)
{
    const double minusCross[3][3] = {{0, r[2], -r[1]}, {-r[2], 0, r[0]}, {r[1], -r[0], 0}};
    for (unsigned int i = 0; i < 3; ++i) {
        rows[i * kBodySize + i] = sign;
        for (unsigned int j = 0; j < 3; ++j)
            rows[i * kBodySize + 3 + j] = sign * minusCross[i][j];
    }
}

/// [d, r × d]: the velocity of a point along a direction.
void writePointRow(const Vector3& r, const Vector3& direction, double sign, double* row)
{
    const Vector3 turning = cross(r, direction);
    for (unsigned int j = 0; j < 3; ++j) {
        row[j] = sign * direction[j];
        row[3 + j] = sign * turning[j];
    }
}

/// [0, d]: the angular velocity about a direction.
void writeTurningRow(const Vector3& direction, double sign, double* row)
{
    for (unsigned int j = 0; j < 3; ++j)
        row[3 + j] = sign * direction[j];
}

} // namespace

/// I = across·(1 - u·uᵀ) + along·u·uᵀ about the axis u.
unsigned int RigidBodies::addRod(const Vector3& a, const Vector3& b, double radius, double mass)
{
    const double rodLength = length(difference(b, a));
    const Vector3 axis = unit(difference(b, a));
    const double inertiaAlong = mass * radius * radius / 2;
    const double inertiaAcross = mass * (3 * radius * radius + rodLength * rodLength) / 12;
    Body body{{a, b}, halfway(a, b), mass, {}};
    for (unsigned int i = 0; i < 3; ++i)
        for (unsigned int j = 0; j < 3; ++j) {
            const double axial = axis[i] * axis[j];
            body.inertia[i][j] =
                inertiaAcross * ((i == j ? 1.0 : 0.0) - axial) + inertiaAlong * axial;
        }
    m_bodies.push_back(body);
    return static_cast<unsigned int>(m_bodies.size() - 1);
}

/// I = Σ I(k)·u(k)·u(k)ᵀ over the principal axes u(k).
unsigned int RigidBodies::addBox(const Vector3& a, const Vector3& b, double width, double height,
                                 double mass)
{
    const double boxLength = length(difference(b, a));
    const Vector3 along = unit(difference(b, a));
    const double squares[3] = {boxLength * boxLength, width * width, height * height};
    const Vector3 axes[3] = {along, kSideways, cross(along, kSideways)};
    Body body{{a, b}, halfway(a, b), mass, {}};
    for (unsigned int k = 0; k < 3; ++k) {
        const double principal = mass * (squares[(k + 1) % 3] + squares[(k + 2) % 3]) / 12;
        for (unsigned int i = 0; i < 3; ++i)
            for (unsigned int j = 0; j < 3; ++j)
                body.inertia[i][j] += principal * (axes[k][i] * axes[k][j]);
    }
    m_bodies.push_back(body);
    return static_cast<unsigned int>(m_bodies.size() - 1);
}

void RigidBodies::addBallJoint(unsigned int bodyA, unsigned int bodyB, const Vector3& point,
                               double compliance)
{
    m_joints.push_back({Kind::Ball, {bodyA, bodyB}, point, {}, compliance});
}

void RigidBodies::addHinge(unsigned int bodyA, unsigned int bodyB, const Vector3& point,
                           const Vector3& axis, double compliance)
{
    m_joints.push_back({Kind::Hinge, {bodyA, bodyB}, point, axis, compliance});
}

void RigidBodies::addContact(unsigned int bodyA, unsigned int bodyB, const Vector3& point,
                             const Vector3& normal, double compliance)
{
    m_joints.push_back({Kind::Contact, {bodyA, bodyB}, point, normal, compliance});
}

/// diag(m, m, m, I)
void RigidBodies::writeMass(const Body& body, double* block)
{
    for (unsigned int i = 0; i < 3; ++i) {
        block[i * kBodySize + i] = body.mass;
        for (unsigned int j = 0; j < 3; ++j)
            block[(3 + i) * kBodySize + 3 + j] = body.inertia[i][j];
    }
}

/// The rows are those of the first body's velocity minus those of the second's.
void RigidBodies::writeJacobian(const Joint& joint, int side, double* block) const
{
    const Vector3 r = difference(joint.point, m_bodies[joint.bodies[side]].centre);
    const double sign = side == 0 ? 1 : -1;
    if (joint.kind != Kind::Contact)
        writePointRows(r, sign, block);
    if (joint.kind == Kind::Ball)
        return;
    const auto [first, second] = across(joint.axis);
    if (joint.kind == Kind::Hinge) {
        writeTurningRow(first, sign, block + 3 * kBodySize);
        writeTurningRow(second, sign, block + 4 * kBodySize);
    } else {
        writePointRow(r, joint.axis, sign, block);
        writePointRow(r, first, sign, block + kBodySize);
        writePointRow(r, second, sign, block + 2 * kBodySize);
    }
}

Scene RigidBodies::makeScene(double timeStep) const
{
    const auto numBodies = static_cast<unsigned int>(m_bodies.size());
    std::vector<unsigned int> sizes(m_bodies.size(), kBodySize);
    for (const Joint& joint : m_joints)
        sizes.push_back(sizeOf(joint));
    Scene scene{BlockMatrix<double>(std::move(sizes), numBodies), {}, {}, {}};
    scene.rightHandSide.resize(scene.matrix.dimension());
    for (unsigned int b = 0; b < numBodies; ++b) {
        const Body& body = m_bodies[b];
        writeMass(body, scene.matrix.block(b, b));
        scene.rightHandSide[scene.matrix.blockOffset(b) + 1] = -timeStep * kGravity * body.mass;
        scene.bodies.push_back({body.ends[0], body.ends[1]});
    }
    for (unsigned int j = 0; j < m_joints.size(); ++j) {
        const Joint& joint = m_joints[j];
        const unsigned int size = sizeOf(joint);
        if (joint.compliance != 0) {
            double* const diagonal = scene.matrix.block(numBodies + j, numBodies + j);
            for (unsigned int i = 0; i < size; ++i)
                diagonal[i * size + i] = -joint.compliance;
        }
        for (const int side : {0, 1}) {
            const unsigned int body = joint.bodies[side];
            if (body == kGround)
                scene.anchors.push_back(joint.point);
            else
                writeJacobian(joint, side, scene.matrix.block(numBodies + j, body));
        }
    }
    return scene;
}

} // namespace client
} // namespace kyrOrvel
