#ifndef KYRORVEL_TESTS_SUPPORT_FACTOR_PATHS_H
#define KYRORVEL_TESTS_SUPPORT_FACTOR_PATHS_H

#include "detail/FactorPath.h"

#include "Random.h"
#include "Systems.h"

#include <gtest/gtest.h>

#include <vector>

namespace support {

using kyrOrvel::detail::FactorPath;
using kyrOrvel::detail::FactorSchedule;

/// Runs something on every instruction set that there is, and leaves the best one in use.
template <class F> void forEachInstructionSet(F f)
{
    for (const FactorPath path :
         {FactorPath::Plain, FactorPath::Baseline, FactorPath::Avx2, FactorPath::Avx512}) {
        if (!isAvailable(path))
            continue;
        SCOPED_TRACE(int(path));
        setFactorPath(path);
        f();
    }
}

/// Runs something on every instruction set and schedule that the serial factorization has, and
/// makes systems for it.
template <class T> class FactorPaths : public testing::Test {
protected:
    ~FactorPaths() override
    {
        for (const FactorPath path : {FactorPath::Baseline, FactorPath::Avx2, FactorPath::Avx512})
            if (isAvailable(path))
                setFactorPath(path);
        setFactorSchedule(FactorSchedule::Automatic);
    }

    template <class F> static void forEachPath(F f)
    {
        forEachInstructionSet([&] {
            for (const FactorSchedule schedule :
                 {FactorSchedule::Rows, FactorSchedule::Panels, FactorSchedule::WidePanels,
                  FactorSchedule::Automatic}) {
                SCOPED_TRACE(int(schedule));
                setFactorSchedule(schedule);
                f();
            }
        });
    }

    /// Closed patterns with blocks of up to 8 scalars and values that are hard now and then.
    static System<T> system(Random& random)
    {
        const bool small = random.chance(0.5);
        return system(random, random.integer(1, small ? 6 : 25),
                      {0, 1, 2, 3, 3, 4, 5, 5, 6, 6, 6, 7, 8});
    }

    /// Blocks of sizes that are among `kinds`.
    static System<T> system(Random& random, unsigned int n, const Sizes& kinds)
    {
        System<T> result;
        for (unsigned int r = 0; r < n; ++r)
            result.sizes.push_back(
                kinds[random.integer(0, static_cast<unsigned int>(kinds.size()) - 1)]);
        result.rows = randomRows(random, n, 0.1 + 0.4 * random.unit());
        result.factorRows = eliminated(result.rows);
        setValues(random, 0.3, result);
        return result;
    }

    /// Random values on a pattern, with diagonals that are likely to be large enough; with some
    /// chance all of them may be hard.
    static void setValues(Random& random, double nastyChance, System<T>& system)
    {
        const bool nasty = random.chance(nastyChance);
        for (unsigned int r = 0; r < system.numRows(); ++r)
            for (const unsigned int c : system.rows[r]) {
                const std::size_t count = std::size_t(system.sizes[r]) * system.sizes[c];
                std::vector<T>& block = system.blocks[{r, c}] =
                    nasty ? random.nastyScalars<T>(count) : random.scalars<T>(count);
                for (unsigned int i = 0; r == c && i < system.sizes[r]; ++i)
                    block[i * (std::size_t(system.sizes[r]) + 1)] += T(4);
            }
    }
};

} // namespace support

#endif
