#ifndef TESTS_BULLET_WORLDS_H
#define TESTS_BULLET_WORLDS_H

#include "Scenes.h"
#include "Solver.h"

#include <memory>
#include <vector>

constexpr btScalar kStep = btScalar(1) / 240; ///< seconds

/// A world solved by Bullet itself, with a number of iterations.
class BulletWorld : public bulletjoints::World {
public:
    explicit BulletWorld(int iterations)
        : World(std::make_unique<btSequentialImpulseConstraintSolver>())
    {
        dynamics().getSolverInfo().m_numIterations = iterations;
    }
};

/// A world whose joints are solved directly.
class DirectWorld : public bulletjoints::World {
public:
    DirectWorld() : World(std::make_unique<bulletjoints::DirectJointSolver>()) {}

    const bulletjoints::DirectJointSolver& solver()
    {
        return dynamic_cast<const bulletjoints::DirectJointSolver&>(
            *dynamics().getConstraintSolver());
    }
};

inline btTransform at(btScalar x, btScalar y, btScalar z = 0)
{
    return btTransform(btQuaternion::getIdentity(), btVector3(x, y, z));
}

/// A cube of 1 kg and 0.2 m that collides with nothing.
inline btRigidBody* addCube(bulletjoints::World& world, btScalar x, btScalar y)
{
    return world.add(world.box(btVector3(btScalar(0.1), btScalar(0.1), btScalar(0.1))), 1, at(x, y),
                     false);
}

inline void run(bulletjoints::World& world, int steps)
{
    for (int i = 0; i < steps; ++i)
        world.step(kStep);
}

/// The places and velocities of all bodies, to be compared bit for bit.
inline std::vector<btScalar> stateOf(const bulletjoints::World& world)
{
    std::vector<btScalar> state;
    const auto append = [&](const btVector3& v) {
        for (int i = 0; i < 3; ++i)
            state.push_back(v[i]);
    };
    for (const auto& body : world.bodies()) {
        append(body->getWorldTransform().getOrigin());
        for (int i = 0; i < 3; ++i)
            append(body->getWorldTransform().getBasis()[i]);
        append(body->getLinearVelocity());
        append(body->getAngularVelocity());
    }
    return state;
}

/// The largest distance between the same body's places in two worlds, in metres.
inline double distance(const bulletjoints::World& a, const bulletjoints::World& b)
{
    btScalar largest = 0;
    for (std::size_t i = 0; i < a.bodies().size(); ++i)
        largest = btMax(largest, (a.bodies()[i]->getWorldTransform().getOrigin() -
                                  b.bodies()[i]->getWorldTransform().getOrigin())
                                     .length());
    return double(largest);
}

#endif
