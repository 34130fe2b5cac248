#ifndef KYRORVEL_TESTS_SUPPORT_BIT_SYSTEMS_H
#define KYRORVEL_TESTS_SUPPORT_BIT_SYSTEMS_H

// Random systems for comparisons to the bit. They need not be solvable, only to lead through every
// path of the arithmetic: patterns that elimination would fill further, blocks that the pattern
// lacks, blocks of size 0, and values from denormals to infinities.

#include "Systems.h"

#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

namespace support {

/// A scalar times a power of two from the whole range of the type.
template <class T> T wideScalar(Random& random)
{
    const int span = std::numeric_limits<T>::max_exponent;
    const int exponent = static_cast<int>(random.integer(0, 2 * static_cast<unsigned int>(span)));
    return std::ldexp(random.scalar<T>(), exponent - span - std::numeric_limits<T>::digits);
}

/// Sets A's pattern and that of L: closed under elimination; closed and larger than needed; or any
/// two patterns, with entries beyond the diagonal.
inline void drawPatterns(Random& random, unsigned int n, Rows& rows, Rows& factorRows)
{
    rows = randomRows(random, n, 0.1 + 0.5 * random.unit());
    switch (random.integer(0, 3)) {
    case 0:
        factorRows = eliminated(rows);
        break;
    case 1:
        factorRows = eliminated(rows);
        rows = randomSubset(random, rows, 0.5);
        break;
    case 2: // not closed: updates of the missing blocks are dropped
        factorRows = rows;
        rows = randomSubset(random, rows, 0.8);
        break;
    default: // blocks of A that the pattern lacks, entries beyond the diagonal
        factorRows = randomRows(random, n, 0.5);
        for (unsigned int r = 0; r + 1 < n; ++r)
            if (random.chance(0.3))
                factorRows[r].push_back(random.integer(r + 1, n - 1));
    }
}

/// A few of the values are replaced by ones that arithmetic finds hard.
template <class T> void spoilSome(Random& random, System<T>& system)
{
    for (auto& entry : system.blocks)
        for (T& value : entry.second)
            if (random.chance(0.003))
                value = random.nastyScalar<T>();
}

template <class T> System<T> bitSystem(Random& random)
{
    System<T> system;
    const unsigned int n = random.integer(1, 11);
    const unsigned int smallest = random.integer(0, 1);
    const unsigned int largest = random.integer(2, 13);
    system.sizes = randomSizes(random, n, smallest, largest);
    drawPatterns(random, n, system.rows, system.factorRows);
    const unsigned int kind = random.integer(0, 5);
    system.blocks = drawBlocks<T>(system.sizes, system.rows, [&] {
        return kind < 4    ? random.scalar<T>()
               : kind == 4 ? wideScalar<T>(random)
                           : random.nastyScalar<T>();
    });
    if (kind <= 2)
        makeDominant(system, std::vector<bool>(n, false));
    if (kind == 1 || kind == 3)
        spoilSome(random, system);
    return system;
}

/// A closed pattern with blocks of sizes that rows take, or of up to 13; values are to be drawn.
template <class T> System<T> closedPattern(Random& random)
{
    System<T> system;
    const unsigned int n = random.integer(1, 8);
    system.sizes = randomSizes(random, n, 0, random.chance(0.5) ? 8 : 13);
    system.rows = randomRows(random, n, 0.4 * random.unit());
    system.factorRows = eliminated(system.rows);
    return system;
}

/// Every value is -1, 1 or a zero of either sign, zeros being rarer on the diagonal: pivots are
/// zero from the start or by cancellation. NaN is behind most of them, but not in other branches.
template <class T> System<T> zeroPivotSystem(Random& random)
{
    System<T> system = closedPattern<T>(random);
    const double ones = 0.4 * random.unit();
    const double onesOfDiagonal = 1 - 0.2 * random.unit();
    const auto draw = [&](double chance) {
        const T value = random.chance(chance) ? T(1) : T(0);
        return random.chance(0.5) ? value : -value;
    };
    system.blocks = drawBlocks<T>(system.sizes, system.rows, [&] { return draw(ones); });
    for (unsigned int r = 0; r < system.numRows(); ++r)
        for (unsigned int i = 0; i < system.sizes[r]; ++i)
            system.blocks.at({r, r})[i * (std::size_t(system.sizes[r]) + 1)] = draw(onesOfDiagonal);
    return system;
}

/// Diagonals around 1, and beside them values that are denormal or whose products are.
template <class T> System<T> denormalSystem(Random& random)
{
    using Limits = std::numeric_limits<T>;
    System<T> system = closedPattern<T>(random);
    system.blocks = drawBlocks<T>(system.sizes, system.rows, [&] {
        const int exponent = random.chance(0.5) ? Limits::min_exponent : Limits::min_exponent / 2;
        const auto smaller = static_cast<int>(random.integer(0, 8));
        return std::ldexp(random.scalar<T>(), exponent - smaller);
    });
    for (unsigned int r = 0; r < system.numRows(); ++r)
        for (unsigned int i = 0; i < system.sizes[r]; ++i)
            system.blocks.at({r, r})[i * (std::size_t(system.sizes[r]) + 1)] =
                1 + random.scalar<T>() / 4;
    return system;
}

/// A right-hand side: zero up to some block row, then plain or hard values.
template <class T> std::vector<T> bitVector(Random& random, const System<T>& system)
{
    std::vector<T> b = random.chance(0.8) ? random.scalars<T>(system.dimension())
                                          : random.nastyScalars<T>(system.dimension());
    const T epsilon = std::numeric_limits<T>::epsilon();
    const unsigned int zeros = system.offsetOf(random.integer(0, system.numRows()));
    for (unsigned int i = 0; i < zeros; ++i)
        b[i] = random.chance(0.5) ? T(0) : random.scalar<T>() * epsilon;
    return b;
}

} // namespace support

#endif
