#include "Scenes.h"

#include <cmath>
#include <cstdlib>

namespace bulletjoints {

namespace {

constexpr btScalar kRod = btScalar(0.5);       ///< length of a rod of the ropes, m
constexpr btScalar kHalfWidth = 1;             ///< from the middle of the bridge to a rope, m
constexpr btScalar kHalfAngle = btScalar(0.4); ///< the ropes begin as arcs of twice that

/// The arc of a rope, as long as its rods, its ends at height 0.
class Arc {
public:
    explicit Arc(int rods)
        : m_step(2 * kHalfAngle / btScalar(rods)), m_radius(kRod / 2 / std::sin(m_step / 2))
    {
    }
    btVector3 node(int i, btScalar z) const
    {
        const btScalar angle = btScalar(i) * m_step - kHalfAngle;
        return {m_radius * std::sin(angle), m_radius * (std::cos(kHalfAngle) - std::cos(angle)), z};
    }
    btTransform rod(int i, btScalar z) const
    {
        const btScalar angle = (btScalar(i) + btScalar(0.5)) * m_step - kHalfAngle;
        return btTransform(btQuaternion(btVector3(0, 0, 1), angle),
                           (node(i, z) + node(i + 1, z)) / 2);
    }

private:
    btScalar m_step;
    btScalar m_radius;
};

/// Rods in a row from one bank to the other on ball joints.
std::vector<btRigidBody*> buildRope(World& world, const Arc& arc, int rods, btScalar z)
{
    btCollisionShape* shape = world.box(btVector3(kRod / 2, btScalar(0.05), btScalar(0.05)));
    std::vector<btRigidBody*> rope;
    for (int i = 0; i < rods; ++i) {
        btRigidBody* rod = world.add(shape, 2, arc.rod(i, z), false);
        world.pin(rod, rope.empty() ? nullptr : rope.back(), arc.node(i, z));
        rope.push_back(rod);
    }
    world.pin(rope.back(), nullptr, arc.node(rods, z));
    return rope;
}

} // namespace

void buildBridge(World& world, int planks)
{
    const Arc arc(planks);
    const std::vector<btRigidBody*> left = buildRope(world, arc, planks, -kHalfWidth);
    const std::vector<btRigidBody*> right = buildRope(world, arc, planks, kHalfWidth);
    btCollisionShape* shape =
        world.box(btVector3(kRod * btScalar(0.4), btScalar(0.04), kHalfWidth));
    for (int i = 0; i < planks; ++i) {
        const bool loaded = std::abs(2 * i + 1 - planks) <= 6;
        const btTransform place = arc.rod(i, 0);
        btRigidBody* plank = world.add(shape, loaded ? btScalar(100) : btScalar(5), place, false);
        const btVector3 side(0, 0, kHalfWidth);
        world.pin(plank, left[std::size_t(i)], place.getOrigin() - side);
        world.pin(plank, right[std::size_t(i)], place.getOrigin() + side);
    }
}

} // namespace bulletjoints
