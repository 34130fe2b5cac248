#include "support/Scalars.h"
#include "support/Systems.h"

#include <kyrOrvel/Orvel>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

using support::Random;
using support::System;

namespace {

/// Square, row-major.
struct Dense {
    explicit Dense(std::size_t order) : n(order), values(order * order, 0.0L) {}
    long double& at(std::size_t i, std::size_t j) { return values[i * n + j]; }
    long double at(std::size_t i, std::size_t j) const { return values[i * n + j]; }

    std::size_t n;
    std::vector<long double> values;
};

/// The symmetric matrix of a system, from its lower triangle.
template <class T> Dense denseMatrix(const System<T>& system)
{
    Dense A(system.dimension());
    for (const auto& entry : system.blocks) {
        const unsigned int r = entry.first.first;
        const unsigned int c = entry.first.second;
        for (std::size_t i = 0; i < system.sizes[r]; ++i)
            for (std::size_t j = 0; j < system.sizes[c]; ++j) {
                const std::size_t row = system.offsetOf(r) + i;
                const std::size_t column = system.offsetOf(c) + j;
                if (column <= row)
                    A.at(row, column) = A.at(column, row) = entry.second[i * system.sizes[c] + j];
            }
    }
    return A;
}

/// Every stored value of a block matrix at its place.
template <class T> Dense denseBlocks(const kyrOrvel::SparseMatrix<T>& matrix)
{
    Dense B(matrix.blockSizes[matrix.numBlockRows]);
    for (unsigned int r = 0; r < matrix.numBlockRows; ++r)
        for (unsigned int slot = matrix.rowStart[r]; slot < matrix.rowStart[r + 1]; ++slot) {
            const unsigned int c = matrix.blockColumns[slot];
            for (std::size_t i = 0; i < matrix.blockSizes[r]; ++i)
                for (std::size_t j = 0; j < matrix.blockSizes[c]; ++j)
                    B.at(matrix.blockOffsets[r] + i, matrix.blockOffsets[c] + j) =
                        matrix.blockData[slot][i * matrix.blockSizes[c] + j];
        }
    return B;
}

long double largest(const std::vector<long double>& values)
{
    long double norm = 0;
    for (const long double value : values)
        norm = std::max(norm, std::abs(value));
    return norm;
}

/// The largest element of A - L·D·Lᵀ relative to that of A; `LD` holds L·D.
long double factorError(const Dense& A, const Dense& L, const Dense& LD)
{
    Dense difference = A;
    for (std::size_t i = 0; i < A.n; ++i)
        for (std::size_t j = 0; j < A.n; ++j)
            for (std::size_t k = 0; k < A.n; ++k)
                difference.at(i, j) -= LD.at(i, k) * L.at(j, k);
    return largest(difference.values) / largest(A.values);
}

/// The largest element of b - A·x relative to |A|·|x|.
template <class T>
long double residual(const Dense& A, const std::vector<T>& b, const std::vector<T>& x)
{
    std::vector<long double> r(b.begin(), b.end());
    long double scale = 0;
    for (std::size_t i = 0; i < A.n; ++i) {
        long double sum = 0;
        for (std::size_t j = 0; j < A.n; ++j) {
            r[i] -= A.at(i, j) * static_cast<long double>(x[j]);
            sum += std::abs(A.at(i, j) * static_cast<long double>(x[j]));
        }
        scale = std::max(scale, sum);
    }
    return largest(r) / scale;
}

template <class T> class FactorAgainstDense : public testing::Test {
protected:
    /// Rounding errors grow with the length of the sums.
    static constexpr long double kTolerance = 32 * std::numeric_limits<T>::epsilon();

    static void expectAccurate(const System<T>& system, Random& random)
    {
        const auto data = support::makeData(system);
        const Dense A = denseMatrix(system);
        const std::vector<T> b = random.scalars<T>(system.dimension());
        std::vector<T> x = b;

        ASSERT_TRUE(kyrOrvel::Orvel::solve(*data, x.data()));

        EXPECT_LT(factorError(A, denseBlocks(data->factor), denseBlocks(data->scaledFactor)),
                  kTolerance);
        EXPECT_LT(residual(A, b, x), kTolerance);
    }
};
TYPED_TEST_SUITE(FactorAgainstDense, support::Scalars);

TYPED_TEST(FactorAgainstDense, PositiveDefiniteSystemIsReproducedAndSolved)
{
    for (std::uint64_t seed = 1; seed <= 25; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const auto system = support::dominantSystem<TypeParam>(random, 12, 0.25, 1, 6);
        this->expectAccurate(system, random);
    }
}

TYPED_TEST(FactorAgainstDense, QuasiDefiniteSystemIsReproducedAndSolved)
{
    for (std::uint64_t seed = 101; seed <= 125; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const auto system = support::quasiDefiniteSystem<TypeParam>(random, 12, 0.25, 1, 6);
        this->expectAccurate(system, random);
    }
}

TYPED_TEST(FactorAgainstDense, PivotsHaveTheSignsOfTheBlocks)
{
    Random random(77);
    const auto system = support::quasiDefiniteSystem<TypeParam>(random, 9, 0.4, 1, 5);
    const auto data = support::makeData(system);

    kyrOrvel::Orvel::factorSerial(*data);

    for (unsigned int i = 0; i < system.dimension(); ++i)
        EXPECT_EQ(data->pivots.data[i] > 0, i < system.offsetOf(6)) << "pivot " << i;
}

} // namespace
