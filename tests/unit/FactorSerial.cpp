#include "support/FactorComparison.h"
#include "support/Scalars.h"
#include "support/Systems.h"

#include <kyrOrvel/Orvel>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

using kyrOrvel::Orvel;
using kyrOrvel::OrvelData;
using support::System;

namespace {

template <class T>
std::vector<T> blockValues(const kyrOrvel::SparseMatrix<T>& matrix, unsigned int slot,
                           unsigned int count)
{
    return std::vector<T>(matrix.blockData[slot], matrix.blockData[slot] + count);
}

template <class T> std::vector<T> pivotsOf(const OrvelData<T>& data)
{
    return std::vector<T>(data.pivots.data, data.pivots.data + data.pivots.size);
}

// Sizes 2, 1.  L = 1      D = 2    A = L·D·Lᵀ =  2
//                  3 1        4                  6 22
//                  1 2 1      8                  2 14 26
template <class T> System<T> twoBlocks()
{
    System<T> system;
    system.sizes = {2, 1};
    system.rows = system.factorRows = support::drawnRows({"X", "X X"});
    system.blocks[{0, 0}] = {2, 6, 6, 22};
    system.blocks[{1, 0}] = {2, 14};
    system.blocks[{1, 1}] = {26};
    return system;
}

// Block 0 couples 1 and 2; eliminating it fills (2, 1).
template <class T> System<T> oneFill()
{
    return support::scalarSystem<T>({"X", "X X", "X . X"}, {{1}, {1, 2}, {1, 0, 4}});
}

template <class T> class FactorSerial : public testing::Test {
};
TYPED_TEST_SUITE(FactorSerial, support::Scalars);

TYPED_TEST(FactorSerial, OneByOneSystemIsItsPivot)
{
    const auto data = support::makeData(support::scalarSystem<TypeParam>({"X"}, {{4}}));

    Orvel::factorSerial(*data);

    EXPECT_EQ(pivotsOf(*data), std::vector<TypeParam>{4});
    EXPECT_EQ(blockValues(data->factor, 0, 1), std::vector<TypeParam>{1});
    EXPECT_EQ(blockValues(data->scaledFactor, 0, 1), std::vector<TypeParam>{4});
}

TYPED_TEST(FactorSerial, KnownFactorsAreFound)
{
    const auto data = support::makeData(twoBlocks<TypeParam>());

    Orvel::factorSerial(*data);

    EXPECT_EQ(pivotsOf(*data), (std::vector<TypeParam>{2, 4, 8}));
    EXPECT_EQ(blockValues(data->factor, 0, 4), (std::vector<TypeParam>{1, 0, 3, 1}));
    EXPECT_EQ(blockValues(data->factor, 1, 2), (std::vector<TypeParam>{1, 2}));
    EXPECT_EQ(blockValues(data->factor, 2, 1), std::vector<TypeParam>{1});
}

TYPED_TEST(FactorSerial, ScaledFactorCarriesThePivotsOfTheColumns)
{
    const auto data = support::makeData(twoBlocks<TypeParam>());

    Orvel::factorSerial(*data);

    EXPECT_EQ(blockValues(data->scaledFactor, 0, 4), (std::vector<TypeParam>{2, 0, 6, 4}));
    EXPECT_EQ(blockValues(data->scaledFactor, 1, 2), (std::vector<TypeParam>{2, 8}));
    EXPECT_EQ(blockValues(data->scaledFactor, 2, 1), std::vector<TypeParam>{8});
}

TYPED_TEST(FactorSerial, UncoupledBlocksAreFactoredEachAlone)
{
    System<TypeParam> system;
    system.sizes = {2, 3};
    system.rows = system.factorRows = support::drawnRows({"X", ". X"});
    system.blocks[{0, 0}] = {2, 0, 6, 22};
    system.blocks[{1, 1}] = {2, 0, 0, 6, 22, 0, 2, 14, 26};
    const auto data = support::makeData(system);

    Orvel::factorSerial(*data);

    EXPECT_EQ(pivotsOf(*data), (std::vector<TypeParam>{2, 4, 2, 4, 8}));
    EXPECT_EQ(blockValues(data->factor, 0, 4), (std::vector<TypeParam>{1, 0, 3, 1}));
    EXPECT_EQ(blockValues(data->factor, 1, 9), (std::vector<TypeParam>{1, 0, 0, 3, 1, 0, 1, 2, 1}));
}

TYPED_TEST(FactorSerial, FillInStartsAtZeroAndReceivesUpdates)
{
    const auto data = support::makeData(oneFill<TypeParam>());

    Orvel::factorSerial(*data);

    // D1 = 2 - 1; L(2, 1) = (0 - 1) / 1; D2 = 4 - 1 - 1
    EXPECT_EQ(pivotsOf(*data), (std::vector<TypeParam>{1, 1, 2}));
    ASSERT_EQ(data->factor.numBlocks, 6u);
    EXPECT_EQ(blockValues(data->factor, 4, 1), std::vector<TypeParam>{-1});
}

TYPED_TEST(FactorSerial, FillInIsZeroInReusedStorageToo)
{
    OrvelData<TypeParam> data;
    support::Random random(11);
    support::load(support::dominantSystem<TypeParam>(random, 6, 0.8, 1, 5), data);
    Orvel::factorSerial(data);
    support::load(oneFill<TypeParam>(), data);

    Orvel::factorSerial(data);

    EXPECT_EQ(pivotsOf(data), (std::vector<TypeParam>{1, 1, 2}));
}

TYPED_TEST(FactorSerial, UpdateOfABlockThatThePatternLacksIsDropped)
{
    System<TypeParam> system = oneFill<TypeParam>();
    system.factorRows = system.rows;
    const auto data = support::makeData(system);

    Orvel::factorSerial(*data);

    // Without (2, 1): D2 = 4 - 1
    EXPECT_EQ(pivotsOf(*data), (std::vector<TypeParam>{1, 1, 3}));
    EXPECT_EQ(data->factor.numBlocks, 5u);
}

TYPED_TEST(FactorSerial, ReciprocalOfThePivotFixesTheRounding)
{
    // 5/49 and 5·(1/49) round differently in both types.
    const TypeParam a = 5;
    const TypeParam d = 49;
    const TypeParam w = TypeParam(1) / d;
    ASSERT_NE(a / d, a * w);
    const auto data =
        support::makeData(support::scalarSystem<TypeParam>({"X", "X X"}, {{d}, {a, 1}}));

    Orvel::factorSerial(*data);

    EXPECT_TRUE(support::sameBits(data->factor.blockData[1][0], a * w));
}

TYPED_TEST(FactorSerial, RowsInsideABlockAreDividedByThePivot)
{
    // One block of size 2: there the entry below the diagonal is a true quotient.
    const TypeParam a = 5;
    const TypeParam d = 49;
    System<TypeParam> system;
    system.sizes = {2};
    system.rows = system.factorRows = support::drawnRows({"X"});
    system.blocks[{0, 0}] = {d, 0, a, 1};
    const auto data = support::makeData(system);

    Orvel::factorSerial(*data);

    EXPECT_TRUE(support::sameBits(data->factor.blockData[0][2], a / d));
}

TYPED_TEST(FactorSerial, UpperTrianglesOfDiagonalBlocksAreNotRead)
{
    System<TypeParam> system = twoBlocks<TypeParam>();
    system.blocks[{0, 0}][1] = std::numeric_limits<TypeParam>::quiet_NaN();
    const auto data = support::makeData(system);

    Orvel::factorSerial(*data);

    EXPECT_EQ(pivotsOf(*data), (std::vector<TypeParam>{2, 4, 8}));
    EXPECT_EQ(blockValues(data->factor, 0, 4), (std::vector<TypeParam>{1, 0, 3, 1}));
}

TYPED_TEST(FactorSerial, MatrixIsNotChanged)
{
    support::Random random(3);
    const auto system = support::dominantSystem<TypeParam>(random, 7, 0.4, 0, 5);
    const auto data = support::makeData(system);

    Orvel::factorSerial(*data);

    EXPECT_TRUE(support::sameBlocks(data->matrix, system.rows, system.blocks));
}

TYPED_TEST(FactorSerial, PatternEntriesBeyondTheDiagonalAreIgnored)
{
    System<TypeParam> system = oneFill<TypeParam>();
    system.factorRows = {{0, 1, 2}, {0, 1, 2}, {0, 1, 2}};
    const auto data = support::makeData(system);

    Orvel::factorSerial(*data);

    EXPECT_EQ(pivotsOf(*data), (std::vector<TypeParam>{1, 1, 2}));
    EXPECT_EQ(data->factor.numBlocks, 6u);
    EXPECT_EQ(data->factor.blockCapacity, 9u);       // the length of the pattern
    EXPECT_EQ(data->factor.valueCapacity, 64u + 6u); // the values of the blocks that are used
}

TYPED_TEST(FactorSerial, FirstEntryBeyondTheDiagonalEndsItsRow)
{
    System<TypeParam> system = oneFill<TypeParam>();
    system.factorRows = {{0, 1, 0}, {0, 1, 2, 0, 1}, {0, 1, 2}};
    const auto data = support::makeData(system);

    Orvel::factorSerial(*data);

    EXPECT_EQ(pivotsOf(*data), (std::vector<TypeParam>{1, 1, 2}));
    EXPECT_EQ(data->factor.numBlocks, 6u);
}

TYPED_TEST(FactorSerial, BlockThatThePatternLacksDropsTheRestOfItsRow)
{
    // Row 2 of A lists columns 0, 1, 2; the pattern of L has only 1 and 2 there.
    auto system =
        support::scalarSystem<TypeParam>({"X", ". X", "X X X"}, {{1}, {0, 2}, {1, 4, 16}});
    system.factorRows = support::drawnRows({"X", ". X", ". X X"});
    const auto data = support::makeData(system);

    Orvel::factorSerial(*data);

    // (2, 0) is not taken up, and neither (2, 1) = 4 nor (2, 2) = 16 after it.
    EXPECT_EQ(blockValues(data->factor, 2, 1), std::vector<TypeParam>{0});
    EXPECT_EQ(pivotsOf(*data), (std::vector<TypeParam>{1, 2, 0}));
}

TYPED_TEST(FactorSerial, MissingBlockIsNotTakenFromTheNextRow)
{
    // Row 1 of A lacks its diagonal block, and row 2 begins with a block in column 1.
    System<TypeParam> system;
    system.sizes = {1, 1, 1};
    system.rows = {{0}, {0}, {1, 2}};
    system.factorRows = {{0}, {0, 1}, {1, 2}};
    system.blocks[{0, 0}] = {1};
    system.blocks[{1, 0}] = {1};
    system.blocks[{2, 1}] = {5};
    system.blocks[{2, 2}] = {6};
    const auto data = support::makeData(system);

    Orvel::factorSerial(*data);

    // D1 = 0 - 1; L(2, 1) = -5; D2 = 6 + 25
    EXPECT_EQ(pivotsOf(*data), (std::vector<TypeParam>{1, -1, 31}));
    EXPECT_EQ(blockValues(data->factor, 3, 1), std::vector<TypeParam>{-5});
}

TYPED_TEST(FactorSerial, MissingLastBlockIsNotTakenFromAnEarlierFill)
{
    // The slot after the last block still names column 1, from the fill before.
    auto system = support::scalarSystem<TypeParam>({"X", "X X"}, {{1}, {1, 9}});
    const auto data = support::makeData(system);
    system.rows = {{0}, {0}};
    support::fillMatrix(data->matrix, system.sizes, system.rows, system.blocks);
    ASSERT_EQ(data->matrix.blockColumns[2], 1u);

    Orvel::factorSerial(*data);

    EXPECT_EQ(pivotsOf(*data), (std::vector<TypeParam>{1, -1}));
}

TYPED_TEST(FactorSerial, ZeroPivotSpreadsNonFiniteValuesWithoutAnError)
{
    const auto data =
        support::makeData(support::scalarSystem<TypeParam>({"X", "X X"}, {{0}, {1, 1}}));

    Orvel::factorSerial(*data);

    EXPECT_EQ(data->factored, 1);
    EXPECT_EQ(data->pivots.data[0], TypeParam(0));
    EXPECT_TRUE(std::isinf(data->factor.blockData[1][0]));
    EXPECT_TRUE(std::isnan(data->scaledFactor.blockData[1][0])); // inf · 0
    EXPECT_FALSE(std::isfinite(data->pivots.data[1]));
    for (unsigned int slot = 0; slot < 3; ++slot)
        EXPECT_EQ(data->scaledFactor.blockTags[slot], 1u);
}

TYPED_TEST(FactorSerial, EmptySystemIsFactored)
{
    OrvelData<TypeParam> data;

    Orvel::factorSerial(data);

    EXPECT_EQ(data.factored, 1);
    EXPECT_EQ(data.factor.numBlockRows, 0u);
    EXPECT_EQ(data.scaledFactor.numBlockRows, 0u);
    EXPECT_EQ(data.pivots.size, 0u);
}

TYPED_TEST(FactorSerial, EmptySystemAfterAnotherEmptiesTheFactor)
{
    const auto data = support::makeData(twoBlocks<TypeParam>());
    Orvel::factorSerial(*data);
    support::load(System<TypeParam>(), *data);

    Orvel::factorSerial(*data);

    EXPECT_EQ(data->factored, 1);
    EXPECT_EQ(data->factor.numBlockRows, 0u);
    EXPECT_EQ(data->factor.numBlocks, 0u);
    EXPECT_EQ(data->pivots.size, 0u);
    EXPECT_EQ(data->pivots.capacity, 3u);
}

TYPED_TEST(FactorSerial, BlocksOfSizeZeroAreStored)
{
    System<TypeParam> system;
    system.sizes = {1, 0, 1};
    system.rows = system.factorRows = support::drawnRows({"X", "X X", "X X X"});
    system.blocks[{0, 0}] = {4};
    system.blocks[{1, 0}] = {};
    system.blocks[{1, 1}] = {};
    system.blocks[{2, 0}] = {2};
    system.blocks[{2, 1}] = {};
    system.blocks[{2, 2}] = {5};
    const auto data = support::makeData(system);

    Orvel::factorSerial(*data);

    EXPECT_EQ(pivotsOf(*data), (std::vector<TypeParam>{4, 4}));
    EXPECT_EQ(data->factor.numBlocks, 6u);
    EXPECT_EQ(blockValues(data->factor, 3, 1), std::vector<TypeParam>{TypeParam(0.5)});
    for (unsigned int slot = 0; slot < 6; ++slot)
        EXPECT_EQ(data->scaledFactor.blockTags[slot], 1u) << "slot " << slot;
}

TYPED_TEST(FactorSerial, RequestForThreadsDoesNotConcernTheSerialCall)
{
    const auto data = support::makeData(twoBlocks<TypeParam>());
    data->useMultifrontal = 1;

    Orvel::factorSerial(*data);

    EXPECT_EQ(pivotsOf(*data), (std::vector<TypeParam>{2, 4, 8}));
}

TYPED_TEST(FactorSerial, SetFlagDoesNotKeepACallFromFactoring)
{
    const auto data = support::makeData(support::scalarSystem<TypeParam>({"X"}, {{4}}));
    Orvel::factorSerial(*data);
    *data->matrix.blockData[0] = 9;

    Orvel::factorSerial(*data);

    EXPECT_EQ(pivotsOf(*data), std::vector<TypeParam>{9});
}

} // namespace
