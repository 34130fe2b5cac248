#include "support/Scalars.h"

#include <kyrOrvel/DenseKernels>

#include <gtest/gtest.h>

#include <limits>
#include <vector>

using namespace kyrOrvel;

namespace {

/// The matrix-matrix kernels, with small integers: every result is exact.
template <class T> class DenseBlockKernels : public testing::Test {
protected:
    using Kernel = void (*)(const T*, int, const T*, int, T*, int, int, int, int);

    // A and B have rows of three, of which two count.
    //     1 2 .       5 6 .
    //     3 4 .       7 8 .
    const T nan = std::numeric_limits<T>::quiet_NaN();
    const std::vector<T> sampleA = {1, 2, nan, 3, 4, nan};
    const std::vector<T> sampleB = {5, 6, nan, 7, 8, nan};
};
TYPED_TEST_SUITE(DenseBlockKernels, support::Scalars);

TYPED_TEST(DenseBlockKernels, AtBIsSubtracted)
{
    // AᵀB = 1 3 · 5 6 = 26 30
    //       2 4   7 8   38 44
    std::vector<TypeParam> C = {100, 100, -1, -1, 100, 100};

    orvel_MM_CM_AtB(this->sampleA.data(), 3, this->sampleB.data(), 3, C.data(), 4, 2, 2, 2);

    EXPECT_EQ(C, (std::vector<TypeParam>{74, 70, -1, -1, 62, 56}));
}

TYPED_TEST(DenseBlockKernels, AtBIsAdded)
{
    std::vector<TypeParam> C = {100, 100, -1, -1, 100, 100};

    orvel_MM_CP_AtB(this->sampleA.data(), 3, this->sampleB.data(), 3, C.data(), 4, 2, 2, 2);

    EXPECT_EQ(C, (std::vector<TypeParam>{126, 130, -1, -1, 138, 144}));
}

TYPED_TEST(DenseBlockKernels, ABtIsSubtracted)
{
    // ABᵀ = 1 2 · 5 7 = 17 23
    //       3 4   6 8   39 53
    std::vector<TypeParam> C = {100, 100, -1, -1, 100, 100};

    orvel_MM_CM_ABt(this->sampleA.data(), 3, this->sampleB.data(), 3, C.data(), 4, 2, 2, 2);

    EXPECT_EQ(C, (std::vector<TypeParam>{83, 77, -1, -1, 61, 47}));
}

TYPED_TEST(DenseBlockKernels, ABtIsAdded)
{
    std::vector<TypeParam> C = {100, 100, -1, -1, 100, 100};

    orvel_MM_CP_ABt(this->sampleA.data(), 3, this->sampleB.data(), 3, C.data(), 4, 2, 2, 2);

    EXPECT_EQ(C, (std::vector<TypeParam>{117, 123, -1, -1, 139, 153}));
}

TYPED_TEST(DenseBlockKernels, AtBTakesShapesFromSizesInTheOrderMNK)
{
    // A is k × m = 3 × 1, B is k × n = 3 × 2.
    const std::vector<TypeParam> A = {1, 2, 3};
    const std::vector<TypeParam> B = {1, 10, 2, 20, 3, 30};
    std::vector<TypeParam> C = {0, 0};

    orvel_MM_CP_AtB(A.data(), 1, B.data(), 2, C.data(), 2, 1, 2, 3);

    EXPECT_EQ(C, (std::vector<TypeParam>{14, 140}));
}

TYPED_TEST(DenseBlockKernels, ABtTakesShapesFromSizesInTheOrderMNK)
{
    // A is m × k = 1 × 3, B is n × k = 2 × 3.
    const std::vector<TypeParam> A = {1, 2, 3};
    const std::vector<TypeParam> B = {1, 2, 3, 10, 20, 30};
    std::vector<TypeParam> C = {0, 0};

    orvel_MM_CP_ABt(A.data(), 3, B.data(), 3, C.data(), 2, 1, 2, 3);

    EXPECT_EQ(C, (std::vector<TypeParam>{14, 140}));
}

TYPED_TEST(DenseBlockKernels, SumStartsFromCAndTakesTermsInAscendingOrder)
{
    // 1 + h + h, where h is half of what 1 can be told from: each sum is rounded back to 1 when it
    // starts from C. A product that was summed on its own first would make 1 + 2h.
    using T = TypeParam;
    const T h = std::numeric_limits<T>::epsilon() / 2;
    const std::vector<T> A = {h, h};
    const std::vector<T> B = {1, 1};
    std::vector<T> C = {1};

    orvel_MM_CP_ABt(A.data(), 2, B.data(), 2, C.data(), 1, 1, 1, 2);
    EXPECT_EQ(C[0], T(1));

    orvel_MM_CP_AtB(A.data(), 1, B.data(), 1, C.data(), 1, 1, 1, 2);
    EXPECT_EQ(C[0], T(1));
}

TYPED_TEST(DenseBlockKernels, ProductIsRoundedBeforeItIsAdded)
{
    // (1+e)² = 1 + 2e + e². The last term is lost when the product is rounded; a fused
    // multiply-add would keep it.
    using T = TypeParam;
    const T e = std::numeric_limits<T>::epsilon();
    const T a = 1 + e;
    for (const typename TestFixture::Kernel kernel : {orvel_MM_CM_AtB<T>, orvel_MM_CM_ABt<T>}) {
        T c = 1 + 2 * e;
        kernel(&a, 1, &a, 1, &c, 1, 1, 1, 1);
        EXPECT_EQ(c, T(0));
    }
}

TYPED_TEST(DenseBlockKernels, SizeBelowOneLeavesCAlone)
{
    using T = TypeParam;
    for (const typename TestFixture::Kernel kernel :
         {orvel_MM_CM_AtB<T>, orvel_MM_CP_AtB<T>, orvel_MM_CM_ABt<T>, orvel_MM_CP_ABt<T>})
        for (const int size : {0, -1, -1000}) {
            std::vector<T> C = {1, 2, 3, 4};
            kernel(this->sampleA.data(), 3, this->sampleB.data(), 3, C.data(), 2, size, 2, 2);
            EXPECT_EQ(C, (std::vector<T>{1, 2, 3, 4})) << "m = " << size;
            kernel(this->sampleA.data(), 3, this->sampleB.data(), 3, C.data(), 2, 2, size, 2);
            EXPECT_EQ(C, (std::vector<T>{1, 2, 3, 4})) << "n = " << size;
            kernel(this->sampleA.data(), 3, this->sampleB.data(), 3, C.data(), 2, 2, 2, size);
            EXPECT_EQ(C, (std::vector<T>{1, 2, 3, 4})) << "k = " << size;
        }
}

TYPED_TEST(DenseBlockKernels, SizeBelowOneTouchesNoMemory)
{
    using T = TypeParam;
    for (const typename TestFixture::Kernel kernel :
         {orvel_MM_CM_AtB<T>, orvel_MM_CP_AtB<T>, orvel_MM_CM_ABt<T>, orvel_MM_CP_ABt<T>}) {
        kernel(nullptr, 0, nullptr, 0, nullptr, 0, 0, 0, 0);
        kernel(nullptr, 7, nullptr, 7, nullptr, 7, -1, -2, -3);
        for (const int size : {0, -1}) { // the others would have rows
            kernel(nullptr, 7, nullptr, 7, nullptr, 7, size, 2, 2);
            kernel(nullptr, 7, nullptr, 7, nullptr, 7, 2, size, 2);
            kernel(nullptr, 7, nullptr, 7, nullptr, 7, 2, 2, size);
        }
    }
}

} // namespace
