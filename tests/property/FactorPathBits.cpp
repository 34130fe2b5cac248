// Every way to run the serial factorization gives the bits of the plain one.

#include "support/BitSystems.h"
#include "support/Bits.h"
#include "support/FactorComparison.h"
#include "support/FactorPaths.h"
#include "support/PlainFactorization.h"
#include "support/Scalars.h"

#include <kyrOrvel/Orvel>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numeric>
#include <vector>

using kyrOrvel::Orvel;
using kyrOrvel::OrvelData;
using support::FactorPath;
using support::Random;
using support::System;

namespace {

template <class T> class FactorPathBits : public support::FactorPaths<T> {
protected:
    static void expectPlainBits(const System<T>& system)
    {
        const auto expected = support::plainFactor(system);
        support::FactorPaths<T>::forEachPath([&] {
            const auto data = support::makeData(system);
            Orvel::factorSerial(*data);
            ASSERT_TRUE(support::sameFactors(*data, expected));
        });
    }
};
TYPED_TEST_SUITE(FactorPathBits, support::Scalars);

TYPED_TEST(FactorPathBits, EqualThePlainFactorization)
{
    for (std::uint64_t seed = 1; seed <= 400; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const System<TypeParam> system = this->system(random);
        this->expectPlainBits(system);
        if (this->HasFatalFailure())
            return;
    }
}

TYPED_TEST(FactorPathBits, EqualThePlainFactorizationWhereTheInputLacksDiagonalBlocks)
{
    for (std::uint64_t seed = 5001; seed <= 5100; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const bool large = random.chance(0.2);
        System<TypeParam> system = large
                                       ? this->system(random, random.integer(2, 12), {3, 9, 12})
                                       : this->system(random, random.integer(2, 20), {3, 5, 6, 4});
        for (unsigned int r = 0; r < system.numRows(); ++r)
            // A row without any block has no size.
            if (system.rows[r].size() > 1 && random.chance(0.3)) {
                std::vector<unsigned int>& columns = system.rows[r];
                columns.erase(std::remove(columns.begin(), columns.end(), r), columns.end());
                system.blocks.erase({r, r});
            }
        this->expectPlainBits(system);
        if (this->HasFatalFailure())
            return;
    }
}

// Behind a gap of several rows, starts of rows fall back: row 2 holds the block of row 0 again.
TYPED_TEST(FactorPathBits, EqualThePlainFactorizationBehindAGapOfRowsWithoutBlocks)
{
    const auto fill = [](OrvelData<TypeParam>& data) {
        auto& A = data.matrix;
        A.clear();
        A.setSize(4, 0, 3, 3);
        *A.aquireBlock(0, 0, 1, 1, 0) = 4;
        *A.aquireBlock(3, 0, 1, 1, 0) = 7;
        *A.aquireBlock(3, 3, 1, 1, 0) = 9;
        ASSERT_EQ(A.rowStart[2], 0u);
        ASSERT_EQ(A.rowStart[3], 1u);
        support::setFactorPattern(data, {{0}, {1}, {0, 2}, {0, 2, 3}});
    };
    OrvelData<TypeParam> expected;
    fill(expected);
    setFactorPath(FactorPath::Plain);
    Orvel::factorSerial(expected);

    this->forEachPath([&] {
        OrvelData<TypeParam> data;
        fill(data);
        for (int again = 0; again < 2; ++again) {
            Orvel::factorSerial(data);
            ASSERT_TRUE(support::sameFactors(data, expected));
        }
    });
}

// The layout of the factors is made anew, whatever became of it in between.
TYPED_TEST(FactorPathBits, EqualThePlainFactorizationAfterTheLayoutWasWrittenTo)
{
    Random random(12);
    const System<TypeParam> system = this->system(random, 12, {3, 5, 6});
    const auto expected = support::plainFactor(system);

    this->forEachPath([&] {
        const auto data = support::makeData(system);
        Orvel::factorSerial(*data);
        data->factor.blockOffsets[3] += 1;
        data->scaledFactor.blockSizes[12] += 1;
        Orvel::factorSerial(*data);
        ASSERT_TRUE(support::sameFactors(*data, expected));
        ASSERT_EQ(data->factor.blockOffsets[3], data->matrix.blockOffsets[3]);
        ASSERT_EQ(data->scaledFactor.blockSizes[12], system.dimension());
    });
}

// Blocks beyond what rows take, tiles with all kinds of edges, panels that have to be split.
TYPED_TEST(FactorPathBits, EqualThePlainFactorizationWithLargeBlocks)
{
    for (std::uint64_t seed = 2001; seed <= 2060; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const support::Sizes kinds = random.chance(0.5)
                                         ? support::Sizes{0, 1, 3, 6, 9, 10, 11, 12, 13}
                                         : support::Sizes{3, 7, 8, 9, 16, 17, 23, 24, 31, 40};
        const System<TypeParam> system = this->system(random, random.integer(1, 16), kinds);
        this->expectPlainBits(system);
        if (this->HasFatalFailure())
            return;
    }
}

TYPED_TEST(FactorPathBits, EqualThePlainFactorizationWithBlocksWiderThanAPanel)
{
    for (const unsigned int size : {95u, 97u, 130u, 300u}) {
        SCOPED_TRACE(size);
        Random random(size);
        const System<TypeParam> system = this->system(random, 3, {6, size});
        this->expectPlainBits(system);
    }
}

TYPED_TEST(FactorPathBits, EqualThePlainFactorizationOfADenseMatrixOfManyPanels)
{
    Random random(9);
    System<TypeParam> system = this->system(random, 60, {3, 5, 6, 6});
    for (unsigned int r = 0; r < system.numRows(); ++r) {
        system.factorRows[r].clear();
        for (unsigned int c = 0; c <= r; ++c)
            system.factorRows[r].push_back(c);
    }
    this->expectPlainBits(system);
}

// A wide panel with rows here and there in a later one, which it therefore changes by short runs of
// columns, and with rows in pairs and alone below that.
TYPED_TEST(FactorPathBits, EqualThePlainFactorizationWhereAPanelChangesScatteredColumns)
{
    for (std::uint64_t seed = 4001; seed <= 4030; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const unsigned int wide = random.integer(14, 30);
        const unsigned int n = wide + random.integer(6, 20);
        System<TypeParam> system = this->system(random, n, {3, 3, 5, 6});
        std::vector<unsigned int> changed;
        for (unsigned int r = wide; r < n; ++r)
            if (random.chance(0.6))
                changed.push_back(r);
        for (unsigned int r = 0; r < n; ++r) {
            const bool couples =
                r < wide || std::find(changed.begin(), changed.end(), r) != changed.end();
            system.factorRows[r].clear();
            for (unsigned int c = couples ? 0 : wide; c <= r; ++c)
                system.factorRows[r].push_back(c);
        }
        system.rows = system.factorRows;
        this->setValues(random, 0.3, system);
        this->expectPlainBits(system);
        if (this->HasFatalFailure())
            return;
    }
}

// Columns of one size with any number of rows of one height below them. Those rows are no columns
// of the same panel: the last row has them, but none of the columns.
TYPED_TEST(FactorPathBits, EqualThePlainFactorizationWhereRowsBelowAPanelAreTakenSideBySide)
{
    for (const unsigned int size : {3u, 5u, 6u})
        for (const unsigned int height : {3u, 5u, 6u})
            for (unsigned int rows = 1; rows <= 9; ++rows) {
                Random random(6000 + 100 * size + 10 * height + rows);
                SCOPED_TRACE(random.seed());
                const unsigned int columns = random.integer(1, random.chance(0.2) ? 40 : 8);
                System<TypeParam> system;
                system.sizes.assign(columns, size);
                system.sizes.resize(columns + rows + 1, height);
                for (unsigned int r = 0; r <= columns + rows; ++r) {
                    const unsigned int first = r < columns + rows ? 0 : columns;
                    system.rows.emplace_back(r + 1 - first);
                    std::iota(system.rows[r].begin(), system.rows[r].end(), first);
                }
                system.factorRows = system.rows;
                this->setValues(random, 0.3, system);
                this->expectPlainBits(system);
                if (this->HasFatalFailure())
                    return;
            }
}

/// How many of the values of L satisfy a predicate.
template <class T, class Predicate>
std::size_t countOf(const support::PlainFactors<T>& factors, Predicate predicate)
{
    std::ptrdiff_t count = 0;
    for (const auto& block : factors.L)
        count += std::count_if(block.second.begin(), block.second.end(), predicate);
    return static_cast<std::size_t>(count);
}

TYPED_TEST(FactorPathBits, EqualThePlainFactorizationWithZeroPivots)
{
    std::size_t zeros[2] = {}; // by sign
    std::size_t infinities = 0;
    for (std::uint64_t seed = 7001; seed <= 7200; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const System<TypeParam> system = support::zeroPivotSystem<TypeParam>(random);
        const auto factors = support::plainFactor(system);
        for (const TypeParam pivot : factors.D)
            if (pivot == 0)
                ++zeros[std::signbit(pivot)];
        infinities += countOf(factors, [](TypeParam value) { return std::isinf(value); });
        this->expectPlainBits(system);
        if (this->HasFatalFailure())
            return;
    }
    EXPECT_GT(zeros[0], 100u);
    EXPECT_GT(zeros[1], 20u);
    EXPECT_GT(infinities, 100u);
}

TYPED_TEST(FactorPathBits, EqualThePlainFactorizationWithDenormals)
{
    std::size_t denormals = 0;
    for (std::uint64_t seed = 8001; seed <= 8150; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const System<TypeParam> system = support::denormalSystem<TypeParam>(random);
        const auto factors = support::plainFactor(system);
        ASSERT_EQ(countOf(factors, [](TypeParam value) { return std::isnan(value); }), 0u);
        denormals += countOf(
            factors, [](TypeParam value) { return std::fpclassify(value) == FP_SUBNORMAL; });
        this->expectPlainBits(system);
        if (this->HasFatalFailure())
            return;
    }
    EXPECT_GT(denormals, 1000u);
}

TYPED_TEST(FactorPathBits, KeepPivotsToBoundsAsThePlainOneDoes)
{
    for (std::uint64_t seed = 3001; seed <= 3100; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const bool large = random.chance(0.3);
        const System<TypeParam> system =
            large ? this->system(random, 5, {3, 9, 20}) : this->system(random);
        std::vector<TypeParam> bounds = random.scalars<TypeParam>(system.dimension());
        for (TypeParam& bound : bounds)
            bound = random.chance(0.1) ? TypeParam(0) : bound * TypeParam(8);
        const unsigned char keepSigns = random.chance(0.5) ? 1 : 0;
        const auto factor = [&](OrvelData<TypeParam>& data) {
            data.pivotBounds = bounds.data();
            data.pivotsKeepSigns = keepSigns;
            Orvel::factorSerial(data);
        };
        kyrOrvel::detail::setFactorPath(FactorPath::Plain);
        const auto plain = support::makeData(system);
        factor(*plain);
        this->forEachPath([&] {
            const auto data = support::makeData(system);
            factor(*data);
            ASSERT_TRUE(support::sameFactors(*data, *plain));
        });
        if (this->HasFatalFailure())
            return;
    }
}

TYPED_TEST(FactorPathBits, EqualThePlainFactorizationInReusedStorage)
{
    this->forEachPath([] {
        OrvelData<TypeParam> data;
        for (std::uint64_t seed = 1001; seed <= 1150; ++seed) {
            SCOPED_TRACE(seed);
            Random random(seed);
            System<TypeParam> system = FactorPathBits<TypeParam>::system(random);
            for (int run = 0; run < 2; ++run) {
                support::load(system, data);
                Orvel::factorSerial(data);
                ASSERT_TRUE(support::sameFactors(data, support::plainFactor(system)));
                for (auto& block : system.blocks)
                    for (TypeParam& v : block.second)
                        v *= TypeParam(0.75);
            }
        }
    });
}

TYPED_TEST(FactorPathBits, EqualThePlainFactorizationOnAnyPatterns)
{
    this->forEachPath([] {
        for (std::uint64_t seed = 1; seed <= 150; ++seed) {
            SCOPED_TRACE(seed);
            Random random(seed);
            const System<TypeParam> system = support::bitSystem<TypeParam>(random);
            const auto data = support::makeData(system);
            Orvel::factorSerial(*data);
            ASSERT_TRUE(support::sameFactors(*data, support::plainFactor(system)));
        }
    });
}

// X      Column 1 of L has row 2 in it although the pattern does not say so: plain drops the
// update, X X    and so must all. X . X
TYPED_TEST(FactorPathBits, PatternThatIsNotClosedIsTakenAsItIs)
{
    System<TypeParam> system =
        support::scalarSystem<TypeParam>({"X", "X X", "X . X"}, {{2}, {1, 3}, {1, 0, 5}});
    system.factorRows = system.rows;
    this->expectPlainBits(system);
}

TYPED_TEST(FactorPathBits, ValuesLeftInTheFactorsDoNotMatter)
{
    Random random(3);
    const System<TypeParam> system = this->system(random);
    const auto expected = support::plainFactor(system);
    this->forEachPath([&] {
        const auto data = support::makeData(system);
        Orvel::factorSerial(*data);
        for (auto* matrix : {&data->factor, &data->scaledFactor}) {
            for (unsigned int v = 0; v < matrix->valueCapacity; ++v)
                matrix->values[v] = TypeParam(77);
            for (unsigned int b = 0; b < matrix->numBlocks; ++b)
                matrix->blockTags[b] = 1;
        }
        Orvel::factorSerial(*data);
        EXPECT_TRUE(support::sameFactors(*data, expected));
        for (unsigned int b = 0; b < data->factor.numBlocks; ++b)
            EXPECT_EQ(data->factor.blockTags[b], 0u);
        const unsigned int end = data->factor.valueCapacity;
        for (unsigned int v = end - 64; v < end; ++v)
            EXPECT_EQ(data->factor.values[v], 0) << "spare scalars";
    });
}

TYPED_TEST(FactorPathBits, EstimateInBetweenDoesNotMatter)
{
    Random random(4);
    const System<TypeParam> system = this->system(random);
    const auto expected = support::plainFactor(system);
    this->forEachPath([&] {
        const auto data = support::makeData(system);
        Orvel::factorSerial(*data);
        Orvel::estimateWork<TypeParam>(*data, nullptr);
        Orvel::factorSerial(*data);
        EXPECT_TRUE(support::sameFactors(*data, expected));
    });
}

TYPED_TEST(FactorPathBits, TagsCountsAndCapacitiesAreThoseOfThePlainOne)
{
    for (std::uint64_t seed = 1; seed <= 50; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const System<TypeParam> system = this->system(random);
        kyrOrvel::detail::setFactorPath(FactorPath::Plain);
        const auto plain = support::makeData(system);
        Orvel::factorSerial(*plain);
        this->forEachPath([&] {
            const auto data = support::makeData(system);
            Orvel::factorSerial(*data);
            Orvel::factorSerial(*data);
            for (auto member :
                 {&OrvelData<TypeParam>::factor, &OrvelData<TypeParam>::scaledFactor}) {
                const auto& a = (*data).*member;
                const auto& b = (*plain).*member;
                EXPECT_EQ(a.numBlocks, b.numBlocks);
                EXPECT_EQ(a.numBlockRows, b.numBlockRows);
                EXPECT_EQ(a.sizeHint, b.sizeHint);
                EXPECT_EQ(a.valueCapacity, b.valueCapacity);
                EXPECT_EQ(a.blockCapacity, b.blockCapacity);
                EXPECT_EQ(a.rowCapacity, b.rowCapacity);
                for (unsigned int s = 0; s < a.numBlocks; ++s)
                    EXPECT_EQ(a.blockTags[s], b.blockTags[s]) << s;
            }
            EXPECT_EQ(data->pivots.size, plain->pivots.size);
            EXPECT_EQ(data->factored, plain->factored);
        });
    }
}

} // namespace
