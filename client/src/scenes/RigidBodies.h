#ifndef KYRORVEL_CLIENT_RIGID_BODIES_H
#define KYRORVEL_CLIENT_RIGID_BODIES_H

#include <kyrOrvelClient/Scenes>

#include <array>
#include <vector>

namespace kyrOrvel {
namespace client {

using Vector3 = std::array<double, 3>;

/// Collects bodies and joints, then writes the system of one time step.
class RigidBodies {
public:
    static constexpr unsigned int kGround = kNone;

    /// A straight rod with round ends from `a` to `b`; masses in kg, lengths in m.
    unsigned int addRod(const Vector3& a, const Vector3& b, double radius, double mass);

    /// A ball joint at a point; one of the bodies may be the ground. Compliance in m/N, times 1/h².
    void addBallJoint(unsigned int bodyA, unsigned int bodyB, const Vector3& point,
                      double compliance = 0);

    /// @param timeStep  in s; the bodies start at rest and fall along -y
    Scene makeScene(double timeStep) const;

private:
    struct Body {
        Vector3 ends[2];
        Vector3 centre;
        Vector3 axis; ///< unit
        double mass;
        double inertiaAlong;
        double inertiaAcross;
    };
    struct Joint {
        unsigned int bodies[2];
        Vector3 point;
        double compliance;
    };

    void writeMass(const Body& body, double* block) const;
    void writeJacobian(const Joint& joint, int side, double* block) const;

    std::vector<Body> m_bodies;
    std::vector<Joint> m_joints;
};

} // namespace client
} // namespace kyrOrvel

#endif
