#include "support/Scalars.h"

#include <kyrOrvel/DenseKernels>

#include <gtest/gtest.h>

#include <limits>
#include <vector>

using namespace kyrOrvel;

namespace {

/// The matrix-vector kernels, with small integers: every result is exact.
template <class T> class DenseVectorKernels : public testing::Test {
protected:
    using Kernel = void (*)(const T*, int, const T*, T*, T, int, int);

    // A is 2 × 3 in rows of four.
    //     1 2 3 .
    //     4 5 6 .
    const T nan = std::numeric_limits<T>::quiet_NaN();
    const std::vector<T> sampleA = {1, 2, 3, nan, 4, 5, 6, nan};
};
TYPED_TEST_SUITE(DenseVectorKernels, support::Scalars);

TYPED_TEST(DenseVectorKernels, ScaledAxIsSubtracted)
{
    const std::vector<TypeParam> x = {1, 10, 100};
    std::vector<TypeParam> y = {1, 2};

    orvel_MV_YM_aAX(this->sampleA.data(), 4, x.data(), y.data(), 2, 2, 3);

    // Ax = 321, 654
    EXPECT_EQ(y, (std::vector<TypeParam>{1 - 642, 2 - 1308}));
}

TYPED_TEST(DenseVectorKernels, ScaledAxIsAdded)
{
    const std::vector<TypeParam> x = {1, 10, 100};
    std::vector<TypeParam> y = {1, 2};

    orvel_MV_YP_aAX(this->sampleA.data(), 4, x.data(), y.data(), 2, 2, 3);

    EXPECT_EQ(y, (std::vector<TypeParam>{1 + 642, 2 + 1308}));
}

TYPED_TEST(DenseVectorKernels, ScaledAtxIsSubtracted)
{
    const std::vector<TypeParam> x = {1, 10};
    std::vector<TypeParam> y = {1, 2, 3};

    orvel_MV_YM_aAtX(this->sampleA.data(), 4, x.data(), y.data(), 2, 2, 3);

    // Aᵀx = 41, 52, 63
    EXPECT_EQ(y, (std::vector<TypeParam>{1 - 82, 2 - 104, 3 - 126}));
}

TYPED_TEST(DenseVectorKernels, ScaledAtxIsAdded)
{
    const std::vector<TypeParam> x = {1, 10};
    std::vector<TypeParam> y = {1, 2, 3};

    orvel_MV_YP_aAtX(this->sampleA.data(), 4, x.data(), y.data(), 2, 2, 3);

    EXPECT_EQ(y, (std::vector<TypeParam>{1 + 82, 2 + 104, 3 + 126}));
}

TYPED_TEST(DenseVectorKernels, AlphaMayBeALiteralOfAnotherType)
{
    using T = TypeParam;
    const T a = 3;
    const T x = 5;
    T y = 0;

    orvel_MV_YP_aAX(&a, 1, &x, &y, 0.5, 1, 1);
    EXPECT_EQ(y, T(7.5));
    orvel_MV_YM_aAtX(&a, 1, &x, &y, 0.25f, 1, 1);
    EXPECT_EQ(y, T(3.75));
    orvel_MV_aAX_SYL(&a, 1, &x, &y, 2, 1);
    EXPECT_EQ(y, T(33.75));
}

TYPED_TEST(DenseVectorKernels, AlphaScalesTheMatrixEntryFirst)
{
    // alpha·a overflows, a·x would not: (alpha·a)·x is infinite, alpha·(a·x) would be alpha.
    using T = TypeParam;
    const T alpha = std::numeric_limits<T>::max();
    const T a = 2;
    const T x = T(0.5);
    const T infinity = std::numeric_limits<T>::infinity();
    for (const typename TestFixture::Kernel kernel : {orvel_MV_YP_aAX<T>, orvel_MV_YP_aAtX<T>}) {
        T y = 0;
        kernel(&a, 1, &x, &y, alpha, 1, 1);
        EXPECT_EQ(y, infinity);
    }
    for (const typename TestFixture::Kernel kernel : {orvel_MV_YM_aAX<T>, orvel_MV_YM_aAtX<T>}) {
        T y = 0;
        kernel(&a, 1, &x, &y, alpha, 1, 1);
        EXPECT_EQ(y, -infinity);
    }
}

TYPED_TEST(DenseVectorKernels, EveryTermIsRoundedIntoY)
{
    // 1 + h + h with h half of what 1 can be told from is 1, term by term.
    using T = TypeParam;
    const T h = std::numeric_limits<T>::epsilon() / 2;
    const std::vector<T> A = {h, h};
    const std::vector<T> x = {1, 1};
    T y = 1;

    orvel_MV_YP_aAX(A.data(), 2, x.data(), &y, 1, 1, 2);
    EXPECT_EQ(y, T(1));

    orvel_MV_YP_aAtX(A.data(), 1, x.data(), &y, 1, 2, 1);
    EXPECT_EQ(y, T(1));
}

TYPED_TEST(DenseVectorKernels, SizeBelowOneLeavesYAlone)
{
    using T = TypeParam;
    const std::vector<T> x = {1, 10, 100};
    for (const typename TestFixture::Kernel kernel :
         {orvel_MV_YM_aAX<T>, orvel_MV_YP_aAX<T>, orvel_MV_YM_aAtX<T>, orvel_MV_YP_aAtX<T>})
        for (const int size : {0, -1, -1000}) {
            std::vector<T> y = {1, 2, 3};
            kernel(this->sampleA.data(), 4, x.data(), y.data(), 2, size, 3);
            EXPECT_EQ(y, (std::vector<T>{1, 2, 3})) << "m = " << size;
            kernel(this->sampleA.data(), 4, x.data(), y.data(), 2, 2, size);
            EXPECT_EQ(y, (std::vector<T>{1, 2, 3})) << "n = " << size;
            kernel(nullptr, 4, nullptr, nullptr, 2, size, size);
        }
}

TYPED_TEST(DenseVectorKernels, SizeBelowOneTouchesNoMemory)
{
    using T = TypeParam;
    for (const typename TestFixture::Kernel kernel :
         {orvel_MV_YM_aAX<T>, orvel_MV_YP_aAX<T>, orvel_MV_YM_aAtX<T>, orvel_MV_YP_aAtX<T>})
        for (const int size : {0, -1}) {
            kernel(nullptr, 4, nullptr, nullptr, 2, size, 3);
            // Of this clang's sanitizer sees a step from null.
            kernel(nullptr, 4, nullptr, nullptr, 2, 3, size);
        }
}

TYPED_TEST(DenseVectorKernels, SymmetricProductUsesTheLowerTriangleTwice)
{
    //     1 2 4       1 . .
    // S = 2 3 5  from 2 3 .  in rows of four
    //     4 5 6       4 5 6
    const TypeParam o = this->nan;
    const std::vector<TypeParam> A = {1, o, o, o, 2, 3, o, o, 4, 5, 6, o};
    const std::vector<TypeParam> x = {1, 10, 100};
    std::vector<TypeParam> y = {1, 2, 3};

    orvel_MV_aAX_SYL(A.data(), 4, x.data(), y.data(), 2, 3);

    // Sx = 421, 532, 654
    EXPECT_EQ(y, (std::vector<TypeParam>{1 + 842, 2 + 1064, 3 + 1308}));
}

TYPED_TEST(DenseVectorKernels, SymmetricProductOfOrderOneIsOneProduct)
{
    const std::vector<TypeParam> A = {3, this->nan};
    const std::vector<TypeParam> x = {5, this->nan};
    std::vector<TypeParam> y = {7, 11};

    orvel_MV_aAX_SYL(A.data(), 2, x.data(), y.data(), 2, 1);

    EXPECT_EQ(y, (std::vector<TypeParam>{37, 11}));
}

TYPED_TEST(DenseVectorKernels, SymmetricProductTakesTheDiagonalFirst)
{
    // y(1) = b + S(1,1) + S(1,0) with b = -S(1,1) huge: the small term is kept only when the
    // diagonal has cancelled b before it comes.
    using T = TypeParam;
    const T huge = 1 / std::numeric_limits<T>::epsilon() * 4;
    const std::vector<T> A = {0, 0, 1, huge};
    const std::vector<T> x = {1, 1};
    std::vector<T> y = {0, -huge};

    orvel_MV_aAX_SYL(A.data(), 2, x.data(), y.data(), 1, 2);

    EXPECT_EQ(y, (std::vector<T>{1, 1}));
}

TYPED_TEST(DenseVectorKernels, SymmetricProductOfOrderBelowOneDoesNothing)
{
    using T = TypeParam;
    for (const int n : {0, -1, -1000}) {
        std::vector<T> y = {1, 2};
        orvel_MV_aAX_SYL(this->sampleA.data(), 4, this->sampleA.data(), y.data(), 2, n);
        EXPECT_EQ(y, (std::vector<T>{1, 2}));
        orvel_MV_aAX_SYL<T>(nullptr, 4, nullptr, nullptr, 2, n);
    }
}

TEST(DenseVectorKernelsFloat, AxIsSubtractedAndAdded)
{
    const std::vector<float> A = {1, 2, 3, -1, 4, 5, 6, -1};
    const std::vector<float> x = {1, 10, 100};
    std::vector<float> y = {1, 2};

    orvel_MV_YM_AX(A.data(), 4, x.data(), y.data(), 2, 3);
    EXPECT_EQ(y, (std::vector<float>{1 - 321, 2 - 654}));

    orvel_MV_YP_AX(A.data(), 4, x.data(), y.data(), 2, 3);
    EXPECT_EQ(y, (std::vector<float>{1, 2}));
}

TEST(DenseVectorKernelsFloat, AtxIsSubtractedAndAdded)
{
    const std::vector<float> A = {1, 2, 3, -1, 4, 5, 6, -1};
    const std::vector<float> x = {1, 10};
    std::vector<float> y = {1, 2, 3};

    orvel_MV_YM_AtX(A.data(), 4, x.data(), y.data(), 2, 3);
    EXPECT_EQ(y, (std::vector<float>{1 - 41, 2 - 52, 3 - 63}));

    orvel_MV_YP_AtX(A.data(), 4, x.data(), y.data(), 2, 3);
    EXPECT_EQ(y, (std::vector<float>{1, 2, 3}));
}

TEST(DenseVectorKernelsFloat, SymmetricProductUsesTheLowerTriangleTwice)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const std::vector<float> A = {1, nan, nan, 2, 3, nan, 4, 5, 6};
    const std::vector<float> x = {1, 10, 100};
    std::vector<float> y = {1, 2, 3};

    orvel_MV_AX_SYL(A.data(), 3, x.data(), y.data(), 3);

    EXPECT_EQ(y, (std::vector<float>{1 + 421, 2 + 532, 3 + 654}));
}

TEST(DenseVectorKernelsFloat, SizeBelowOneLeavesYAlone)
{
    const std::vector<float> A = {1, 2, 3, 4};
    const std::vector<float> x = {1, 10};
    for (const int size : {0, -1, -1000}) {
        std::vector<float> y = {1, 2};
        for (const auto kernel : {orvel_MV_YM_AX<float>, orvel_MV_YP_AX<float>,
                                  orvel_MV_YM_AtX<float>, orvel_MV_YP_AtX<float>}) {
            kernel(A.data(), 2, x.data(), y.data(), size, 2);
            kernel(A.data(), 2, x.data(), y.data(), 2, size);
        }
        orvel_MV_AX_SYL(A.data(), 2, x.data(), y.data(), size);
        EXPECT_EQ(y, (std::vector<float>{1, 2})) << size;
    }
}

TEST(DenseVectorKernelsFloat, SizeBelowOneTouchesNoMemory)
{
    for (const int size : {0, -1}) {
        for (const auto kernel : {orvel_MV_YM_AX<float>, orvel_MV_YP_AX<float>,
                                  orvel_MV_YM_AtX<float>, orvel_MV_YP_AtX<float>}) {
            kernel(nullptr, 2, nullptr, nullptr, size, 3);
            // Of this clang's sanitizer sees a step from null.
            kernel(nullptr, 2, nullptr, nullptr, 3, size);
        }
        orvel_MV_AX_SYL<float>(nullptr, 2, nullptr, nullptr, size);
    }
}

} // namespace
