// One set of data for system after system: what the fast paths leave of it, to the last word of
// every array, is what the plain one leaves.

#include "support/BitSystems.h"
#include "support/Bits.h"
#include "support/FactorPaths.h"
#include "support/Scalars.h"
#include "support/ScratchArrays.h"

#include <kyrOrvel/Orvel>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <vector>

using kyrOrvel::Orvel;
using kyrOrvel::OrvelData;
using kyrOrvel::SparseMatrix;
using kyrOrvel::detail::SolveReading;
using support::FactorPath;
using support::FactorSchedule;
using support::Random;
using support::System;

namespace {

template <class T> class ReusedData : public support::FactorPaths<T> {
protected:
    ~ReusedData() override { setSolveReading(SolveReading::Automatic); }

    void start(std::uint64_t seed)
    {
        m_random = Random(seed);
        m_fast = std::make_unique<OrvelData<T>>();
        m_plain = std::make_unique<OrvelData<T>>();
        m_systems.clear();
        loadAnother();
    }

    /// Does the same to both, but only the plain one is factored and solved on the plain path.
    void takeStep()
    {
        switch (m_random.integer(0, 9)) {
        case 0:
            return loadAnother();
        case 1:
            return loadOtherValues();
        case 2:
            return clearFactors();
        case 3:
            return leaveRemains();
        case 4:
            return changeHint();
        case 5:
            return deallocateScratch();
        case 6:
        case 7:
            return factor();
        default:
            return solve();
        }
    }

    void expectSame()
    {
        expectSame(m_fast->matrix, m_plain->matrix);
        expectSame(m_fast->factor, m_plain->factor);
        expectSame(m_fast->scaledFactor, m_plain->scaledFactor);
        ASSERT_EQ(m_fast->pivots.size, m_plain->pivots.size);
        ASSERT_EQ(m_fast->pivots.capacity, m_plain->pivots.capacity);
        ASSERT_TRUE(
            support::sameBits(m_fast->pivots.data, m_plain->pivots.data, m_plain->pivots.capacity));
        ASSERT_EQ(m_fast->factored, m_plain->factored);
        expectSame<T>(m_fast->scratch, m_plain->scratch);
        expectSame<int>(m_fast->scratch, m_plain->scratch);
        expectSame<unsigned char>(m_fast->scratch, m_plain->scratch);
    }

private:
    System<T> draw()
    {
        if (m_random.chance(0.3))
            return support::bitSystem<T>(m_random);
        if (m_random.chance(0.3))
            return this->system(m_random, m_random.integer(1, 10), {1, 3, 9, 13, 30});
        return m_random.chance(0.3) ? looseSystem() : this->system(m_random);
    }

    /// Four blocks, of which the last is coupled to one of the others: to which, no count tells.
    System<T> looseSystem()
    {
        System<T> system;
        system.sizes.assign(4, 3);
        system.rows = {{0}, {1}, {2}, {m_random.integer(0, 2), 3}};
        system.factorRows = system.rows;
        this->setValues(m_random, 0, system);
        return system;
    }

    void load()
    {
        support::load(m_systems.back(), *m_fast);
        support::load(m_systems.back(), *m_plain);
    }

    void loadAnother()
    {
        const bool again = !m_systems.empty() && m_random.chance(0.3);
        m_systems.push_back(
            again ? m_systems[m_random.integer(0, static_cast<unsigned int>(m_systems.size()) - 1)]
                  : draw());
        load();
    }

    void loadOtherValues()
    {
        for (auto& entry : m_systems.back().blocks)
            for (T& value : entry.second)
                value *= T(0.75);
        load();
    }

    void clearFactors()
    {
        const unsigned int which = m_random.integer(1, 3);
        for (OrvelData<T>* data : {m_fast.get(), m_plain.get()}) {
            if (which & 1)
                data->factor.clear();
            if (which & 2)
                data->scaledFactor.clear();
            data->factored = 0;
        }
    }

    void leaveRemains()
    {
        for (OrvelData<T>* data : {m_fast.get(), m_plain.get()}) {
            for (auto* matrix : {&data->factor, &data->scaledFactor}) {
                std::fill_n(matrix->values, matrix->valueCapacity, T(9));
                std::fill_n(matrix->blockTags, matrix->numBlocks, 1u);
            }
            data->factored = 0;
        }
    }

    void changeHint()
    {
        m_fast->matrix.sizeHint = m_plain->matrix.sizeHint = m_random.integer(0, 99);
    }

    void deallocateScratch()
    {
        m_fast->scratch.deallocate();
        m_plain->scratch.deallocate();
    }

    void takeFastPath()
    {
        const FactorPath path = static_cast<FactorPath>(
            m_random.integer(int(FactorPath::Baseline), int(FactorPath::Avx512)));
        setFactorPath(isAvailable(path) ? path : FactorPath::Baseline);
        setFactorSchedule(static_cast<FactorSchedule>(
            m_random.integer(int(FactorSchedule::Automatic), int(FactorSchedule::WidePanels))));
        setSolveReading(static_cast<SolveReading>(
            m_random.integer(int(SolveReading::Automatic), int(SolveReading::FactorAlone))));
    }

    void factor()
    {
        takeFastPath();
        if (m_random.chance(0.2))
            Orvel::factorParallel(*m_fast, 2);
        else
            Orvel::factorSerial(*m_fast);
        setFactorPath(FactorPath::Plain);
        Orvel::factorSerial(*m_plain);
    }

    void solve()
    {
        std::vector<T> x = support::bitVector(m_random, m_systems.back());
        std::vector<T> expected = x;
        takeFastPath();
        const bool solved = Orvel::solve(*m_fast, x.data());
        setFactorPath(FactorPath::Plain);
        EXPECT_EQ(solved, Orvel::solve(*m_plain, expected.data()));
        EXPECT_TRUE(support::sameBits(x.data(), expected.data(), x.size()));
    }

    static void expectSame(const SparseMatrix<T>& a, const SparseMatrix<T>& b)
    {
        ASSERT_EQ(a.numBlocks, b.numBlocks);
        ASSERT_EQ(a.numBlockRows, b.numBlockRows);
        ASSERT_EQ(a.sizeHint, b.sizeHint);
        ASSERT_EQ(a.valueCapacity, b.valueCapacity);
        ASSERT_EQ(a.rowCapacity, b.rowCapacity);
        ASSERT_EQ(a.blockCapacity, b.blockCapacity);
        ASSERT_TRUE(support::sameBits(a.values, b.values, a.valueCapacity));
        if (a.rowCapacity > 0) {
            const std::size_t rows = std::size_t(a.rowCapacity) + 1;
            ASSERT_TRUE(std::equal(a.rowStart, a.rowStart + rows, b.rowStart));
            ASSERT_TRUE(std::equal(a.blockSizes, a.blockSizes + rows, b.blockSizes));
            ASSERT_TRUE(std::equal(a.blockOffsets, a.blockOffsets + rows, b.blockOffsets));
        }
        for (unsigned int s = 0; s < a.blockCapacity; ++s) {
            ASSERT_EQ(a.blockColumns[s], b.blockColumns[s]) << s;
            ASSERT_EQ(a.blockTags[s], b.blockTags[s]) << s;
            ASSERT_EQ(a.blockData[s] == nullptr, b.blockData[s] == nullptr) << s;
            if (s <= a.numBlocks && a.blockData[s]) { // later ones may be of values since replaced
                ASSERT_EQ(a.blockData[s] - a.values, b.blockData[s] - b.values) << s;
            }
        }
    }

    /// The arrays of one type, all of which have id 0.
    template <class U> static void expectSame(kyrOrvel::ScratchPad& a, kyrOrvel::ScratchPad& b)
    {
        auto& table = support::ScratchArrays<U>::table(a);
        auto& expected = support::ScratchArrays<U>::table(b);
        ASSERT_EQ(table.count, expected.count);
        ASSERT_EQ(table.bucketCount, expected.bucketCount);
        ASSERT_EQ(table.find(0) == nullptr, expected.find(0) == nullptr);
        if (expected.find(0)) {
            ASSERT_EQ(table.find(0)->size, expected.find(0)->size);
        }
    }

    Random m_random{0};
    std::vector<System<T>> m_systems; ///< the last one is loaded
    std::unique_ptr<OrvelData<T>> m_fast;
    std::unique_ptr<OrvelData<T>> m_plain;
};
TYPED_TEST_SUITE(ReusedData, support::Scalars);

TYPED_TEST(ReusedData, IsLeftByTheFastPathsAsByThePlainOne)
{
    for (std::uint64_t seed = 1; seed <= 100; ++seed) {
        SCOPED_TRACE(seed);
        this->start(seed);
        for (int step = 0; step < 40; ++step) {
            SCOPED_TRACE(step);
            this->takeStep();
            this->expectSame();
            if (this->HasFailure())
                return;
        }
    }
}

} // namespace
