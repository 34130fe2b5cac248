// A fused multiply-add shows at run time: where x is the rounded product a·b, the difference
// x - a·b is zero if the product is rounded before the subtraction, and the rounding error if not.

#include "support/Scalars.h"
#include "support/Systems.h"

#include <kyrOrvel/Orvel>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

using kyrOrvel::Orvel;
using support::System;

namespace {

template <class T> class NoContraction : public testing::Test {
protected:
    /// 1 + epsilon: its square needs twice the digits.
    static constexpr T a = 1 + std::numeric_limits<T>::epsilon();
    // Stored, so that the test itself rounds it.
    const volatile T square = a * a;
};
TYPED_TEST_SUITE(NoContraction, support::Scalars);

TYPED_TEST(NoContraction, RoundedProductDiffersFromTheExactOne)
{
    ASSERT_NE(std::fma(this->a, this->a, -this->square), TypeParam(0));
}

TYPED_TEST(NoContraction, FactorizationRoundsTheProductsOfBlocks)
{
    // D0 = 1, L(1, 0) = a, D1 = square - a·a
    const auto data = support::makeData(
        support::scalarSystem<TypeParam>({"X", "X X"}, {{1}, {this->a, this->square}}));

    Orvel::factorSerial(*data);

    EXPECT_EQ(data->pivots.data[1], TypeParam(0));
}

TYPED_TEST(NoContraction, FactorizationRoundsTheProductsInsideABlock)
{
    System<TypeParam> system;
    system.sizes = {2};
    system.rows = system.factorRows = support::drawnRows({"X"});
    system.blocks[{0, 0}] = {1, 0, this->a, this->square};
    const auto data = support::makeData(system);

    Orvel::factorSerial(*data);

    EXPECT_EQ(data->pivots.data[1], TypeParam(0));
}

TYPED_TEST(NoContraction, SolveRoundsItsProducts)
{
    // L(1, 0) = a and D = I; the right-hand side (a, square) makes y1 = square - a·a.
    const auto data =
        support::makeData(support::scalarSystem<TypeParam>({"X", "X X"}, {{1}, {this->a, 1}}));
    Orvel::factorSerial(*data);
    *data->scaledFactor.blockData[2] = 1;
    std::vector<TypeParam> x{this->a, this->square};

    Orvel::solve(*data, x.data());

    EXPECT_EQ(x[1], TypeParam(0));
}

TYPED_TEST(NoContraction, MatrixProductRoundsItsProducts)
{
    // y0 = -square + (a·a)
    const auto data = support::makeData(support::scalarSystem<TypeParam>({"X"}, {{this->a}}));
    TypeParam y = -this->square;

    data->matrix.multiplyAdd(&this->a, &y);

    EXPECT_EQ(y, TypeParam(0));
}

} // namespace
