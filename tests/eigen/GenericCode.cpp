// Code that is written for any of Eigen's solvers.

#include "EigenSystems.h"

#include <kyrOrvelClient/EigenSupport>
#include <kyrOrvelClient/Scenes>

#include <Eigen/Eigenvalues>
#include <Eigen/IterativeLinearSolvers>
#include <Eigen/SparseCholesky>

#include <gtest/gtest.h>

using namespace eigen_systems;
using kyrOrvel::client::EigenLDLT;
using support::Random;

namespace {

using Matrix = Eigen::SparseMatrix<double>;

template <class Solver> class AnySolver : public testing::Test {
};
using Solvers =
    testing::Types<Eigen::SimplicialLDLT<Matrix>, EigenLDLT<Matrix>,
                   Eigen::SimplicialLDLT<Matrix, Eigen::Upper>, EigenLDLT<Matrix, Eigen::Upper>>;
TYPED_TEST_SUITE(AnySolver, Solvers);

/// Newton's method for A·x + x³ = b, entry by entry: the pattern stays, the diagonal changes.
template <class Solver>
Eigen::VectorXd solveNonlinear(const Matrix& A, const Eigen::VectorXd& b, int& steps)
{
    Eigen::VectorXd x = Eigen::VectorXd::Zero(b.size());
    Matrix slope = A;
    Solver solver;
    solver.analyzePattern(slope);
    for (steps = 0; steps < 50; ++steps) {
        const Eigen::VectorXd residual = b - A * x - x.cwiseProduct(x).cwiseProduct(x);
        if (residual.norm() <= 1e-12 * b.norm())
            break;
        slope = A;
        slope.diagonal() += 3 * x.cwiseProduct(x);
        solver.factorize(slope);
        if (solver.info() != Eigen::Success)
            break;
        x += solver.solve(residual);
    }
    return x;
}

TYPED_TEST(AnySolver, ServesNewtonsMethod)
{
    Random random(8);
    const auto A = eigenMatrix<Matrix>(support::randomSpd<double>(random, 15, 0.2, 1, 3), kBoth);
    const auto b = randomVector<double>(random, A.rows());
    int steps = 0;

    const Eigen::VectorXd x = solveNonlinear<TypeParam>(A, b, steps);

    EXPECT_LT(steps, 15);
    EXPECT_LE((A * x + x.cwiseProduct(x).cwiseProduct(x) - b).norm(), 1e-11 * b.norm());
}

/// The smallest eigenvalue, by inverse iteration: one solve per turn of the loop.
template <class Solver> double smallestEigenvalue(const Matrix& A)
{
    const Solver solver(A);
    Eigen::VectorXd v = Eigen::VectorXd::Ones(A.rows()).normalized();
    for (int turn = 0; turn < 3000; ++turn)
        v = Eigen::VectorXd(solver.solve(v)).normalized();
    return v.dot(A * v);
}

TYPED_TEST(AnySolver, ServesInverseIteration)
{
    Random random(9);
    const auto A = eigenMatrix<Matrix>(support::randomSpd<double>(random, 8, 0.3, 1, 3), kBoth);
    const Eigen::SelfAdjointEigenSolver<Eigen::MatrixXd> exact{Eigen::MatrixXd(A)};

    EXPECT_NEAR(smallestEigenvalue<TypeParam>(A), exact.eigenvalues()[0], 1e-9);
}

TYPED_TEST(AnySolver, HasTheTypesThatGenericCodeAsksFor)
{
    EXPECT_TRUE((std::is_same<typename TypeParam::MatrixType, Matrix>::value));
    EXPECT_TRUE((std::is_same<typename TypeParam::Scalar, double>::value));
    EXPECT_TRUE((std::is_same<typename TypeParam::RealScalar, double>::value));
    EXPECT_TRUE((std::is_same<typename TypeParam::StorageIndex, int>::value));
    EXPECT_EQ(int(TypeParam::ColsAtCompileTime), int(Eigen::Dynamic));
    EXPECT_EQ(int(TypeParam::MaxColsAtCompileTime), int(Eigen::Dynamic));
}

TEST(EigenLDLT, IsAPreconditionerForConjugateGradients)
{
    const kyrOrvel::client::Scene scene = kyrOrvel::client::makeLattice(4);
    const auto A = eigenMatrix<Matrix>(scene.matrix, kBoth);
    const Eigen::VectorXd b = Eigen::VectorXd::LinSpaced(A.rows(), -1, 1);
    Eigen::ConjugateGradient<Matrix, Eigen::Lower | Eigen::Upper, EigenLDLT<Matrix>> solver(A);

    const Eigen::VectorXd x = solver.solve(b);

    EXPECT_EQ(solver.info(), Eigen::Success);
    EXPECT_LE(solver.iterations(), 2);
    EXPECT_LE(backwardError<double>(whole(A), x, b), kTolerance<double>);
}

TEST(EigenLDLT, ServesAnIterationOnAnotherMatrix)
{
    // x is corrected by the factor of a matrix nearby, until it solves A·x = b.
    Random random(10);
    const auto near = eigenMatrix<Matrix>(support::randomSpd<double>(random, 15, 0.3, 1, 3), kBoth);
    Matrix A = near;
    A.diagonal() *= 1.1;
    const auto b = randomVector<double>(random, A.rows());
    const EigenLDLT<Matrix> preconditioner(near);
    Eigen::VectorXd x = Eigen::VectorXd::Zero(b.size());

    for (int turn = 0; turn < 100; ++turn)
        x += preconditioner.solve(b - A * x);

    EXPECT_LE(backwardError<double>(Eigen::MatrixXd(A), x, b), kTolerance<double>);
}

} // namespace
