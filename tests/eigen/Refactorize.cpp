// Further matrices: with the pattern that was analysed, and with others.

#include "EigenSystems.h"

#include "support/Allocations.h"
#include "support/Scalars.h"

#include <kyrOrvelClient/EigenSupport>

#include <gtest/gtest.h>

#include <cstddef>
#include <limits>
#include <string>

using namespace eigen_systems;
using kyrOrvel::client::EigenLDLT;
using kyrOrvel::client::StatusCode;
using support::Random;

namespace {

using Matrix = Eigen::SparseMatrix<double>;

template <class T> class EigenRefactorize : public testing::Test {
};
TYPED_TEST_SUITE(EigenRefactorize, support::Scalars);

TYPED_TEST(EigenRefactorize, ChangedValuesGiveTheBitsOfAFreshSolver)
{
    using T = TypeParam;
    for (unsigned int seed = 1; seed <= 30; ++seed) {
        Random random(seed);
        SCOPED_TRACE(random.seed());
        const BlockMatrix<T> system = support::randomSpd<T>(random, 10, 0.3, 1, 4);
        auto A = eigenMatrix<Eigen::SparseMatrix<T>>(system, kBoth,
                                                     shuffled(random, system.dimension()));
        const auto b = randomVector<T>(random, A.rows());
        EigenLDLT<Eigen::SparseMatrix<T>> warm;
        warm.analyzePattern(A);
        warm.factorize(A);
        A *= T(0.3);
        A.diagonal().array() += T(1);

        warm.factorize(A);

        EigenLDLT<Eigen::SparseMatrix<T>> fresh;
        fresh.analyzePattern(A);
        fresh.factorize(A);
        ASSERT_EQ(warm.info(), Eigen::Success) << warm.lastErrorMessage();
        const Vector<T> x = warm.solve(b);
        const Vector<T> expected = fresh.solve(b);
        EXPECT_EQ(x, expected);
        EXPECT_LE(backwardError<T>(whole(A), x, b), kTolerance<T>);
    }
}

TYPED_TEST(EigenRefactorize, AllocatesNothing)
{
    using T = TypeParam;
    Random random(1);
    const BlockMatrix<T> system = saddlePoint<T>(random);
    const auto A =
        eigenMatrix<Eigen::SparseMatrix<T>>(system, kBoth, shuffled(random, system.dimension()));
    Vector<T> x = randomVector<T>(random, A.rows());
    EigenLDLT<Eigen::SparseMatrix<T>> solver(A);
    x = solver.solve(x);

    const support::AllocationCount count;
    solver.factorize(A);
    x = solver.solve(x);
    const std::size_t allocations = count.allocations();

    EXPECT_EQ(solver.info(), Eigen::Success) << solver.lastErrorMessage();
    EXPECT_EQ(allocations, 0u);
}

TEST(EigenRefactorize, ComputeOnTheSamePatternAllocatesNothing)
{
    Random random(1);
    const auto A = eigenMatrix<Matrix>(support::randomSpd<double>(random, 10, 0.3, 1, 4));
    EigenLDLT<Matrix> solver(A);

    const support::AllocationCount count;
    solver.compute(A);
    const std::size_t allocations = count.allocations();

    EXPECT_EQ(solver.info(), Eigen::Success) << solver.lastErrorMessage();
    EXPECT_EQ(allocations, 0u);
}

TEST(EigenRefactorize, ComputeTakesANewPattern)
{
    EigenLDLT<Matrix> solver(drawn({{4}, {1, 3}}));

    solver.compute(drawn({{4}, {1, 3}, {1, 0, 2}}));

    ASSERT_EQ(solver.info(), Eigen::Success) << solver.lastErrorMessage();
    const Eigen::VectorXd x = solver.solve(Eigen::Vector3d(6, 4, 3));
    EXPECT_TRUE(x.isApprox(Eigen::Vector3d(1, 1, 1), 1e-14)) << x.transpose();
}

/// Expects that a factorization of `changed` is refused after an analysis of `analysed`, with a
/// message that holds `place`.
void expectMismatch(const Matrix& analysed, const Matrix& changed, const std::string& place)
{
    EigenLDLT<Matrix> solver(analysed);
    ASSERT_EQ(solver.info(), Eigen::Success) << solver.lastErrorMessage();

    solver.factorize(changed);

    EXPECT_EQ(solver.info(), Eigen::InvalidInput);
    EXPECT_EQ(solver.status().code, StatusCode::PatternMismatch);
    EXPECT_NE(solver.lastErrorMessage().find(place), std::string::npos)
        << solver.lastErrorMessage();
    const Eigen::VectorXd x = solver.solve(Eigen::VectorXd::Ones(solver.rows()));
    EXPECT_TRUE(x.array().isNaN().all()) << "no solution for a matrix that was not factored";
    EXPECT_EQ(solver.info(), Eigen::InvalidInput);

    solver.factorize(analysed);

    EXPECT_EQ(solver.info(), Eigen::Success) << solver.lastErrorMessage();
}

Matrix withoutZeros(Matrix A)
{
    A.prune(0.0);
    return A;
}

TEST(EigenRefactorize, AnEntryMoreIsAMismatch)
{
    const Matrix A = withoutZeros(drawn({{4}, {1, 3}, {0, 1, 2}}));

    expectMismatch(A, drawn({{4}, {1, 3}, {1, 1, 2}}), "row 2, column 0");
}

TEST(EigenRefactorize, AnEntryLessIsAMismatch)
{
    const Matrix A = withoutZeros(drawn({{4}, {1, 3}, {0, 1, 2}}));

    expectMismatch(drawn({{4}, {1, 3}, {1, 1, 2}}), A, "row 2, column 0");
}

TEST(EigenRefactorize, AnEntryElsewhereIsAMismatch)
{
    const Matrix A = withoutZeros(drawn({{4}, {1, 3}, {0, 1, 2}}));
    const Matrix B = withoutZeros(drawn({{4}, {0, 3}, {1, 1, 2}}));

    expectMismatch(A, B, "row 1, column 0");
}

TEST(EigenRefactorize, TheLastEntryMissingIsAMismatch)
{
    Matrix A = drawn({{4}, {1, 3}, {1, 1, 2}});
    A.prune([](Eigen::Index row, Eigen::Index column, double) { return row != 2 || column != 2; });

    expectMismatch(drawn({{4}, {1, 3}, {1, 1, 2}}), A, "row 2, column 2");
}

TEST(EigenRefactorize, AnotherSizeIsAMismatch)
{
    expectMismatch(drawn({{4}, {1, 3}}), drawn({{4}, {1, 3}, {1, 1, 2}}), "3 rows and 3 columns");
    expectMismatch(drawn({{4}, {1, 3}, {1, 1, 2}}), drawn({{4}, {1, 3}}), "2 rows and 2 columns");
    expectMismatch(drawn({{4}, {1, 3}}), Matrix(2, 3), "2 rows and 3 columns");
    expectMismatch(drawn({{4}, {1, 3}}), Matrix(0, 0), "0 rows and 0 columns");
}

TEST(EigenRefactorize, RandomChangesOfThePatternAreFound)
{
    for (unsigned int seed = 1; seed <= 100; ++seed) {
        Random random(seed);
        SCOPED_TRACE(random.seed());
        const auto A = eigenMatrix<Matrix>(support::randomSpd<double>(random, 6, 0.3, 1, 3));
        const auto n = static_cast<unsigned int>(A.rows());
        const auto column = static_cast<Eigen::Index>(random.integer(0, n - 1));
        const auto row =
            static_cast<Eigen::Index>(random.integer(static_cast<unsigned int>(column), n - 1));
        Matrix B = A;
        if (A.coeff(row, column) == 0)
            B.insert(row, column) = 1e-3;
        else
            B.prune(
                [&](Eigen::Index i, Eigen::Index j, double) { return i != row || j != column; });

        expectMismatch(A, B, "row " + std::to_string(row) + ", column " + std::to_string(column));
    }
}

TEST(EigenRefactorize, ChangesInTheOtherTriangleDoNotCount)
{
    const Matrix A = drawn({{4}, {1, 3}});
    EigenLDLT<Matrix> solver(A);
    Matrix B = A;
    B.insert(0, 1) = 7;

    solver.factorize(B);

    EXPECT_EQ(solver.info(), Eigen::Success) << solver.lastErrorMessage();
}

TEST(EigenRefactorize, ADiagonalThatBecomesZeroIsOrderedAnew)
{
    // In the order that suits the first matrix, row 0 would be eliminated first.
    Matrix A = drawn({{1}, {2, 8}});
    EigenLDLT<Matrix> solver(A);
    A.coeffRef(0, 0) = 0;

    solver.factorize(A);

    ASSERT_EQ(solver.info(), Eigen::Success) << solver.lastErrorMessage();
    EXPECT_EQ(solver.rowOf(0), 1);
    const Eigen::VectorXd x = solver.solve(Eigen::Vector2d(2, 10));
    EXPECT_TRUE(x.isApprox(Eigen::Vector2d(1, 1), 1e-14)) << x.transpose();
}

TEST(EigenRefactorize, ADiagonalThatCeasesToBeZeroIsUsed)
{
    // The diagonal block of row 1 is zero at first, and left out.
    Matrix A = drawn({{4}, {1, 0}});
    EigenLDLT<Matrix> solver(A);
    ASSERT_EQ(solver.info(), Eigen::Success) << solver.lastErrorMessage();
    A.coeffRef(1, 1) = -2;

    solver.factorize(A);

    ASSERT_EQ(solver.info(), Eigen::Success) << solver.lastErrorMessage();
    const Eigen::VectorXd x = solver.solve(Eigen::Vector2d(5, -1));
    EXPECT_TRUE(x.isApprox(Eigen::Vector2d(1, 1), 1e-14)) << x.transpose();
}

TEST(EigenRefactorize, ADiagonalThatBecomesZeroBehindOthersIsLeftOut)
{
    Matrix A = drawn({{4}, {1, -2}});
    EigenLDLT<Matrix> solver(A);
    A.coeffRef(1, 1) = 0;

    solver.factorize(A);

    ASSERT_EQ(solver.info(), Eigen::Success) << solver.lastErrorMessage();
    EXPECT_EQ(solver.blocks().find(1, 1), nullptr);
    const Eigen::VectorXd x = solver.solve(Eigen::Vector2d(5, 1));
    EXPECT_TRUE(x.isApprox(Eigen::Vector2d(1, 1), 1e-14)) << x.transpose();
}

TEST(EigenRefactorize, AMatrixOfZerosCanBeAnalysedBeforeItIsFilled)
{
    Matrix A = drawn({{4}, {1, 3}});
    Matrix zeros = A;
    zeros.coeffs().setZero();
    EigenLDLT<Matrix> solver;

    solver.analyzePattern(zeros);
    EXPECT_EQ(solver.info(), Eigen::Success) << solver.lastErrorMessage();
    solver.factorize(A);

    ASSERT_EQ(solver.info(), Eigen::Success) << solver.lastErrorMessage();
    const Eigen::VectorXd x = solver.solve(Eigen::Vector2d(5, 4));
    EXPECT_TRUE(x.isApprox(Eigen::Vector2d(1, 1), 1e-14)) << x.transpose();
}

TEST(EigenRefactorize, RandomChangesOfSignsAreSolved)
{
    for (unsigned int seed = 1; seed <= 100; ++seed) {
        Random random(seed);
        SCOPED_TRACE(random.seed());
        const BlockMatrix<double> system = saddlePoint<double>(random);
        Matrix A = eigenMatrix<Matrix>(system, kLower, shuffled(random, system.dimension()));
        for (Eigen::Index i = 0; i < A.rows(); ++i)
            A.coeffRef(i, i) += 0; // now every diagonal is stored
        EigenLDLT<Matrix> solver(A);
        const auto b = randomVector<double>(random, A.rows());
        for (int change = 0; change < 3; ++change) {
            for (Eigen::Index i = 0; i < A.rows(); ++i)
                if (A.coeff(i, i) <= 0)
                    A.coeffRef(i, i) = random.chance(0.5) ? 0 : -0.5;

            solver.factorize(A);

            ASSERT_EQ(solver.info(), Eigen::Success) << solver.lastErrorMessage();
            const Vector<double> x = solver.solve(b);
            EXPECT_LE(backwardError<double>(whole(A), x, b), kTolerance<double>);
        }
    }
}

TEST(EigenRefactorize, FactorizeBeforeAnAnalysisIsRefused)
{
    EigenLDLT<Matrix> solver;

    solver.factorize(drawn({{4}, {1, 3}}));

    EXPECT_EQ(solver.info(), Eigen::InvalidInput);
    EXPECT_EQ(solver.lastErrorMessage(), "analyzePattern has to succeed first");
}

TEST(EigenRefactorize, AnAnalysisEndsTheFactorization)
{
    const Matrix A = drawn({{4}, {1, 3}});
    EigenLDLT<Matrix> solver(A);

    solver.analyzePattern(A);

    EXPECT_TRUE(Eigen::VectorXd(solver.solve(Eigen::Vector2d(5, 4))).array().isNaN().all());
    EXPECT_TRUE(std::isnan(solver.determinant()));
}

TEST(EigenRefactorize, ExhaustedMemoryIsReportedWhereverItHappens)
{
    Random random(2);
    const auto A = eigenMatrix<Matrix>(saddlePoint<double>(random));
    const auto b = randomVector<double>(random, A.rows());
    for (std::size_t n = 1;; ++n) {
        EigenLDLT<Matrix> solver;
        bool happened = false;
        {
            const support::FailingAllocation failing(n);
            solver.compute(A);
            happened = failing.happened();
        }
        if (!happened) {
            EXPECT_EQ(solver.info(), Eigen::Success) << solver.lastErrorMessage();
            break;
        }
        SCOPED_TRACE(n);
        EXPECT_EQ(solver.status().code, StatusCode::OutOfMemory) << solver.lastErrorMessage();
        EXPECT_EQ(solver.info(), Eigen::InvalidInput);
        EXPECT_EQ(solver.lastErrorMessage(), "out of memory");

        solver.compute(A);

        ASSERT_EQ(solver.info(), Eigen::Success) << solver.lastErrorMessage();
        EXPECT_LE(backwardError<double>(whole(A), Vector<double>(solver.solve(b)), b),
                  kTolerance<double>);
    }
}

} // namespace
