#include "support/Bits.h"
#include "support/Scalars.h"
#include "support/Systems.h"

#include <kyrOrvel/Orvel>

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>
#include <vector>

using kyrOrvel::Orvel;
using kyrOrvel::OrvelData;
using support::Sizes;
using support::System;

namespace {

template <class T> constexpr T kNaN = std::numeric_limits<T>::quiet_NaN();

/// Identity blocks on the diagonal, the given coupling blocks all ones times `coupling`. The
/// pattern of L is that of A, so there must be no fill.
template <class T>
System<T> coupledSystem(const Sizes& sizes, std::initializer_list<const char*> drawing, T coupling)
{
    System<T> system;
    system.sizes = sizes;
    system.rows = system.factorRows = support::drawnRows(drawing);
    system.blocks = support::drawBlocks<T>(sizes, system.rows, [&] { return coupling; });
    for (unsigned int r = 0; r < sizes.size(); ++r) {
        std::vector<T>& block = system.blocks.at({r, r});
        for (unsigned int i = 0; i < sizes[r]; ++i)
            for (unsigned int j = 0; j < sizes[r]; ++j)
                block[i * sizes[r] + j] = i == j ? 1 : 0;
    }
    return system;
}

// X
// . X
// X X X     rows 0 and 1 are the children of row 2
template <class T> System<T> fork()
{
    return support::scalarSystem<T>({"X", ". X", "X X X"}, {{1}, {0, 1}, {1, 1, 4}});
}

template <class T> class UnitSolve : public testing::Test {
protected:
    /// The offset that unitSolve returns for uncoupled rows is that of the row it starts at.
    static unsigned long startingOffset(const Sizes& sizes, std::vector<T> x, int start)
    {
        System<T> system;
        system.sizes = sizes;
        for (unsigned int r = 0; r < sizes.size(); ++r)
            system.rows.push_back({r});
        system.factorRows = system.rows;
        system.blocks = support::drawBlocks<T>(sizes, system.rows, [] { return T(0); });
        support::makeDominant(system, std::vector<bool>(sizes.size(), false));
        const auto data = support::makeData(system);
        return Orvel::unitSolve(*data, x.data(), start);
    }
};
TYPED_TEST_SUITE(UnitSolve, support::Scalars);

TYPED_TEST(UnitSolve, OneByOneSystemDividesByThePivot)
{
    const auto data = support::makeData(support::scalarSystem<TypeParam>({"X"}, {{4}}));
    TypeParam x = 10;

    EXPECT_EQ(Orvel::unitSolve(*data, &x, 0), 0u);

    EXPECT_EQ(x, TypeParam(2.5));
    EXPECT_EQ(data->factored, 1);
}

TYPED_TEST(UnitSolve, FactoredFlagKeepsTheFactor)
{
    const auto data = support::makeData(support::scalarSystem<TypeParam>({"X"}, {{4}}));
    Orvel::factorSerial(*data);
    *data->matrix.blockData[0] = 100;
    TypeParam x = 10;

    Orvel::unitSolve(*data, &x, 0);

    EXPECT_EQ(x, TypeParam(2.5));
}

TYPED_TEST(UnitSolve, NegativeStartScansForTheFirstNonzeroRow)
{
    const TypeParam e = std::numeric_limits<TypeParam>::epsilon();

    EXPECT_EQ(this->startingOffset({2, 3, 1}, {0, 0, 0, 0, 1, 0}, -1), 2u);
    EXPECT_EQ(this->startingOffset({2, 3, 1}, {0, 1, 0, 0, 1, 0}, -1), 0u);
    EXPECT_EQ(this->startingOffset({2, 3, 1}, {e / 2, -e / 2, 0, 0, e, 0}, -1), 2u);
    EXPECT_EQ(this->startingOffset({2, 3, 1}, {0, -e, 0, 0, 0, 0}, -1), 0u);
    EXPECT_EQ(this->startingOffset({2, 3, 1}, {0, 0, kNaN<TypeParam>, 0, 0, 0}, INT_MIN), 2u);
}

TYPED_TEST(UnitSolve, NegativeStartOnZerosStartsAtTheLastRow)
{
    EXPECT_EQ(this->startingOffset({2, 3, 1}, {0, 0, 0, 0, 0, 0}, -1), 5u);
}

TYPED_TEST(UnitSolve, StartZeroIsBlockRowZeroWhateverXHolds)
{
    EXPECT_EQ(this->startingOffset({2, 3}, {0, 0, 1, 1, 1}, 0), 0u);
}

TYPED_TEST(UnitSolve, PositiveStartSelectsTheRowThatCoversIt)
{
    const std::vector<TypeParam> x(6, 0);

    EXPECT_EQ(this->startingOffset({2, 3, 1}, x, 1), 0u);
    EXPECT_EQ(this->startingOffset({2, 3, 1}, x, 3), 2u);
    EXPECT_EQ(this->startingOffset({2, 3, 1}, x, 4), 2u);
    EXPECT_EQ(this->startingOffset({2, 3, 1}, x, 6), 5u);
}

TYPED_TEST(UnitSolve, StartOnABlockBoundarySelectsTheRowBefore)
{
    const std::vector<TypeParam> x(6, 0);

    EXPECT_EQ(this->startingOffset({3, 3}, x, 3), 0u);
    EXPECT_EQ(this->startingOffset({3, 3}, x, 4), 3u);
    EXPECT_EQ(this->startingOffset({2, 3, 1}, x, 2), 0u);
    EXPECT_EQ(this->startingOffset({2, 3, 1}, x, 5), 2u);
}

TYPED_TEST(UnitSolve, StartOnABoundaryWithARowOfSizeZeroSelectsTheEarliestRow)
{
    const std::vector<TypeParam> x(5, 0);

    EXPECT_EQ(this->startingOffset({0, 2, 0, 3}, x, 1), 0u);
    EXPECT_EQ(this->startingOffset({0, 2, 0, 3}, x, 2), 0u);
    EXPECT_EQ(this->startingOffset({0, 2, 0, 3}, x, 3), 2u);
}

TYPED_TEST(UnitSolve, StartBeyondTheEndSelectsTheLastRow)
{
    const std::vector<TypeParam> x(6, 0);

    EXPECT_EQ(this->startingOffset({2, 3, 1}, x, 7), 5u);
    EXPECT_EQ(this->startingOffset({2, 3, 1}, x, INT_MAX), 5u);
}

TYPED_TEST(UnitSolve, BoundaryStartInAnotherTreeIgnoresTheRightHandSide)
{
    const auto data = support::makeData(coupledSystem<TypeParam>({3, 3}, {"X", ". X"}, 0));
    std::vector<TypeParam> x{0, 0, 0, 5, 6, 7};

    EXPECT_EQ(Orvel::unitSolve(*data, x.data(), 3), 0u);

    EXPECT_EQ(x, (std::vector<TypeParam>{0, 0, 0, 5, 6, 7}));
}

TYPED_TEST(UnitSolve, BoundaryStartBelowTheRowGivesTheSameSolution)
{
    // L(1, 0) = 1 and D = (1, 2): A·x = b with b = (0, 6).
    const auto data =
        support::makeData(support::scalarSystem<TypeParam>({"X", "X X"}, {{1}, {1, 3}}));
    std::vector<TypeParam> onBoundary{0, 6};
    std::vector<TypeParam> inside{0, 6};

    EXPECT_EQ(Orvel::unitSolve(*data, onBoundary.data(), 1), 0u);
    EXPECT_EQ(Orvel::unitSolve(*data, inside.data(), 2), 0u);

    EXPECT_EQ(onBoundary, (std::vector<TypeParam>{-3, 3}));
    EXPECT_EQ(inside, onBoundary);
}

TYPED_TEST(UnitSolve, UncoupledRowsTouchOnlyTheStartingRow)
{
    // Sizes 1, 2, 1 with pivots 2, 4 and 8.
    System<TypeParam> system;
    system.sizes = {1, 2, 1};
    system.rows = system.factorRows = support::drawnRows({"X", ". X", ". . X"});
    system.blocks[{0, 0}] = {2};
    system.blocks[{1, 1}] = {4, 0, 0, 4};
    system.blocks[{2, 2}] = {8};
    const auto data = support::makeData(system);
    std::vector<TypeParam> x{9, 4, 8, 9};

    EXPECT_EQ(Orvel::unitSolve(*data, x.data(), 2), 1u);

    EXPECT_EQ(x, (std::vector<TypeParam>{9, 1, 2, 9}));
}

TYPED_TEST(UnitSolve, ValuesBeforeTheResultKeepTheirBits)
{
    // Rows 0 and 1 make one tree, rows 2 and 3 another.
    const auto data = support::makeData(
        coupledSystem<TypeParam>({2, 1, 1, 2}, {"X", "X X", ". . X", ". . X X"}, TypeParam(0.25)));
    const std::vector<TypeParam> before{-TypeParam(0), kNaN<TypeParam>,
                                        std::numeric_limits<TypeParam>::denorm_min()};
    std::vector<TypeParam> x = before;
    x.insert(x.end(), {0, 1, 2});

    const unsigned long first = Orvel::unitSolve(*data, x.data(), 5);

    EXPECT_EQ(first, 3u);
    EXPECT_TRUE(support::sameBits(x.data(), before.data(), 3));
    EXPECT_NE(x[3], TypeParam(0));
}

TYPED_TEST(UnitSolve, ResultIsTheSmallestOffsetThatTheBackwardPassReaches)
{
    const auto data = support::makeData(fork<TypeParam>());
    std::vector<TypeParam> fromRow1{0, 1, 0};
    std::vector<TypeParam> fromRow2{0, 0, 1};

    // Row 2 feeds back into rows 0 and 1.
    EXPECT_EQ(Orvel::unitSolve(*data, fromRow1.data(), 2), 0u);
    EXPECT_EQ(Orvel::unitSolve(*data, fromRow2.data(), 3), 0u);

    // A = [1 . 1; . 1 1; 1 1 4], D2 = 2
    EXPECT_EQ(fromRow1, (std::vector<TypeParam>{TypeParam(0.5), TypeParam(1.5), TypeParam(-0.5)}));
    EXPECT_EQ(fromRow2, (std::vector<TypeParam>{TypeParam(-0.5), TypeParam(-0.5), TypeParam(0.5)}));
}

TYPED_TEST(UnitSolve, ForwardPassSkipsColumnsOffThePath)
{
    const auto data = support::makeData(fork<TypeParam>());
    Orvel::factorSerial(*data);
    const unsigned int slot = data->factor.rowStart[2] + 1; // L(2, 1)
    *data->factor.blockData[slot] = kNaN<TypeParam>;
    std::vector<TypeParam> x{1, 0, 0};

    Orvel::unitSolve(*data, x.data(), 0);

    EXPECT_EQ(x, (std::vector<TypeParam>{TypeParam(1.5), TypeParam(0.5), TypeParam(-0.5)}));
}

TYPED_TEST(UnitSolve, ForwardPassVisitsOnlyThePath)
{
    // X
    // X X
    // . . X
    // . X X X     path from row 0: 0, 1, 3
    const auto data = support::makeData(
        coupledSystem<TypeParam>({1, 1, 1, 1}, {"X", "X X", ". . X", ". X X X"}, TypeParam(0.5)));
    Orvel::factorSerial(*data);
    std::vector<TypeParam> expected{1, 0, 0, 0};
    Orvel::solve(*data, expected.data());
    *data->factor.blockData[2] = kNaN<TypeParam>; // L(1, 1) is a scalar: never read
    *data->factor.blockData[3] = kNaN<TypeParam>; // L(2, 2) likewise
    *data->factor.blockData[5] = kNaN<TypeParam>; // L(3, 2): column 2 is off the path
    std::vector<TypeParam> x{1, 0, 0, 0};

    EXPECT_EQ(Orvel::unitSolve(*data, x.data(), 0), 0u);

    EXPECT_EQ(x, expected);
}

TYPED_TEST(UnitSolve, BackwardPassLeavesRowsThatNothingFeeds)
{
    // X
    // . X
    // X . X     row 1 stands alone, between the rows of the path
    const auto data = support::makeData(
        support::scalarSystem<TypeParam>({"X", ". X", "X . X"}, {{1}, {0, 0}, {1, 0, 2}}));
    std::vector<TypeParam> x{1, 5, 0};

    EXPECT_EQ(Orvel::unitSolve(*data, x.data(), 0), 0u);

    // The zero pivot of row 1 would have made an infinity.
    EXPECT_EQ(x, (std::vector<TypeParam>{2, 5, -1}));
}

TYPED_TEST(UnitSolve, NonzerosInOtherRowsOffThePathAreIgnored)
{
    const auto data = support::makeData(fork<TypeParam>());
    std::vector<TypeParam> x{1, 100, 0};

    Orvel::unitSolve(*data, x.data(), 0);

    // Row 1 does not enter row 2; only the backward pass reaches it.
    EXPECT_EQ(x, (std::vector<TypeParam>{TypeParam(1.5), TypeParam(100.5), TypeParam(-0.5)}));
}

TYPED_TEST(UnitSolve, ZerosStartAtTheLastRowAndStayZero)
{
    // Row 2 couples to row 1 only; row 0 to nothing.
    const auto data = support::makeData(
        coupledSystem<TypeParam>({2, 1, 2}, {"X", ". X", ". X X"}, TypeParam(0.5)));
    std::vector<TypeParam> x(5, 0);

    // The smallest offset among row 2 and the columns of its blocks: that of row 1.
    EXPECT_EQ(Orvel::unitSolve(*data, x.data(), -1), 2u);

    EXPECT_EQ(x, std::vector<TypeParam>(5, 0));
}

TYPED_TEST(UnitSolve, EmptySystemReturnsZero)
{
    OrvelData<TypeParam> data;
    TypeParam x = 3;

    EXPECT_EQ(Orvel::unitSolve(data, &x, 5), 0u);

    EXPECT_EQ(x, TypeParam(3));
    EXPECT_EQ(data.factored, 1);
}

TYPED_TEST(UnitSolve, FactorWithoutBlocksReturnsTheDimension)
{
    OrvelData<TypeParam> data;
    data.factor.setSize(2, 0, 4, 4);
    data.factor.blockSizes[2] = 7;
    data.factored = 1;
    std::vector<TypeParam> x(7, 3);

    EXPECT_EQ(Orvel::unitSolve(data, x.data(), -1), 7u);

    EXPECT_EQ(x, std::vector<TypeParam>(7, 3));
}

TYPED_TEST(UnitSolve, RowMarksComeFromTheScratchArrayZero)
{
    const auto data = support::makeData(fork<TypeParam>());
    std::vector<TypeParam> x{1, 0, 0};

    Orvel::unitSolve(*data, x.data(), 0);

    ASSERT_EQ(data->scratch.ucharArrays.count, 1u);
    const auto* marks = data->scratch.ucharArrays.find(0);
    ASSERT_NE(marks, nullptr);
    EXPECT_EQ(marks->size, 3u);
}

TYPED_TEST(UnitSolve, MarksOfAnEarlierCallDoNotCount)
{
    const auto data = support::makeData(fork<TypeParam>());
    unsigned char* const marks = data->scratch.getUCharArray(0, 10);
    std::fill_n(marks, 10, static_cast<unsigned char>(1));
    std::vector<TypeParam> x{1, 100, 0};

    Orvel::unitSolve(*data, x.data(), 0);

    EXPECT_EQ(x, (std::vector<TypeParam>{TypeParam(1.5), TypeParam(100.5), TypeParam(-0.5)}));
    EXPECT_EQ(marks[3], 1); // not among the three that belong to the call
}

} // namespace
