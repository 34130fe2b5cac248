// The kernels on symmetric and triangular blocks against the sums that define them, to the bit.
// What such a block does not own - above the diagonal, between the rows, a diagonal that counts as
// 1 - holds NaN, so that a kernel that reads it spoils the result.

#include "support/PlainKernels.h"
#include "support/Scalars.h"

#include <kyrOrvel/DenseKernels>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <vector>

using support::Block;

namespace {

enum class Diagonal { stored, unread };

template <class T>
Block<T> randomTriangle(support::Random& random, int n, int stride, Diagonal diagonal)
{
    Block<T> L(n, n, stride, std::numeric_limits<T>::quiet_NaN());
    for (int i = 0; i < L.rows; ++i) {
        for (int j = 0; j < i; ++j)
            L(i, j) = random.nastyScalar<T>();
        if (diagonal == Diagonal::stored)
            L(i, i) = random.nastyScalar<T>();
    }
    return L;
}

std::size_t length(int n)
{
    return std::size_t(std::max(n, 0));
}

/// Runs kernel(A, x, y, alpha, n) against plain(A, x, y, alpha, n).
template <class T, class Kernel, class Plain>
void compareSymmetricProduct(Kernel kernel, Plain plain)
{
    for (std::uint64_t seed = 1; seed <= 1500; ++seed) {
        support::Random random(seed);
        const int n = support::randomSize(random);
        SCOPED_TRACE(testing::Message() << "seed " << seed << ", order " << n);
        const Block<T> A =
            randomTriangle<T>(random, n, support::randomStride(random, n), Diagonal::stored);
        const std::vector<T> x = random.nastyScalars<T>(length(n));
        std::vector<T> y = random.nastyScalars<T>(length(n));
        const T alpha = random.chance(0.3) ? random.nastyScalar<T>() : random.scalar<T>();
        const Block<T> untouchedA = A;
        const std::vector<T> untouchedX = x;
        std::vector<T> expected = y;
        plain(A, x, expected, alpha, n);

        kernel(A, x, y, alpha, n);

        ASSERT_TRUE(support::sameBits(y.data(), expected.data(), y.size()));
        ASSERT_TRUE(support::sameMemory(A.storage, untouchedA.storage));
        ASSERT_TRUE(support::sameMemory(x, untouchedX));
    }
}

/// Runs kernel(L, x, n) against plain(L, x, n).
template <class Plain>
void compareSolve(void (*kernel)(const float*, int, float*, int), Plain plain, Diagonal diagonal)
{
    for (std::uint64_t seed = 1; seed <= 1500; ++seed) {
        support::Random random(seed);
        const int n = support::randomSize(random);
        SCOPED_TRACE(testing::Message() << "seed " << seed << ", order " << n);
        const Block<float> L =
            randomTriangle<float>(random, n, support::randomStride(random, n), diagonal);
        std::vector<float> x = random.nastyScalars<float>(length(n));
        const Block<float> untouchedL = L;
        std::vector<float> expected = x;
        plain(L, expected, n);

        kernel(L.data(), L.stride, x.data(), n);

        ASSERT_TRUE(support::sameBits(x.data(), expected.data(), x.size()));
        ASSERT_TRUE(support::sameMemory(L.storage, untouchedL.storage));
    }
}

template <class T> class DenseTriangleKernelsBits : public testing::Test {
};
TYPED_TEST_SUITE(DenseTriangleKernelsBits, support::Scalars);

TYPED_TEST(DenseTriangleKernelsBits, ScaledSymmetricProduct)
{
    using T = TypeParam;
    using Vector = std::vector<T>;
    compareSymmetricProduct<T>(
        [](const Block<T>& A, const Vector& x, Vector& y, T alpha, int n) {
            kyrOrvel::orvel_MV_aAX_SYL(A.data(), A.stride, x.data(), y.data(), alpha, n);
        },
        [](const Block<T>& A, const Vector& x, Vector& y, T alpha, int n) {
            support::plain::productSymmetric(A, x, y, n, [=](T a) { return alpha * a; });
        });
}

TEST(DenseTriangleKernelsBitsFloat, SymmetricProduct)
{
    using Vector = std::vector<float>;
    compareSymmetricProduct<float>(
        [](const Block<float>& A, const Vector& x, Vector& y, float, int n) {
            kyrOrvel::orvel_MV_AX_SYL(A.data(), A.stride, x.data(), y.data(), n);
        },
        [](const Block<float>& A, const Vector& x, Vector& y, float, int n) {
            support::plain::productSymmetric(A, x, y, n, [](float a) { return a; });
        });
}

TEST(DenseTriangleKernelsBitsFloat, LowerSolve)
{
    compareSolve(
        kyrOrvel::orvel_SV_TRIL<float>,
        [](const auto& L, auto& x, int n) { support::plain::solveLower(L, false, x, n); },
        Diagonal::stored);
}

TEST(DenseTriangleKernelsBitsFloat, UnitLowerSolve)
{
    compareSolve(
        kyrOrvel::orvel_SV_TRIL_UD<float>,
        [](const auto& L, auto& x, int n) { support::plain::solveLower(L, true, x, n); },
        Diagonal::unread);
}

TEST(DenseTriangleKernelsBitsFloat, TransposedLowerSolve)
{
    compareSolve(
        kyrOrvel::orvel_SV_TRILt<float>,
        [](const auto& L, auto& x, int n) { support::plain::solveLowerTransposed(L, x, n); },
        Diagonal::stored);
}

// The rows of X are as far apart as those of L, whatever ldx says.
TEST(DenseTriangleKernelsBitsFloat, LowerSolveOfEveryRow)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    for (std::uint64_t seed = 1; seed <= 1500; ++seed) {
        support::Random random(seed);
        const int m = support::randomSize(random);
        const int n = support::randomSize(random);
        SCOPED_TRACE(testing::Message() << "seed " << seed << ", " << m << " rows of " << n);
        const Block<float> L =
            randomTriangle<float>(random, n, support::randomStride(random, n), Diagonal::stored);
        const float gap = random.chance(0.5) ? nan : random.scalar<float>();
        Block<float> X = support::randomBlock<float>(random, m, n, L.stride, gap);
        const Block<float> untouchedL = L;
        Block<float> expected = X;
        for (int r = 0; r < m; ++r) {
            std::vector<float> row(length(n));
            for (int j = 0; j < n; ++j)
                row[std::size_t(j)] = X(r, j);
            support::plain::solveLower(L, false, row, n);
            for (int j = 0; j < n; ++j)
                expected(r, j) = row[std::size_t(j)];
        }
        const int ldx = static_cast<int>(random.integer(0, 100)) - 50;

        kyrOrvel::orvel_SM_UD(L.data(), L.stride, X.data(), ldx, m, n);

        ASSERT_TRUE(support::sameBlock(X, expected));
        ASSERT_TRUE(support::sameMemory(L.storage, untouchedL.storage));
    }
}

} // namespace
