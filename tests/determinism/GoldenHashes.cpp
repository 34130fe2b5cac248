// Hashes of L, D and x of a few fixed systems, random and mechanical, the same for every compiler,
// flag and machine. A change of any of them changes the results that somebody's recorded simulation
// replays.
//
// The numbers come from the plain factorization of the tests, built without optimisation.

#include "IntegerMechanisms.h"

#include "support/PlainFactorization.h"

#include <kyrOrvel/Orvel>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <ostream>
#include <string>
#include <vector>

using kyrOrvel::Orvel;
using support::Random;
using support::System;

namespace {

/// FNV-1a, 64 bits, over the bits of scalars, lowest byte first. NaN has no bits of its own: which
/// one comes out is the compiler's choice.
class Hash {
public:
    void add(float value)
    {
        EXPECT_FALSE(std::isnan(value));
        std::uint32_t bits;
        std::memcpy(&bits, &value, sizeof bits);
        addBits(bits, 4);
    }
    void add(double value)
    {
        EXPECT_FALSE(std::isnan(value));
        std::uint64_t bits;
        std::memcpy(&bits, &value, sizeof bits);
        addBits(bits, 8);
    }
    std::uint64_t value() const { return m_value; }

private:
    void addBits(std::uint64_t bits, int bytes)
    {
        for (int i = 0; i < bytes; ++i) {
            m_value ^= (bits >> (8 * i)) & 0xFF;
            m_value *= 0x100000001B3u;
        }
    }

    std::uint64_t m_value = 0xCBF29CE484222325u;
};

struct Hashes {
    std::uint64_t L, D, x;
};

struct Golden {
    const char* name;
    Hashes forFloat, forDouble;
};

const Hashes& of(const Golden& golden, float /*type*/)
{
    return golden.forFloat;
}
const Hashes& of(const Golden& golden, double /*type*/)
{
    return golden.forDouble;
}

enum { kDominant, kQuasiDefinite, kMixedSizes, kNotClosed, kChain, kNet, kWall, kLattice };

const Golden kGolden[] = {
    {"Dominant",
     {0xc3b2866c6e9e4069u, 0x2ff7ac3b83c4cbddu, 0xa432089f7532486du},
     {0x62ef55ca44b6d347u, 0x4f03579c53f9c8ecu, 0xda0c5b1d23276e81u}},
    {"QuasiDefinite",
     {0xc95fd7a313d396c6u, 0xecbe61b366b8d85bu, 0xd32c922e0df8f774u},
     {0xfd52fd780f6473dau, 0x4576a15c09cfeaedu, 0x8cb39608001913b7u}},
    {"MixedSizes",
     {0x615c7ee9a57db8f6u, 0xc48e9eca77cdbd86u, 0x84a87cfb08e62081u},
     {0x3f820b14c2db9926u, 0x46bb29f5404901e3u, 0xc0b9bc2eef7a59fdu}},
    {"NotClosed",
     {0x734aa767f2bed922u, 0x3e41f2569aac8abeu, 0x2b60a75b62063a8au},
     {0xcb9128749cced736u, 0x1126ec761b53b7b0u, 0x1d9d8585f10b9e2du}},
    {"Chain",
     {0x1c06f62906a7fe8cu, 0x3c278ef29d7d4681u, 0xe37db477de256739u},
     {0xd59e451acb786bcdu, 0x6a4c90d795078536u, 0x39f960c487203dfau}},
    {"Net",
     {0x969e2da194573ee5u, 0x3800ebb2cd1ccdb7u, 0x182a13606a7926f5u},
     {0xed6ad5afbb5fa4a8u, 0x8aee1110608e3a79u, 0xdc4cecb71e676408u}},
    {"Wall",
     {0xd1bf2c957f332150u, 0x3b413583ce142b0du, 0xabe11614caf0bd85u},
     {0x7b168789b9d60e8du, 0xec84d6ff8822323fu, 0x994baf0bb24c4415u}},
    {"Lattice",
     {0xc3adb2bd3c140af0u, 0x594a18a611a6e120u, 0xd98b5dfd7d7bc809u},
     {0x3547ae1bb9b6e7e3u, 0x22150799f9e727c4u, 0x3f57c8801ff4828eu}},
};

template <class T> System<T> goldenSystem(int which)
{
    Random random(20240 + static_cast<std::uint64_t>(which));
    switch (which) {
    case kDominant:
        return support::dominantSystem<T>(random, 24, 0.12, 1, 6);
    case kQuasiDefinite:
        return support::quasiDefiniteSystem<T>(random, 24, 0.12, 1, 6);
    case kMixedSizes:
        return support::quasiDefiniteSystem<T>(random, 16, 0.25, 0, 9);
    case kNotClosed: {
        System<T> system = support::dominantSystem<T>(random, 20, 0.3, 1, 6);
        system.factorRows = system.rows;
        return system;
    }
    case kChain:
        return mechanisms::systemOf<T>(mechanisms::chain(12));
    case kNet:
        return mechanisms::systemOf<T>(mechanisms::net(4));
    case kWall:
        return mechanisms::systemOf<T>(mechanisms::wall(4, 4));
    default:
        return mechanisms::lattice<T>(3);
    }
}

template <class T> std::vector<T> goldenRightHandSide(const System<T>& system)
{
    return Random(7).scalars<T>(system.dimension());
}

template <class T> Hashes hashOfPlain(int which)
{
    const System<T> system = goldenSystem<T>(which);
    const auto factors = support::plainFactor(system);
    std::vector<T> solution = goldenRightHandSide(system);
    support::plainSolve(factors, solution);
    Hash L, D, x;
    for (const auto& block : factors.L)
        for (const T value : block.second)
            L.add(value);
    for (const T value : factors.D)
        D.add(value);
    for (const T value : solution)
        x.add(value);
    return {L.value(), D.value(), x.value()};
}

template <class T> Hashes hashOfLibrary(int which)
{
    const System<T> system = goldenSystem<T>(which);
    const auto data = support::makeData(system);
    std::vector<T> solution = goldenRightHandSide(system);
    EXPECT_TRUE(Orvel::solve(*data, solution.data()));
    Hash L, D, x;
    const auto& factor = data->factor;
    for (unsigned int r = 0; r < factor.numBlockRows; ++r)
        for (unsigned int slot = factor.rowStart[r]; slot < factor.rowStart[r + 1]; ++slot) {
            const unsigned int size =
                factor.blockSizes[r] * factor.blockSizes[factor.blockColumns[slot]];
            for (unsigned int i = 0; i < size; ++i)
                L.add(factor.blockData[slot][i]);
        }
    for (unsigned int i = 0; i < data->pivots.size; ++i)
        D.add(data->pivots.data[i]);
    for (const T value : solution)
        x.add(value);
    return {L.value(), D.value(), x.value()};
}

class GoldenHashes : public testing::TestWithParam<int> {
protected:
    template <class T> void expectGolden(const Hashes& actual)
    {
        const Hashes& expected = of(kGolden[GetParam()], T());
        EXPECT_TRUE(actual.L == expected.L && actual.D == expected.D && actual.x == expected.x)
            << std::hex << std::showbase << "{" << actual.L << "u, " << actual.D << "u, "
            << actual.x << "u}";
    }
};

TEST_P(GoldenHashes, PlainFactorizationReproducesThemInFloat)
{
    expectGolden<float>(hashOfPlain<float>(GetParam()));
}

TEST_P(GoldenHashes, PlainFactorizationReproducesThemInDouble)
{
    expectGolden<double>(hashOfPlain<double>(GetParam()));
}

TEST_P(GoldenHashes, LibraryReproducesThemInFloat)
{
    expectGolden<float>(hashOfLibrary<float>(GetParam()));
}

TEST_P(GoldenHashes, LibraryReproducesThemInDouble)
{
    expectGolden<double>(hashOfLibrary<double>(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(, GoldenHashes, testing::Range(int(kDominant), int(kLattice) + 1),
                         [](const auto& parameter) {
                             return std::string(kGolden[parameter.param].name);
                         });

} // namespace
