// Which rows are solved directly, and what becomes of the others.

#include "Worlds.h"

#include <gtest/gtest.h>

#include <cmath>
#include <utility>

namespace {

/// A cube that hangs a metre to the side of a hinge about z at the origin.
btHingeConstraint* addHinge(bulletjoints::World& world)
{
    btRigidBody* cube = addCube(world, 1, 0);
    auto hinge =
        std::make_unique<btHingeConstraint>(*cube, btVector3(-1, 0, 0), btVector3(0, 0, 1));
    btHingeConstraint* result = hinge.get();
    world.add(std::move(hinge));
    world.measure(cube, nullptr, btVector3(0, 0, 0));
    return result;
}

TEST(BulletRows, OfAHingeAreFive)
{
    DirectWorld world;
    addHinge(world);
    run(world, 1);
    EXPECT_EQ(world.solver().directRows(), 5u);
}

TEST(BulletRows, AHingeAtItsLimitIsHeldByBullet)
{
    DirectWorld world;
    btHingeConstraint* hinge = addHinge(world);
    const btScalar begin = hinge->getHingeAngle();
    hinge->setLimit(begin - btScalar(0.3), begin + btScalar(0.3));
    run(world, 480);
    EXPECT_EQ(world.solver().directRows(), 5u);
    EXPECT_NEAR(std::abs(double(hinge->getHingeAngle() - begin)), 0.3, 0.03); // it fell that far
    EXPECT_LT(world.drift().largest, 1e-3);
}

TEST(BulletRows, AMotorTurnsItsHingeAtItsSpeed)
{
    DirectWorld world;
    world.dynamics().setGravity(btVector3(0, 0, 0));
    btHingeConstraint* hinge = addHinge(world);
    hinge->enableAngularMotor(true, 2, 10);
    run(world, 120);
    EXPECT_EQ(world.solver().directRows(), 5u);
    EXPECT_NEAR(std::abs(double(world.bodies()[0]->getAngularVelocity().z())), 2, 0.05);
    EXPECT_LT(world.drift().largest, 1e-3);
}

TEST(BulletRows, OfAJointThatCanBreakStayWithBulletAndItBreaks)
{
    DirectWorld world;
    btHingeConstraint* hinge = addHinge(world);
    hinge->setBreakingImpulseThreshold(btScalar(1e-3));
    run(world, 1);
    EXPECT_EQ(world.solver().directRows(), 0u);
    EXPECT_TRUE(hinge->isEnabled());
    run(world, 60); // it takes a few to fall fast enough
    EXPECT_FALSE(hinge->isEnabled());
}

TEST(BulletRows, OfADisabledJointAreNone)
{
    DirectWorld world;
    addHinge(world)->setEnabled(false);
    run(world, 1);
    EXPECT_EQ(world.solver().directRows(), 0u);
}

TEST(BulletRows, ReportTheirForcesAsBulletsDo)
{
    DirectWorld world;
    btRigidBody* cube = addCube(world, 0, -1);
    auto joint = std::make_unique<btPoint2PointConstraint>(*cube, btVector3(0, 1, 0));
    btJointFeedback feedback = {};
    joint->setJointFeedback(&feedback);
    world.add(std::move(joint));
    run(world, 10);
    EXPECT_NEAR(double(feedback.m_appliedForceBodyA.y()), 9.81, 1e-3); // 1 kg hangs still
}

} // namespace
