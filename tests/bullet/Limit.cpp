// What Bullet's iteration converges to is what the direct solver finds.

#include "Worlds.h"

#include <gtest/gtest.h>

namespace {

constexpr int kConverged = 3000;                               ///< iterations
constexpr double kClose = sizeof(btScalar) == 4 ? 1e-4 : 1e-7; ///< metres

TEST(BulletLimit, AShortChainMovesAsAfterManyIterations)
{
    BulletWorld bullet(kConverged);
    DirectWorld direct;
    bulletjoints::buildChain(bullet, 5, 10);
    bulletjoints::buildChain(direct, 5, 10);
    run(bullet, 60);
    run(direct, 60);
    EXPECT_LT(distance(bullet, direct), kClose);
}

TEST(BulletLimit, ATorqueTurnsJoinedBodiesAsAfterManyIterations)
{
    BulletWorld bullet(kConverged);
    DirectWorld direct;
    bulletjoints::buildChain(bullet, 5, 10);
    bulletjoints::buildChain(direct, 5, 10);
    for (bulletjoints::World* world :
         {static_cast<bulletjoints::World*>(&bullet), static_cast<bulletjoints::World*>(&direct)})
        for (int i = 0; i < 60; ++i) {
            world->bodies()[2]->applyTorque(btVector3(15, 10, 5));
            world->step(kStep);
        }
    EXPECT_GT(btFabs(direct.bodies()[2]->getWorldTransform().getOrigin().z()), btScalar(1e-3));
    EXPECT_LT(distance(bullet, direct), kClose);
}

void hangSoftly(bulletjoints::World& world)
{
    btRigidBody* cube = addCube(world, 1, 0);
    auto joint =
        std::make_unique<btPoint2PointConstraint>(*cube, btVector3(-1, 0, 0)); // at the origin
    joint->setParam(BT_CONSTRAINT_CFM, btScalar(0.5));
    world.add(std::move(joint));
    world.measure(cube, nullptr, btVector3(0, 0, 0));
}

TEST(BulletLimit, ASoftJointGivesAsAfterManyIterations)
{
    BulletWorld bullet(kConverged);
    DirectWorld direct;
    hangSoftly(bullet);
    hangSoftly(direct);
    run(bullet, 60);
    run(direct, 60);
    EXPECT_GT(bullet.drift().largest, 100 * kClose); // it does give
    EXPECT_LT(distance(bullet, direct), kClose);
}

} // namespace
