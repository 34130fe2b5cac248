#include "support/Files.h"

#include <kyrOrvelClient/MatrixFiles>

#include <gtest/gtest.h>

#include <string>
#include <vector>

using kyrOrvel::client::BlockPartition;
using kyrOrvel::client::readBlocks;
using kyrOrvel::client::Status;
using kyrOrvel::client::StatusCode;

namespace {

using Words = std::vector<unsigned int>;

class ReadBlocks : public testing::Test {
protected:
    BlockPartition read(const std::string& content, unsigned int dimension) const
    {
        BlockPartition partition;
        const Status status = readBlocks(m_folder.write("a.blocks", content), dimension, partition);
        EXPECT_TRUE(status.ok()) << status.message;
        return partition;
    }

    void expectError(const std::string& content, unsigned int dimension, unsigned int line,
                     const std::string& what) const
    {
        const std::string path = m_folder.write("a.blocks", content);
        BlockPartition partition;
        partition.sizes = {9};
        partition.rows = {1, 0};
        partition.firstTrailing = 5;

        const Status status = readBlocks(path, dimension, partition);

        EXPECT_EQ(status.code, StatusCode::InvalidInput);
        EXPECT_EQ(status.message, path + ":" + std::to_string(line) + ": " + what);
        EXPECT_EQ(partition.sizes, Words{9});
        EXPECT_EQ(partition.rows, (Words{1, 0}));
        EXPECT_EQ(partition.firstTrailing, 5u);
    }

    support::Folder m_folder;
};

TEST_F(ReadBlocks, SizesAreReadAndRowsKeepTheirOrder)
{
    const BlockPartition partition = read("blocks 3 firstTrailing 2\n2 1\n2\n", 5);

    EXPECT_EQ(partition.sizes, (Words{2, 1, 2}));
    EXPECT_EQ(partition.firstTrailing, 2u);
    EXPECT_EQ(partition.rows, (Words{0, 1, 2, 3, 4}));
}

TEST_F(ReadBlocks, AnyWhiteSpaceSeparates)
{
    EXPECT_EQ(read("\n blocks\n3\tfirstTrailing\r\n\r\n2\r\n2 1\n\n2", 5).sizes, (Words{2, 1, 2}));
    EXPECT_EQ(read("blocks 2 firstTrailing 0 1 1", 2).sizes, (Words{1, 1}));
}

TEST_F(ReadBlocks, BlocksOfSizeZeroAreFine)
{
    EXPECT_EQ(read("blocks 3 firstTrailing 3\n0 2 0\n", 2).sizes, (Words{0, 2, 0}));
}

TEST_F(ReadBlocks, FileThatBeginsOtherwiseIsRefused)
{
    const std::string end = " is missing: the file should begin with 'blocks N firstTrailing F'";
    expectError("", 3, 1, "'blocks'" + end);
    expectError("3 1 1 1\n", 3, 1, "'blocks'" + end);
    expectError("Blocks 3 firstTrailing 3\n1 1 1\n", 3, 1, "'blocks'" + end);
    expectError("blocks 3 1 1 1\n", 3, 1, "'firstTrailing'" + end);
    expectError("blocks 3\n", 3, 2, "'firstTrailing'" + end);
    expectError("%%MatrixMarket matrix coordinate real symmetric\n", 3, 1, "'blocks'" + end);
}

TEST_F(ReadBlocks, CountsOutOfRangeAreReported)
{
    expectError("blocks", 3, 1, "the number of blocks is missing");
    expectError("blocks 0 firstTrailing 0\n", 3, 1,
                "the number of blocks '0' is outside the range 1 to 2147483646");
    expectError("blocks x firstTrailing 0\n", 3, 1,
                "the number of blocks should be a whole number, not 'x'");
    expectError("blocks 3 firstTrailing", 3, 1, "the first trailing block is missing");
    expectError("blocks 3 firstTrailing 4\n1 1 1\n", 3, 1,
                "the first trailing block '4' is outside the range 0 to 3");
    expectError("blocks 3 firstTrailing -1\n1 1 1\n", 3, 1,
                "the first trailing block should be a whole number, not '-1'");
}

TEST_F(ReadBlocks, SizesOutOfRangeAreReportedByTheirLine)
{
    expectError("blocks 3 firstTrailing 3\n1\n4 1\n", 3, 3,
                "the block size '4' is outside the range 0 to 3");
    expectError("blocks 3 firstTrailing 3\n1 1.5 1\n", 3, 2,
                "the block size should be a whole number, not '1.5'");
}

TEST_F(ReadBlocks, TooFewOrTooManySizesAreReported)
{
    expectError("blocks 3 firstTrailing 3\n1 2\n", 3, 3, "the file ends after 2 of 3 block sizes");
    expectError("blocks 3 firstTrailing 3\n1 1 1\n0\n", 3, 3,
                "there is more after the 3 block sizes");
}

TEST_F(ReadBlocks, SizesOfAnotherMatrixAreReported)
{
    expectError("blocks 2 firstTrailing 1\n1 2\n", 4, 3,
                "the block sizes add up to 3, but the matrix has 4 rows");
    expectError("blocks 2 firstTrailing 1\n3 3", 4, 2,
                "the block sizes add up to 6, but the matrix has 4 rows");
}

TEST_F(ReadBlocks, HugeClaimOfASmallFileFailsAtItsEnd)
{
    expectError("blocks 2147483646 firstTrailing 2147483646\n1", 3, 2,
                "the file ends after 1 of 2147483646 block sizes");
    expectError("blocks 2147483647 firstTrailing 1\n1", 3, 1,
                "the number of blocks '2147483647' is outside the range 1 to 2147483646");
}

TEST_F(ReadBlocks, MissingFileIsReportedWithoutALine)
{
    BlockPartition partition;

    EXPECT_EQ(readBlocks(m_folder.path("none.blocks"), 3, partition).message,
              m_folder.path("none.blocks") + ": No such file or directory");
}

} // namespace
