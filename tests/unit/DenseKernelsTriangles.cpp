#include <kyrOrvel/DenseKernels>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

using namespace kyrOrvel;

namespace {

using Vector = std::vector<float>;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

//     2 . .
// L = 4 1 .  in rows of four
//     6 3 5
const Vector L = {2, kNaN, kNaN, kNaN, 4, 1, kNaN, kNaN, 6, 3, 5, kNaN};

// The same with a diagonal that counts as 1.
const Vector unitL = {kNaN, kNaN, kNaN, kNaN, 4, kNaN, kNaN, kNaN, 6, 3, kNaN, kNaN};

TEST(DenseTriangleKernels, LowerSolveSubstitutesForward)
{
    Vector x = {2, 6, 27}; // L·(1, 2, 3)

    orvel_SV_TRIL(L.data(), 4, x.data(), 3);

    EXPECT_EQ(x, (Vector{1, 2, 3}));
}

TEST(DenseTriangleKernels, UnitLowerSolveNeverReadsTheDiagonal)
{
    Vector x = {1, 6, 15}; // L·(1, 2, 3)

    orvel_SV_TRIL_UD(unitL.data(), 4, x.data(), 3);

    EXPECT_EQ(x, (Vector{1, 2, 3}));
}

TEST(DenseTriangleKernels, UnitLowerSolveOfOrderOneLeavesXAlone)
{
    Vector x = {7, 8};

    orvel_SV_TRIL_UD(unitL.data(), 4, x.data(), 1);

    EXPECT_EQ(x, (Vector{7, 8}));
}

TEST(DenseTriangleKernels, TransposedLowerSolveSubstitutesBackward)
{
    Vector x = {2 + 8 + 18, 2 + 9, 15}; // Lᵀ·(1, 2, 3)

    orvel_SV_TRILt(L.data(), 4, x.data(), 3);

    EXPECT_EQ(x, (Vector{1, 2, 3}));
}

TEST(DenseTriangleKernels, LowerThenTransposedSolveInvertsLLt)
{
    Vector x = {56, 123, 276}; // L·(28, 11, 15) with (28, 11, 15) = Lᵀ·(1, 2, 3)

    orvel_SV_TRIL(L.data(), 4, x.data(), 3);
    orvel_SV_TRILt(L.data(), 4, x.data(), 3);

    EXPECT_EQ(x, (Vector{1, 2, 3}));
}

TEST(DenseTriangleKernels, SolvesDivideInsteadOfMultiplyingByAReciprocal)
{
    // 5 / 49 and 5·(1/49) differ in the last bit.
    const float d = 49;
    const float quotient = 5.0f / d;
    ASSERT_NE(quotient, 5.0f * (1.0f / d));

    float x = 5;
    orvel_SV_TRIL(&d, 1, &x, 1);
    EXPECT_EQ(x, quotient);

    x = 5;
    orvel_SV_TRILt(&d, 1, &x, 1);
    EXPECT_EQ(x, quotient);

    x = 5;
    orvel_SM_UD(&d, 1, &x, 1, 1, 1);
    EXPECT_EQ(x, quotient);
}

TEST(DenseTriangleKernels, ZeroDiagonalIsNotTested)
{
    const float zero = 0;

    float x = 1;
    orvel_SV_TRIL(&zero, 1, &x, 1);
    EXPECT_EQ(x, kInfinity);

    x = -1;
    orvel_SV_TRILt(&zero, 1, &x, 1);
    EXPECT_EQ(x, -kInfinity);

    x = 0;
    orvel_SM_UD(&zero, 1, &x, 1, 1, 1);
    EXPECT_TRUE(std::isnan(x));
}

TEST(DenseTriangleKernels, SolveOfOrderBelowOneLeavesXAlone)
{
    for (const auto solve : {orvel_SV_TRIL<float>, orvel_SV_TRIL_UD<float>, orvel_SV_TRILt<float>})
        for (const int n : {0, -1, -1000}) {
            Vector x = {1, 2, 3};
            solve(L.data(), 4, x.data(), n);
            EXPECT_EQ(x, (Vector{1, 2, 3})) << n;
            solve(nullptr, 4, nullptr, n);
        }
}

TEST(DenseTriangleKernels, RowsAreSolvedOneByOne)
{
    // Rows L·(1, 2, 3) and L·(-1, 0, 1), as far apart as those of L.
    Vector X = {2, 6, 27, -9, -2, -4, -1, -9};

    orvel_SM_UD(L.data(), 4, X.data(), 4, 2, 3);

    EXPECT_EQ(X, (Vector{1, 2, 3, -9, -1, 0, 1, -9}));
}

TEST(DenseTriangleKernels, RowsAreSteppedByTheStrideOfL)
{
    // ldx says that the second row begins at element 3; it begins at element 4.
    for (const int ldx : {3, 100, 0, -1}) {
        Vector X = {2, 6, 27, -9, -2, -4, -1, -9};

        orvel_SM_UD(L.data(), 4, X.data(), ldx, 2, 3);

        EXPECT_EQ(X, (Vector{1, 2, 3, -9, -1, 0, 1, -9})) << "ldx = " << ldx;
    }
}

TEST(DenseTriangleKernels, RowsAreDividedByTheDiagonalInSpiteOfTheName)
{
    const Vector D = {2, kNaN, 0, 4};
    Vector X = {6, 8};

    orvel_SM_UD(D.data(), 2, X.data(), 2, 1, 2);

    EXPECT_EQ(X, (Vector{3, 2}));
}

TEST(DenseTriangleKernels, NoRowsOrNoColumnsLeaveXAlone)
{
    for (const int size : {0, -1, -1000}) {
        Vector X = {1, 2, 3};
        orvel_SM_UD(L.data(), 4, X.data(), 4, size, 3);
        EXPECT_EQ(X, (Vector{1, 2, 3})) << "m = " << size;
        orvel_SM_UD(L.data(), 4, X.data(), 4, 1, size);
        EXPECT_EQ(X, (Vector{1, 2, 3})) << "n = " << size;
        orvel_SM_UD<float>(nullptr, 4, nullptr, 4, size, size);
    }
}

TEST(DenseTriangleKernels, NoRowsOrNoColumnsTouchNoMemory)
{
    for (const int size : {0, -1}) {
        orvel_SM_UD<float>(nullptr, 4, nullptr, 4, size, 3);
        // Of this clang's sanitizer sees a step from null.
        orvel_SM_UD<float>(nullptr, 4, nullptr, 4, 3, size);
    }
}

} // namespace
