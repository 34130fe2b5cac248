#include "Problem.h"
#include "support/Scalars.h"

#include <kyrOrvel/Orvel>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

using kyrOrvel::Orvel;
using support::Problem;
using support::System;

namespace {

// One block of three rows: L = 1        D = d0     A = L·D·Lᵀ
//                              1 1          d1
//                              1 1 1            d2
template <class T> System<T> system(T d0, T d1, T d2)
{
    System<T> result;
    result.sizes = {3};
    result.rows = result.factorRows = {{0}};
    const T a = d0 + d1;
    result.blocks[{0, 0}] = {d0, d0, d0, d0, a, a, d0, a, a + d2};
    return result;
}

/// Both factorizations, each with its own input order.
template <class T> struct Factorizations {
    static std::vector<T> serial(const System<T>& A, const T* bounds, bool keepSigns = false)
    {
        const auto data = support::makeData(A);
        data->pivotBounds = bounds;
        data->pivotsKeepSigns = keepSigns;
        Orvel::factorSerial(*data);
        return std::vector<T>(data->pivots.data, data->pivots.data + data->pivots.size);
    }
    static std::vector<T> multifrontal(const System<T>& A, const T* bounds, bool keepSigns = false)
    {
        Problem<T> problem(A);
        problem.map(1);
        problem.data.pivotBounds = bounds;
        problem.data.pivotsKeepSigns = keepSigns;
        Orvel::factorMF(problem.data);
        const auto& pivots = problem.data.pivots;
        return std::vector<T>(pivots.data, pivots.data + pivots.size);
    }
};

template <class T> class PivotBounds : public testing::Test {
protected:
    static void expectPivots(const System<T>& A, const std::vector<T>& bounds,
                             const std::vector<T>& expected, bool keepSigns = false)
    {
        EXPECT_EQ(Factorizations<T>::serial(A, bounds.data(), keepSigns), expected);
        EXPECT_EQ(Factorizations<T>::multifrontal(A, bounds.data(), keepSigns), expected);
    }
};
TYPED_TEST_SUITE(PivotBounds, support::Scalars);

TYPED_TEST(PivotBounds, PivotsBeyondTheirBoundsStay)
{
    this->expectPivots(system<TypeParam>(2, -4, 8), {1, -1, 8}, {2, -4, 8});
}

TYPED_TEST(PivotBounds, SmallPivotsBecomeTheirBounds)
{
    // With d(0) = 4 in place of 1 the others grow: a(1, 1) - 1/4, and so on.
    const std::vector<TypeParam> pivots = Factorizations<TypeParam>::serial(
        system<TypeParam>(1, 1, 1), std::vector<TypeParam>{4, 1, 1}.data());

    EXPECT_EQ(pivots[0], 4);
    EXPECT_EQ(pivots[1], TypeParam(1.75));
}

TYPED_TEST(PivotBounds, PivotsOfTheWrongSignBecomeTheirBounds)
{
    // a(2, 1) - 2 = 4, so L(2, 1) = -4 and d(2) = 14 - 2 + 4 * 4
    this->expectPivots(system<TypeParam>(2, 4, 8), {1, -1, 1}, {2, -1, 28});
}

TYPED_TEST(PivotBounds, ZeroPivotsBecomeTheirBounds)
{
    this->expectPivots(system<TypeParam>(2, 4, 0), {1, 1, -0.5}, {2, 4, -0.5});
}

TYPED_TEST(PivotBounds, PivotsThatKeepTheirSignsAreBoundedByMagnitude)
{
    // d(0) = -1/2 becomes -1, d(1) = 4 stays, d(2) = 0 takes the bound as it is.
    System<TypeParam> A = system<TypeParam>(-0.5, 0, 0);
    A.blocks[{0, 0}] = {-0.5, 0, 0, 0, 4, 0, 0, 0, 0};
    this->expectPivots(A, {1, -1, -0.25}, {-1, 4, -0.25}, true);
}

TYPED_TEST(PivotBounds, NaNStays)
{
    const TypeParam nan = std::numeric_limits<TypeParam>::quiet_NaN();
    const std::vector<TypeParam> bounds = {1, 1, 1};

    EXPECT_TRUE(std::isnan(
        Factorizations<TypeParam>::serial(system<TypeParam>(2, nan, 8), bounds.data())[1]));
    EXPECT_TRUE(std::isnan(
        Factorizations<TypeParam>::multifrontal(system<TypeParam>(2, nan, 8), bounds.data())[1]));
}

} // namespace
