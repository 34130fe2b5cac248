#include "support/Orderings.h"

#include <kyrOrvel/Reordering>

#include <gtest/gtest.h>

#include <csignal>

using kyrOrvel::Permutation;
using kyrOrvel::Reordering;

namespace {

// The pattern matches the whole of standard error.
constexpr char kMessage[] = "^Not enabled\n$";

TEST(DisabledOrderingsDeathTest, ModifiedAmdSaysSoAndAborts)
{
    const auto S = support::drawSkeleton({"X", "X X"});
    Permutation perm;
    EXPECT_EXIT(Reordering::computeModifiedAmdPermutation(*S, perm),
                testing::KilledBySignal(SIGABRT), kMessage);
}

TEST(DisabledOrderingsDeathTest, OrvelSaysSoAndAborts)
{
    const auto S = support::drawSkeleton({"X", "X X"});
    Permutation perm;
    EXPECT_EXIT(Reordering::computeOrvelPermutation(*S, perm), testing::KilledBySignal(SIGABRT),
                kMessage);
}

} // namespace
