#ifndef KYRORVEL_CLIENT_RIGID_BODIES_H
#define KYRORVEL_CLIENT_RIGID_BODIES_H

#include "Vector3.h"

#include <kyrOrvelClient/Scenes>

#include <array>
#include <vector>

namespace kyrOrvel {
namespace client {

/// Collects bodies and joints, then writes the system of one time step. Masses in kg, lengths in m.
///
/// Compliances are what stands, negative, on the diagonals of joints: those of the materials, in
/// m/N or rad/(N·m), over the time step squared.
class RigidBodies {
public:
    static constexpr unsigned int kGround = kNone;

    /// A straight rod with round ends from `a` to `b`.
    unsigned int addRod(const Vector3& a, const Vector3& b, double radius, double mass);

    /// A box from the middle of one end to that of the other. The line between them has no part
    /// along z; `width` is along z, `height` across both.
    unsigned int addBox(const Vector3& a, const Vector3& b, double width, double height,
                        double mass);

    /// A ball joint at a point, 3 rows. Of any joint one of the bodies may be the ground.
    void addBallJoint(unsigned int bodyA, unsigned int bodyB, const Vector3& point,
                      double compliance = 0);

    /// A hinge about an axis (unit) through a point, 5 rows: those of a ball joint, then two that
    /// keep the bodies from turning against each other about directions across the axis.
    void addHinge(unsigned int bodyA, unsigned int bodyB, const Vector3& point, const Vector3& axis,
                  double compliance = 0);

    /// A contact that sticks, 3 rows: along the normal (unit), then two of friction across it.
    void addContact(unsigned int bodyA, unsigned int bodyB, const Vector3& point,
                    const Vector3& normal, double compliance);

    /// @param timeStep  in s; the bodies start at rest and fall along -y
    Scene makeScene(double timeStep) const;

private:
    using Matrix3 = std::array<Vector3, 3>;
    struct Body {
        Vector3 ends[2];
        Vector3 centre;
        double mass;
        Matrix3 inertia;
    };
    enum class Kind { Ball, Hinge, Contact };
    struct Joint {
        Kind kind;
        unsigned int bodies[2];
        Vector3 point;
        Vector3 axis; ///< of a hinge, normal of a contact
        double compliance;
    };

    static unsigned int sizeOf(const Joint& joint) { return joint.kind == Kind::Hinge ? 5 : 3; }
    static void writeMass(const Body& body, double* block);
    void writeJacobian(const Joint& joint, int side, double* block) const;

    std::vector<Body> m_bodies;
    std::vector<Joint> m_joints;
};

} // namespace client
} // namespace kyrOrvel

#endif
