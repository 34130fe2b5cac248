// Every form of right-hand side that Eigen's sparse solvers take.

#include "EigenSystems.h"

#include "support/Scalars.h"

#include <kyrOrvelClient/EigenSupport>

#include <gtest/gtest.h>

#include <limits>
#include <vector>

using namespace eigen_systems;
using kyrOrvel::client::EigenLDLT;

namespace {

/// A factored system of scattered constraints, so that rows have to be brought into another order,
/// a right-hand side of five columns, and what their solutions should be.
template <class T> class RightHandSides : public testing::Test {
protected:
    using Matrix = Eigen::SparseMatrix<T>;
    using RowMajorDense = Eigen::Matrix<T, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;

    RightHandSides()
    {
        support::Random random(7);
        const BlockMatrix<T> system = saddlePoint<T>(random);
        m_A = eigenMatrix<Matrix>(system, kLower, shuffled(random, system.dimension()));
        n = m_A.rows();
        B = randomDense<T>(random, n, 5);
        solver.compute(m_A);
        EXPECT_EQ(solver.info(), Eigen::Success);
    }

    void expectSolution(const Dense<T>& x, const Dense<T>& b) const
    {
        ASSERT_EQ(x.rows(), b.rows());
        ASSERT_EQ(x.cols(), b.cols());
        EXPECT_LE(backwardError<T>(whole(m_A), x, b), kTolerance<T>);
    }

    Matrix m_A;
    Eigen::Index n = 0;
    Dense<T> B;
    EigenLDLT<Matrix> solver;
};
TYPED_TEST_SUITE(RightHandSides, support::Scalars);

TYPED_TEST(RightHandSides, Vector)
{
    const Vector<TypeParam> b = this->B.col(0);

    const Vector<TypeParam> x = this->solver.solve(b);

    this->expectSolution(x, b);
}

TYPED_TEST(RightHandSides, VectorInPlace)
{
    const Vector<TypeParam> b = this->B.col(0);
    Vector<TypeParam> x = b;

    x = this->solver.solve(x);

    this->expectSolution(x, b);
}

TYPED_TEST(RightHandSides, Matrix)
{
    const Dense<TypeParam> x = this->solver.solve(this->B);

    this->expectSolution(x, this->B);
}

TYPED_TEST(RightHandSides, MatrixInPlace)
{
    Dense<TypeParam> x = this->B;

    x = this->solver.solve(x);

    this->expectSolution(x, this->B);
}

TYPED_TEST(RightHandSides, RowMajorMatrix)
{
    const typename TestFixture::RowMajorDense b = this->B;

    const typename TestFixture::RowMajorDense x = this->solver.solve(b);

    this->expectSolution(x, b);
}

TYPED_TEST(RightHandSides, RowMajorIntoColumnMajor)
{
    const typename TestFixture::RowMajorDense b = this->B;

    const Dense<TypeParam> x = this->solver.solve(b);

    this->expectSolution(x, b);
}

TYPED_TEST(RightHandSides, MapsOfPlainMemory)
{
    const std::vector<TypeParam> b(this->B.data(), this->B.data() + this->n);
    std::vector<TypeParam> x(b.size());
    const auto from = Vector<TypeParam>::Map(b.data(), this->n);
    auto to = Vector<TypeParam>::Map(x.data(), this->n);

    to = this->solver.solve(from);

    this->expectSolution(to, from);
}

TYPED_TEST(RightHandSides, MapsWithStrides)
{
    using Strided = Eigen::Map<Vector<TypeParam>, 0, Eigen::InnerStride<2>>;
    std::vector<TypeParam> values(static_cast<std::size_t>(2 * this->n));
    Strided x(values.data(), this->n);
    x = this->B.col(0);

    x = this->solver.solve(x);

    this->expectSolution(x, this->B.col(0));
    EXPECT_EQ(values[1], 0) << "what lies between the strides";
}

TYPED_TEST(RightHandSides, BlocksOfAMatrix)
{
    Dense<TypeParam> x = Dense<TypeParam>::Zero(this->n, 5);

    x.middleCols(1, 2) = this->solver.solve(this->B.middleCols(1, 2));

    this->expectSolution(x.middleCols(1, 2), this->B.middleCols(1, 2));
    EXPECT_TRUE(x.col(0).isZero() && x.rightCols(2).isZero());
}

TYPED_TEST(RightHandSides, Refs)
{
    const Eigen::Ref<const Vector<TypeParam>> b = this->B.col(2);

    const Vector<TypeParam> x = this->solver.solve(b);

    this->expectSolution(x, b);
}

TYPED_TEST(RightHandSides, Sums)
{
    const Vector<TypeParam> x = this->solver.solve(this->B.col(0) - 2 * this->B.col(1));

    this->expectSolution(x, this->B.col(0) - 2 * this->B.col(1));
}

TYPED_TEST(RightHandSides, Products)
{
    const Vector<TypeParam> y = this->B.col(0);
    const Vector<TypeParam> b = whole(this->m_A) * y;

    const Vector<TypeParam> x =
        this->solver.solve(this->m_A.template selfadjointView<Eigen::Lower>() * y);

    this->expectSolution(x, b);
}

TYPED_TEST(RightHandSides, TransposedRows)
{
    const Dense<TypeParam> rows = this->B.transpose();

    const Dense<TypeParam> x = this->solver.solve(rows.transpose());

    this->expectSolution(x, this->B);
}

TYPED_TEST(RightHandSides, IdentityForTheInverse)
{
    const Dense<TypeParam> I = Dense<TypeParam>::Identity(this->n, this->n);

    const Dense<TypeParam> inverse =
        this->solver.solve(Dense<TypeParam>::Identity(this->n, this->n));

    this->expectSolution(inverse, I);
}

TYPED_TEST(RightHandSides, SolutionsInExpressions)
{
    const Vector<TypeParam> x0 = this->B.col(1);
    Vector<TypeParam> x = x0;

    x += this->solver.solve(this->B.col(0));

    this->expectSolution(x - x0, this->B.col(0));
}

TYPED_TEST(RightHandSides, OfFixedWidth)
{
    using Three = Eigen::Matrix<TypeParam, Eigen::Dynamic, 3>;
    const Three b = this->B.leftCols(3);

    const Three x = this->solver.solve(b);

    this->expectSolution(x, b);
}

TYPED_TEST(RightHandSides, WithoutColumns)
{
    const Dense<TypeParam> x = this->solver.solve(Dense<TypeParam>(this->n, 0));

    EXPECT_EQ(x.rows(), this->n);
    EXPECT_EQ(x.cols(), 0);
    EXPECT_EQ(this->solver.info(), Eigen::Success);
}

TYPED_TEST(RightHandSides, SparseMatrix)
{
    const Eigen::SparseMatrix<TypeParam> b = this->B.sparseView();

    const Eigen::SparseMatrix<TypeParam> x = this->solver.solve(b);

    this->expectSolution(Dense<TypeParam>(x), this->B);
}

TYPED_TEST(RightHandSides, SparseVector)
{
    Eigen::SparseVector<TypeParam> b(this->n);
    b.insert(1) = 3;

    const Eigen::SparseVector<TypeParam> x = this->solver.solve(b);

    this->expectSolution(Dense<TypeParam>(x), Dense<TypeParam>(b));
}

TYPED_TEST(RightHandSides, NaNIsReportedAndLeavesTheFactorUsable)
{
    Vector<TypeParam> b = this->B.col(0);
    b[3] = std::numeric_limits<TypeParam>::quiet_NaN();

    const Vector<TypeParam> x = this->solver.solve(b);

    EXPECT_EQ(this->solver.info(), Eigen::NumericalIssue);
    EXPECT_NE(this->solver.lastErrorMessage().find("row 3 of the matrix: the right-hand side"),
              std::string::npos)
        << this->solver.lastErrorMessage();
    EXPECT_TRUE(x.array().isNaN().all());

    const Vector<TypeParam> good = this->solver.solve(this->B.col(0));
    EXPECT_EQ(this->solver.info(), Eigen::Success);
    this->expectSolution(good, this->B.col(0));
}

TYPED_TEST(RightHandSides, OfTheWrongSizeAreRefused)
{
    const Vector<TypeParam> b = Vector<TypeParam>::Ones(this->n + 1);
    Vector<TypeParam> x(this->n);

    this->solver._solve_impl(b, x); // solve itself asserts where assertions are on

    EXPECT_EQ(this->solver.info(), Eigen::InvalidInput);
    EXPECT_NE(this->solver.lastErrorMessage(), "");
    EXPECT_TRUE(x.array().isNaN().all());
}

} // namespace
