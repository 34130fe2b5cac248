#include "support/Bits.h"
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

template <class T> constexpr T kEpsilon = std::numeric_limits<T>::epsilon();
template <class T> constexpr T kNaN = std::numeric_limits<T>::quiet_NaN();

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

// X       L = 1      D = I    A = 1
// X X         1 1                 1 2
// X X X       1 0 1               1 1 2
template <class T> System<T> threeCoupledRows()
{
    return support::scalarSystem<T>({"X", "X X", "X X X"}, {{1}, {1, 2}, {1, 1, 2}});
}

/// The value of L's block `slot`, a scalar.
template <class T> T& factorValue(OrvelData<T>& data, unsigned int slot)
{
    return *data.factor.blockData[slot];
}

template <class T> class Solve : public testing::Test {
protected:
    /// Whether the forward pass starts after block row 1: a row that it visits would turn to NaN.
    static bool skipsTwoRows(T b0)
    {
        const auto data = support::makeData(threeCoupledRows<T>());
        Orvel::factorSerial(*data);
        factorValue(*data, 1) = kNaN<T>; // L(1, 0)
        std::vector<T> x{b0, 0, 1};
        EXPECT_TRUE(Orvel::solve(*data, x.data()));
        return !std::isnan(x[1]);
    }
};
TYPED_TEST_SUITE(Solve, support::Scalars);

TYPED_TEST(Solve, OneByOneSystemDividesByThePivot)
{
    const auto data = support::makeData(support::scalarSystem<TypeParam>({"X"}, {{4}}));
    TypeParam x = 10;

    EXPECT_TRUE(Orvel::solve(*data, &x));

    EXPECT_EQ(x, TypeParam(2.5));
}

TYPED_TEST(Solve, BlocksOfDifferentSizesAreSolvedInPlace)
{
    const auto data = support::makeData(twoBlocks<TypeParam>());
    // A·(1, -1, 2) = (2-6+4, 6-22+28, 2-14+52)
    std::vector<TypeParam> x{0, 12, 40};

    EXPECT_TRUE(Orvel::solve(*data, x.data()));

    EXPECT_EQ(x, (std::vector<TypeParam>{1, -1, 2}));
}

TYPED_TEST(Solve, FirstSolveFactorsAndSetsTheFlag)
{
    const auto data = support::makeData(twoBlocks<TypeParam>());
    std::vector<TypeParam> x(3, 1);

    Orvel::solve(*data, x.data());

    EXPECT_EQ(data->factored, 1);
    EXPECT_EQ(data->pivots.data[2], TypeParam(8));
}

TYPED_TEST(Solve, FactoredFlagKeepsTheFactorAlthoughTheMatrixChanged)
{
    const auto data = support::makeData(support::scalarSystem<TypeParam>({"X"}, {{4}}));
    Orvel::factorSerial(*data);
    *data->matrix.blockData[0] = 100;
    TypeParam x = 10;

    EXPECT_TRUE(Orvel::solve(*data, &x));

    EXPECT_EQ(x, TypeParam(2.5));
    EXPECT_EQ(data->pivots.data[0], TypeParam(4));
}

TYPED_TEST(Solve, AnyNonzeroFlagCountsAsFactored)
{
    const auto data = support::makeData(support::scalarSystem<TypeParam>({"X"}, {{4}}));
    Orvel::factorSerial(*data);
    *data->matrix.blockData[0] = 100;
    data->factored = 7;
    TypeParam x = 10;

    EXPECT_TRUE(Orvel::solve(*data, &x));

    EXPECT_EQ(x, TypeParam(2.5));
    EXPECT_EQ(data->factored, 7);
}

TYPED_TEST(Solve, ClearedFlagFactorsAgain)
{
    const auto data = support::makeData(support::scalarSystem<TypeParam>({"X"}, {{4}}));
    Orvel::factorSerial(*data);
    *data->matrix.blockData[0] = 5;
    data->factored = 0;
    TypeParam x = 10;

    EXPECT_TRUE(Orvel::solve(*data, &x));

    EXPECT_EQ(x, TypeParam(2));
}

TYPED_TEST(Solve, AllZeroRightHandSideStaysZero)
{
    const auto data = support::makeData(twoBlocks<TypeParam>());
    std::vector<TypeParam> x(3, 0);

    EXPECT_TRUE(Orvel::solve(*data, x.data()));

    EXPECT_EQ(x, std::vector<TypeParam>(3, 0));
}

TYPED_TEST(Solve, AllZeroRightHandSideVisitsOnlyTheLastRowInTheForwardPass)
{
    const auto data = support::makeData(threeCoupledRows<TypeParam>());
    Orvel::factorSerial(*data);
    std::vector<TypeParam> x(3, 0);

    factorValue(*data, 1) = kNaN<TypeParam>; // L(1, 0), not read
    Orvel::solve(*data, x.data());
    EXPECT_EQ(x, std::vector<TypeParam>(3, 0));

    factorValue(*data, 3) = kNaN<TypeParam>; // L(2, 0), read
    Orvel::solve(*data, x.data());
    EXPECT_TRUE(std::isnan(x[2]));
}

TYPED_TEST(Solve, LeadingValuesBelowEpsilonAreSkippedYetReadByLaterRows)
{
    const auto data = support::makeData(threeCoupledRows<TypeParam>());
    const TypeParam e = kEpsilon<TypeParam>;
    std::vector<TypeParam> x{e / 2, 0, 4 * e};

    Orvel::solve(*data, x.data());

    // Forward from row 2: y = (e/2, 0, 4e - e/2). Had row 1 been visited, y1 would be -e/2.
    // Backward with D·Lᵀ: x2 = 3.5e, x1 = 0, x0 = e/2 - 3.5e.
    EXPECT_EQ(x, (std::vector<TypeParam>{-3 * e, 0, TypeParam(3.5) * e}));
}

TYPED_TEST(Solve, OnlyTinyValuesPassIntoTheBackwardPassUnchanged)
{
    const auto data = support::makeData(threeCoupledRows<TypeParam>());
    const TypeParam e = kEpsilon<TypeParam>;
    std::vector<TypeParam> x{e / 2, e / 2, e / 2};

    Orvel::solve(*data, x.data());

    // Only row 2 goes forward: y2 = e/2 - e/2 = 0. Then x1 = e/2, x0 = e/2 - e/2.
    EXPECT_EQ(x, (std::vector<TypeParam>{0, e / 2, 0}));
}

TYPED_TEST(Solve, OpenIntervalOfEpsilonCountsAsZero)
{
    const TypeParam e = kEpsilon<TypeParam>;

    EXPECT_TRUE(this->skipsTwoRows(0));
    EXPECT_TRUE(this->skipsTwoRows(std::nextafter(e, TypeParam(0))));
    EXPECT_TRUE(this->skipsTwoRows(std::nextafter(-e, TypeParam(0))));
    EXPECT_FALSE(this->skipsTwoRows(e));
    EXPECT_FALSE(this->skipsTwoRows(-e));
}

TYPED_TEST(Solve, NaNAndInfinitiesCountAsNonzero)
{
    const TypeParam infinity = std::numeric_limits<TypeParam>::infinity();

    EXPECT_FALSE(this->skipsTwoRows(kNaN<TypeParam>));
    EXPECT_FALSE(this->skipsTwoRows(infinity));
    EXPECT_FALSE(this->skipsTwoRows(-infinity));
}

TYPED_TEST(Solve, LaterElementOfABlockStopsTheSkip)
{
    // Sizes 2, 1, 1; row 1 is visited only because of the second scalar of row 0.
    System<TypeParam> system;
    system.sizes = {2, 1, 1};
    system.rows = system.factorRows = support::drawnRows({"X", "X X", ". . X"});
    system.blocks[{0, 0}] = {1, 0, 0, 1};
    system.blocks[{1, 0}] = {0, 2};
    system.blocks[{1, 1}] = {5}; // pivot 5 - 2·2
    system.blocks[{2, 2}] = {1};
    const auto data = support::makeData(system);
    std::vector<TypeParam> x{0, 1, 0, 0};

    EXPECT_TRUE(Orvel::solve(*data, x.data()));

    // y1 = -2, and its unknown comes back into row 0: 1 + 2·2.
    EXPECT_EQ(x, (std::vector<TypeParam>{0, 5, -2, 0}));
}

TYPED_TEST(Solve, EmptySystemReturnsFalseAndIsFactored)
{
    OrvelData<TypeParam> data;
    TypeParam x = 3;

    EXPECT_FALSE(Orvel::solve(data, &x));

    EXPECT_EQ(x, TypeParam(3));
    EXPECT_EQ(data.factored, 1);
}

TYPED_TEST(Solve, FactorWithoutBlocksReturnsFalse)
{
    OrvelData<TypeParam> data;
    data.factor.setSize(2, 0, 4, 4);
    data.factored = 1;
    std::vector<TypeParam> x{3, 4};

    EXPECT_FALSE(Orvel::solve(data, x.data()));

    EXPECT_EQ(x, (std::vector<TypeParam>{3, 4}));
}

TYPED_TEST(Solve, ScaledFactorWithoutRowsEndsAfterTheForwardPass)
{
    const auto data = support::makeData(threeCoupledRows<TypeParam>());
    Orvel::factorSerial(*data);
    data->scaledFactor.clear();
    std::vector<TypeParam> x{1, 5, 7};

    EXPECT_TRUE(Orvel::solve(*data, x.data()));

    EXPECT_EQ(x, (std::vector<TypeParam>{1, 4, 6}));
}

TYPED_TEST(Solve, ZeroPivotGivesNonFiniteValuesAndReturnsTrue)
{
    const auto data = support::makeData(support::scalarSystem<TypeParam>({"X"}, {{0}}));
    TypeParam x = 1;

    EXPECT_TRUE(Orvel::solve(*data, &x));

    EXPECT_TRUE(std::isinf(x));
}

TYPED_TEST(Solve, BlocksOfSizeZeroTakePart)
{
    // Sizes 0, 1, 0, 1, all rows coupled.
    System<TypeParam> system;
    system.sizes = {0, 1, 0, 1};
    system.rows = system.factorRows = support::drawnRows({"X", "X X", "X X X", "X X X X"});
    system.blocks = support::drawBlocks<TypeParam>(system.sizes, system.rows, [] { return 0; });
    system.blocks[{1, 1}] = {4};
    system.blocks[{3, 1}] = {2};
    system.blocks[{3, 3}] = {5};
    const auto data = support::makeData(system);
    std::vector<TypeParam> x{8, 14};

    EXPECT_TRUE(Orvel::solve(*data, x.data()));

    EXPECT_EQ(x, (std::vector<TypeParam>{TypeParam(0.75), TypeParam(2.5)}));
}

TYPED_TEST(Solve, OnlyBlocksOfSizeZeroReturnTrueWithoutAVector)
{
    System<TypeParam> system;
    system.sizes = {0, 0};
    system.rows = system.factorRows = support::drawnRows({"X", "X X"});
    system.blocks = support::drawBlocks<TypeParam>(system.sizes, system.rows, [] { return 0; });
    const auto data = support::makeData(system);

    EXPECT_TRUE(Orvel::solve(*data, static_cast<TypeParam*>(nullptr)));
}

TYPED_TEST(Solve, StatelessObjectSolvesTheSame)
{
    const auto data = support::makeData(support::scalarSystem<TypeParam>({"X"}, {{4}}));
    TypeParam x = 10;
    Orvel orvel;

    EXPECT_TRUE(orvel.solve<TypeParam>(*data, &x));

    EXPECT_EQ(x, TypeParam(2.5));
}

TYPED_TEST(Solve, SeparateVectorsCopyAndLeaveTheRightHandSide)
{
    const auto data = support::makeData(twoBlocks<TypeParam>());
    std::vector<TypeParam> b{0, 12, 40};
    std::vector<TypeParam> x{9, 9, 9, 9};

    EXPECT_TRUE(Orvel::solve(*data, b.data(), x.data()));

    EXPECT_EQ(b, (std::vector<TypeParam>{0, 12, 40}));
    EXPECT_EQ(x, (std::vector<TypeParam>{1, -1, 2, 9}));
}

TYPED_TEST(Solve, SeparateVectorsOfAnEmptySystemAreNotTouched)
{
    OrvelData<TypeParam> data;
    TypeParam b = 1;
    TypeParam x = 2;

    EXPECT_FALSE(Orvel::solve(data, &b, &x));

    EXPECT_EQ(b, TypeParam(1));
    EXPECT_EQ(x, TypeParam(2));
}

TYPED_TEST(Solve, CopyHasTheLengthOfTheMatrixNotOfTheFactor)
{
    const auto data = support::makeData(support::scalarSystem<TypeParam>({"X"}, {{4}}));
    Orvel::factorSerial(*data);
    data->matrix.clear(); // no block rows: nothing to copy
    TypeParam b = 100;
    TypeParam x = 10;

    EXPECT_TRUE(Orvel::solve(*data, &b, &x));

    EXPECT_EQ(x, TypeParam(2.5));
}

TYPED_TEST(Solve, FactorWithoutBlocksStillReceivesTheCopy)
{
    const auto data = support::makeData(support::scalarSystem<TypeParam>({"X"}, {{4}}));
    data->factor.setSize(1, 0, 1, 1);
    data->factored = 1;
    TypeParam b = 100;
    TypeParam x = 10;

    EXPECT_FALSE(Orvel::solve(*data, &b, &x));

    EXPECT_EQ(x, TypeParam(100));
}

TYPED_TEST(Solve, SolvingTakesNoScratchArrays)
{
    const auto data = support::makeData(twoBlocks<TypeParam>());
    Orvel::factorSerial(*data);
    data->scratch.deallocate();
    std::vector<TypeParam> x{0, 12, 40};

    Orvel::solve(*data, x.data());

    EXPECT_EQ(data->scratch.floatArrays.count, 0u);
    EXPECT_EQ(data->scratch.doubleArrays.count, 0u);
    EXPECT_EQ(data->scratch.ucharArrays.count, 0u);
    EXPECT_EQ(data->scratch.intArrays.count, 0u);
}

TYPED_TEST(Solve, RequestForThreadsIsIgnoredWhileFactored)
{
    const auto data = support::makeData(support::scalarSystem<TypeParam>({"X"}, {{4}}));
    Orvel::factorSerial(*data);
    data->useMultifrontal = 1;
    TypeParam x = 10;

    EXPECT_TRUE(Orvel::solve(*data, &x));

    EXPECT_EQ(x, TypeParam(2.5));
}

TYPED_TEST(Solve, SolutionIsTheSameWhicheverSystemWasSolvedBefore)
{
    OrvelData<TypeParam> data;
    support::Random random(5);
    support::load(support::dominantSystem<TypeParam>(random, 8, 0.5, 1, 6), data);
    Orvel::factorSerial(data);
    support::load(twoBlocks<TypeParam>(), data);
    std::vector<TypeParam> x{0, 12, 40};

    EXPECT_TRUE(Orvel::solve(data, x.data()));

    EXPECT_EQ(x, (std::vector<TypeParam>{1, -1, 2}));
}

} // namespace
