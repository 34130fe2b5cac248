#include "Scenes.h"

#include <cmath>

namespace bulletjoints {

void buildChain(World& world, int links, btScalar ratio)
{
    const btScalar length = 1;
    const btVector3 along(std::sin(btScalar(0.6)), -std::cos(btScalar(0.6)), 0);
    const btQuaternion turn(btVector3(0, 0, 1), btScalar(0.6));
    btCollisionShape* link = world.box(btVector3(btScalar(0.1), length / 2, btScalar(0.1)));

    btRigidBody* previous = nullptr;
    for (int i = 0; i < links; ++i) {
        const btScalar distance = (btScalar(i) + btScalar(0.5)) * length;
        btRigidBody* body = world.add(link, 1, btTransform(turn, along * distance), false);
        world.pin(body, previous, along * (btScalar(i) * length));
        previous = body;
    }
    const btScalar radius = 4;
    const btVector3 end = along * (btScalar(links) * length);
    btRigidBody* ball =
        world.add(world.sphere(radius), ratio, btTransform(turn, end + along * radius), false);
    world.pin(ball, previous, end);
}

} // namespace bulletjoints
