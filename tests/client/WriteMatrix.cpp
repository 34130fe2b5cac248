#include "support/Bits.h"
#include "support/BlockSystems.h"
#include "support/Files.h"
#include "support/Random.h"

#include <kyrOrvelClient/MatrixFiles>
#include <kyrOrvelClient/Scenes>

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::BlockPartition;
using kyrOrvel::client::matrixMarketText;
using kyrOrvel::client::ScalarMatrix;
using kyrOrvel::client::Status;
using kyrOrvel::client::StatusCode;
using kyrOrvel::client::writeBlocks;
using kyrOrvel::client::writeMatrixMarket;

namespace {

class WriteMatrix : public testing::Test {
protected:
    /// Writes a matrix and its blocks and reads both.
    BlockMatrix<double> writtenAndRead(const BlockMatrix<double>& A) const
    {
        const std::string matrixPath = m_folder.path("a.mtx");
        const std::string blocksPath = m_folder.path("a.blocks");
        EXPECT_EQ(writeMatrixMarket(matrixPath, A).message, "");
        EXPECT_EQ(writeBlocks(blocksPath, A).message, "");
        EXPECT_EQ(m_folder.numFiles(), 2u) << "nothing else is left beside them";
        ScalarMatrix scalars;
        BlockPartition partition;
        EXPECT_EQ(kyrOrvel::client::readMatrixMarket(matrixPath, scalars).message, "");
        EXPECT_EQ(kyrOrvel::client::readBlocks(blocksPath, scalars.dimension, partition).message,
                  "");
        return kyrOrvel::client::toBlockMatrix(scalars, partition);
    }

    support::Folder m_folder;
};

/// The same blocks with the same bits; of diagonal blocks, the lower triangle.
void expectSame(const BlockMatrix<double>& actual, const BlockMatrix<double>& expected)
{
    ASSERT_EQ(actual.blockSizes(), expected.blockSizes());
    EXPECT_EQ(actual.firstTrailing(), expected.firstTrailing());
    ASSERT_EQ(support::rowsOf(actual), support::rowsOf(expected));
    for (unsigned int r = 0; r < expected.numBlockRows(); ++r)
        for (const auto& entry : expected.row(r)) {
            SCOPED_TRACE(testing::Message() << "block " << r << ", " << entry.column);
            const std::size_t n = expected.blockSize(entry.column);
            const double* const block = actual.find(r, entry.column);
            for (unsigned int i = 0; i < expected.blockSize(r); ++i)
                EXPECT_TRUE(support::sameBits(block + i * n, entry.values + i * n,
                                              entry.column == r ? i + 1 : n));
        }
}

/// Any finite number: denormals and zeros of both signs among them.
double anyNumber(support::Random& random)
{
    if (random.chance(0.1))
        return random.chance(0.5) ? 0.0 : -0.0;
    for (;;) {
        const std::uint64_t bits =
            (std::uint64_t(random.integer(0, 0xFFFFFFFF)) << 32) | random.integer(0, 0xFFFFFFFF);
        double value;
        std::memcpy(&value, &bits, sizeof value);
        if (std::isfinite(value))
            return value;
    }
}

//  4
//  0.1 3      and a trailing block of one row that couples to the first body alone
//  .   .  5
//  1  -2  .  .
TEST_F(WriteMatrix, FileHoldsTheLowerTriangleRowByRow)
{
    BlockMatrix<double> A({2, 1, 1}, 2);
    const double body[] = {4, 77, 0.1, 3}; // 77 stands above the diagonal
    const double joint[] = {1, -2};
    const double other = 5;
    ASSERT_TRUE(A.add(0, 0, body).ok());
    ASSERT_TRUE(A.add(1, 1, &other).ok());
    ASSERT_TRUE(A.add(2, 0, joint).ok());
    const std::string path = m_folder.path("a.mtx");

    EXPECT_TRUE(writeMatrixMarket(path, A).ok());

    EXPECT_EQ(support::contentOf(path), "%%MatrixMarket matrix coordinate real symmetric\n"
                                        "4 4 6\n"
                                        "1 1 4\n"
                                        "2 1 0.10000000000000001\n"
                                        "2 2 3\n"
                                        "3 3 5\n"
                                        "4 1 1\n"
                                        "4 2 -2\n");
    EXPECT_EQ(m_folder.numFiles(), 1u);
    std::string text;
    EXPECT_TRUE(matrixMarketText(A, text).ok());
    EXPECT_EQ(text, support::contentOf(path));
}

TEST_F(WriteMatrix, BlocksAreWrittenInLinesOfThirty)
{
    std::vector<unsigned int> sizes(31, 1);
    sizes[2] = 0;
    sizes[30] = 12;
    const std::string path = m_folder.path("a.blocks");

    EXPECT_TRUE(writeBlocks(path, BlockMatrix<double>(sizes, 29)).ok());

    EXPECT_EQ(support::contentOf(path),
              "blocks 31 firstTrailing 29\n"
              "1 1 0 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1\n"
              "12\n");
}

TEST_F(WriteMatrix, ScenesAreReadBackToTheBit)
{
    for (const auto& scene :
         {kyrOrvel::client::makeTracks(22), kyrOrvel::client::makeRopeBridge(5),
          kyrOrvel::client::makeElasticity(3), kyrOrvel::client::makePoseGraph(30)})
        expectSame(writtenAndRead(scene.matrix), scene.matrix);
}

TEST_F(WriteMatrix, AnyFiniteNumbersAreReadBackToTheBit)
{
    for (unsigned int seed = 1; seed <= 50; ++seed) {
        SCOPED_TRACE(seed);
        support::Random random(seed);
        const unsigned int n = random.integer(1, 8);
        std::vector<unsigned int> sizes(n);
        for (unsigned int& size : sizes)
            size = random.integer(0, 5);
        sizes[0] = 1;
        BlockMatrix<double> A(sizes, random.integer(1, n));
        for (unsigned int r = 0; r < n; ++r)
            for (unsigned int c = 0; c <= r; ++c) {
                const std::size_t size = std::size_t(sizes[r]) * sizes[c];
                if (size == 0 || (c != r && random.chance(0.5)))
                    continue;
                double* const block = A.block(r, c);
                for (std::size_t e = 0; e < size; ++e)
                    block[e] = anyNumber(random);
                if (c == r)
                    block[0] = 1; // not a block of zeros
            }
        expectSame(writtenAndRead(A), A);
    }
}

TEST_F(WriteMatrix, BlockOfZerosStaysABlockExceptOnTheDiagonalOfATrailingOne)
{
    const BlockMatrix<double> A = support::drawnMatrix({"X", "X X", "X . X"}, 2, {2, 3, 2});

    EXPECT_EQ(support::rowsOf(writtenAndRead(A)), support::drawnRows({"X", "X X", "X . ."}));
}

// The reader takes a matrix with many empty rows for a mistake.
TEST_F(WriteMatrix, TrailingBlockThatCouplesToNothingIsReadBack)
{
    const BlockMatrix<double> A = support::drawnMatrix({"X", ". .", ". . ."}, 1, {1, 3, 2});

    EXPECT_EQ(support::rowsOf(writtenAndRead(A)), support::drawnRows({"X", ". .", ". . ."}));
}

TEST_F(WriteMatrix, BlockThatCouplesToEmptyBlocksOnlyIsReadBack)
{
    const BlockMatrix<double> A = support::drawnMatrix({"X", "X ."}, 1, {0, 4});

    EXPECT_EQ(writtenAndRead(A).dimension(), 4u);
}

TEST_F(WriteMatrix, ValuesThatAreNotFiniteAreRefusedWithTheirPlace)
{
    for (const double bad :
         {std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()}) {
        BlockMatrix<double> A({2, 2});
        A.setId(1, 1000);
        A.block(0, 0)[1] = bad; // above the diagonal nothing counts
        A.block(1, 0)[2] = bad;
        const std::string path = m_folder.write("a.mtx", "old");

        const Status status = writeMatrixMarket(path, A);

        EXPECT_EQ(status.code, StatusCode::NotFinite);
        EXPECT_EQ(status.message, path + ": block (1, 0) holds an infinity or NaN in row 1, which "
                                         "no file can hold");
        EXPECT_EQ(status.block, 1u);
        EXPECT_EQ(status.row, 1u);
        EXPECT_EQ(status.id, 1000u);
        EXPECT_EQ(support::contentOf(path), "old");
        std::string text = "untouched";
        EXPECT_EQ(matrixMarketText(A, text).code, StatusCode::NotFinite);
        EXPECT_EQ(text, "untouched");
    }
}

TEST_F(WriteMatrix, MatrixWithoutRowsIsRefused)
{
    const std::string path = m_folder.path("a");
    for (const auto& write : {writeMatrixMarket, writeBlocks}) {
        const Status status = write(path, BlockMatrix<double>());

        EXPECT_EQ(status.code, StatusCode::InvalidInput);
        EXPECT_EQ(status.message, path + ": a matrix without rows has no file");
    }
    EXPECT_EQ(m_folder.numFiles(), 0u);
}

TEST_F(WriteMatrix, PathInNoFolderIsReported)
{
    const BlockMatrix<double> A = support::scalarMatrix<double>({{1}});
    const std::string path = m_folder.path("none/a");

    EXPECT_EQ(writeMatrixMarket(path, A).message, path + ": No such file or directory");
    EXPECT_EQ(writeBlocks(path, A).message, path + ": No such file or directory");
    EXPECT_EQ(m_folder.numFiles(), 0u);
}

} // namespace
