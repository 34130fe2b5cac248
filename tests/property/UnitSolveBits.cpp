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

template <class T> class UnitSolveBits : public testing::Test {
};
TYPED_TEST_SUITE(UnitSolveBits, support::Scalars);

/// A right-hand side within one block row, or now and then anything at all.
template <class T> std::vector<T> drawRightHandSide(Random& random, const System<T>& system)
{
    if (random.chance(0.2))
        return support::bitVector(random, system);
    std::vector<T> b(system.dimension(), T(0));
    const unsigned int r = random.integer(0, system.numRows() - 1);
    for (unsigned int i = 0; i < system.sizes[r]; ++i)
        b[system.offsetOf(r) + i] = random.scalar<T>();
    return b;
}

/// Solves from positions before, in and behind what is not zero.
template <class T> void expectPlainUnitSolves(Random& random, const System<T>& system)
{
    const auto data = support::makeData(system);
    const auto factors = support::plainFactor(system);
    for (int i = 0; i < 6; ++i) {
        std::vector<T> x = drawRightHandSide(random, system);
        // From -1 to past the end.
        const int start = static_cast<int>(random.integer(0, system.dimension() + 4)) - 1;
        SCOPED_TRACE(testing::Message() << "start " << start);
        std::vector<T> expected = x;
        const unsigned int first = support::plainUnitSolve(factors, expected, start);

        EXPECT_EQ(kyrOrvel::Orvel::unitSolve(*data, x.data(), start), first);

        ASSERT_TRUE(support::sameBits(x.data(), expected.data(), x.size()));
    }
}

TYPED_TEST(UnitSolveBits, EqualsThePlainUnitSolve)
{
    for (std::uint64_t seed = 1; seed <= 120; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        expectPlainUnitSolves(random, support::bitSystem<TypeParam>(random));
    }
}

TYPED_TEST(UnitSolveBits, EqualsThePlainUnitSolveOnLargeBlocks)
{
    for (const unsigned int size : {17u, 40u, 64u, 130u}) {
        Random random(size);
        SCOPED_TRACE(random.seed());
        expectPlainUnitSolves(random,
                              support::dominantSystem<TypeParam>(random, 4, 0.6, size - 3, size));
    }
}

TYPED_TEST(UnitSolveBits, EqualsTheSolveWhenThePositionLiesInsideTheRow)
{
    for (std::uint64_t seed = 2001; seed <= 2100; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const System<TypeParam> system = support::dominantSystem<TypeParam>(random, 12, 0.15, 1, 6);
        const auto data = support::makeData(system);
        const unsigned int row = random.integer(0, 11);
        const unsigned int offset = system.offsetOf(row);
        std::vector<TypeParam> b(system.dimension(), TypeParam(0));
        for (unsigned int i = 0; i < system.sizes[row]; ++i)
            b[offset + i] = random.scalar<TypeParam>();

        std::vector<TypeParam> x = b;
        std::vector<TypeParam> expected = b;
        const unsigned long first =
            kyrOrvel::Orvel::unitSolve(*data, x.data(), static_cast<int>(offset + 1));
        ASSERT_TRUE(kyrOrvel::Orvel::solve(*data, expected.data()));

        // By value: a zero may differ in its sign, since the solve also subtracts products of
        // zeros that the unit solve leaves out.
        for (std::size_t i = 0; i < x.size(); ++i)
            ASSERT_EQ(x[i], expected[i]) << "element " << i;
        for (unsigned long i = 0; i < first; ++i)
            ASSERT_TRUE(support::sameBits(x[i], b[i])) << "element " << i;
    }
}

} // namespace
