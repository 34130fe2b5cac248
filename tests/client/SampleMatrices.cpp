#include "support/BlockSystems.h"
#include "support/Random.h"

#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/MatrixFiles>

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::BlockPartition;
using kyrOrvel::client::findBlocks;
using kyrOrvel::client::readBlocks;
using kyrOrvel::client::readMatrixMarket;
using kyrOrvel::client::ScalarMatrix;
using kyrOrvel::client::Signs;
using kyrOrvel::client::Status;
using kyrOrvel::client::toBlockMatrix;

namespace {

const std::filesystem::path kFolder = SAMPLE_MATRICES;

/// Matrices of real problems, kept beside the repository.
class SampleMatrix : public testing::TestWithParam<const char*> {
protected:
    void SetUp() override
    {
        if (!std::filesystem::is_directory(kFolder))
            GTEST_SKIP() << "there is no folder " << kFolder;
        const Status status = readMatrixMarket(path(".mtx"), m_scalars);
        ASSERT_TRUE(status.ok()) << status.message;
    }

    std::string path(const char* extension) const
    {
        return (kFolder / (std::string(GetParam()) + extension)).string();
    }

    /// Factors, solves and refines, for a solution of ones and for any right-hand side; expects
    /// that only rounding is left.
    static void expectSolved(const BlockMatrix<double>& A)
    {
        BlockLDLT<double> solver;
        solver.setSigns(Signs::Any);
        ASSERT_TRUE(solver.compute(A).ok()) << solver.info().message;
        const std::vector<double> ones(A.dimension(), 1.0);
        std::vector<double> b(A.dimension());
        A.multiply(ones.data(), b.data());

        EXPECT_LT(support::relativeResidual(A, solved(solver, b), b), 1e-14);

        // Where x is far larger than b, rounding of A·x alone exceeds a share of b.
        support::Random random(1);
        b = random.scalars<double>(A.dimension());
        EXPECT_LT(support::backwardError(A, solved(solver, b), b), 1e-15);
    }

    static std::vector<double> solved(BlockLDLT<double>& solver, const std::vector<double>& b)
    {
        std::vector<double> x(b.size());
        EXPECT_TRUE(solver.solve(b.data(), x.data()).ok()) << solver.info().message;
        EXPECT_TRUE(solver.refine(b.data(), x.data(), 10).ok()) << solver.info().message;
        return x;
    }

    ScalarMatrix m_scalars;
};

TEST_P(SampleMatrix, IsSolvedByItsOwnBlocks)
{
    BlockPartition partition;
    const Status status = readBlocks(path(".blocks"), m_scalars.dimension, partition);
    ASSERT_TRUE(status.ok()) << status.message;

    expectSolved(toBlockMatrix(m_scalars, partition));
}

TEST_P(SampleMatrix, IsSolvedByTheBlocksThatAreFound)
{
    expectSolved(toBlockMatrix(m_scalars, findBlocks(m_scalars)));
}

INSTANTIATE_TEST_SUITE_P(Files, SampleMatrix,
                         testing::Values("bullet_hingechain20", "bullet_ragdolls4", "pg_pose3grid",
                                         "qp0_CVXQP1_S", "ss_tumorAntiAngiogenesis_2"),
                         [](const auto& file) { return std::string(file.param); });

} // namespace
