// How rows are divided into blocks, and what the solver behind it is told.

#include "EigenSystems.h"

#include <kyrOrvelClient/EigenSupport>
#include <kyrOrvelClient/Scenes>

#include <gtest/gtest.h>

#include <numeric>
#include <vector>

using namespace eigen_systems;
using kyrOrvel::client::EigenLDLT;
using kyrOrvel::client::StatusCode;
using support::Random;

namespace {

using Matrix = Eigen::SparseMatrix<double>;
using Sizes = std::vector<unsigned int>;

TEST(EigenBlocks, AreFoundInThePattern)
{
    const kyrOrvel::client::Scene scene = kyrOrvel::client::makeChain(10);
    EigenLDLT<Matrix> solver(eigenMatrix<Matrix>(scene.matrix));

    EXPECT_EQ(solver.blocks().blockSizes(), scene.matrix.blockSizes());
    EXPECT_EQ(solver.blocks().firstTrailing(), scene.matrix.firstTrailing());
}

TEST(EigenBlocks, UncoupledRowsWithTheSameNeighboursFormOne)
{
    // Three nodes in a row, of two coordinates that do not couple to each other, but to both of the
    // next node.
    Matrix A = drawn({{9}, {0, 9}, {1, 2, 9}, {2, 1, 0, 9}, {0, 0, 3, 1, 9}, {0, 0, 1, 3, 0, 9}});
    A.prune(0.0);
    EigenLDLT<Matrix> solver(A);

    EXPECT_EQ(solver.blocks().blockSizes(), (Sizes{2, 2, 2}));
    const Eigen::VectorXd b = whole(A) * Eigen::VectorXd::Ones(6);
    EXPECT_TRUE(Eigen::VectorXd(solver.solve(b)).isOnes(1e-13));
}

TEST(EigenBlocks, UncoupledRowsStayApartWhereABlockWouldBeMostlyZeros)
{
    // An arrow: the first rows couple to the last one alone.
    Matrix A = drawn({{9}, {0, 9}, {0, 0, 9}, {1, 2, 1, 9}});
    A.prune(0.0);
    EigenLDLT<Matrix> solver(A);

    EXPECT_EQ(solver.blocks().blockSizes(), (Sizes{1, 1, 1, 1}));
}

TEST(EigenBlocks, RowsWithoutAPositiveDiagonalAreTrailing)
{
    // Row 0 is a constraint without compliance, row 2 one with.
    EigenLDLT<Matrix> solver(drawn({{0}, {1, 4}, {0, 1, -1}, {1, 0, 1, 4}}));

    ASSERT_EQ(solver.info(), Eigen::Success) << solver.lastErrorMessage();
    EXPECT_EQ(solver.blocks().firstTrailing(), 1u);
    EXPECT_EQ(solver.rowOf(0, 0), 1);
    EXPECT_EQ(solver.rowOf(0, 1), 3);
    EXPECT_EQ(solver.rowOf(1, 0), 0);
    EXPECT_EQ(solver.rowOf(1, 1), 2);
}

TEST(EigenBlocks, RowOfABlockThatIsNotThereIsNone)
{
    EigenLDLT<Matrix> solver(drawn({{4}}));

    EXPECT_EQ(solver.rowOf(0, 0), 0);
    EXPECT_EQ(solver.rowOf(0, 1), -1);
    EXPECT_EQ(solver.rowOf(1, 0), -1);
}

TEST(EigenBlocks, AreTakenAsGiven)
{
    Random random(6);
    const Matrix A = eigenMatrix<Matrix>(support::randomSpd<double>(random, 6, 0.5, 2, 2));
    const auto b = randomVector<double>(random, A.rows());
    EigenLDLT<Matrix> solver;
    solver.setBlockSizes({5, 1, 6});

    solver.compute(A);

    ASSERT_EQ(solver.info(), Eigen::Success) << solver.lastErrorMessage();
    EXPECT_EQ(solver.blocks().blockSizes(), (Sizes{5, 1, 6}));
    EXPECT_LE(backwardError<double>(whole(A), Vector<double>(solver.solve(b)), b),
              kTolerance<double>);
}

TEST(EigenBlocks, GivenOnesWithAZeroDiagonalGoLast)
{
    // Blocks of 1, 2 and 1 rows, the second one a constraint in its second row.
    const Matrix A = drawn({{4}, {1, -1}, {2, 0, 0}, {0, 1, 3, 4}});
    EigenLDLT<Matrix> solver;
    solver.setBlockSizes({1, 2, 1});

    solver.compute(A);

    ASSERT_EQ(solver.info(), Eigen::Success) << solver.lastErrorMessage();
    EXPECT_EQ(solver.blocks().blockSizes(), (Sizes{1, 1, 2}));
    EXPECT_EQ(solver.blocks().firstTrailing(), 2u);
    const Eigen::VectorXd b = whole(A) * Eigen::VectorXd::Ones(4);
    EXPECT_TRUE(Eigen::VectorXd(solver.solve(b)).isOnes(1e-13));
}

TEST(EigenBlocks, RandomDivisionsAreSolved)
{
    for (unsigned int seed = 1; seed <= 50; ++seed) {
        Random random(seed);
        SCOPED_TRACE(random.seed());
        const BlockMatrix<double> system = saddlePoint<double>(random);
        const auto A = eigenMatrix<Matrix>(system);
        const auto b = randomVector<double>(random, A.rows());
        Sizes sizes;
        for (const unsigned int size : system.blockSizes()) { // parts of the system's own
            sizes.push_back(random.integer(0, size));
            sizes.push_back(size - sizes.back());
        }
        EigenLDLT<Matrix> solver;
        solver.setBlockSizes(sizes);

        solver.compute(A);

        ASSERT_EQ(solver.info(), Eigen::Success) << solver.lastErrorMessage();
        EXPECT_EQ(solver.blocks().numBlockRows(), sizes.size());
        EXPECT_LE(backwardError<double>(whole(A), Vector<double>(solver.solve(b)), b),
                  kTolerance<double>);
    }
}

TEST(EigenBlocks, SizesThatDoNotAddUpAreRefused)
{
    const Matrix A = drawn({{4}, {1, 3}});
    EigenLDLT<Matrix> solver;
    for (const Sizes& wrong : {Sizes{1}, Sizes{2, 1}, Sizes{0}, Sizes{~0u, 3}}) {
        solver.setBlockSizes(wrong);

        solver.compute(A);

        EXPECT_EQ(solver.info(), Eigen::InvalidInput);
        EXPECT_NE(solver.lastErrorMessage().find("but the matrix has 2 rows"), std::string::npos)
            << solver.lastErrorMessage();
        solver.factorize(A);
        EXPECT_EQ(solver.info(), Eigen::InvalidInput);
    }
}

TEST(EigenBlocks, NoSizesFindThemAgain)
{
    const Matrix A = drawn({{4}, {1, 3}});
    EigenLDLT<Matrix> solver;
    solver.setBlockSizes({1, 1});
    solver.compute(A);
    ASSERT_EQ(solver.blocks().blockSizes(), (Sizes{1, 1}));

    solver.setBlockSizes({});
    solver.compute(A);

    EXPECT_EQ(solver.blocks().blockSizes(), Sizes{2});
}

TEST(EigenSettings, TakeEffectWithTheNextFactorization)
{
    const kyrOrvel::client::Scene scene = kyrOrvel::client::makeLattice(4);
    const auto A = eigenMatrix<Matrix>(scene.matrix);
    EigenLDLT<Matrix> solver(A);
    solver.solver().setOrdering(kyrOrvel::client::Ordering::Natural);
    solver.solver().setThreads(2);
    solver.solver().setFactorization(kyrOrvel::client::Factorization::Multifrontal);

    solver.factorize(A);

    ASSERT_EQ(solver.info(), Eigen::Success) << solver.lastErrorMessage();
    EXPECT_EQ(solver.solver().analysis().method, kyrOrvel::client::OrderingMethod::Natural);
    EXPECT_EQ(solver.solver().analysis().threads, 2u);
    const Vector<double> b = Vector<double>::Ones(A.rows());
    EXPECT_LE(backwardError<double>(whole(A), Vector<double>(solver.solve(b)), b),
              kTolerance<double>);
}

TEST(EigenSettings, StatisticsTellTheInertia)
{
    const EigenLDLT<Matrix> solver(drawn({{0}, {1, 4}, {0, 1, -1}, {1, 0, 1, 4}}));

    EXPECT_EQ(solver.solver().statistics().positivePivots, 2u);
    EXPECT_EQ(solver.solver().statistics().negativePivots, 2u);
}

TEST(EigenSettings, PivotsOfAnySignAreTakenUnlessOthersAreAskedFor)
{
    const Matrix A = drawn({{1}, {2, 1}, {1, 0, 0}}); // indefinite where no constraint is
    EigenLDLT<Matrix> solver(A);
    EXPECT_EQ(solver.info(), Eigen::Success) << solver.lastErrorMessage();

    solver.solver().setSigns(kyrOrvel::client::Signs::Expected);
    solver.compute(A);

    EXPECT_EQ(solver.info(), Eigen::NumericalIssue);
    EXPECT_EQ(solver.status().code, StatusCode::WrongSigns);
}

TEST(EigenSettings, RegularisedFactorizationsAreSuccesses)
{
    const Matrix A = drawn({{4}, {2, 1}}); // singular
    EigenLDLT<Matrix> solver;
    solver.solver().setRegularization(kyrOrvel::client::Regularization::Dynamic);

    solver.compute(A);

    EXPECT_EQ(solver.info(), Eigen::Success) << solver.lastErrorMessage();
    EXPECT_EQ(solver.lastErrorMessage(), "");
    EXPECT_EQ(solver.status().code, StatusCode::Regularized);
    const Eigen::VectorXd x = solver.solve(Eigen::Vector2d(6, 3));
    EXPECT_NEAR(4 * x[0] + 2 * x[1], 6, 1e-6);
}

} // namespace
