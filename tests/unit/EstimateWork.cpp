#include "support/Bits.h"
#include "support/PlainFactorization.h"
#include "support/Random.h"
#include "support/Scalars.h"
#include "support/Systems.h"

#include <kyrOrvel/Orvel>

#include <gtest/gtest.h>

#include <vector>

using kyrOrvel::Orvel;
using kyrOrvel::OrvelData;
using support::System;

namespace {

/// Zero values on the given patterns, sizes 1 to 3.
template <class T> System<T> zeroSystem(const support::Rows& rows, const support::Rows& factorRows)
{
    System<T> system;
    for (unsigned int r = 0; r < rows.size(); ++r)
        system.sizes.push_back(1 + r % 3);
    system.rows = rows;
    system.factorRows = factorRows;
    system.blocks = support::drawBlocks<T>(system.sizes, rows, [] { return T(0); });
    return system;
}

template <class T> System<T> zeroSystem(const support::Rows& rows)
{
    return zeroSystem<T>(rows, support::eliminated(rows));
}

/// One update per triple k < c < r with blocks (r, k), (c, k) and (r, c), one per block below the
/// diagonal.
unsigned int countedUpdates(const support::Rows& rows)
{
    unsigned int updates = 0;
    for (unsigned int r = 0; r < rows.size(); ++r)
        for (unsigned int c = 0; c < r; ++c) {
            if (!support::contains(rows[r], c))
                continue;
            ++updates;
            for (unsigned int k = 0; k < c; ++k)
                if (support::contains(rows[r], k) && support::contains(rows[c], k))
                    ++updates;
        }
    return updates;
}

template <class T> class EstimateWork : public testing::Test {
};
TYPED_TEST_SUITE(EstimateWork, support::Scalars);

TYPED_TEST(EstimateWork, PatternWithoutFillReturnsZero)
{
    const auto data =
        support::makeData(zeroSystem<TypeParam>(support::drawnRows({"X", ". X", "X X X"})));
    unsigned int updates = 99;

    EXPECT_EQ(Orvel::estimateWork(*data, &updates), 0u);

    EXPECT_EQ(updates, 2u); // the two diagonal updates of row 2
}

TYPED_TEST(EstimateWork, FillAndUpdatesAreCounted)
{
    // X
    // X X
    // X f X
    // . X f X     (2, 1) fills through 0, (3, 2) through 1
    const auto data = support::makeData(
        zeroSystem<TypeParam>(support::drawnRows({"X", "X X", "X . X", ". X . X"})));
    unsigned int updates = 99;

    EXPECT_EQ(Orvel::estimateWork(*data, &updates), 2u);

    // Diagonal: 1 + 2 + 2. Blocks: (2, 1) from 0, (3, 2) from 1.
    EXPECT_EQ(updates, 7u);
}

TYPED_TEST(EstimateWork, DiagonalMatrixNeedsNoUpdates)
{
    const auto data =
        support::makeData(zeroSystem<TypeParam>(support::drawnRows({"X", ". X", ". . X"})));
    unsigned int updates = 99;

    EXPECT_EQ(Orvel::estimateWork(*data, &updates), 0u);

    EXPECT_EQ(updates, 0u);
}

TYPED_TEST(EstimateWork, CountsAgreeWithACountByTriples)
{
    for (std::uint64_t seed = 1; seed <= 40; ++seed) {
        SCOPED_TRACE(seed);
        support::Random random(seed);
        const support::Rows rows = support::randomRows(random, random.integer(1, 15), 0.3);
        const support::Rows filled = support::eliminated(rows);
        const auto data = support::makeData(zeroSystem<TypeParam>(rows));
        std::size_t fill = 0;
        for (std::size_t r = 0; r < rows.size(); ++r)
            fill += filled[r].size() - rows[r].size();
        unsigned int updates = 0;

        EXPECT_EQ(Orvel::estimateWork(*data, &updates), fill);

        EXPECT_EQ(updates, countedUpdates(filled));
    }
}

TYPED_TEST(EstimateWork, UpdatesOfAPatternThatIsNotClosedAreThoseThatHaveATarget)
{
    for (std::uint64_t seed = 101; seed <= 130; ++seed) {
        SCOPED_TRACE(seed);
        support::Random random(seed);
        const support::Rows pattern = support::randomRows(random, 12, 0.4);
        const support::Rows rows = support::randomSubset(random, pattern, 0.6);
        const auto data = support::makeData(zeroSystem<TypeParam>(rows, pattern));
        unsigned int updates = 0;

        Orvel::estimateWork(*data, &updates);

        EXPECT_EQ(updates, countedUpdates(pattern));
    }
}

TYPED_TEST(EstimateWork, NullUpdatesAreNotStored)
{
    const auto data = support::makeData(
        zeroSystem<TypeParam>(support::drawnRows({"X", "X X", "X . X", ". X . X"})));

    EXPECT_EQ(Orvel::estimateWork(*data, nullptr), 2u);
}

TYPED_TEST(EstimateWork, EmptySystemStoresZero)
{
    OrvelData<TypeParam> data;
    unsigned int updates = 99;

    EXPECT_EQ(Orvel::estimateWork(data, &updates), 0u);
    EXPECT_EQ(Orvel::estimateWork(data, nullptr), 0u);

    EXPECT_EQ(updates, 0u);
}

// Such a matrix needs no array of values, and its blocks have none.
TYPED_TEST(EstimateWork, BlocksOfSizeZeroAloneAreNoFillEither)
{
    OrvelData<TypeParam> data;
    data.matrix.setSize(2, 0, 3, 0);
    data.matrix.aquireBlock(0, 0, 0, 0, 0);
    data.matrix.aquireBlock(1, 0, 0, 0, 0);
    data.matrix.aquireBlock(1, 1, 0, 0, 0);
    support::setFactorPattern(data, {{0}, {0, 1}});
    unsigned int updates = 99;

    EXPECT_EQ(Orvel::estimateWork(data, &updates), 0u);

    EXPECT_EQ(updates, 1u);
}

TYPED_TEST(EstimateWork, FactorIsLeftWithSymbolicBlocks)
{
    // One block of fill, sizes 1, 2, 3.
    const auto system = zeroSystem<TypeParam>(support::drawnRows({"X", "X X", "X . X"}));
    const auto data = support::makeData(system);
    data->matrix.sizeHint = 17;

    Orvel::estimateWork(*data, nullptr);

    const auto& L = data->factor;
    ASSERT_EQ(L.numBlockRows, 3u);
    ASSERT_EQ(L.numBlocks, 6u);
    EXPECT_EQ(L.sizeHint, 17u);
    EXPECT_EQ(L.blockCapacity, 6u);
    EXPECT_EQ(L.valueCapacity, 8u * 6u);
    EXPECT_EQ(L.blockSizes[3], 3u);
    for (unsigned int r = 0; r < 3; ++r) {
        EXPECT_EQ(L.rowStart[r + 1], data->factorRowStart[r + 1]);
        EXPECT_EQ(L.blockSizes[r], 1u);
    }
    for (unsigned int slot = 0; slot < 6; ++slot) {
        EXPECT_EQ(L.blockColumns[slot], data->factorColumns[slot]);
        EXPECT_EQ(L.blockData[slot], L.values + slot);
        EXPECT_EQ(*L.blockData[slot], TypeParam(0));
    }
}

TYPED_TEST(EstimateWork, FactoredFlagIsLeftAlone)
{
    const auto data = support::makeData(zeroSystem<TypeParam>({{0}}));

    for (const bool factored : {false, true}) {
        const unsigned char flag = factored ? 1 : 0;
        data->factored = flag;
        Orvel::estimateWork(*data, nullptr);
        EXPECT_EQ(data->factored, flag);
    }
}

TYPED_TEST(EstimateWork, RestOfTheSystemIsLeftAlone)
{
    support::Random random(4);
    const auto data = support::makeData(support::dominantSystem<TypeParam>(random, 5, 0.5, 1, 4));
    Orvel::factorSerial(*data);
    const std::vector<TypeParam> pivots(data->pivots.data, data->pivots.data + data->pivots.size);
    const unsigned int blocks = data->scaledFactor.numBlocks;

    Orvel::estimateWork(*data, nullptr);

    EXPECT_EQ(pivots,
              std::vector<TypeParam>(data->pivots.data, data->pivots.data + data->pivots.size));
    EXPECT_EQ(data->scaledFactor.numBlocks, blocks);
    EXPECT_EQ(data->matrix.numBlockRows, 5u);
}

TYPED_TEST(EstimateWork, FactoringAfterwardsIsUnimpaired)
{
    const auto data =
        support::makeData(support::scalarSystem<TypeParam>({"X", "X X"}, {{4}, {2, 5}}));
    std::vector<TypeParam> x{8, 14};

    Orvel::estimateWork(*data, nullptr);
    Orvel::solve(*data, x.data());

    EXPECT_EQ(x, (std::vector<TypeParam>{TypeParam(0.75), TypeParam(2.5)}));
}

TYPED_TEST(EstimateWork, FactoringAfterwardsIsUnimpairedWhateverTheCallerVouchesFor)
{
    support::Random random(3);
    const auto system = support::dominantSystem<TypeParam>(random, 9, 0.3, 0, 6);
    const auto expected = support::makeData(system);
    const auto data = support::makeData(system);
    Orvel::factorSerial(*expected);
    Orvel::factorSerial(*data);
    data->onlyValuesChanged = 1;

    Orvel::estimateWork(*data, nullptr);
    Orvel::factorSerial(*data);

    EXPECT_TRUE(support::sameBits(data->factor.values, expected->factor.values,
                                  expected->factor.valueCapacity));
}

TYPED_TEST(EstimateWork, EntriesBeyondTheDiagonalAreIgnored)
{
    const auto data =
        support::makeData(zeroSystem<TypeParam>({{0}, {0, 1}, {2}}, {{0, 1, 2}, {0, 1, 2}, {2}}));
    unsigned int updates = 99;

    EXPECT_EQ(Orvel::estimateWork(*data, &updates), 0u);

    EXPECT_EQ(updates, 1u);
    EXPECT_EQ(data->factor.numBlocks, 4u);
}

TYPED_TEST(EstimateWork, BlockThatThePatternLacksMakesTheRestOfItsRowCountAsFill)
{
    const auto data = support::makeData(
        zeroSystem<TypeParam>(support::drawnRows({"X", ". X", "X X X"}), {{0}, {1}, {1, 2}}));

    EXPECT_EQ(Orvel::estimateWork(*data, nullptr), 2u);
}

TYPED_TEST(EstimateWork, MissingBlockIsNotTakenFromTheNextRow)
{
    // Row 1 of A lacks its diagonal block, and row 2 begins with a block in column 1.
    const auto data =
        support::makeData(zeroSystem<TypeParam>({{0}, {0}, {1, 2}}, {{0}, {0, 1}, {1, 2}}));

    EXPECT_EQ(Orvel::estimateWork(*data, nullptr), 1u);
}

} // namespace
