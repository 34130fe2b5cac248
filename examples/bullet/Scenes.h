#ifndef BULLET_SCENES_H
#define BULLET_SCENES_H

#include "World.h"

namespace bulletjoints {

/// Links on ball joints that hang from a fixed point, straight and at an angle, and begin to swing;
/// the last carries a ball of `ratio` times the mass of a link.
void buildChain(World& world, int links, btScalar ratio);

/// Two ropes of rods on ball joints between fixed ends, and planks that hang between them on ball
/// joints; the planks in the middle carry a load. Collides with nothing.
void buildBridge(World& world, int planks);

/// Ragdolls that fall on the ground in a heap: 11 bodies each, on ball joints with limits (cone and
/// twist) and hinges with limits.
void buildRagdolls(World& world, int ragdolls);

} // namespace bulletjoints

#endif
