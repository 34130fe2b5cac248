#include "support/BlockSystems.h"
#include "support/Files.h"

#include <kyrOrvelClient/MatrixFiles>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>

using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::BlockPartition;
using kyrOrvel::client::readBlocks;
using kyrOrvel::client::readMatrixMarket;
using kyrOrvel::client::ScalarMatrix;
using kyrOrvel::client::Status;
using kyrOrvel::client::StatusCode;
using kyrOrvel::client::toBlockMatrix;
using kyrOrvel::client::writeBlocks;
using kyrOrvel::client::writeMatrixMarket;

namespace {

class WriteMatrixMarket : public testing::Test {
protected:
    /// Written, then read with its blocks.
    BlockMatrix<double> roundTrip(const BlockMatrix<double>& A) const
    {
        const std::string path = m_folder.path("m.mtx");
        const std::string blocks = m_folder.path("m.blocks");
        Status status = writeMatrixMarket(path, A);
        if (status.ok())
            status = writeBlocks(blocks, A);
        ScalarMatrix scalars;
        BlockPartition partition;
        if (status.ok())
            status = readMatrixMarket(path, scalars);
        if (status.ok())
            status = readBlocks(blocks, scalars.dimension, partition);
        EXPECT_TRUE(status.ok()) << status.message;
        return status.ok() ? toBlockMatrix(scalars, partition) : BlockMatrix<double>();
    }

    void expectRefused(const BlockMatrix<double>& A, const std::string& why) const
    {
        const std::string path = m_folder.path("m.mtx");
        const Status status = writeMatrixMarket(path, A);
        EXPECT_EQ(status.code, StatusCode::InvalidInput);
        EXPECT_EQ(status.message, path + ": not written: " + why);
        EXPECT_EQ(m_folder.numFiles(), 0u);
    }

    support::Folder m_folder;
};

/// Of diagonal blocks the lower triangle.
void expectSame(const BlockMatrix<double>& actual, const BlockMatrix<double>& A)
{
    EXPECT_EQ(actual.blockSizes(), A.blockSizes());
    EXPECT_EQ(actual.firstTrailing(), A.firstTrailing());
    ASSERT_EQ(support::rowsOf(actual), support::rowsOf(A));
    for (unsigned int r = 0; r < A.numBlockRows(); ++r)
        for (std::size_t e = 0; e < A.row(r).size(); ++e) {
            const auto& entry = A.row(r)[e];
            const std::size_t n = A.blockSize(entry.column);
            for (std::size_t i = 0; i < A.blockSize(r); ++i)
                EXPECT_EQ(std::memcmp(actual.row(r)[e].values + i * n, entry.values + i * n,
                                      (entry.column == r ? i + 1 : n) * sizeof(double)),
                          0)
                    << "row " << i << " of block (" << r << ", " << entry.column << ")";
        }
}

// Entries are written block row by block row, zeros included.
TEST_F(WriteMatrixMarket, TextIsTheLowerTriangle)
{
    BlockMatrix<double> A({2, 1}, 1);
    const double body[] = {4, 99, 0.1, 5};
    std::copy_n(body, 4, A.block(0, 0));
    A.block(1, 0)[1] = -1;
    const std::string path = m_folder.path("m.mtx");
    const std::string blocks = m_folder.path("m.blocks");

    ASSERT_TRUE(writeMatrixMarket(path, A).ok());
    ASSERT_TRUE(writeBlocks(blocks, A).ok());

    EXPECT_EQ(support::contentOf(path), "%%MatrixMarket matrix coordinate real symmetric\n"
                                        "3 3 5\n"
                                        "1 1 4\n"
                                        "2 1 0.10000000000000001\n"
                                        "2 2 5\n"
                                        "3 1 0\n"
                                        "3 2 -1\n");
    EXPECT_EQ(support::contentOf(blocks), "blocks 2 firstTrailing 1\n2 1\n");
}

TEST_F(WriteMatrixMarket, ReadBackItIsTheSameToTheBit)
{
    for (std::uint64_t seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        support::Random random(seed);
        support::KktShape shape;
        shape.bodies = 20;
        shape.joints = 17;
        shape.compliance = random.chance(0.5) ? 0.125 : 0;
        const BlockMatrix<double> A = support::randomKkt<double>(random, shape);
        expectSame(roundTrip(A), A);
    }
}

TEST_F(WriteMatrixMarket, HardValuesAndBlocksOfZerosAreReadBack)
{
    using Limits = std::numeric_limits<double>;
    BlockMatrix<double> A({2, 0, 2}, 2);
    const double values[] = {Limits::denorm_min(), 0, -0.0, Limits::max()};
    std::copy_n(values, 4, A.block(0, 0));
    A.block(2, 0);
    expectSame(roundTrip(A), A);
}

// The reader takes a matrix with too many empty rows for a mistake.
TEST_F(WriteMatrixMarket, TrailingBlockThatCouplesToNothingIsReadBack)
{
    const BlockMatrix<double> A({3}, 0);
    expectSame(roundTrip(A), A);
}

TEST_F(WriteMatrixMarket, MatrixWithoutRowsIsRefused)
{
    expectRefused(BlockMatrix<double>({0, 0}),
                  "a matrix of 0 rows is outside the range of 1 to 2147483646");
}

TEST_F(WriteMatrixMarket, ValueThatIsNotFiniteIsRefused)
{
    expectRefused(
        support::scalarMatrix<double>({{1}, {std::numeric_limits<double>::infinity(), 1}}),
        "block row 1 holds an infinity or NaN, which Matrix Market files have no words for");
}

TEST_F(WriteMatrixMarket, PathInNoFolderIsReported)
{
    const std::string path = m_folder.path("none/m");
    const BlockMatrix<double> A = support::scalarMatrix<double>({{1}});

    EXPECT_EQ(writeMatrixMarket(path, A).message, path + ": No such file or directory");
    EXPECT_EQ(writeBlocks(path, A).message, path + ": No such file or directory");
}

} // namespace
