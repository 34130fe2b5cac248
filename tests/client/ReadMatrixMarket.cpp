#include "support/Files.h"
#include "support/Random.h"

#include <kyrOrvelClient/MatrixFiles>

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdio>
#include <limits>
#include <string>
#include <vector>

using kyrOrvel::kNone;
using kyrOrvel::client::readMatrixMarket;
using kyrOrvel::client::ScalarMatrix;
using kyrOrvel::client::Status;
using kyrOrvel::client::StatusCode;

namespace {

const std::string kHeader = "%%MatrixMarket matrix coordinate real symmetric\n";

class ReadMatrixMarket : public testing::Test {
protected:
    /// Reads a file of this content; it has to be good.
    ScalarMatrix read(const std::string& content) const
    {
        ScalarMatrix matrix;
        const Status status = readMatrixMarket(m_folder.write("a.mtx", content), matrix);
        EXPECT_TRUE(status.ok()) << status.message;
        EXPECT_EQ(status.message, "");
        return matrix;
    }

    /// Expects exactly this message after "FILE:LINE: ", and an untouched matrix.
    void expectError(const std::string& content, unsigned int line, const std::string& what) const
    {
        const std::string path = m_folder.write("a.mtx", content);
        ScalarMatrix matrix;
        matrix.dimension = 77;
        matrix.entries = {{5, 4, 3.0}};

        const Status status = readMatrixMarket(path, matrix);

        EXPECT_EQ(status.code, StatusCode::InvalidInput);
        EXPECT_EQ(status.message, path + ":" + std::to_string(line) + ": " + what);
        EXPECT_EQ(status.block, kNone);
        EXPECT_EQ(status.row, kNone);
        EXPECT_EQ(matrix.dimension, 77u);
        EXPECT_EQ(matrix.entries.size(), 1u);
    }

    support::Folder m_folder;
};

void expectEntries(const ScalarMatrix& matrix, const std::vector<ScalarMatrix::Entry>& expected)
{
    ASSERT_EQ(matrix.entries.size(), expected.size());
    for (std::size_t k = 0; k < expected.size(); ++k) {
        EXPECT_EQ(matrix.entries[k].row, expected[k].row) << k;
        EXPECT_EQ(matrix.entries[k].column, expected[k].column) << k;
        EXPECT_EQ(matrix.entries[k].value, expected[k].value) << k;
    }
}

TEST_F(ReadMatrixMarket, EntriesComeSortedByRowThenColumn)
{
    const ScalarMatrix matrix = read(kHeader + "3 3 4\n3 1 0.5\n1 1 2\n3 3 -1e-3\n2 2 +4.25\n");

    EXPECT_EQ(matrix.dimension, 3u);
    expectEntries(matrix, {{0, 0, 2}, {1, 1, 4.25}, {2, 0, 0.5}, {2, 2, -1e-3}});
}

TEST_F(ReadMatrixMarket, EntriesAboveTheDiagonalBelongBelow)
{
    expectEntries(read(kHeader + "2 2 2\n1 2 7\n1 1 1\n"), {{0, 0, 1}, {1, 0, 7}});
}

TEST_F(ReadMatrixMarket, ExplicitZerosAreKept)
{
    expectEntries(read(kHeader + "2 2 2\n2 1 0\n1 1 1\n"), {{0, 0, 1}, {1, 0, 0}});
}

TEST_F(ReadMatrixMarket, CommentsAndBlankLinesAreSkipped)
{
    expectEntries(read(kHeader + "% a comment\n\n%\n  % another\n2 2 2\n\n1 1 1\n% within\n"
                                 "   \t\n2 2 3\n\n% at the end\n"),
                  {{0, 0, 1}, {1, 1, 3}});
}

TEST_F(ReadMatrixMarket, LineEndsOfOtherSystemsAreFine)
{
    expectEntries(read("%%MatrixMarket matrix coordinate real symmetric\r\n% c\r\n\r\n2 2 2\r\n"
                       "1 1 1\r\n2 2 3\r\n"),
                  {{0, 0, 1}, {1, 1, 3}});
}

TEST_F(ReadMatrixMarket, LastLineNeedsNoEnd)
{
    expectEntries(read(kHeader + "1 1 1\n1 1 5"), {{0, 0, 5}});
}

TEST_F(ReadMatrixMarket, TabsAndBlanksSeparate)
{
    expectEntries(read(kHeader + "\t1  1\t 1 \n \t1\t1   5 \t\n"), {{0, 0, 5}});
}

TEST_F(ReadMatrixMarket, HeaderIsReadInAnyCase)
{
    expectEntries(read("%%matrixmarket MATRIX Coordinate REAL Symmetric\n1 1 1\n1 1 5\n"),
                  {{0, 0, 5}});
}

TEST_F(ReadMatrixMarket, WholeNumbersAreReadFromAnIntegerFile)
{
    expectEntries(
        read("%%MatrixMarket matrix coordinate integer symmetric\n2 2 2\n1 1 -5\n2 2 3.0\n"),
        {{0, 0, -5}, {1, 1, 3}});
}

TEST_F(ReadMatrixMarket, ExtremeValuesAreReadToTheBit)
{
    using Limits = std::numeric_limits<double>;
    const double values[] = {Limits::max(), Limits::lowest(), Limits::min(), Limits::denorm_min(),
                             0.1};
    std::string content = kHeader + "5 5 5\n";
    for (int i = 0; i < 5; ++i) {
        char line[64];
        std::snprintf(line, sizeof line, "%d %d %.17g\n", i + 1, i + 1, values[i]);
        content += line;
    }

    const ScalarMatrix matrix = read(content);

    for (std::size_t i = 0; i < 5; ++i)
        EXPECT_EQ(matrix.entries[i].value, values[i]);
}

// Header

TEST_F(ReadMatrixMarket, EmptyFileIsNoMatrixMarketFile)
{
    const std::string what = "not a Matrix Market file: the first line should be "
                             "'%%MatrixMarket matrix coordinate real symmetric'";
    expectError("", 1, what);
    expectError("\n", 1, what);
    expectError("1 1 1\n1 1 5\n", 1, what);
    expectError("%%MatrixMarket vector coordinate real symmetric\n", 1, what);
    expectError("%MatrixMarket matrix coordinate real symmetric\n", 1, what);
}

TEST_F(ReadMatrixMarket, WhatCannotBeSolvedIsRefusedByItsHeader)
{
    const std::string wanted =
        "; 'coordinate real symmetric' or 'coordinate integer symmetric' is what can be solved";
    expectError("%%MatrixMarket matrix array real symmetric\n1 1\n1\n", 1,
                "the format is 'array'" + wanted);
    expectError("%%MatrixMarket matrix coordinate complex symmetric\n1 1 1\n", 1,
                "the field is 'complex'" + wanted);
    expectError("%%MatrixMarket matrix coordinate pattern symmetric\n1 1 1\n", 1,
                "the field is 'pattern'" + wanted);
    expectError("%%MatrixMarket matrix coordinate real general\n1 1 1\n", 1,
                "the matrix is declared 'general'" + wanted);
    expectError("%%MatrixMarket matrix coordinate real skew-symmetric\n1 1 1\n", 1,
                "the matrix is declared 'skew-symmetric'" + wanted);
    expectError("%%MatrixMarket matrix coordinate real\n1 1 1\n1 1 5\n", 1,
                "the matrix is declared ''" + wanted);
}

TEST_F(ReadMatrixMarket, MoreInTheHeaderIsRefused)
{
    expectError("%%MatrixMarket matrix coordinate real symmetric twice\n1 1 1\n1 1 5\n", 1,
                "unexpected 'twice' at the end of the line");
}

// Sizes

TEST_F(ReadMatrixMarket, MissingSizesAreReported)
{
    expectError(kHeader, 2, "the file ends before the line with the sizes");
    expectError(kHeader + "% only a comment\n", 3, "the file ends before the line with the sizes");
    expectError(kHeader + "3\n", 2, "the number of columns is missing");
    expectError(kHeader + "3 3\n", 2, "the number of entries is missing");
}

TEST_F(ReadMatrixMarket, SizesThatAreNoCountsAreReported)
{
    expectError(kHeader + "three 3 1\n", 2,
                "the number of rows should be a whole number, not 'three'");
    expectError(kHeader + "-3 3 1\n", 2, "the number of rows should be a whole number, not '-3'");
    expectError(kHeader + "3 3.5 1\n", 2,
                "the number of columns should be a whole number, not '3.5'");
    expectError(kHeader + "0 0 0\n", 2,
                "the number of rows '0' is outside the range 1 to 2147483646");
    expectError(kHeader + "2147483647 2147483647 1\n", 2,
                "the number of rows '2147483647' is outside the range 1 to 2147483646");
    expectError(kHeader + "3 99999999999999999999999 1\n", 2,
                "the number of columns '99999999999999999999999' is outside the range 1 to "
                "2147483646");
    expectError(kHeader + "3 3 7\n", 2, "the number of entries '7' is outside the range 0 to 6");
    expectError(kHeader + "3 3 3 3\n", 2, "unexpected '3' at the end of the line");
}

TEST_F(ReadMatrixMarket, MatrixThatIsNotSquareIsRefused)
{
    expectError(kHeader + "3 4 3\n", 2, "the matrix is not square: 3 rows, 4 columns");
}

TEST_F(ReadMatrixMarket, TooFewEntriesForTheRowsAreRefused)
{
    expectError(kHeader + "5 5 2\n1 1 1\n2 2 1\n", 2,
                "2 entries leave some of the 5 rows empty: the matrix is singular");
}

// Sizes that a file merely claims must not become memory.
TEST_F(ReadMatrixMarket, HugeClaimsOfASmallFileFailAtItsEnd)
{
    expectError(kHeader + "2147483646 2147483646 2305843005992468481\n1 1 1\n", 4,
                "the file ends after 1 of 2305843005992468481 entries");
    expectError(kHeader + "2000000000 2000000000 1000000000\n1 1 1\n", 4,
                "the file ends after 1 of 1000000000 entries");
}

// Entries

TEST_F(ReadMatrixMarket, TruncatedFileIsReported)
{
    expectError(kHeader + "3 3 3\n1 1 1\n2 2 1\n", 5, "the file ends after 2 of 3 entries");
    expectError(kHeader + "3 3 3\n1 1 1\n2 2 1\n3", 5, "the column is missing");
    expectError(kHeader + "3 3 3\n1 1 1\n2 2 1\n3 3", 5, "the value is missing");
}

TEST_F(ReadMatrixMarket, MoreEntriesThanDeclaredAreRefused)
{
    expectError(kHeader + "2 2 2\n1 1 1\n2 2 1\n2 1 1\n", 5,
                "there is more after the 2 entries that the header declares");
}

TEST_F(ReadMatrixMarket, IndicesOutOfRangeAreReported)
{
    expectError(kHeader + "2 2 2\n0 1 1\n2 2 1\n", 3, "the row '0' is outside the range 1 to 2");
    expectError(kHeader + "2 2 2\n1 1 1\n% c\n2 3 1\n", 5,
                "the column '3' is outside the range 1 to 2");
    expectError(kHeader + "2 2 2\n1 1 1\n1.0 1 1\n", 4,
                "the row should be a whole number, not '1.0'");
}

TEST_F(ReadMatrixMarket, ValuesThatAreNoFiniteNumbersAreReported)
{
    const auto withValue = [](const std::string& value) {
        return kHeader + "1 1 1\n1 1 " + value + "\n";
    };
    for (const char* word : {"abc", "1,5", "1.5x", "0x10", "1e", "--1", "+-1", "-+1", "+", "1d5"})
        expectError(withValue(word), 3,
                    std::string("the value should be a number, not '") + word + "'");
    for (const char* word : {"inf", "-inf", "nan", "-nan", "INFINITY", "+inf", "NaN"})
        expectError(withValue(word), 3, std::string("the value '") + word + "' is not finite");
    for (const char* word : {"1e400", "-1e400", "1e-400"})
        expectError(withValue(word), 3,
                    std::string("the value '") + word +
                        "' is outside the range of double precision");
}

TEST_F(ReadMatrixMarket, FractionInAnIntegerFileIsReported)
{
    expectError("%%MatrixMarket matrix coordinate integer symmetric\n1 1 1\n1 1 2.5\n", 3,
                "the value '2.5' is not whole, though the header says integer");
}

TEST_F(ReadMatrixMarket, MoreOnALineIsReported)
{
    expectError(kHeader + "1 1 1\n1 1 5 6\n", 3, "unexpected '6' at the end of the line");
}

TEST_F(ReadMatrixMarket, PlaceGivenTwiceIsReportedByTheLaterLine)
{
    expectError(kHeader + "2 2 3\n1 1 1\n2 1 5\n2 1 5\n", 5,
                "the entry (2, 1) was given before, in line 4");
    expectError(kHeader + "2 2 3\n1 2 1\n1 1 5\n\n2 1 5\n", 6,
                "the entry (2, 1) was given before, in line 3");
}

TEST_F(ReadMatrixMarket, LongOrUnprintableWordsAreShownShort)
{
    expectError(kHeader + "1 1 1\n1 1 " + std::string(100, 'z') + "\n", 3,
                "the value should be a number, not '" + std::string(40, 'z') + "...'");
    expectError(kHeader + "1 1 1\n1 1 \x01\xC3\xA9\n", 3,
                "the value should be a number, not '?\?\?'");
    expectError(kHeader + "1 1 1\n1 1 " + std::string("5\0", 2) + "\n", 3,
                "the value should be a number, not '5?'");
}

TEST_F(ReadMatrixMarket, GarbageIsRefusedWhateverItIs)
{
    for (unsigned int seed = 1; seed <= 150; ++seed) {
        SCOPED_TRACE(seed);
        support::Random random(seed);
        std::string content = random.chance(0.7) ? kHeader : "";
        if (random.chance(0.3))
            content += "4 4 5\n";
        const char likely[] = "0123456789 \n\t.-+e%";
        for (unsigned int n = random.integer(0, 200); n > 0; --n)
            content += random.chance(0.8) ? likely[random.integer(0, sizeof likely - 2)]
                                          : static_cast<char>(random.integer(0, 255));
        const std::string path = m_folder.write("garbage.mtx", content);
        ScalarMatrix matrix;

        const Status status = readMatrixMarket(path, matrix);

        if (!status.ok()) {
            ASSERT_EQ(status.code, StatusCode::InvalidInput);
            ASSERT_EQ(status.message.compare(0, path.size() + 1, path + ":"), 0) << status.message;
            ASSERT_TRUE(matrix.entries.empty());
        }
    }
}

// Files

TEST_F(ReadMatrixMarket, MissingFileIsReportedWithoutALine)
{
    const std::string path = m_folder.path("none.mtx");
    ScalarMatrix matrix;

    const Status status = readMatrixMarket(path, matrix);

    EXPECT_EQ(status.code, StatusCode::InvalidInput);
    EXPECT_EQ(status.message, path + ": No such file or directory");
}

TEST_F(ReadMatrixMarket, FolderIsReported)
{
    ScalarMatrix matrix;

    const Status status = readMatrixMarket(m_folder.path("."), matrix);

    EXPECT_EQ(status.code, StatusCode::InvalidInput);
    EXPECT_EQ(status.message, m_folder.path(".") + ": Is a directory");
}

TEST_F(ReadMatrixMarket, EmptyPathIsReported)
{
    ScalarMatrix matrix;

    EXPECT_EQ(readMatrixMarket("", matrix).message, ": No such file or directory");
}

} // namespace
