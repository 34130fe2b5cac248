// The same systems through Eigen's own solver and this one.

#include "EigenSystems.h"

#include "support/Scalars.h"

#include <kyrOrvelClient/EigenSupport>
#include <kyrOrvelClient/Scenes>

#include <Eigen/SparseCholesky>

#include <gtest/gtest.h>

using namespace eigen_systems;
using kyrOrvel::client::EigenLDLT;
using support::Random;

namespace {

template <class T> class SideBySide : public testing::Test {
};
TYPED_TEST_SUITE(SideBySide, support::Scalars);

/// Solves by any solver of Eigen's concept.
template <class Solver, class Matrix>
auto solved(const Matrix& A, const Vector<typename Matrix::Scalar>& b)
{
    Solver solver;
    solver.compute(A);
    EXPECT_EQ(solver.info(), Eigen::Success);
    const Vector<typename Matrix::Scalar> x = solver.solve(b);
    return x;
}

template <class T> void expectBothSolve(const Eigen::SparseMatrix<T>& A, const Vector<T>& b)
{
    using Matrix = Eigen::SparseMatrix<T>;
    const auto theirs = solved<Eigen::SimplicialLDLT<Matrix>>(A, b);
    const auto ours = solved<EigenLDLT<Matrix>>(A, b);

    EXPECT_LE(backwardError<T>(whole(A), theirs, b), kTolerance<T>);
    EXPECT_LE(backwardError<T>(whole(A), ours, b), kTolerance<T>);
}

TYPED_TEST(SideBySide, PositiveDefiniteSystemsAreSolvedAsWell)
{
    using Matrix = Eigen::SparseMatrix<TypeParam>;
    for (unsigned int seed = 1; seed <= 30; ++seed) {
        Random random(seed);
        SCOPED_TRACE(random.seed());
        const auto A = eigenMatrix<Matrix>(support::randomSpd<TypeParam>(random, 12, 0.3, 1, 4));
        expectBothSolve(A, randomVector<TypeParam>(random, A.rows()));
    }
}

TYPED_TEST(SideBySide, QuasiDefiniteSystemsAreSolvedAsWell)
{
    using Matrix = Eigen::SparseMatrix<TypeParam>;
    for (unsigned int seed = 1; seed <= 30; ++seed) {
        Random random(seed);
        SCOPED_TRACE(random.seed());
        support::KktShape shape;
        shape.compliance = 0.5;
        const auto A = eigenMatrix<Matrix>(support::randomKkt<TypeParam>(random, shape));
        expectBothSolve(A, randomVector<TypeParam>(random, A.rows()));
    }
}

TYPED_TEST(SideBySide, SaddlePointsAreSolvedWithTheirRowsInAnyOrder)
{
    using Matrix = Eigen::SparseMatrix<TypeParam>;
    for (unsigned int seed = 1; seed <= 100; ++seed) {
        Random random(seed);
        SCOPED_TRACE(random.seed());
        const BlockMatrix<TypeParam> system = saddlePoint<TypeParam>(random);
        const auto A = eigenMatrix<Matrix>(system, kLower, shuffled(random, system.dimension()));
        const auto b = randomVector<TypeParam>(random, A.rows());

        const auto x = solved<EigenLDLT<Matrix>>(A, b);

        EXPECT_LE(backwardError<TypeParam>(whole(A), x, b), kTolerance<TypeParam>);
    }
}

TEST(EigenLDLT, SolvesNegativeDefiniteSystems)
{
    using Matrix = Eigen::SparseMatrix<double>;
    Random random(3);
    Matrix A = eigenMatrix<Matrix>(support::randomSpd<double>(random, 12, 0.3, 1, 4));
    A = -A;
    const auto b = randomVector<double>(random, A.rows());

    const auto x = solved<EigenLDLT<Matrix>>(A, b);

    EXPECT_LE(backwardError<double>(whole(A), x, b), kTolerance<double>);
}

TEST(EigenLDLT, SolvesNegatedSaddlePoints)
{
    using Matrix = Eigen::SparseMatrix<double>;
    Random random(4);
    Matrix A = eigenMatrix<Matrix>(saddlePoint<double>(random));
    A = -A;
    const auto b = randomVector<double>(random, A.rows());

    const auto x = solved<EigenLDLT<Matrix>>(A, b);

    EXPECT_LE(backwardError<double>(whole(A), x, b), kTolerance<double>);
}

TEST(EigenLDLT, SolvesTheScenes)
{
    using Matrix = Eigen::SparseMatrix<double>;
    for (const kyrOrvel::client::Scene& scene :
         {kyrOrvel::client::makeChain(30), kyrOrvel::client::makeNet(5),
          kyrOrvel::client::makeLattice(4)}) {
        const auto A = eigenMatrix<Matrix>(scene.matrix);
        const Vector<double> b = Vector<double>::Map(
            scene.rightHandSide.data(), static_cast<Eigen::Index>(scene.rightHandSide.size()));

        const auto x = solved<EigenLDLT<Matrix>>(A, b);

        EXPECT_LE(backwardError<double>(whole(A), x, b), kTolerance<double>);
    }
}

TEST(EigenLDLT, ComputesTheSameDeterminant)
{
    using Matrix = Eigen::SparseMatrix<double>;
    Random random(5);
    const auto A = eigenMatrix<Matrix>(support::randomSpd<double>(random, 5, 0.5, 1, 3));
    Eigen::SimplicialLDLT<Matrix> theirs(A);
    EigenLDLT<Matrix> ours(A);

    EXPECT_NEAR(ours.determinant() / theirs.determinant(), 1, 1e-12);
}

TEST(EigenLDLT, DeterminantOfASaddlePointHasItsSign)
{
    EigenLDLT<Eigen::SparseMatrix<double>> solver(drawn({{2}, {3, 0}}));

    EXPECT_DOUBLE_EQ(solver.determinant(), -9);
}

} // namespace
