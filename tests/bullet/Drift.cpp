#include "Worlds.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

double largestDrift(bulletjoints::World& world, int steps)
{
    double largest = 0;
    for (int i = 0; i < steps; ++i) {
        world.step(kStep);
        largest = std::max(largest, world.drift().largest);
    }
    return largest;
}

TEST(BulletDrift, OfAHeavyChainIsATenthOfThatOfTenIterationsAtTheMost)
{
    BulletWorld bullet(10);
    DirectWorld direct;
    bulletjoints::buildChain(bullet, 50, 1000);
    bulletjoints::buildChain(direct, 50, 1000);
    const double bulletDrift = largestDrift(bullet, 60);
    const double directDrift = largestDrift(direct, 60);
    EXPECT_GT(bulletDrift, 1e-3); // else there is nothing to be better than
    EXPECT_LT(directDrift, bulletDrift / 10);
}

TEST(BulletDrift, OfABridgeIsATenthOfThatOfTenIterationsAtTheMost)
{
    BulletWorld bullet(10);
    DirectWorld direct;
    bulletjoints::buildBridge(bullet, 20);
    bulletjoints::buildBridge(direct, 20);
    const double bulletDrift = largestDrift(bullet, 60);
    const double directDrift = largestDrift(direct, 60);
    EXPECT_GT(bulletDrift, 1e-3);
    EXPECT_LT(directDrift, bulletDrift / 10);
}

TEST(BulletDrift, OfRagdollsThatHaveFallenIsBelowThatOfTenIterations)
{
    BulletWorld bullet(10);
    DirectWorld direct;
    bulletjoints::buildRagdolls(bullet, 3);
    bulletjoints::buildRagdolls(direct, 3);
    run(bullet, 480);
    run(direct, 480);
    EXPECT_LT(direct.drift().rms, bullet.drift().rms / 2);
}

} // namespace
