// From one step to the next: what is kept, what comes out the same, what a redundant joint does.

#include "Worlds.h"

#include <gtest/gtest.h>

#include <utility>

namespace {

using kyrOrvel::client::StatusCode;

TEST(BulletSteps, TheSameSceneTwiceGivesTheSameBits)
{
    DirectWorld first, second;
    for (bulletjoints::World* world : {&first, &second})
        bulletjoints::buildRagdolls(*world, 3);
    run(first, 60);
    run(second, 60);
    EXPECT_EQ(stateOf(first), stateOf(second));
}

TEST(BulletSteps, AnalyseOnceWhileJointsStayTheSame)
{
    DirectWorld world;
    bulletjoints::buildRagdolls(world, 10); // contacts come and go, and islands with them
    run(world, 240);
    EXPECT_EQ(world.solver().system().analyses(), 1u);
}

TEST(BulletSteps, OfJointsAloneTakeOneSolveAndNoIteration)
{
    DirectWorld world;
    bulletjoints::buildChain(world, 5, 1);
    run(world, 2);
    EXPECT_EQ(world.solver().m_analyticsData.m_numIterationsUsed, 1); // which finds nothing to do
}

TEST(BulletSteps, AnalyseAgainWhenAJointIsAdded)
{
    DirectWorld world;
    bulletjoints::buildChain(world, 5, 1);
    run(world, 2);
    world.pin(addCube(world, 5, 5), nullptr, btVector3(5, 6, 0));
    run(world, 2);
    EXPECT_EQ(world.solver().system().analyses(), 2u);
    EXPECT_EQ(world.solver().directRows(), 7u * 3);
}

/// A chain of two cubes whose first joint, number 0, is there a second time as number 2.
void buildRedundant(bulletjoints::World& world)
{
    btRigidBody* a = addCube(world, 1, 0);
    btRigidBody* b = addCube(world, 3, 0);
    world.pin(a, nullptr, btVector3(0, 0, 0));
    world.pin(b, a, btVector3(2, 0, 0));
    world.pin(a, nullptr, btVector3(0, 0, 0));
}

TEST(BulletSteps, ARedundantJointIsNamed)
{
    DirectWorld world;
    buildRedundant(world);
    run(world, 1);
    const kyrOrvel::client::Status& status = world.solver().status();
    EXPECT_EQ(status.code, StatusCode::Singular);
    EXPECT_FALSE(status.message.empty());
    EXPECT_TRUE(status.id == 0 || status.id == 2) << status.id;
    EXPECT_TRUE(world.solver().system().softened());
}

TEST(BulletSteps, ARedundantJointChangesNothingToSpeakOf)
{
    DirectWorld redundant, plain;
    buildRedundant(redundant);
    btRigidBody* a = addCube(plain, 1, 0);
    plain.pin(a, nullptr, btVector3(0, 0, 0));
    plain.pin(addCube(plain, 3, 0), a, btVector3(2, 0, 0));
    run(redundant, 60);
    run(plain, 60);
    EXPECT_EQ(redundant.solver().directRows(), 9u);
    EXPECT_LT(distance(redundant, plain), sizeof(btScalar) == 4 ? 1e-3 : 1e-5);
}

TEST(BulletSteps, AreSolvedAsTheyAreAgainWhenTheRedundantJointIsGone)
{
    DirectWorld world;
    buildRedundant(world);
    run(world, 2);
    world.dynamics().getConstraint(2)->setEnabled(false);
    run(world, 2);
    EXPECT_EQ(world.solver().status().code, StatusCode::Ok) << world.solver().status().message;
    EXPECT_FALSE(world.solver().system().softened());
    EXPECT_EQ(world.solver().directRows(), 6u);
}

} // namespace
