#include "support/BitSystems.h"
#include "support/Bits.h"
#include "support/PlainFactorization.h"
#include "support/Scalars.h"

#include <kyrOrvel/Orvel>

#include <gtest/gtest.h>

#include <vector>

using support::Random;
using support::System;

namespace {

template <class T> class SolveBits : public testing::Test {
};
TYPED_TEST_SUITE(SolveBits, support::Scalars);

TYPED_TEST(SolveBits, EqualsThePlainSolve)
{
    for (std::uint64_t seed = 1; seed <= 120; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const System<TypeParam> system = support::bitSystem<TypeParam>(random);
        const auto data = support::makeData(system);
        const auto factors = support::plainFactor(system);

        for (int i = 0; i < 3; ++i) {
            std::vector<TypeParam> x = support::bitVector(random, system);
            std::vector<TypeParam> expected = x;
            support::plainSolve(factors, expected);

            ASSERT_TRUE(kyrOrvel::Orvel::solve(*data, x.data()));

            ASSERT_TRUE(support::sameBits(x.data(), expected.data(), x.size()));
        }
    }
}

} // namespace
