// The Cholesky factorization and its solve against the sums that define them, to the bit.

#include "support/Bits.h"
#include "support/Blocks.h"
#include "support/Random.h"
#include "support/Scalars.h"

#include <kyrOrvel/DenseMatrix>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

using support::Block;

namespace {

/// U(k, k) = sqrt(A(k, k) - the sum of U(i, k)²), U(k, j) = (A(k, j) - the sum of U(i, k)·U(i, j))
/// / U(k, k). Returns whether all pivots were positive, or NaN.
template <class T> bool plainFactor(Block<T>& A)
{
    for (int k = 0; k < A.rows; ++k)
        for (int j = k; j < A.rows; ++j) {
            for (int i = 0; i < k; ++i)
                A(k, j) = A(k, j) - A(i, k) * A(i, j);
            if (j > k)
                A(k, j) = A(k, j) / A(k, k);
            else if (A(k, k) <= 0)
                return false;
            else
                A(k, k) = std::sqrt(A(k, k));
        }
    return true;
}

template <class T> void plainSolve(const Block<T>& U, std::vector<T>& x)
{
    const std::size_t n = x.size();
    for (std::size_t i = 0; i < n; ++i) {
        for (std::size_t j = 0; j < i; ++j)
            x[i] = x[i] - U(int(j), int(i)) * x[j];
        x[i] = x[i] / U(int(i), int(i));
    }
    for (std::size_t i = n; i-- > 0;) {
        for (std::size_t j = n - 1; j > i; --j)
            x[i] = x[i] - U(int(i), int(j)) * x[j];
        x[i] = x[i] / U(int(i), int(i));
    }
}

/// Mostly positive definite matrices, some that are not, and some with hard values. Below the
/// diagonal, where nothing is read or written, they hold NaN.
template <class T> Block<T> drawMatrix(support::Random& random, int n)
{
    Block<T> A(n, n, n, std::numeric_limits<T>::quiet_NaN());
    const bool definite = random.chance(0.7);
    const bool nasty = random.chance(0.2);
    for (int i = 0; i < n; ++i) {
        for (int j = i; j < n; ++j)
            A(i, j) = nasty && random.chance(0.1) ? random.nastyScalar<T>() : random.scalar<T>();
        A(i, i) += definite ? T(n) : T(1);
    }
    return A;
}

template <class T> class DenseMatrixBits : public testing::Test {
};
TYPED_TEST_SUITE(DenseMatrixBits, support::Scalars);

TYPED_TEST(DenseMatrixBits, FactorAndSolve)
{
    using T = TypeParam;
    int stopped = 0;
    for (std::uint64_t seed = 1; seed <= 1000; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        support::Random random(seed);
        const int n = static_cast<int>(random.integer(0, 12));
        Block<T> expected = drawMatrix<T>(random, n);
        kyrOrvel::DenseMatrix<T> A(n);
        std::copy(expected.storage.begin(), expected.storage.end(), A.values);
        std::vector<T> x = random.scalars<T>(std::size_t(n));
        std::vector<T> expectedX = x;
        stopped += plainFactor(expected) ? 0 : 1;
        plainSolve(expected, expectedX);

        A.solve(x.data());

        ASSERT_TRUE(A.factored);
        ASSERT_TRUE(support::sameBits(A.values, expected.storage.data(), expected.storage.size()));
        ASSERT_TRUE(support::sameBits(x.data(), expectedX.data(), x.size()));
    }
    // Both outcomes must have been met often.
    EXPECT_GT(stopped, 100);
    EXPECT_LT(stopped, 500);
}

} // namespace
