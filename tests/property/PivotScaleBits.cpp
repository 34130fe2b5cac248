// What the fast factorizations leave for whoever judges the pivots.

#include "support/BitSystems.h"
#include "support/Bits.h"
#include "support/FactorPaths.h"
#include "support/Scalars.h"

#include <kyrOrvel/Orvel>

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

using kyrOrvel::Orvel;
using kyrOrvel::OrvelData;
using kyrOrvel::SparseMatrix;
using support::FactorPath;
using support::FactorSchedule;
using support::Random;
using support::System;

namespace {

template <class T> class PivotScaleBits : public support::FactorPaths<T> {
protected:
    /// |A(i, i)| + |L(i, q)²·d(q)| for all q < i in ascending order, from the finished factors.
    static std::vector<T> expected(const System<T>& system, const OrvelData<T>& data)
    {
        std::vector<T> scales;
        const SparseMatrix<T>& L = data.factor;
        const SparseMatrix<T>& S = data.scaledFactor;
        for (unsigned int r = 0; r < system.numRows(); ++r) {
            const unsigned int m = system.sizes[r];
            const auto own = system.blocks.find({r, r});
            for (unsigned int i = 0; i < m; ++i) {
                T sum = own == system.blocks.end() ? T(0) : std::abs(own->second[i * (m + 1)]);
                for (unsigned int slot = L.rowStart[r]; slot < L.rowStart[r + 1]; ++slot) {
                    const unsigned int c = L.blockColumns[slot];
                    const unsigned int p = system.sizes[c];
                    for (unsigned int q = 0; q < (c == r ? i : p); ++q)
                        sum +=
                            std::abs(L.blockData[slot][i * p + q] * S.blockData[slot][i * p + q]);
                }
                scales.push_back(sum);
            }
        }
        return scales;
    }
};
TYPED_TEST_SUITE(PivotScaleBits, support::Scalars);

TYPED_TEST(PivotScaleBits, AreTheMagnitudesOfEachPivotsTermsTogether)
{
    for (std::uint64_t seed = 1; seed <= 200; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const System<TypeParam> system = this->system(random);
        this->forEachPath([&] {
            const auto data = support::makeData(system);
            std::vector<TypeParam> scales(system.dimension() + 1, TypeParam(7));
            data->pivotScales = scales.data();
            Orvel::factorSerial(*data);
            if (!data->hasPivotScales)
                return;
            const auto expected = this->expected(system, *data);
            ASSERT_TRUE(support::sameBits(scales.data(), expected.data(), expected.size()));
            EXPECT_EQ(scales.back(), TypeParam(7)) << "beyond the last row";
        });
        if (this->HasFatalFailure())
            return;
    }
}

TYPED_TEST(PivotScaleBits, AreTheSameByRowsAndPanelsAndOnAnyNumberOfThreads)
{
    Random random(5);
    const System<TypeParam> system = this->system(random, 60, {1, 3, 3, 5, 6, 6});
    std::vector<TypeParam> one;
    for (const FactorSchedule schedule : {FactorSchedule::Rows, FactorSchedule::Panels})
        for (const unsigned int threads : {1u, 2u, 3u}) {
            SCOPED_TRACE(int(schedule));
            SCOPED_TRACE(threads);
            setFactorSchedule(schedule);
            const auto data = support::makeData(system);
            std::vector<TypeParam> scales(system.dimension());
            data->pivotScales = scales.data();
            Orvel::factorParallel(*data, threads);
            ASSERT_TRUE(data->hasPivotScales);
            if (one.empty())
                one = scales;
            EXPECT_TRUE(support::sameBits(scales.data(), one.data(), one.size()));
        }
}

TYPED_TEST(PivotScaleBits, AreLeftByTheFastFactorizationsAlone)
{
    Random random(6);
    const System<TypeParam> system = this->system(random, 20, {3, 6});
    std::vector<TypeParam> scales(system.dimension());
    const auto leaves = [&](FactorPath path, FactorSchedule schedule) {
        setFactorPath(path);
        setFactorSchedule(schedule);
        const auto data = support::makeData(system);
        data->pivotScales = scales.data();
        data->hasPivotScales = 1;
        Orvel::factorSerial(*data);
        return data->hasPivotScales != 0;
    };
    EXPECT_TRUE(leaves(FactorPath::Baseline, FactorSchedule::Rows));
    EXPECT_TRUE(leaves(FactorPath::Baseline, FactorSchedule::Panels));
    EXPECT_FALSE(leaves(FactorPath::Plain, FactorSchedule::Rows));
}

TYPED_TEST(PivotScaleBits, AreNotLeftUnlessAskedFor)
{
    Random random(7);
    const System<TypeParam> system = this->system(random, 20, {3, 6});
    setFactorSchedule(FactorSchedule::Rows);
    const auto data = support::makeData(system);
    Orvel::factorSerial(*data);
    EXPECT_FALSE(data->hasPivotScales);
}

} // namespace
