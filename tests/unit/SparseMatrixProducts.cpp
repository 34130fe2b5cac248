// multiply and multiplyAdd on small matrices; the bits are the matter of the property tests.

#include "support/Scalars.h"

#include <kyrOrvel/SparseMatrix>

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <limits>
#include <vector>

using kyrOrvel::SparseMatrix;

namespace {

template <class T> class SparseMatrixProducts : public testing::Test {
protected:
    // Two block rows of size 2; what lies above the diagonal of a diagonal block is NaN.
    //     1 2 | 4 6
    //     2 3 | 5 7
    // A = ----+----
    //     4 5 | 8 9
    //     6 7 | 9 1
    void fillLower()
    {
        matrix.clear();
        matrix.setSize(2, 0, 3, 12);
        write(matrix.aquireBlock(0, 0, 2, 2, 0), {1, nan, 2, 3});
        write(matrix.aquireBlock(1, 0, 2, 2, 0), {4, 5, 6, 7});
        write(matrix.aquireBlock(1, 1, 2, 2, 0), {8, nan, 9, 1});
    }

    void fillUpper()
    {
        matrix.clear();
        matrix.setSize(2, 0, 3, 12);
        write(matrix.aquireBlock(0, 0, 2, 2, 0), {1, nan, 2, 3});
        write(matrix.aquireBlock(0, 1, 2, 2, 0), {4, 5, 6, 7});
        write(matrix.aquireBlock(1, 1, 2, 2, 0), {8, nan, 9, 1});
    }

    static void write(T* block, std::initializer_list<T> values)
    {
        std::copy(values.begin(), values.end(), block);
    }

    const T nan = std::numeric_limits<T>::quiet_NaN();
    const std::vector<T> x = {1, 10, 100, 1000};
    const std::vector<T> Ax = {6421, 7532, 9854, 1976};
    SparseMatrix<T> matrix;
};
TYPED_TEST_SUITE(SparseMatrixProducts, support::Scalars);

TYPED_TEST(SparseMatrixProducts, MultiplyReplacesY)
{
    this->fillLower();
    std::vector<TypeParam> y(4, this->nan);

    this->matrix.multiply(this->x.data(), y.data());

    EXPECT_EQ(y, this->Ax);
}

TYPED_TEST(SparseMatrixProducts, UpperOrderIsTheSameMatrix)
{
    this->fillUpper();
    std::vector<TypeParam> y(4, this->nan);

    this->matrix.multiply(this->x.data(), y.data());

    EXPECT_EQ(y, this->Ax);
}

TYPED_TEST(SparseMatrixProducts, MultiplyAddAddsToY)
{
    for (const bool upper : {false, true}) {
        upper ? this->fillUpper() : this->fillLower();
        std::vector<TypeParam> y = {1, 2, 3, 4};

        this->matrix.multiplyAdd(this->x.data(), y.data());

        EXPECT_EQ(y, (std::vector<TypeParam>{6422, 7534, 9857, 1980}))
            << (upper ? "upper" : "lower");
    }
}

TYPED_TEST(SparseMatrixProducts, ScaledMultiplyAddScalesBoth)
{
    for (const bool upper : {false, true}) {
        upper ? this->fillUpper() : this->fillLower();
        std::vector<TypeParam> y = {1, 2, 3, 4};

        this->matrix.multiplyAdd(2, this->x.data(), -3, y.data());

        EXPECT_EQ(y, (std::vector<TypeParam>{12839, 15058, 19699, 3940}))
            << (upper ? "upper" : "lower");
    }
}

TYPED_TEST(SparseMatrixProducts, BetaOfZeroClearsY)
{
    this->fillLower();
    std::vector<TypeParam> y = {7, -7, 7, -7};

    this->matrix.multiplyAdd(1, this->x.data(), 0, y.data());

    EXPECT_EQ(y, this->Ax);
}

TYPED_TEST(SparseMatrixProducts, BetaOfZeroMultipliesRatherThanAssigns)
{
    this->fillLower();
    std::vector<TypeParam> y = {this->nan, 0, 0, 0};

    this->matrix.multiplyAdd(1, this->x.data(), 0, y.data());

    EXPECT_NE(y[0], y[0]);
    EXPECT_EQ(y[1], this->Ax[1]);
}

TYPED_TEST(SparseMatrixProducts, BetaWithinEpsilonOfOneCountsAsOne)
{
    // With alpha 0 what is left is beta·y.
    using T = TypeParam;
    const T epsilon = std::numeric_limits<T>::epsilon();
    this->fillLower();
    const std::vector<T> start = {T(1.5), T(1e20), -3, 0};
    for (const T beta : {T(1), static_cast<T>(1 + 1e-17), 1 - epsilon / 2}) {
        std::vector<T> y = start;
        this->matrix.multiplyAdd(0, this->x.data(), beta, y.data());
        EXPECT_EQ(y, start) << std::hexfloat << beta;
    }
}

TYPED_TEST(SparseMatrixProducts, BetaAnEpsilonFromOneScales)
{
    using T = TypeParam;
    const T epsilon = std::numeric_limits<T>::epsilon();
    this->fillLower();
    for (const T beta : {1 + epsilon, 1 - epsilon}) {
        std::vector<T> y = {1, 2, -4, 0};
        this->matrix.multiplyAdd(0, this->x.data(), beta, y.data());
        EXPECT_EQ(y, (std::vector<T>{beta, 2 * beta, -4 * beta, 0})) << std::hexfloat << beta;
    }
}

TYPED_TEST(SparseMatrixProducts, NaNForBetaScales)
{
    this->fillLower();
    std::vector<TypeParam> y = {1, 2, 3, 4};

    this->matrix.multiplyAdd(1, this->x.data(), this->nan, y.data());

    for (const TypeParam v : y)
        EXPECT_NE(v, v);
}

TYPED_TEST(SparseMatrixProducts, SingleBlockRowIsInLowerOrder)
{
    this->matrix.setSize(1, 0, 1, 4);
    this->write(this->matrix.aquireBlock(0, 0, 2, 2, 0), {1, this->nan, 2, 3});
    std::vector<TypeParam> y = {0, 0};

    this->matrix.multiply(this->x.data(), y.data());

    EXPECT_EQ(y, (std::vector<TypeParam>{21, 32}));
}

// Sizes 1, 2, 2, filled in upper order, but block 0 couples to nothing:
//     X . .
//       X X
//         X
// Row 0 holds one block, so the block listed in row 1 at column 2 is read as block (1, 2) of a
// matrix in lower order: transposed.
TYPED_TEST(SparseMatrixProducts, UpperOrderWhoseFirstBlockIsAloneReadsAsLower)
{
    using T = TypeParam;
    this->matrix.clear();
    this->matrix.setSize(3, 0, 4, 13);
    this->write(this->matrix.aquireBlock(0, 0, 1, 1, 0), {1});
    this->write(this->matrix.aquireBlock(1, 1, 2, 2, 0), {0, this->nan, 0, 0});
    this->write(this->matrix.aquireBlock(1, 2, 2, 2, 0), {1, 2, 3, 4});
    this->write(this->matrix.aquireBlock(2, 2, 2, 2, 0), {0, this->nan, 0, 0});
    const std::vector<T> b = {1, 1, 10, 100, 1000};
    std::vector<T> y(5, this->nan);

    this->matrix.multiply(b.data(), y.data());

    // y1 = B·x2, y2 = Bᵀ·x1 with B = 1 2 / 3 4; in upper order it would be y1 = Bᵀ·x2, y2 = B·x1.
    EXPECT_EQ(y, (std::vector<T>{1, 2100, 4300, 31, 42}));
}

// The number of blocks in row 0 decides, not where they stand.
TYPED_TEST(SparseMatrixProducts, OneBlockRightOfTheDiagonalInRowZeroReadsAsLower)
{
    using T = TypeParam;
    this->matrix.clear();
    this->matrix.setSize(2, 0, 2, 8);
    this->write(this->matrix.aquireBlock(0, 1, 2, 2, 0), {1, 2, 3, 4});
    this->write(this->matrix.aquireBlock(1, 1, 2, 2, 0), {0, this->nan, 0, 0});
    std::vector<T> y(4, this->nan);

    this->matrix.multiply(this->x.data(), y.data());

    // y0 = B·x1, y1 = Bᵀ·x0 with B = 1 2 / 3 4
    EXPECT_EQ(y, (std::vector<T>{2100, 4300, 31, 42}));
}

TYPED_TEST(SparseMatrixProducts, EmptyRowTakesNoPart)
{
    // Sizes 1, 0, 1:
    //     2
    //     .
    //     3 . 4
    this->matrix.clear();
    this->matrix.setSize(3, 0, 3, 3);
    this->matrix.aquireBlock(0, 0, 1, 1, 0)[0] = 2;
    this->matrix.blockOffsets[1] = 1; // no block of row 1 comes to set it
    this->matrix.aquireBlock(2, 0, 1, 1, 0)[0] = 3;
    this->matrix.aquireBlock(2, 2, 1, 1, 0)[0] = 4;
    std::vector<TypeParam> y = {7, 7};

    this->matrix.multiply(this->x.data(), y.data());

    EXPECT_EQ(y, (std::vector<TypeParam>{32, 43}));
}

TYPED_TEST(SparseMatrixProducts, ZeroBlockRowsWriteNothing)
{
    for (const bool sized : {false, true}) {
        SparseMatrix<TypeParam> empty;
        if (sized)
            empty.setSize(0, 0, 0, 0);
        std::vector<TypeParam> y = {7};

        empty.multiply(nullptr, y.data());
        empty.multiplyAdd(nullptr, y.data());
        empty.multiplyAdd(2, nullptr, 3, y.data());

        EXPECT_EQ(y, (std::vector<TypeParam>{7}));
        empty.multiply(nullptr, nullptr);
    }
}

TYPED_TEST(SparseMatrixProducts, ClearedMatrixWritesNothing)
{
    this->fillLower();
    this->matrix.clear();
    std::vector<TypeParam> y = {7, 8, 9, 10};

    this->matrix.multiply(this->x.data(), y.data());

    EXPECT_EQ(y, (std::vector<TypeParam>{7, 8, 9, 10}));
}

} // namespace
