#include "Scenes.h"

#include <cmath>

namespace bulletjoints {

namespace {

/// Builds one ragdoll in a frame of its own; its figure stands upright, facing +z.
class Ragdoll {
public:
    Ragdoll(World& world, const btTransform& place) : m_world(world), m_place(place) {}

    btRigidBody* limb(btScalar radius, btScalar length, btScalar mass, const btVector3& middle,
                      const btQuaternion& turn = btQuaternion::getIdentity())
    {
        return m_world.add(m_world.capsule(radius, length), mass,
                           m_place * btTransform(turn, middle), true);
    }

    /// A ball joint at a point whose twist axis is `axis`, all in the ragdoll's frame.
    void cone(btRigidBody* a, btRigidBody* b, const btVector3& point, const btVector3& axis,
              btScalar swing, btScalar twist)
    {
        const btTransform joint = m_place * btTransform(turnXTo(axis), point);
        auto cone = std::make_unique<btConeTwistConstraint>(
            *a, *b, a->getWorldTransform().inverse() * joint,
            b->getWorldTransform().inverse() * joint);
        cone->setLimit(swing, swing, twist);
        m_world.add(std::move(cone));
        m_world.measure(a, b, joint.getOrigin());
    }

    /// A hinge about the ragdoll's x axis.
    void hinge(btRigidBody* a, btRigidBody* b, const btVector3& point, btScalar low, btScalar high)
    {
        const btTransform joint = m_place * btTransform(turnZToX(), point);
        auto hinge =
            std::make_unique<btHingeConstraint>(*a, *b, a->getWorldTransform().inverse() * joint,
                                                b->getWorldTransform().inverse() * joint);
        hinge->setLimit(low, high);
        m_world.add(std::move(hinge));
        m_world.measure(a, b, joint.getOrigin());
    }

private:
    static btQuaternion turnXTo(const btVector3& axis)
    {
        return shortestArcQuat(btVector3(1, 0, 0), axis);
    }
    static btQuaternion turnZToX()
    {
        return shortestArcQuat(btVector3(0, 0, 1), btVector3(1, 0, 0));
    }

    World& m_world;
    btTransform m_place;
};

btVector3 at(double x, double y)
{
    return {btScalar(x), btScalar(y), 0};
}

void buildSide(Ragdoll& doll, btRigidBody* pelvis, btRigidBody* chest, double side)
{
    const btVector3 down(0, -1, 0);
    btRigidBody* thigh = doll.limb(btScalar(0.07), btScalar(0.3), 8, at(side * 0.1, 0.7));
    btRigidBody* shin = doll.limb(btScalar(0.05), btScalar(0.3), 4, at(side * 0.1, 0.25));
    doll.cone(pelvis, thigh, at(side * 0.1, 0.92), down, btScalar(0.8), btScalar(0.3));
    doll.hinge(thigh, shin, at(side * 0.1, 0.47), 0, 2);

    btRigidBody* upper = doll.limb(btScalar(0.05), btScalar(0.2), 2, at(side * 0.25, 1.28));
    btRigidBody* lower = doll.limb(btScalar(0.04), btScalar(0.22), 1, at(side * 0.25, 0.94));
    doll.cone(chest, upper, at(side * 0.25, 1.44), down, btScalar(1.2), btScalar(0.5));
    doll.hinge(upper, lower, at(side * 0.25, 1.11), -2, 0);
}

void buildRagdoll(World& world, const btTransform& place)
{
    Ragdoll doll(world, place);
    const btVector3 up(0, 1, 0);
    const btQuaternion across(btVector3(0, 0, 1), SIMD_HALF_PI);
    btRigidBody* pelvis = doll.limb(btScalar(0.1), btScalar(0.12), 12, at(0, 1), across);
    btRigidBody* chest = doll.limb(btScalar(0.13), btScalar(0.16), 20, at(0, 1.3));
    btRigidBody* head = doll.limb(btScalar(0.09), btScalar(0.06), 4, at(0, 1.67));
    doll.cone(pelvis, chest, at(0, 1.1), up, btScalar(0.5), btScalar(0.5));
    doll.cone(chest, head, at(0, 1.54), up, btScalar(0.5), btScalar(0.8));
    buildSide(doll, pelvis, chest, -1);
    buildSide(doll, pelvis, chest, 1);
}

} // namespace

void buildRagdolls(World& world, int ragdolls)
{
    const btTransform ground(btQuaternion::getIdentity(), btVector3(0, -1, 0));
    world.add(world.box(btVector3(20, 1, 20)), 0, ground, true);
    for (int i = 0; i < ragdolls; ++i) {
        // Layers of five in a ring, lying almost flat, each layer turned against the one below.
        const int layer = i / 5;
        const auto angle = btScalar(i) * btScalar(1.3566);
        const btVector3 feet(std::cos(angle), btScalar(0.4) + btScalar(0.8) * btScalar(layer),
                             std::sin(angle));
        const btQuaternion turn = btQuaternion(btVector3(0, 1, 0), -angle) *
                                  btQuaternion(btVector3(1, 0, 0), btScalar(1.3));
        buildRagdoll(world, btTransform(turn, feet));
    }
}

} // namespace bulletjoints
