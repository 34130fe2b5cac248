#ifndef BULLET_WORLD_H
#define BULLET_WORLD_H

#include <btBulletDynamicsCommon.h>

#include <memory>
#include <vector>

namespace bulletjoints {

/// A point that two bodies share, to measure how well they do.
struct Pin {
    const btRigidBody* a;
    btVector3 inA;        ///< in a's own axes
    const btRigidBody* b; ///< null for the world
    btVector3 inB;

    btVector3 onA() const { return a->getWorldTransform() * inA; }
    btVector3 onB() const { return b == nullptr ? inB : b->getWorldTransform() * inB; }
};

/// Distances between the two sides of the pins, in metres.
struct Drift {
    double largest = 0;
    double rms = 0;
};

/// A Bullet world that owns what is in it. Metres, kilograms, seconds; y points up.
class World {
public:
    explicit World(std::unique_ptr<btConstraintSolver> solver);
    ~World();
    World(const World&) = delete;
    World& operator=(const World&) = delete;

    btDiscreteDynamicsWorld& dynamics() { return *m_world; }
    const btDiscreteDynamicsWorld& dynamics() const { return *m_world; }

    btCollisionShape* box(const btVector3& halfExtents);
    btCollisionShape* capsule(btScalar radius,
                              btScalar length); ///< length between the centres, along y
    btCollisionShape* sphere(btScalar radius);

    /// A body of a mass in kg, 0 for a static one. `collides` is false for bodies that pass through
    /// everything.
    btRigidBody* add(btCollisionShape* shape, btScalar mass, const btTransform& place,
                     bool collides);

    void add(std::unique_ptr<btTypedConstraint> joint);

    /// A ball joint at a point of the world, and the pin to measure it by; b null for the world.
    void pin(btRigidBody* a, btRigidBody* b, const btVector3& point);

    /// A pin for a joint that was added by itself.
    void measure(btRigidBody* a, btRigidBody* b, const btVector3& point);

    /// One step of exactly this length, in seconds.
    void step(btScalar seconds);

    Drift drift() const;

    const std::vector<std::unique_ptr<btRigidBody>>& bodies() const { return m_bodies; }
    const std::vector<Pin>& pins() const { return m_pins; }

private:
    btDefaultCollisionConfiguration m_configuration;
    btCollisionDispatcher m_dispatcher;
    btDbvtBroadphase m_broadphase;
    std::unique_ptr<btConstraintSolver> m_solver;
    std::vector<std::unique_ptr<btCollisionShape>> m_shapes;
    std::vector<std::unique_ptr<btRigidBody>> m_bodies;
    std::vector<std::unique_ptr<btTypedConstraint>> m_joints;
    std::vector<Pin> m_pins;
    std::unique_ptr<btDiscreteDynamicsWorld> m_world;
};

} // namespace bulletjoints

#endif
