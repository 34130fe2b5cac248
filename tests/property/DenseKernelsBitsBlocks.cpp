// The matrix-matrix kernels against the sums that define them, to the bit.

#include "support/PlainKernels.h"
#include "support/Scalars.h"

#include <kyrOrvel/DenseKernels>

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

using support::Block;
using support::plain::Sign;

namespace {

template <class T>
using BlockKernel = void (*)(const T*, int, const T*, int, T*, int, int, int, int);

/// Runs a kernel on random blocks. In rows of A and B that are too long, the excess is NaN: a
/// kernel that reads it spoils the result.
template <class T, class Plain>
void compareBlockKernel(BlockKernel<T> kernel, Plain plain, bool transposed)
{
    const T nan = std::numeric_limits<T>::quiet_NaN();
    for (std::uint64_t seed = 1; seed <= 1500; ++seed) {
        support::Random random(seed);
        const int m = support::randomSize(random);
        const int n = support::randomSize(random);
        const int k = support::randomSize(random);
        SCOPED_TRACE(testing::Message() << "seed " << seed << ", " << m << ", " << n << ", " << k);
        const int columnsA = transposed ? m : k;
        const int columnsB = transposed ? n : k;
        const Block<T> A = support::randomBlock<T>(random, transposed ? k : m, columnsA,
                                                   support::randomStride(random, columnsA), nan);
        const Block<T> B = support::randomBlock<T>(random, transposed ? k : n, columnsB,
                                                   support::randomStride(random, columnsB), nan);
        const T gap = random.chance(0.5) ? nan : random.scalar<T>();
        Block<T> C = support::randomBlock<T>(random, m, n, support::randomStride(random, n), gap);
        const Block<T> untouchedA = A;
        const Block<T> untouchedB = B;
        Block<T> expected = C;
        plain(A, B, expected, m, n, k);

        kernel(A.data(), A.stride, B.data(), B.stride, C.data(), C.stride, m, n, k);

        ASSERT_TRUE(support::sameBlock(C, expected));
        ASSERT_TRUE(support::sameMemory(A.storage, untouchedA.storage));
        ASSERT_TRUE(support::sameMemory(B.storage, untouchedB.storage));
    }
}

template <class T> class DenseKernelsBits : public testing::Test {
};
TYPED_TEST_SUITE(DenseKernelsBits, support::Scalars);

TYPED_TEST(DenseKernelsBits, CMinusAtB)
{
    compareBlockKernel<TypeParam>(
        kyrOrvel::orvel_MM_CM_AtB<TypeParam>,
        [](const auto& A, const auto& B, auto& C, int m, int n, int k) {
            support::plain::productAtB(Sign::minus, A, B, C, m, n, k);
        },
        true);
}

TYPED_TEST(DenseKernelsBits, CPlusAtB)
{
    compareBlockKernel<TypeParam>(
        kyrOrvel::orvel_MM_CP_AtB<TypeParam>,
        [](const auto& A, const auto& B, auto& C, int m, int n, int k) {
            support::plain::productAtB(Sign::plus, A, B, C, m, n, k);
        },
        true);
}

TYPED_TEST(DenseKernelsBits, CMinusABt)
{
    compareBlockKernel<TypeParam>(
        kyrOrvel::orvel_MM_CM_ABt<TypeParam>,
        [](const auto& A, const auto& B, auto& C, int m, int n, int k) {
            support::plain::productABt(Sign::minus, A, B, C, m, n, k);
        },
        false);
}

TYPED_TEST(DenseKernelsBits, CPlusABt)
{
    compareBlockKernel<TypeParam>(
        kyrOrvel::orvel_MM_CP_ABt<TypeParam>,
        [](const auto& A, const auto& B, auto& C, int m, int n, int k) {
            support::plain::productABt(Sign::plus, A, B, C, m, n, k);
        },
        false);
}

} // namespace
