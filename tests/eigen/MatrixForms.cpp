// Every form in which Eigen may hold the matrix.

#include "EigenSystems.h"

#include "support/Scalars.h"

#include <kyrOrvelClient/EigenSupport>

#include <gtest/gtest.h>

#include <type_traits>
#include <vector>

using namespace eigen_systems;
using kyrOrvel::client::EigenLDLT;
using support::Random;

namespace {

/// Solves a system of scattered constraints that is stored as told.
template <class Matrix, int UpLo> void expectSolved(int stored)
{
    using T = typename Matrix::Scalar;
    Random random(11);
    const BlockMatrix<T> system = saddlePoint<T>(random);
    const auto places = shuffled(random, system.dimension());
    const auto A = eigenMatrix<Matrix>(system, stored, places);
    const auto b = randomVector<T>(random, A.rows());

    EigenLDLT<Matrix, UpLo> solver(A);
    ASSERT_EQ(solver.info(), Eigen::Success) << solver.lastErrorMessage();
    const Vector<T> x = solver.solve(b);

    EXPECT_LE(backwardError<T>(whole(A, stored), x, b), kTolerance<T>);
}

template <class T> class MatrixForms : public testing::Test {
protected:
    using ByColumns = Eigen::SparseMatrix<T>;
    using ByRows = Eigen::SparseMatrix<T, Eigen::RowMajor>;
    using LongIndices = Eigen::SparseMatrix<T, Eigen::ColMajor, long>;
};
TYPED_TEST_SUITE(MatrixForms, support::Scalars);

TYPED_TEST(MatrixForms, LowerTriangleByColumns)
{
    expectSolved<typename TestFixture::ByColumns, Eigen::Lower>(kLower);
}

TYPED_TEST(MatrixForms, UpperTriangleByColumns)
{
    expectSolved<typename TestFixture::ByColumns, Eigen::Upper>(kUpper);
}

TYPED_TEST(MatrixForms, LowerTriangleByRows)
{
    expectSolved<typename TestFixture::ByRows, Eigen::Lower>(kLower);
}

TYPED_TEST(MatrixForms, UpperTriangleByRows)
{
    expectSolved<typename TestFixture::ByRows, Eigen::Upper>(kUpper);
}

TYPED_TEST(MatrixForms, BothTrianglesStoredOneRead)
{
    expectSolved<typename TestFixture::ByColumns, Eigen::Lower>(kBoth);
    expectSolved<typename TestFixture::ByColumns, Eigen::Upper>(kBoth);
    expectSolved<typename TestFixture::ByRows, Eigen::Lower>(kBoth);
    expectSolved<typename TestFixture::ByRows, Eigen::Upper>(kBoth);
}

TYPED_TEST(MatrixForms, BothTrianglesAskedFor)
{
    expectSolved<typename TestFixture::ByColumns, Eigen::Lower | Eigen::Upper>(kBoth);
}

TYPED_TEST(MatrixForms, LongIndices)
{
    expectSolved<typename TestFixture::LongIndices, Eigen::Lower>(kLower);
}

TEST(EigenLDLT, IgnoresTheOtherTriangle)
{
    Eigen::SparseMatrix<double> A = drawn({{4}, {1, 3}});
    A.insert(0, 1) = 1000;
    EigenLDLT<Eigen::SparseMatrix<double>> solver(A);

    const Eigen::VectorXd x = solver.solve(Eigen::Vector2d(5, 4));

    EXPECT_TRUE(x.isApprox(Eigen::Vector2d(1, 1), 1e-14)) << x.transpose();
}

/// 4 1
/// 1 3, of which the lower triangle, with room between the columns.
Eigen::SparseMatrix<double> uncompressed()
{
    Eigen::SparseMatrix<double> A(2, 2);
    A.reserve(Eigen::Vector2i(5, 5));
    A.insert(0, 0) = 4;
    A.insert(1, 0) = 1;
    A.insert(1, 1) = 3;
    return A;
}

TEST(EigenLDLT, ReadsMatricesThatAreNotCompressed)
{
    const Eigen::SparseMatrix<double> A = uncompressed();
    ASSERT_FALSE(A.isCompressed());
    EigenLDLT<Eigen::SparseMatrix<double>> solver(A);

    const Eigen::VectorXd x = solver.solve(Eigen::Vector2d(5, 4));

    EXPECT_TRUE(x.isApprox(Eigen::Vector2d(1, 1), 1e-14)) << x.transpose();
}

TEST(EigenLDLT, FactorsCompressedWhatWasAnalysedBefore)
{
    Eigen::SparseMatrix<double> A = uncompressed();
    EigenLDLT<Eigen::SparseMatrix<double>> solver;
    solver.analyzePattern(A);
    A.makeCompressed();

    solver.factorize(A);

    EXPECT_EQ(solver.info(), Eigen::Success) << solver.lastErrorMessage();
}

TEST(EigenLDLT, ReadsAMapOfForeignArrays)
{
    const int start[] = {0, 2, 3}, rows[] = {0, 1, 1};
    const double values[] = {4, 1, 3};
    const Eigen::Map<const Eigen::SparseMatrix<double>> A(2, 2, 3, start, rows, values);
    EigenLDLT<Eigen::SparseMatrix<double>> solver(A);

    const Eigen::VectorXd x = solver.solve(Eigen::Vector2d(5, 4));

    EXPECT_TRUE(x.isApprox(Eigen::Vector2d(1, 1), 1e-14)) << x.transpose();
}

TEST(EigenLDLT, ReadsColumnsThatAreNotSorted)
{
    const int start[] = {0, 2, 3}, rows[] = {1, 0, 1};
    const double values[] = {1, 4, 3};
    const Eigen::Map<const Eigen::SparseMatrix<double>> A(2, 2, 3, start, rows, values);
    EigenLDLT<Eigen::SparseMatrix<double>> solver(A);

    const Eigen::VectorXd x = solver.solve(Eigen::Vector2d(5, 4));

    EXPECT_TRUE(x.isApprox(Eigen::Vector2d(1, 1), 1e-14)) << x.transpose();
}

TEST(EigenLDLT, TakesSparseExpressions)
{
    const Eigen::SparseMatrix<double> A = drawn({{4}, {1, 3}});
    EigenLDLT<Eigen::SparseMatrix<double>> solver(2 * A);

    const Eigen::VectorXd x = solver.solve(Eigen::Vector2d(10, 8));

    EXPECT_TRUE(x.isApprox(Eigen::Vector2d(1, 1), 1e-14)) << x.transpose();
}

TEST(EigenLDLT, SolvesTheEmptySystem)
{
    const Eigen::SparseMatrix<double> A(0, 0);
    EigenLDLT<Eigen::SparseMatrix<double>> solver;

    solver.analyzePattern(A);
    EXPECT_EQ(solver.info(), Eigen::Success) << solver.lastErrorMessage();
    solver.factorize(A);
    EXPECT_EQ(solver.info(), Eigen::Success) << solver.lastErrorMessage();
    const Eigen::VectorXd x = solver.solve(Eigen::VectorXd(0));

    EXPECT_EQ(x.size(), 0);
    EXPECT_EQ(solver.info(), Eigen::Success) << solver.lastErrorMessage();
    EXPECT_EQ(solver.determinant(), 1);
}

TEST(EigenLDLT, TellsTheSizeOfTheMatrix)
{
    EigenLDLT<Eigen::SparseMatrix<double>> solver;
    EXPECT_EQ(solver.rows(), 0);

    solver.compute(drawn({{4}, {1, 3}, {0, 0, 1}}));

    EXPECT_EQ(solver.rows(), 3);
    EXPECT_EQ(solver.cols(), 3);
}

TEST(EigenLDLT, IsNeitherCopiedNorMoved)
{
    using Solver = EigenLDLT<Eigen::SparseMatrix<double>>;

    EXPECT_FALSE(std::is_copy_constructible<Solver>::value);
    EXPECT_FALSE(std::is_copy_assignable<Solver>::value);
    EXPECT_FALSE(std::is_move_constructible<Solver>::value);
    EXPECT_FALSE(std::is_move_assignable<Solver>::value);
}

} // namespace
