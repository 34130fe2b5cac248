#include "support/BitSystems.h"
#include "support/FactorComparison.h"
#include "support/PlainFactorization.h"
#include "support/Scalars.h"

#include <kyrOrvel/Orvel>

#include <gtest/gtest.h>

using support::Random;
using support::System;

namespace {

template <class T> class FactorSerialBits : public testing::Test {
};
TYPED_TEST_SUITE(FactorSerialBits, support::Scalars);

TYPED_TEST(FactorSerialBits, EqualsThePlainFactorization)
{
    for (std::uint64_t seed = 1; seed <= 200; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const System<TypeParam> system = support::bitSystem<TypeParam>(random);
        const auto data = support::makeData(system);

        kyrOrvel::Orvel::factorSerial(*data);

        ASSERT_TRUE(support::sameFactors(*data, support::plainFactor(system)));
    }
}

TYPED_TEST(FactorSerialBits, EqualsThePlainFactorizationInReusedStorage)
{
    kyrOrvel::OrvelData<TypeParam> data;
    for (std::uint64_t seed = 1001; seed <= 1060; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const System<TypeParam> system = support::bitSystem<TypeParam>(random);
        support::load(system, data);

        kyrOrvel::Orvel::factorSerial(data);

        ASSERT_TRUE(support::sameFactors(data, support::plainFactor(system)));
    }
}

} // namespace
