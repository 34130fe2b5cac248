#include "support/Bits.h"
#include "support/BlockSystems.h"
#include "support/Random.h"
#include "support/Scalars.h"

#include <kyrOrvelClient/BlockLDLT>

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::StatusCode;
using support::KktShape;
using support::Random;

namespace {

template <class T> class Refine : public testing::Test {
protected:
    Refine() : m_random(21), A(support::randomKkt<T>(m_random, KktShape()))
    {
        b = m_random.scalars<T>(A.dimension());
        x.resize(b.size());
        EXPECT_TRUE(solver.compute(A).ok());
        EXPECT_TRUE(solver.solve(b.data(), x.data()).ok());
    }

    double residual() const { return support::relativeResidual(A, x, b); }

    Random m_random;
    BlockMatrix<T> A;
    BlockLDLT<T> solver;
    std::vector<T> b;
    std::vector<T> x;
};
TYPED_TEST_SUITE(Refine, support::Scalars);

template <class T> class RefineOfOtherSystems : public testing::Test {
};
TYPED_TEST_SUITE(RefineOfOtherSystems, support::Scalars);

TYPED_TEST(Refine, NoStepsLeaveTheSolutionToTheBit)
{
    for (const int maxSteps : {0, -1, std::numeric_limits<int>::min()}) {
        const std::vector<TypeParam> before = this->x;
        int steps = -7;

        EXPECT_TRUE(this->solver.refine(this->b.data(), this->x.data(), maxSteps, &steps).ok());

        EXPECT_EQ(steps, 0);
        EXPECT_TRUE(support::sameBits(this->x.data(), before.data(), before.size()));
    }
}

TYPED_TEST(Refine, StepsNeedNotBeAskedFor)
{
    EXPECT_TRUE(this->solver.refine(this->b.data(), this->x.data(), 2).ok());
    EXPECT_TRUE(this->solver.refine(this->b.data(), this->x.data(), 2, nullptr).ok());
}

TYPED_TEST(Refine, FromZeroTheFirstStepSolves)
{
    this->x.assign(this->x.size(), 0);
    int steps = 0;

    EXPECT_TRUE(this->solver.refine(this->b.data(), this->x.data(), 1, &steps).ok());

    EXPECT_EQ(steps, 1);
    EXPECT_LT(this->residual(), 1000 * double(std::numeric_limits<TypeParam>::epsilon()));
}

TYPED_TEST(Refine, BadGuessIsBroughtToRounding)
{
    for (TypeParam& v : this->x)
        v = 1000 * v + 1;
    int steps = 0;

    EXPECT_TRUE(this->solver.refine(this->b.data(), this->x.data(), 20, &steps).ok());

    EXPECT_GE(steps, 1);
    EXPECT_LT(steps, 20);
    EXPECT_LT(this->residual(), 100 * double(std::numeric_limits<TypeParam>::epsilon()));
}

// Small numbers have no lesser right to be corrected than large ones.
TYPED_TEST(Refine, TinySystemIsRefinedLikeAnyOther)
{
    const TypeParam scale = std::ldexp(TypeParam(1), -40);
    for (TypeParam& v : this->b)
        v *= scale;
    this->x.assign(this->x.size(), 0);
    int steps = 0;

    EXPECT_TRUE(this->solver.refine(this->b.data(), this->x.data(), 20, &steps).ok());

    EXPECT_LT(this->residual(), 100 * double(std::numeric_limits<TypeParam>::epsilon()));
}

TYPED_TEST(RefineOfOtherSystems, ExactSolutionNeedsNoStep)
{
    const BlockMatrix<TypeParam> A = support::scalarMatrix<TypeParam>({{4}, {2, 5}});
    BlockLDLT<TypeParam> solver;
    ASSERT_TRUE(solver.compute(A).ok());
    const TypeParam b[] = {8, 12}; // A·(1, 2)
    TypeParam x[] = {1, 2};
    int steps = -1;

    EXPECT_TRUE(solver.refine(b, x, 5, &steps).ok());

    EXPECT_EQ(steps, 0);
    EXPECT_EQ(x[0], TypeParam(1));
    EXPECT_EQ(x[1], TypeParam(2));
}

/// |b - A·x| in the 2-norm, and the rounding to be expected of one computed in T.
template <class T> struct Residual {
    double norm;
    double rounding;

    Residual(const BlockMatrix<T>& A, const std::vector<T>& x, const std::vector<T>& b)
    {
        const support::Dense dense = support::denseOf(A);
        const std::vector<long double> product = support::multiply(dense, x);
        long double sum = 0;
        long double terms = 0;
        for (std::size_t i = 0; i < b.size(); ++i) {
            const auto bi = static_cast<long double>(b[i]);
            sum += (bi - product[i]) * (bi - product[i]);
            long double row = std::abs(bi);
            for (std::size_t j = 0; j < b.size(); ++j)
                row += std::abs(dense[i][j] * static_cast<long double>(x[j]));
            terms += row * row;
        }
        norm = static_cast<double>(std::sqrt(sum));
        rounding =
            4 * double(std::numeric_limits<T>::epsilon()) * static_cast<double>(std::sqrt(terms));
    }
};

// Hard matrices, whose corrections help a little, or not at all.
TYPED_TEST(RefineOfOtherSystems, ResidualNeverGrows)
{
    for (unsigned int seed = 1; seed <= 200; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        KktShape shape;
        shape.bodies = random.integer(2, 12);
        shape.joints = random.integer(1, shape.bodies);
        shape.partners = 3;
        shape.lightestMass = 1e-4;
        const BlockMatrix<TypeParam> A = support::randomKkt<TypeParam>(random, shape);
        const auto b = random.scalars<TypeParam>(A.dimension());
        BlockLDLT<TypeParam> solver;
        ASSERT_TRUE(solver.compute(A).ok());
        std::vector<TypeParam> x(b.size());
        ASSERT_TRUE(solver.solve(b.data(), x.data()).ok());
        for (int step = 0; step < 4; ++step) {
            const Residual<TypeParam> before(A, x, b);
            const std::vector<TypeParam> old = x;
            int steps = -1;

            ASSERT_TRUE(solver.refine(b.data(), x.data(), 1, &steps).ok());

            const Residual<TypeParam> after(A, x, b);
            ASSERT_LE(after.norm, before.norm + before.rounding + after.rounding);
            ASSERT_EQ(steps == 0, bool(support::sameBits(x.data(), old.data(), x.size())));
        }
    }
}

TYPED_TEST(Refine, ManyStepsAtOnceAreThoseOneByOne)
{
    this->x.assign(this->x.size(), TypeParam(0.5));
    std::vector<TypeParam> atOnce = this->x;
    int all = 0;
    ASSERT_TRUE(this->solver.refine(this->b.data(), atOnce.data(), 10, &all).ok());

    int sum = 0;
    for (int step = 0; step < 10; ++step) {
        int one = 0;
        ASSERT_TRUE(this->solver.refine(this->b.data(), this->x.data(), 1, &one).ok());
        sum += one;
    }

    EXPECT_EQ(sum, all);
    EXPECT_TRUE(support::sameBits(this->x.data(), atOnce.data(), atOnce.size()));
}

TYPED_TEST(Refine, BeforeFactorizeIsACallSequence)
{
    BlockLDLT<TypeParam> fresh;
    int steps = -1;

    EXPECT_EQ(fresh.refine(this->b.data(), this->x.data(), 1, &steps).code,
              StatusCode::CallSequence);

    EXPECT_EQ(fresh.info().message, "factorize has to succeed first");
    EXPECT_EQ(steps, 0);
}

TYPED_TEST(Refine, NullVectorsAreRefused)
{
    EXPECT_EQ(this->solver.refine(nullptr, this->x.data(), 1).code, StatusCode::InvalidInput);
    EXPECT_EQ(this->solver.refine(this->b.data(), nullptr, 1).code, StatusCode::InvalidInput);
}

TYPED_TEST(Refine, GuessThatIsNotFiniteIsNamed)
{
    this->x[this->A.blockOffset(3)] = std::numeric_limits<TypeParam>::quiet_NaN();

    const auto& status = this->solver.refine(this->b.data(), this->x.data(), 1);

    EXPECT_EQ(status.code, StatusCode::NotFinite);
    EXPECT_EQ(status.message,
              "the solution to improve holds an infinity or NaN in row 0 of block 3");
    EXPECT_EQ(status.block, 3u);
    EXPECT_EQ(status.row, 0u);
}

TYPED_TEST(Refine, RightHandSideThatIsNotFiniteIsNamedAndXIsUntouched)
{
    const std::vector<TypeParam> before = this->x;
    this->b[this->A.blockOffset(5)] = -std::numeric_limits<TypeParam>::infinity();

    const auto& status = this->solver.refine(this->b.data(), this->x.data(), 1);

    EXPECT_EQ(status.code, StatusCode::NotFinite);
    EXPECT_EQ(status.message, "the right-hand side holds an infinity or NaN in row 0 of block 5");
    EXPECT_EQ(status.block, 5u);
    EXPECT_TRUE(support::sameBits(this->x.data(), before.data(), before.size()));
}

TYPED_TEST(RefineOfOtherSystems, OverflowingProductHasNoBackwardError)
{
    const TypeParam huge = std::sqrt(std::numeric_limits<TypeParam>::max()) * 2;
    BlockMatrix<TypeParam> A({1, 1});
    *A.block(0, 0) = huge;
    *A.block(1, 1) = 1;
    BlockLDLT<TypeParam> solver;
    ASSERT_TRUE(solver.compute(A).ok());
    const TypeParam b[] = {1, 1};
    TypeParam x[] = {huge, 1};

    solver.refine(b, x, 3);

    EXPECT_TRUE(std::isnan(solver.statistics().backwardError));
}

// The product with x overflows: no correction can be judged, none is made.
TYPED_TEST(RefineOfOtherSystems, OverflowingResidualLeavesTheSolution)
{
    const BlockMatrix<TypeParam> A = support::scalarMatrix<TypeParam>({{4}, {2, 5}});
    BlockLDLT<TypeParam> solver;
    ASSERT_TRUE(solver.compute(A).ok());
    const TypeParam huge = std::numeric_limits<TypeParam>::max();
    const TypeParam b[] = {1, 1};
    for (const TypeParam sign : {TypeParam(1), TypeParam(-1)}) {
        TypeParam x[] = {huge, sign * huge};
        int steps = -1;

        EXPECT_TRUE(solver.refine(b, x, 3, &steps).ok());

        EXPECT_TRUE(std::isfinite(x[0]) && std::isfinite(x[1]));
        if (steps == 0) {
            EXPECT_EQ(x[0], huge);
            EXPECT_EQ(x[1], sign * huge);
        }
    }
}

} // namespace
