#include "World.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace bulletjoints {

World::World(std::unique_ptr<btConstraintSolver> solver)
    : m_dispatcher(&m_configuration),
      m_solver(std::move(solver)),
      m_world(std::make_unique<btDiscreteDynamicsWorld>(&m_dispatcher, &m_broadphase,
                                                        m_solver.get(), &m_configuration))
{
    m_world->setGravity(btVector3(0, btScalar(-9.81), 0));
    // All islands in one group: one matrix, whose pattern contacts do not change.
    m_world->getSolverInfo().m_minimumSolverBatchSize = std::numeric_limits<int>::max();
}

World::~World()
{
    for (const auto& joint : m_joints)
        m_world->removeConstraint(joint.get());
    for (const auto& body : m_bodies)
        m_world->removeRigidBody(body.get());
}

btCollisionShape* World::box(const btVector3& halfExtents)
{
    return m_shapes.emplace_back(std::make_unique<btBoxShape>(halfExtents)).get();
}

btCollisionShape* World::capsule(btScalar radius, btScalar length)
{
    return m_shapes.emplace_back(std::make_unique<btCapsuleShape>(radius, length)).get();
}

btCollisionShape* World::sphere(btScalar radius)
{
    return m_shapes.emplace_back(std::make_unique<btSphereShape>(radius)).get();
}

btRigidBody* World::add(btCollisionShape* shape, btScalar mass, const btTransform& place,
                        bool collides)
{
    btVector3 inertia(0, 0, 0);
    if (mass > 0)
        shape->calculateLocalInertia(mass, inertia);
    btRigidBody::btRigidBodyConstructionInfo info(mass, nullptr, shape, inertia);
    info.m_startWorldTransform = place;
    info.m_friction = btScalar(0.6);
    auto body = std::make_unique<btRigidBody>(info);
    body->setActivationState(DISABLE_DEACTIVATION); // every step does the same work
    const int everything = collides ? btBroadphaseProxy::AllFilter : 0;
    m_world->addRigidBody(body.get(), btBroadphaseProxy::DefaultFilter, everything);
    return m_bodies.emplace_back(std::move(body)).get();
}

void World::add(std::unique_ptr<btTypedConstraint> joint)
{
    joint->setUserConstraintId(static_cast<int>(m_joints.size()));
    m_world->addConstraint(joint.get(), true);
    m_joints.push_back(std::move(joint));
}

void World::pin(btRigidBody* a, btRigidBody* b, const btVector3& point)
{
    const btVector3 inA = a->getWorldTransform().inverse() * point;
    if (b == nullptr)
        add(std::make_unique<btPoint2PointConstraint>(*a, inA));
    else
        add(std::make_unique<btPoint2PointConstraint>(*a, *b, inA,
                                                      b->getWorldTransform().inverse() * point));
    measure(a, b, point);
}

void World::measure(btRigidBody* a, btRigidBody* b, const btVector3& point)
{
    m_pins.push_back({a, a->getWorldTransform().inverse() * point, b,
                      b == nullptr ? point : b->getWorldTransform().inverse() * point});
}

void World::step(btScalar seconds)
{
    m_world->stepSimulation(seconds, 0);
}

Drift World::drift() const
{
    Drift drift;
    double sum = 0;
    for (const Pin& pin : m_pins) {
        const double squared = double((pin.onA() - pin.onB()).length2());
        drift.largest = std::max(drift.largest, std::sqrt(squared));
        sum += squared;
    }
    if (!m_pins.empty())
        drift.rms = std::sqrt(sum / double(m_pins.size()));
    return drift;
}

} // namespace bulletjoints
