#include "support/BitSystems.h"
#include "support/Bits.h"
#include "support/FactorPaths.h"
#include "support/PlainFactorization.h"
#include "support/Scalars.h"

#include <kyrOrvel/Orvel>

#include <gtest/gtest.h>

#include <vector>

using kyrOrvel::detail::SolveReading;
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

constexpr SolveReading kReadings[] = {SolveReading::Automatic, SolveReading::Near,
                                      SolveReading::Far, SolveReading::FactorAlone};

/// The solve on every instruction set, reading the factors in every way.
template <class T> class SolvePathBits : public support::FactorPaths<T> {
protected:
    ~SolvePathBits() override { setSolveReading(SolveReading::Automatic); }

    void expectPlainSolutions(Random& random, const System<T>& system)
    {
        const auto factors = support::plainFactor(system);
        const std::vector<T> b = support::bitVector(random, system);
        std::vector<T> expected = b;
        support::plainSolve(factors, expected);
        const auto data = support::makeData(system);
        data->factorsAreKept = 1;
        this->forEachPath([&] {
            data->factored = 0;
            for (const SolveReading reading : kReadings) {
                SCOPED_TRACE(int(reading));
                setSolveReading(reading);
                std::vector<T> x = b;

                ASSERT_TRUE(kyrOrvel::Orvel::solve(*data, x.data()));

                ASSERT_TRUE(support::sameBits(x.data(), expected.data(), x.size()));
            }
        });
    }
};
TYPED_TEST_SUITE(SolvePathBits, support::Scalars);

TYPED_TEST(SolvePathBits, EqualThePlainSolveOnSmallBlocks)
{
    for (std::uint64_t seed = 1; seed <= 80; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        this->expectPlainSolutions(random, this->system(random));
    }
}

TYPED_TEST(SolvePathBits, EqualThePlainSolveOnBlocksOfAllSizes)
{
    for (std::uint64_t seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        this->expectPlainSolutions(
            random, this->system(random, random.integer(1, 10),
                                 {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 17, 40}));
    }
}

TYPED_TEST(SolvePathBits, EqualThePlainSolveOnLargeBlocks)
{
    for (const unsigned int size : {41u, 64u, 95u, 130u, 300u}) {
        Random random(size);
        SCOPED_TRACE(random.seed());
        this->expectPlainSolutions(random, this->system(random, 3, {6, size}));
    }
}

TYPED_TEST(SolvePathBits, EqualThePlainSolveWithZeroPivots)
{
    for (std::uint64_t seed = 7001; seed <= 7060; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        this->expectPlainSolutions(random, support::zeroPivotSystem<TypeParam>(random));
    }
}

TYPED_TEST(SolvePathBits, EqualThePlainSolveWithDenormals)
{
    for (std::uint64_t seed = 8001; seed <= 8060; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        this->expectPlainSolutions(random, support::denormalSystem<TypeParam>(random));
    }
}

TYPED_TEST(SolvePathBits, EqualThePlainSolveBeyondCaches)
{
    Random random(1);
    const auto system = this->system(random, 180, {3, 5, 6, 4});
    std::size_t scalars = 0;
    for (unsigned int r = 0; r < system.numRows(); ++r)
        for (const unsigned int c : system.factorRows[r])
            scalars += std::size_t(system.sizes[r]) * system.sizes[c];
    // From there on solves read L alone.
    ASSERT_GT(scalars * sizeof(TypeParam), 1U << 20);
    this->expectPlainSolutions(random, system);
}

/// Doubles the values of L·D, and returns the last element of a solution over that of one before.
template <class T> T changeByDoubledProducts(kyrOrvel::OrvelData<T>& data, std::vector<T> b)
{
    std::vector<T> x = b;
    EXPECT_TRUE(kyrOrvel::Orvel::solve(data, x.data()));
    for (std::size_t i = 0; i < data.scaledFactor.valueCapacity; ++i)
        data.scaledFactor.values[i] *= 2;
    EXPECT_TRUE(kyrOrvel::Orvel::solve(data, b.data()));
    return b.back() / x.back();
}

TYPED_TEST(SolvePathBits, ScaledFactorIsReadHoweverLargeUnlessTheCallerVouchesForIt)
{
    Random random(7);
    const auto system = this->system(random, 180, {3, 5, 6, 4});
    const auto data = support::makeData(system);
    kyrOrvel::Orvel::factorSerial(*data);
    ASSERT_GT(data->scaledFactor.valueCapacity * sizeof(TypeParam), 1U << 20);

    EXPECT_EQ(changeByDoubledProducts(*data, support::bitVector(random, system)), TypeParam(0.5));
}

TYPED_TEST(SolvePathBits, ProductsAreReadWhereTheyMayBeOthers)
{
    Random random(7);
    const auto system = this->system(random, 5, {3, 6});
    const auto data = support::makeData(system);
    kyrOrvel::Orvel::factorSerial(*data);
    setSolveReading(SolveReading::FactorAlone);
    data->factorsAreKept = 1;
    data->scaledIsProduct = 0;

    EXPECT_EQ(changeByDoubledProducts(*data, support::bitVector(random, system)), TypeParam(0.5));
}

// It leaves a factor without values in place of L.
TYPED_TEST(SolvePathBits, ScaledFactorIsReadAfterAnEstimateOfWork)
{
    const auto data = support::makeData(support::scalarSystem<TypeParam>({"X"}, {{4}}));
    kyrOrvel::Orvel::factorSerial(*data);
    setSolveReading(SolveReading::FactorAlone);
    data->factorsAreKept = 1;

    kyrOrvel::Orvel::estimateWork(*data, nullptr);
    TypeParam x = 1;
    kyrOrvel::Orvel::solve(*data, &x);

    EXPECT_EQ(x, TypeParam(0.25));
}

} // namespace
