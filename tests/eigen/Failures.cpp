// Matrices that cannot be solved, and what is said about them.

#include "EigenSystems.h"

#include <kyrOrvelClient/EigenSupport>

#include <gtest/gtest.h>

#include <limits>
#include <string>

using namespace eigen_systems;
using kyrOrvel::client::EigenLDLT;
using kyrOrvel::client::StatusCode;

namespace {

using Matrix = Eigen::SparseMatrix<double>;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

void expectNoSolution(const EigenLDLT<Matrix>& solver)
{
    const Eigen::VectorXd x = solver.solve(Eigen::VectorXd::Ones(solver.rows()));
    EXPECT_TRUE(x.array().isNaN().all());
}

TEST(EigenFailures, SingularMatrixIsNamedByItsRow)
{
    const Matrix A = drawn({{1}, {1, 4}, {2, 0, 0}, {4, 0, 0, 0}}); // row 3 is twice row 2
    EigenLDLT<Matrix> solver(A);

    EXPECT_EQ(solver.info(), Eigen::NumericalIssue);
    EXPECT_EQ(solver.status().code, StatusCode::Singular);
    EXPECT_EQ(solver.rowOf(solver.status().block, solver.status().row), 3);
    EXPECT_EQ(solver.lastErrorMessage().rfind("row 3 of the matrix: ", 0), 0u)
        << solver.lastErrorMessage();
    ASSERT_EQ(solver.status().dependsOn.size(), 1u);
    EXPECT_EQ(solver.rowOf(solver.status().dependsOn[0].block, solver.status().dependsOn[0].row),
              2);
    EXPECT_DOUBLE_EQ(solver.status().dependsOn[0].coefficient, 2);
    expectNoSolution(solver);
}

TEST(EigenFailures, SingularPatternIsFoundByTheAnalysis)
{
    Matrix A = drawn({{4}, {0, 0}});
    A.prune(0.0);
    EigenLDLT<Matrix> solver;

    solver.analyzePattern(A);

    EXPECT_EQ(solver.info(), Eigen::NumericalIssue);
    EXPECT_EQ(solver.lastErrorMessage().rfind("row 1 of the matrix: ", 0), 0u)
        << solver.lastErrorMessage();

    solver.factorize(A);

    EXPECT_EQ(solver.info(), Eigen::NumericalIssue) << "factorize tells it again";
    EXPECT_EQ(solver.status().code, StatusCode::Singular);
    expectNoSolution(solver);
}

TEST(EigenFailures, MatrixOfZerosIsSingular)
{
    EigenLDLT<Matrix> solver(Matrix(3, 3));

    EXPECT_EQ(solver.info(), Eigen::NumericalIssue);
    EXPECT_EQ(solver.status().code, StatusCode::Singular);
}

TEST(EigenFailures, SolveWithoutAFactorIsReported)
{
    Matrix A(2, 2);
    A.insert(0, 0) = 2;
    A.insert(1, 1) = 3;
    EigenLDLT<Matrix> solver;
    solver.analyzePattern(A);
    ASSERT_EQ(solver.info(), Eigen::Success);

    expectNoSolution(solver);

    EXPECT_EQ(solver.info(), Eigen::InvalidInput);
    EXPECT_EQ(solver.status().code, StatusCode::CallSequence);
}

TEST(EigenFailures, NaNIsReportedWithItsPlace)
{
    for (const bool onDiagonal : {false, true}) {
        const Matrix good = drawn({{4}, {1, 3}, {0, 1, 2}});
        Matrix A = good;
        A.coeffRef(2, onDiagonal ? 2 : 1) = kNaN;
        EigenLDLT<Matrix> solver;
        solver.setBlockSizes({1, 1, 1});

        solver.compute(A);

        EXPECT_EQ(solver.info(), Eigen::NumericalIssue);
        EXPECT_EQ(solver.status().code, StatusCode::NotFinite);
        EXPECT_EQ(solver.lastErrorMessage().rfind("row 2 of the matrix: ", 0), 0u)
            << solver.lastErrorMessage();
        expectNoSolution(solver);

        solver.factorize(good);

        EXPECT_EQ(solver.info(), Eigen::Success) << solver.lastErrorMessage();
    }
}

TEST(EigenFailures, InfinityIsReported)
{
    Matrix A = drawn({{4}, {1, 3}});
    EigenLDLT<Matrix> solver(A);
    A.coeffRef(1, 0) = std::numeric_limits<double>::infinity();

    solver.factorize(A);

    EXPECT_EQ(solver.info(), Eigen::NumericalIssue);
    EXPECT_EQ(solver.status().code, StatusCode::NotFinite);
}

TEST(EigenFailures, MatricesHaveToBeSquare)
{
    EigenLDLT<Matrix> solver;

    solver.compute(Matrix(3, 2));

    EXPECT_EQ(solver.info(), Eigen::InvalidInput);
    EXPECT_EQ(solver.lastErrorMessage(),
              "the matrix has 3 rows and 2 columns; it has to be square");
    EXPECT_EQ(solver.rows(), 0);
}

TEST(EigenFailures, PlacesThatAreStoredTwiceAreRefused)
{
    const int start[] = {0, 3, 4}, rows[] = {0, 1, 1, 1};
    const double values[] = {4, 1, 1, 3};
    const Eigen::Map<const Matrix> A(2, 2, 4, start, rows, values);

    EigenLDLT<Matrix> solver(A);

    EXPECT_EQ(solver.info(), Eigen::InvalidInput);
    EXPECT_EQ(solver.lastErrorMessage(), "the matrix holds two values at row 1, column 0");
}

TEST(EigenFailures, IndicesOutsideTheMatrixAreRefused)
{
    const int start[] = {0, 2, 3}, rows[] = {0, 7, 1};
    const double values[] = {4, 1, 3};
    const Eigen::Map<const Matrix> A(2, 2, 3, start, rows, values);
    EigenLDLT<Matrix> solver;

    solver.compute(A);

    EXPECT_EQ(solver.info(), Eigen::InvalidInput);
    EXPECT_EQ(solver.lastErrorMessage(), "the entry at row 7, column 0 lies outside the matrix");

    solver.compute(drawn({{4}, {1, 3}}));
    solver.factorize(A);

    EXPECT_EQ(solver.info(), Eigen::InvalidInput);
}

TEST(EigenFailures, ASuccessForgetsThem)
{
    EigenLDLT<Matrix> solver(Matrix(3, 2));

    solver.compute(drawn({{4}, {1, 3}}));

    EXPECT_EQ(solver.info(), Eigen::Success);
    EXPECT_EQ(solver.lastErrorMessage(), "");
}

} // namespace
