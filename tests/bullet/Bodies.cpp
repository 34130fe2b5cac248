#include "Worlds.h"

#include <gtest/gtest.h>

namespace {

using bulletjoints::World;

TEST(BulletBodies, AStaticOneInAJointStaysWhereItIs)
{
    DirectWorld world;
    btRigidBody* post =
        world.add(world.box(btVector3(1, 1, 1)), 0, at(btScalar(0.1), btScalar(0.7)), false);
    btRigidBody* cube = addCube(world, 2, 0);
    world.pin(cube, post, btVector3(1, 0, 0));
    const btTransform before = post->getWorldTransform();
    run(world, 60);
    EXPECT_EQ(world.solver().directRows(), 3u);
    EXPECT_TRUE(post->getWorldTransform() == before);
    EXPECT_TRUE(post->getLinearVelocity().isZero());
    EXPECT_NE(cube->getWorldTransform().getOrigin().y(), 0);
}

TEST(BulletBodies, AJointBetweenTwoStaticOnesIsLeftOut)
{
    DirectWorld world;
    btCollisionShape* box = world.box(btVector3(1, 1, 1));
    btRigidBody* a = world.add(box, 0, at(0, 0), false);
    btRigidBody* b = world.add(box, 0, at(2, 0), false);
    world.pin(a, b, btVector3(1, 0, 0));
    const std::vector<btScalar> before = stateOf(world);
    run(world, 10);
    EXPECT_EQ(world.solver().directRows(), 0u);
    EXPECT_EQ(stateOf(world), before);
}

/// The body is moved by the program, and what hangs from it has to follow.
TEST(BulletBodies, AKinematicOneTakesTheOthersAlong)
{
    DirectWorld world;
    world.dynamics().setGravity(btVector3(0, 0, 0));
    btRigidBody* hand = world.add(world.box(btVector3(1, 1, 1)), 0, at(0, 0), false);
    hand->setCollisionFlags(btCollisionObject::CF_KINEMATIC_OBJECT);
    btRigidBody* cube = addCube(world, 2, 0);
    world.pin(cube, hand, btVector3(1, 0, 0));
    const btScalar each = btScalar(0.005);
    for (int i = 1; i <= 60; ++i) {
        hand->setWorldTransform(at(each * btScalar(i), 0));
        world.step(kStep);
    }
    EXPECT_EQ(world.solver().directRows(), 3u);
    EXPECT_NEAR(double(cube->getWorldTransform().getOrigin().x()), 2 + 60 * double(each), 1e-2);
}

void dropBoxes(World& world)
{
    world.add(world.box(btVector3(5, 1, 5)), 0, at(0, -1), true);
    for (int i = 0; i < 4; ++i)
        world.add(world.box(btVector3(btScalar(0.2), btScalar(0.2), btScalar(0.2))), 1,
                  at(btScalar(0.05) * btScalar(i), btScalar(0.25) + btScalar(0.5) * btScalar(i)),
                  true);
}

TEST(BulletBodies, WithoutJointsMoveAsBulletMovesThemToTheBit)
{
    BulletWorld bullet(10);
    DirectWorld direct;
    dropBoxes(bullet);
    dropBoxes(direct);
    run(bullet, 120);
    run(direct, 120);
    EXPECT_EQ(stateOf(direct), stateOf(bullet));
}

TEST(BulletBodies, OneWithoutAJointFallsPastThoseWithJoints)
{
    BulletWorld bullet(10);
    DirectWorld direct;
    for (World* world : {static_cast<World*>(&bullet), static_cast<World*>(&direct)}) {
        bulletjoints::buildChain(*world, 3, 1);
        addCube(*world, 5, 5);
    }
    run(bullet, 60);
    run(direct, 60);
    EXPECT_EQ(direct.bodies().back()->getWorldTransform().getOrigin().y(),
              bullet.bodies().back()->getWorldTransform().getOrigin().y());
    EXPECT_EQ(direct.solver().directRows(), 4u * 3);
}

TEST(BulletBodies, OneThatCannotTurnFreelyLeavesItsJointsToBullet)
{
    DirectWorld world;
    btRigidBody* cube = addCube(world, 1, 0);
    cube->setAngularFactor(btVector3(0, 0, 1));
    world.pin(cube, nullptr, btVector3(0, 0, 0));
    run(world, 60);
    EXPECT_EQ(world.solver().directRows(), 0u);
    EXPECT_LT(world.drift().largest, 0.05);
}

TEST(BulletBodies, JoinedOnesComeToRestOnTheGround)
{
    DirectWorld world;
    world.add(world.box(btVector3(5, 1, 5)), 0, at(0, -1), true);
    btCollisionShape* box = world.box(btVector3(btScalar(0.2), btScalar(0.2), btScalar(0.2)));
    btRigidBody* a = world.add(box, 1, at(0, btScalar(0.5)), true);
    btRigidBody* b = world.add(box, 1, at(btScalar(0.5), btScalar(0.5)), true);
    world.pin(a, b, btVector3(btScalar(0.25), btScalar(0.5), 0));
    run(world, 480);
    for (const btRigidBody* body : {a, b}) {
        EXPECT_NEAR(double(body->getWorldTransform().getOrigin().y()), 0.2, 0.01);
        EXPECT_LT(body->getLinearVelocity().length(), btScalar(0.02));
    }
    EXPECT_LT(world.drift().largest, 1e-3);
}

} // namespace
