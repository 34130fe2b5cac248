// What a factorization leaves in the containers of OrvelData: layout, marks, capacities, scratch.

#include "support/Bits.h"
#include "support/Scalars.h"
#include "support/Systems.h"

#include <kyrOrvel/Orvel>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <vector>

using kyrOrvel::Orvel;
using kyrOrvel::OrvelData;
using support::System;

namespace {

template <class T> bool isAligned(const T* p)
{
    return reinterpret_cast<std::uintptr_t>(p) % 16 == 0;
}

/// The scratch array 0 of the scalar type, or null.
const kyrOrvel::ScratchPad::Allocation<float>* workArray(OrvelData<float>& data)
{
    return data.scratch.floatArrays.find(0);
}
const kyrOrvel::ScratchPad::Allocation<double>* workArray(OrvelData<double>& data)
{
    return data.scratch.doubleArrays.find(0);
}
float* takeWorkArray(OrvelData<float>& data, unsigned long size)
{
    return data.scratch.getFloatArray(0, size);
}
double* takeWorkArray(OrvelData<double>& data, unsigned long size)
{
    return data.scratch.getDoubleArray(0, size);
}

/// One block row per size, uncoupled, each the identity.
template <class T> System<T> uncoupled(const support::Sizes& sizes)
{
    System<T> system;
    system.sizes = sizes;
    for (unsigned int r = 0; r < sizes.size(); ++r) {
        system.rows.push_back({r});
        std::vector<T>& block = system.blocks[{r, r}];
        block.assign(std::size_t(sizes[r]) * sizes[r], T(0));
        for (unsigned int i = 0; i < sizes[r]; ++i)
            block[std::size_t(i) * sizes[r] + i] = 1;
    }
    system.factorRows = system.rows;
    return system;
}

template <class T> class FactorSerialStorage : public testing::Test {
};
TYPED_TEST_SUITE(FactorSerialStorage, support::Scalars);

TYPED_TEST(FactorSerialStorage, InvariantsHoldAfterwards)
{
    for (std::uint64_t seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE(seed);
        support::Random random(seed);
        const auto system = support::dominantSystem<TypeParam>(random, 9, 0.3, 0, 5);
        const auto data = support::makeData(system);

        Orvel::factorSerial(*data);

        const auto& L = data->factor;
        const auto& S = data->scaledFactor;
        EXPECT_EQ(data->factored, 1);
        EXPECT_EQ(data->pivots.size, system.dimension());
        ASSERT_EQ(L.numBlockRows, 9u);
        ASSERT_EQ(S.numBlockRows, 9u);
        ASSERT_EQ(L.numBlocks, data->factorColumns.size());
        ASSERT_EQ(S.numBlocks, L.numBlocks);
        for (unsigned int r = 0; r < 9; ++r) {
            EXPECT_EQ(L.rowStart[r + 1], data->factorRowStart[r + 1]);
            EXPECT_EQ(S.rowStart[r + 1], data->factorRowStart[r + 1]);
            EXPECT_EQ(L.blockColumns[L.rowStart[r + 1] - 1], r);
            EXPECT_EQ(L.blockSizes[r], system.sizes[r]);
            EXPECT_EQ(S.blockSizes[r], system.sizes[r]);
            EXPECT_EQ(L.blockOffsets[r], system.offsetOf(r));
            EXPECT_EQ(S.blockOffsets[r], system.offsetOf(r));
        }
        for (unsigned int slot = 0; slot < L.numBlocks; ++slot) {
            EXPECT_EQ(L.blockColumns[slot], data->factorColumns[slot]);
            EXPECT_EQ(S.blockColumns[slot], data->factorColumns[slot]);
            EXPECT_EQ(L.blockData[slot] - L.values, S.blockData[slot] - S.values);
            EXPECT_EQ(L.blockTags[slot], 0u);
            EXPECT_EQ(S.blockTags[slot], 1u);
        }
    }
}

TYPED_TEST(FactorSerialStorage, DiagonalBlocksAreUnitLowerAndCarryThePivotsWhenScaled)
{
    support::Random random(9);
    const auto system = support::dominantSystem<TypeParam>(random, 6, 0.5, 3, 3);
    const auto data = support::makeData(system);

    Orvel::factorSerial(*data);

    for (unsigned int r = 0; r < 6; ++r) {
        const unsigned int g = data->factor.rowStart[r + 1] - 1;
        const TypeParam* L = data->factor.blockData[g];
        const TypeParam* S = data->scaledFactor.blockData[g];
        const TypeParam* d = data->pivots.data + 3 * r;
        for (unsigned int i = 0; i < 3; ++i) {
            EXPECT_EQ(L[3 * i + i], TypeParam(1));
            EXPECT_EQ(S[3 * i + i], d[i]);
            for (unsigned int j = 0; j < i; ++j)
                EXPECT_EQ(S[3 * i + j], L[3 * i + j] * d[j]);
            for (unsigned int j = i + 1; j < 3; ++j) {
                EXPECT_EQ(L[3 * i + j], TypeParam(0));
                EXPECT_EQ(S[3 * i + j], TypeParam(0));
            }
        }
    }
}

TYPED_TEST(FactorSerialStorage, ValueCountIsExactPlusSixtyFour)
{
    // Sizes 2, 3, 1 and L with (0,0) (1,0) (1,1) (2,1) (2,2): 4 + 6 + 9 + 3 + 1 values.
    System<TypeParam> system = uncoupled<TypeParam>({2, 3, 1});
    system.factorRows = support::drawnRows({"X", "X X", ". X X"});
    const auto data = support::makeData(system);

    Orvel::factorSerial(*data);

    EXPECT_EQ(data->factor.valueCapacity, 64u + 23u);
    EXPECT_EQ(data->scaledFactor.valueCapacity, 64u + 23u);
    EXPECT_EQ(data->factor.blockCapacity, 5u);
    EXPECT_EQ(data->scaledFactor.blockCapacity, 5u);
    EXPECT_EQ(data->factor.blockData[4] + 1, data->factor.values + 23);
}

TYPED_TEST(FactorSerialStorage, EmptySystemHasOnlyTheSpareValues)
{
    OrvelData<TypeParam> data;

    Orvel::factorSerial(data);

    EXPECT_EQ(data.factor.valueCapacity, 64u);
    EXPECT_EQ(data.scaledFactor.valueCapacity, 64u);
    ASSERT_NE(workArray(data), nullptr);
    EXPECT_EQ(workArray(data)->size, 8u);
}

TYPED_TEST(FactorSerialStorage, SizeHintOfTheMatrixIsPassedOn)
{
    const auto data = support::makeData(uncoupled<TypeParam>({1, 1}));
    data->matrix.sizeHint = 17;

    Orvel::factorSerial(*data);

    EXPECT_EQ(data->factor.sizeHint, 17u);
    EXPECT_EQ(data->scaledFactor.sizeHint, 17u);
}

TYPED_TEST(FactorSerialStorage, WorkArrayHasRoomForTwoLargestBlocks)
{
    const auto data = support::makeData(uncoupled<TypeParam>({1, 4, 2}));

    Orvel::factorSerial(*data);

    ASSERT_NE(workArray(*data), nullptr);
    EXPECT_EQ(workArray(*data)->size, 2u * 4 * 4 + 8);
}

TYPED_TEST(FactorSerialStorage, OnlyTheWorkArrayOfTheScalarTypeIsTaken)
{
    const auto data = support::makeData(uncoupled<TypeParam>({1, 4, 2}));

    Orvel::factorSerial(*data);

    const bool isFloat = std::is_same<TypeParam, float>::value;
    EXPECT_EQ(data->scratch.floatArrays.count, isFloat ? 1u : 0u);
    EXPECT_EQ(data->scratch.doubleArrays.count, isFloat ? 0u : 1u);
    EXPECT_EQ(data->scratch.ucharArrays.count, 0u);
    EXPECT_EQ(data->scratch.intArrays.count, 0u);
}

TYPED_TEST(FactorSerialStorage, WorkArrayIsZeroedAsFarAsItIsNeeded)
{
    const auto data = support::makeData(uncoupled<TypeParam>({2}));
    TypeParam* const work = takeWorkArray(*data, 100);
    std::fill_n(work, 100, TypeParam(7));

    Orvel::factorSerial(*data);

    // 2·2²+8 elements, of which the second four hold the block that was factored.
    EXPECT_EQ(takeWorkArray(*data, 100), work);
    for (unsigned int i = 0; i < 100; ++i) {
        if (i >= 4 && i < 8)
            continue;
        EXPECT_EQ(work[i], TypeParam(i < 16 ? 0 : 7)) << "element " << i;
    }
}

TYPED_TEST(FactorSerialStorage, PivotsAreAlignedAndAsLargeAsNeeded)
{
    for (unsigned int n = 1; n <= 9; ++n) {
        const auto data = support::makeData(uncoupled<TypeParam>({n}));

        Orvel::factorSerial(*data);

        EXPECT_EQ(data->pivots.size, n);
        EXPECT_EQ(data->pivots.capacity, n);
        EXPECT_TRUE(isAligned(data->pivots.data));
        EXPECT_TRUE(data->pivots.data == data->pivots.storage ||
                    data->pivots.data == data->pivots.storage + 1);
    }
}

TYPED_TEST(FactorSerialStorage, PivotsOnlyGrow)
{
    OrvelData<TypeParam> data;
    const auto& pivots = data.pivots;

    support::load(uncoupled<TypeParam>({5}), data);
    Orvel::factorSerial(data);
    const TypeParam* const first = pivots.storage;

    support::load(uncoupled<TypeParam>({3}), data);
    Orvel::factorSerial(data);
    EXPECT_EQ(pivots.size, 3u);
    EXPECT_EQ(pivots.capacity, 5u);
    EXPECT_EQ(pivots.storage, first);

    support::load(uncoupled<TypeParam>({3, 2}), data);
    Orvel::factorSerial(data);
    EXPECT_EQ(pivots.size, 5u);
    EXPECT_EQ(pivots.capacity, 5u);
    EXPECT_EQ(pivots.storage, first);

    support::load(uncoupled<TypeParam>({3, 3}), data);
    Orvel::factorSerial(data);
    EXPECT_EQ(pivots.size, 6u);
    EXPECT_EQ(pivots.capacity, 6u);
    EXPECT_TRUE(isAligned(pivots.data));
}

TYPED_TEST(FactorSerialStorage, EmptySystemAllocatesNoPivots)
{
    OrvelData<TypeParam> data;

    Orvel::factorSerial(data);

    EXPECT_EQ(data.pivots.size, 0u);
    EXPECT_EQ(data.pivots.capacity, 0u);
    EXPECT_EQ(data.pivots.storage, nullptr);
}

TYPED_TEST(FactorSerialStorage, SecondFactorizationUsesTheSameStorage)
{
    support::Random random(21);
    const auto data = support::makeData(support::dominantSystem<TypeParam>(random, 8, 0.4, 1, 5));
    Orvel::factorSerial(*data);
    const auto addresses = [&] {
        const auto& L = data->factor;
        const auto& S = data->scaledFactor;
        return std::vector<const void*>{L.valueStorage,
                                        L.blockColumns,
                                        L.blockTags,
                                        L.blockData,
                                        L.rowStart,
                                        L.blockSizes,
                                        L.blockOffsets,
                                        S.valueStorage,
                                        S.blockColumns,
                                        S.blockTags,
                                        S.blockData,
                                        S.rowStart,
                                        S.blockSizes,
                                        S.blockOffsets,
                                        data->pivots.storage,
                                        data->pivots.data,
                                        workArray(*data)->data};
    };
    const std::vector<const void*> before = addresses();

    Orvel::factorSerial(*data);

    EXPECT_EQ(addresses(), before);
}

TYPED_TEST(FactorSerialStorage, SmallerSystemKeepsTheCapacities)
{
    OrvelData<TypeParam> data;
    support::load(uncoupled<TypeParam>({4, 4}), data);
    Orvel::factorSerial(data);

    support::load(uncoupled<TypeParam>({1}), data);
    Orvel::factorSerial(data);

    EXPECT_EQ(data.factor.numBlocks, 1u);
    EXPECT_EQ(data.factor.blockCapacity, 2u);
    EXPECT_EQ(data.factor.valueCapacity, 64u + 32u);
    EXPECT_EQ(workArray(data)->size, 2u * 4 * 4 + 8);
}

TYPED_TEST(FactorSerialStorage, NewValuesAreFactoredTheSameWhereTheCallerVouchesForTheRest)
{
    for (std::uint64_t seed = 1; seed <= 30; ++seed) {
        SCOPED_TRACE(seed);
        support::Random random(seed);
        const bool large = random.chance(0.3); // then it does not go by rows
        auto system = support::dominantSystem<TypeParam>(random, 9, 0.3, 0, large ? 12 : 6);
        const auto data = support::makeData(system);
        data->onlyValuesChanged = 1; // also where nothing was factored before
        Orvel::factorSerial(*data);
        for (auto& [place, block] : system.blocks)
            for (TypeParam& value : block)
                value *= 2;
        const auto expected = support::makeData(system);
        Orvel::factorSerial(*expected);

        for (unsigned long v = 0; v < data->matrix.valueCapacity; ++v)
            data->matrix.values[v] *= 2;
        Orvel::factorSerial(*data);

        const auto& L = data->factor;
        EXPECT_TRUE(support::sameBits(L.values, expected->factor.values, L.valueCapacity));
        EXPECT_TRUE(support::sameBits(data->scaledFactor.values, expected->scaledFactor.values,
                                      L.valueCapacity));
        EXPECT_TRUE(support::sameBits(data->pivots.data, expected->pivots.data, data->pivots.size));
        for (unsigned int slot = 0; slot < L.numBlocks; ++slot)
            EXPECT_EQ(data->scaledFactor.blockTags[slot], 1u);
    }
}

} // namespace
