// The matrix-vector kernels against the sums that define them, to the bit.

#include "support/PlainKernels.h"
#include "support/Scalars.h"

#include <kyrOrvel/DenseKernels>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <vector>

using support::Block;
using support::plain::Sign;

namespace {

std::size_t length(int n)
{
    return std::size_t(std::max(n, 0));
}

/// Runs kernel(A, x, y, alpha, m, n) on random shapes against plain(A, x, y, alpha, m, n). In rows
/// of A that are too long, the excess is NaN.
template <class T, class Kernel, class Plain>
void compareProduct(Kernel kernel, Plain plain, bool transposed)
{
    const T nan = std::numeric_limits<T>::quiet_NaN();
    for (std::uint64_t seed = 1; seed <= 1500; ++seed) {
        support::Random random(seed);
        const int m = support::randomSize(random);
        const int n = support::randomSize(random);
        SCOPED_TRACE(testing::Message() << "seed " << seed << ", " << m << " x " << n);
        const Block<T> A =
            support::randomBlock<T>(random, m, n, support::randomStride(random, n), nan);
        const std::vector<T> x = random.nastyScalars<T>(length(transposed ? m : n));
        std::vector<T> y = random.nastyScalars<T>(length(transposed ? n : m));
        const T alpha = random.chance(0.3) ? random.nastyScalar<T>() : random.scalar<T>();
        const Block<T> untouchedA = A;
        const std::vector<T> untouchedX = x;
        std::vector<T> expected = y;
        plain(A, x, expected, alpha, m, n);

        kernel(A, x, y, alpha, m, n);

        ASSERT_TRUE(support::sameBits(y.data(), expected.data(), y.size()));
        ASSERT_TRUE(support::sameMemory(A.storage, untouchedA.storage));
        ASSERT_TRUE(support::sameMemory(x, untouchedX));
    }
}

/// The kernels with alpha; `plain` is productAx or productAtx.
template <class T> using ScaledKernel = void (*)(const T*, int, const T*, T*, T, int, int);

template <class T> void compareScaledAx(ScaledKernel<T> kernel, Sign sign)
{
    compareProduct<T>(
        [=](const Block<T>& A, const std::vector<T>& x, std::vector<T>& y, T alpha, int m, int n) {
            kernel(A.data(), A.stride, x.data(), y.data(), alpha, m, n);
        },
        [=](const Block<T>& A, const std::vector<T>& x, std::vector<T>& y, T alpha, int m, int n) {
            support::plain::productAx(sign, A, x, y, m, n, [=](T a) { return alpha * a; });
        },
        false);
}

template <class T> void compareScaledAtx(ScaledKernel<T> kernel, Sign sign)
{
    compareProduct<T>(
        [=](const Block<T>& A, const std::vector<T>& x, std::vector<T>& y, T alpha, int m, int n) {
            kernel(A.data(), A.stride, x.data(), y.data(), alpha, m, n);
        },
        [=](const Block<T>& A, const std::vector<T>& x, std::vector<T>& y, T alpha, int m, int n) {
            support::plain::productAtx(sign, A, x, y, m, n, [=](T a) { return alpha * a; });
        },
        true);
}

/// The kernels without alpha.
using UnscaledKernel = void (*)(const float*, int, const float*, float*, int, int);

void compareUnscaledAx(UnscaledKernel kernel, Sign sign)
{
    compareProduct<float>(
        [=](const Block<float>& A, const std::vector<float>& x, std::vector<float>& y, float, int m,
            int n) { kernel(A.data(), A.stride, x.data(), y.data(), m, n); },
        [=](const Block<float>& A, const std::vector<float>& x, std::vector<float>& y, float, int m,
            int n) { support::plain::productAx(sign, A, x, y, m, n, [](float a) { return a; }); },
        false);
}

void compareUnscaledAtx(UnscaledKernel kernel, Sign sign)
{
    compareProduct<float>(
        [=](const Block<float>& A, const std::vector<float>& x, std::vector<float>& y, float, int m,
            int n) { kernel(A.data(), A.stride, x.data(), y.data(), m, n); },
        [=](const Block<float>& A, const std::vector<float>& x, std::vector<float>& y, float, int m,
            int n) { support::plain::productAtx(sign, A, x, y, m, n, [](float a) { return a; }); },
        true);
}

template <class T> class DenseVectorKernelsBits : public testing::Test {
};
TYPED_TEST_SUITE(DenseVectorKernelsBits, support::Scalars);

TYPED_TEST(DenseVectorKernelsBits, YMinusScaledAx)
{
    compareScaledAx<TypeParam>(kyrOrvel::orvel_MV_YM_aAX<TypeParam>, Sign::minus);
}

TYPED_TEST(DenseVectorKernelsBits, YPlusScaledAx)
{
    compareScaledAx<TypeParam>(kyrOrvel::orvel_MV_YP_aAX<TypeParam>, Sign::plus);
}

TYPED_TEST(DenseVectorKernelsBits, YMinusScaledAtx)
{
    compareScaledAtx<TypeParam>(kyrOrvel::orvel_MV_YM_aAtX<TypeParam>, Sign::minus);
}

TYPED_TEST(DenseVectorKernelsBits, YPlusScaledAtx)
{
    compareScaledAtx<TypeParam>(kyrOrvel::orvel_MV_YP_aAtX<TypeParam>, Sign::plus);
}

TEST(DenseVectorKernelsBitsFloat, YMinusAx)
{
    compareUnscaledAx(kyrOrvel::orvel_MV_YM_AX<float>, Sign::minus);
}

TEST(DenseVectorKernelsBitsFloat, YPlusAx)
{
    compareUnscaledAx(kyrOrvel::orvel_MV_YP_AX<float>, Sign::plus);
}

TEST(DenseVectorKernelsBitsFloat, YMinusAtx)
{
    compareUnscaledAtx(kyrOrvel::orvel_MV_YM_AtX<float>, Sign::minus);
}

TEST(DenseVectorKernelsBitsFloat, YPlusAtx)
{
    compareUnscaledAtx(kyrOrvel::orvel_MV_YP_AtX<float>, Sign::plus);
}

} // namespace
