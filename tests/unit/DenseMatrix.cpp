#include "support/Scalars.h"

#include <kyrOrvel/DenseMatrix>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <limits>
#include <vector>

using kyrOrvel::DenseMatrix;

namespace {

template <class T> class DenseMatrices : public testing::Test {
protected:
    static void fill(DenseMatrix<T>& A, std::initializer_list<T> values)
    {
        std::copy(values.begin(), values.end(), A.values);
    }
    static std::vector<T> valuesOf(const DenseMatrix<T>& A)
    {
        return std::vector<T>(A.values, A.values + A.dimension * A.dimension);
    }

    /// A = Uᵀ·U in its upper triangle, with
    ///     2 1 3
    /// U =   1 2
    ///         4
    static void fillDefinite(DenseMatrix<T>& A, T below)
    {
        fill(A, {4, 2, 6, below, 2, 5, below, below, 29});
    }
};
TYPED_TEST_SUITE(DenseMatrices, support::Scalars);

TYPED_TEST(DenseMatrices, IsBuiltAsUnfactoredZeros)
{
    const DenseMatrix<TypeParam> A(3);

    EXPECT_EQ(A.dimension, 3);
    EXPECT_FALSE(A.factored);
    EXPECT_EQ(this->valuesOf(A), std::vector<TypeParam>(9, 0));
}

TYPED_TEST(DenseMatrices, FactorReplacesTheUpperTriangleAlone)
{
    DenseMatrix<TypeParam> A(3);
    this->fillDefinite(A, 77);

    A.factor();

    EXPECT_EQ(this->valuesOf(A), (std::vector<TypeParam>{2, 1, 3, 77, 1, 2, 77, 77, 4}));
    EXPECT_TRUE(A.factored);
}

TYPED_TEST(DenseMatrices, BelowTheDiagonalNothingIsRead)
{
    DenseMatrix<TypeParam> A(3);
    this->fillDefinite(A, std::numeric_limits<TypeParam>::quiet_NaN());
    std::vector<TypeParam> x = {26, 21, 103}; // A·(1, 2, 3)

    A.solve(x.data());

    EXPECT_EQ(x, (std::vector<TypeParam>{1, 2, 3}));
}

TYPED_TEST(DenseMatrices, SolveFactorsWhenNeeded)
{
    DenseMatrix<TypeParam> A(3);
    this->fillDefinite(A, 0);
    std::vector<TypeParam> x = {26, 21, 103};

    A.solve(x.data());

    EXPECT_EQ(x, (std::vector<TypeParam>{1, 2, 3}));
    EXPECT_TRUE(A.factored);
    EXPECT_EQ(A.values[0], TypeParam(2));
}

TYPED_TEST(DenseMatrices, SecondSolveDoesNotFactorAgain)
{
    DenseMatrix<TypeParam> A(3);
    this->fillDefinite(A, 0);
    std::vector<TypeParam> x = {26, 21, 103};
    A.solve(x.data());
    const std::vector<TypeParam> U = this->valuesOf(A);

    x = {26, 21, 103};
    A.solve(x.data());

    EXPECT_EQ(x, (std::vector<TypeParam>{1, 2, 3}));
    EXPECT_EQ(this->valuesOf(A), U);
}

TYPED_TEST(DenseMatrices, FactoredFlagOfTheClientIsTrusted)
{
    // The values are U already: 1 / (2·2).
    DenseMatrix<TypeParam> A(1);
    A.values[0] = 2;
    A.factored = true;
    TypeParam x = 1;

    A.solve(&x);

    EXPECT_EQ(x, TypeParam(0.25));
    EXPECT_EQ(A.values[0], TypeParam(2));
}

TYPED_TEST(DenseMatrices, NewValuesAreFactoredAfterTheFlagIsCleared)
{
    DenseMatrix<TypeParam> A(1);
    A.values[0] = 4;
    A.factor();
    A.values[0] = 16;
    A.factored = false;
    TypeParam x = 16;

    A.solve(&x);

    EXPECT_EQ(x, TypeParam(1));
    EXPECT_EQ(A.values[0], TypeParam(4));
}

TYPED_TEST(DenseMatrices, OrderZeroOnlySetsTheFlag)
{
    DenseMatrix<TypeParam> A(0);
    TypeParam x = 7;

    A.factor();
    EXPECT_TRUE(A.factored);

    A.solve(&x);
    EXPECT_EQ(x, TypeParam(7));
}

TYPED_TEST(DenseMatrices, NegativeOrderIsEmpty)
{
    DenseMatrix<TypeParam> A(-3);
    TypeParam x = 7;

    A.solve(&x);

    EXPECT_EQ(A.dimension, 0);
    EXPECT_EQ(x, TypeParam(7));
}

TYPED_TEST(DenseMatrices, OrderOneTakesTheRootAndDividesTwice)
{
    // 3 is not a square: b / sqrt(3) / sqrt(3), rounded twice, is what comes out.
    using T = TypeParam;
    DenseMatrix<T> A(1);
    A.values[0] = 3;
    T x = 5;
    const T root = std::sqrt(T(3));
    const T once = T(5) / root;

    A.solve(&x);

    EXPECT_EQ(A.values[0], root);
    EXPECT_EQ(x, once / root);
}

TYPED_TEST(DenseMatrices, NegativePivotStaysOnTheDiagonalAndStops)
{
    //     4 2 6
    // A =   0 5   second pivot 0 - 1·1
    //        29
    DenseMatrix<TypeParam> A(3);
    this->fill(A, {4, 2, 6, 77, 0, 5, 77, 77, 29});

    A.factor();

    EXPECT_EQ(this->valuesOf(A), (std::vector<TypeParam>{2, 1, 3, 77, -1, 5, 77, 77, 29}));
    EXPECT_TRUE(A.factored);
}

TYPED_TEST(DenseMatrices, ZeroPivotStaysOnTheDiagonalAndStops)
{
    DenseMatrix<TypeParam> A(3);
    this->fill(A, {4, 2, 6, 77, 1, 5, 77, 77, 29});

    A.factor();

    EXPECT_EQ(this->valuesOf(A), (std::vector<TypeParam>{2, 1, 3, 77, 0, 5, 77, 77, 29}));
    EXPECT_TRUE(A.factored);
}

TYPED_TEST(DenseMatrices, NonPositiveFirstPivotLeavesTheMatrixAsItWas)
{
    DenseMatrix<TypeParam> A(2);
    this->fill(A, {-3, 2, 77, 5});

    A.factor();

    EXPECT_EQ(this->valuesOf(A), (std::vector<TypeParam>{-3, 2, 77, 5}));
    EXPECT_TRUE(A.factored);
}

TYPED_TEST(DenseMatrices, SolveAfterAStopDividesByWhatIsThere)
{
    // U = 1 0 / . 0: the second unknown is divided by zero.
    DenseMatrix<TypeParam> A(2);
    this->fill(A, {1, 0, 0, 0});
    std::vector<TypeParam> x = {1, 1};

    A.solve(x.data());

    EXPECT_EQ(x[1], std::numeric_limits<TypeParam>::infinity());
}

TYPED_TEST(DenseMatrices, NaNPivotDoesNotStop)
{
    using T = TypeParam;
    DenseMatrix<T> A(2);
    this->fill(A, {std::numeric_limits<T>::quiet_NaN(), 1, 77, 5});

    A.factor();

    EXPECT_TRUE(std::isnan(A.values[0]));
    EXPECT_TRUE(std::isnan(A.values[1]));
    EXPECT_TRUE(std::isnan(A.values[3]));
    EXPECT_EQ(A.values[2], T(77));
    EXPECT_TRUE(A.factored);
}

} // namespace
