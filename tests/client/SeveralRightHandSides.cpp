#include "support/Bits.h"
#include "support/BlockSystems.h"
#include "support/Random.h"
#include "support/Scalars.h"

#include <kyrOrvelClient/BlockLDLT>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <vector>

using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::Status;
using kyrOrvel::client::StatusCode;
using support::Random;

namespace {

constexpr std::size_t kColumns = 5;

template <class T> class SeveralRightHandSides : public testing::Test {
protected:
    SeveralRightHandSides() : m_random(41), A(support::randomKkt<T>(m_random, support::KktShape()))
    {
        dimension = A.dimension();
        EXPECT_TRUE(solver.compute(A).ok());
    }

    /// What lies between the columns, before and after.
    static T gap() { return T(-77); }

    /// Columns of random scalars, `stride` apart, with gaps between them.
    std::vector<T> columns(std::size_t stride)
    {
        std::vector<T> B(kColumns * stride, gap());
        for (std::size_t j = 0; j < kColumns; ++j)
            for (std::size_t i = 0; i < dimension; ++i)
                B[j * stride + i] = m_random.scalar<T>();
        return B;
    }

    void expectSingleSolves(const std::vector<T>& B, std::size_t ldb, const std::vector<T>& X,
                            std::size_t ldx)
    {
        for (std::size_t j = 0; j < kColumns; ++j) {
            SCOPED_TRACE(j);
            std::vector<T> x(dimension);
            ASSERT_TRUE(solver.solve(B.data() + j * ldb, x.data()).ok());
            EXPECT_TRUE(support::sameBits(X.data() + j * ldx, x.data(), dimension));
            EXPECT_TRUE(std::all_of(X.begin() + std::ptrdiff_t(j * ldx + dimension),
                                    X.begin() + std::ptrdiff_t((j + 1) * ldx),
                                    [](T v) { return v == gap(); }))
                << "written to between the columns";
        }
    }

    Random m_random;
    BlockMatrix<T> A;
    BlockLDLT<T> solver;
    std::size_t dimension;
};
TYPED_TEST_SUITE(SeveralRightHandSides, support::Scalars);

TYPED_TEST(SeveralRightHandSides, HaveTheBitsOfSingleSolves)
{
    for (const std::size_t spareB : {0u, 3u})
        for (const std::size_t spareX : {0u, 7u}) {
            const std::size_t ldb = this->dimension + spareB;
            const std::size_t ldx = this->dimension + spareX;
            const std::vector<TypeParam> B = this->columns(ldb);
            std::vector<TypeParam> X(kColumns * ldx, this->gap());

            ASSERT_TRUE(this->solver.solve(B.data(), X.data(), kColumns, ldb, ldx).ok());

            this->expectSingleSolves(B, ldb, X, ldx);
        }
}

TYPED_TEST(SeveralRightHandSides, InPlaceHaveTheSameBits)
{
    const std::size_t stride = this->dimension + 2;
    const std::vector<TypeParam> B = this->columns(stride);
    std::vector<TypeParam> X = B;

    ASSERT_TRUE(this->solver.solve(X.data(), X.data(), kColumns, stride, stride).ok());

    this->expectSingleSolves(B, stride, X, stride);
}

TYPED_TEST(SeveralRightHandSides, NoneIsFineAndWritesNothing)
{
    TypeParam x = 3;

    EXPECT_TRUE(this->solver.solve(&x, &x, 0, this->dimension, this->dimension).ok());

    EXPECT_EQ(x, TypeParam(3));
}

TYPED_TEST(SeveralRightHandSides, OneNeedsNoStride)
{
    const std::vector<TypeParam> b = this->columns(this->dimension);
    std::vector<TypeParam> x(this->dimension);
    std::vector<TypeParam> expected(this->dimension);
    ASSERT_TRUE(this->solver.solve(b.data(), expected.data()).ok());

    ASSERT_TRUE(this->solver.solve(b.data(), x.data(), 1, 0, 0).ok());

    EXPECT_TRUE(support::sameBits(x.data(), expected.data(), this->dimension));
}

TYPED_TEST(SeveralRightHandSides, StridesTooShortAreRefused)
{
    const std::vector<TypeParam> B = this->columns(this->dimension);
    std::vector<TypeParam> X(B.size(), this->gap());
    const std::size_t n = this->dimension;
    for (const auto& [ldb, ldx] : {std::pair(n - 1, n), std::pair(n, n - 1)}) {
        EXPECT_EQ(this->solver.solve(B.data(), X.data(), kColumns, ldb, ldx).code,
                  StatusCode::InvalidInput);
        EXPECT_EQ(this->solver.info().message,
                  "columns of " + std::to_string(n) + " scalars need strides of that many");
    }
    EXPECT_EQ(X, std::vector<TypeParam>(B.size(), this->gap()));
}

TYPED_TEST(SeveralRightHandSides, ColumnsBeforeOneThatFailsAreDone)
{
    const std::size_t n = this->dimension;
    std::vector<TypeParam> B = this->columns(n);
    B[2 * n + 1] = std::numeric_limits<TypeParam>::quiet_NaN();
    std::vector<TypeParam> X(B.size(), this->gap());

    EXPECT_EQ(this->solver.solve(B.data(), X.data(), kColumns, n, n).code, StatusCode::NotFinite);

    std::vector<TypeParam> x(n);
    for (const std::size_t j : {0u, 1u}) {
        ASSERT_TRUE(this->solver.solve(B.data() + j * n, x.data()).ok());
        EXPECT_TRUE(support::sameBits(X.data() + j * n, x.data(), n));
    }
    EXPECT_TRUE(std::all_of(X.begin() + std::ptrdiff_t(2 * n), X.end(),
                            [&](TypeParam v) { return v == this->gap(); }));
}

TYPED_TEST(SeveralRightHandSides, NullsAndAnEarlyCallAreRefused)
{
    std::vector<TypeParam> x(this->dimension);
    const std::size_t n = this->dimension;

    EXPECT_EQ(this->solver.solve(nullptr, x.data(), 1, n, n).code, StatusCode::InvalidInput);
    EXPECT_EQ(this->solver.solve(x.data(), nullptr, 1, n, n).code, StatusCode::InvalidInput);
    this->solver.analyzePattern(this->A);
    EXPECT_EQ(this->solver.solve(x.data(), x.data(), 1, n, n).code, StatusCode::CallSequence);
}

} // namespace
