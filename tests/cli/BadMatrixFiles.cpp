#include "cli/Orvel.h"

namespace cli {

namespace {

/// A file that no subcommand reads: all say the same, and nothing is written.
void expectBadMatrix(const std::string& content, const std::string& message)
{
    const support::Folder folder;
    const std::string matrix = folder.write("m.mtx", content);
    expectRefusedByAll(matrix, matrix + message);
    expectRefused({"solve", matrix, "--out", folder.path("x.mtx")}, matrix + message);
    expectRefused({"plot", matrix, "--json", "--output", folder.path("a.svg")}, matrix + message);
    EXPECT_EQ(folder.numFiles(), 1u);
}

/// The same for what follows a good header.
void expectBadContent(const std::string& content, const std::string& message)
{
    expectBadMatrix(kHeader + content, message);
}

void expectBadHeader(const std::string& declared, const std::string& what)
{
    expectBadMatrix("%%MatrixMarket matrix " + declared + "\n2 2 3\n1 1 4\n2 1 1\n2 2 3\n",
                    ":1: " + what +
                        "; 'coordinate real symmetric' or 'coordinate integer symmetric' is what "
                        "can be solved");
}

const std::string kNoMatrixMarketFile = ":1: not a Matrix Market file: the first line should be "
                                        "'%%MatrixMarket matrix coordinate real symmetric'";

} // namespace

TEST(BadMatrixFile, Missing)
{
    const support::Folder folder;
    const std::string matrix = folder.path("m.mtx");
    expectRefusedByAll(matrix, matrix + ": No such file or directory");
}

TEST(BadMatrixFile, Directory)
{
    const support::Folder folder;
    expectRefusedByAll(folder.path(""), folder.path("") + ": Is a directory");
}

TEST(BadMatrixFile, BelowAFile)
{
    const support::Folder folder;
    folder.write("m.mtx", kSmallMatrix);
    const std::string matrix = folder.path("m.mtx/m.mtx");
    expectRefusedByAll(matrix, matrix + ": Not a directory");
}

TEST(BadMatrixFile, WithoutPermission)
{
    if (geteuid() == 0)
        GTEST_SKIP() << "the superuser may read everything";
    const support::Folder folder;
    const std::string matrix = folder.write("m.mtx", kSmallMatrix);
    std::filesystem::permissions(matrix, std::filesystem::perms::none);
    expectRefusedByAll(matrix, matrix + ": Permission denied");
}

// The memory of a process opens like a file, but its first page is never there.
TEST(BadMatrixFile, Unreadable)
{
    expectRefusedByAll("/proc/self/mem", "/proc/self/mem: Input/output error");
}

TEST(BadMatrixFile, Empty)
{
    expectBadMatrix("", kNoMatrixMarketFile);
}

TEST(BadMatrixFile, BlankLines)
{
    expectBadMatrix("\n\n\n", kNoMatrixMarketFile);
}

TEST(BadMatrixFile, BinaryGarbage)
{
    expectBadMatrix(std::string("\x7f\0\x01\xff\n\0\0\x80 \n", 10), kNoMatrixMarketFile);
}

TEST(BadMatrixFile, NumbersWithoutABanner)
{
    expectBadMatrix("2 2 3\n1 1 4\n2 1 1\n2 2 3\n", kNoMatrixMarketFile);
}

TEST(BadMatrixFile, WrongBanner)
{
    expectBadMatrix("%MatrixMarket matrix coordinate real symmetric\n2 2 3\n1 1 4\n2 1 1\n2 2 3\n",
                    kNoMatrixMarketFile);
}

TEST(BadMatrixFile, VectorObject)
{
    expectBadMatrix("%%MatrixMarket vector coordinate real symmetric\n2 2 3\n1 1 4\n2 1 1\n2 2 3\n",
                    kNoMatrixMarketFile);
}

TEST(BadMatrixFile, BannerAlone)
{
    expectBadMatrix("%%MatrixMarket\n", kNoMatrixMarketFile);
}

TEST(BadMatrixFile, ArrayFormat)
{
    expectBadHeader("array real symmetric", "the format is 'array'");
}

TEST(BadMatrixFile, PatternField)
{
    expectBadHeader("coordinate pattern symmetric", "the field is 'pattern'");
}

TEST(BadMatrixFile, ComplexField)
{
    expectBadHeader("coordinate complex symmetric", "the field is 'complex'");
}

TEST(BadMatrixFile, GeneralSymmetry)
{
    expectBadHeader("coordinate real general", "the matrix is declared 'general'");
}

TEST(BadMatrixFile, SkewSymmetry)
{
    expectBadHeader("coordinate real skew-symmetric", "the matrix is declared 'skew-symmetric'");
}

TEST(BadMatrixFile, HermitianSymmetry)
{
    expectBadHeader("coordinate real hermitian", "the matrix is declared 'hermitian'");
}

TEST(BadMatrixFile, HeaderWithoutSymmetry)
{
    expectBadHeader("coordinate real", "the matrix is declared ''");
}

TEST(BadMatrixFile, HeaderWithTooManyWords)
{
    expectBadMatrix("%%MatrixMarket matrix coordinate real symmetric positive\n2 2 3\n",
                    ":1: unexpected 'positive' at the end of the line");
}

TEST(BadMatrixFile, OldLineEndsMakeOneLine)
{
    expectBadMatrix("%%MatrixMarket matrix coordinate real symmetric\r2 2 3\r1 1 4\r",
                    ":1: unexpected '2' at the end of the line");
}

TEST(BadMatrixFile, OnlyAHeader)
{
    expectBadContent("", ":2: the file ends before the line with the sizes");
}

TEST(BadMatrixFile, OnlyAHeaderAndComments)
{
    expectBadContent("% one\n% two", ":3: the file ends before the line with the sizes");
}

TEST(BadMatrixFile, SizesCutOff)
{
    expectBadContent("2 2\n", ":2: the number of entries is missing");
}

TEST(BadMatrixFile, NotSquare)
{
    expectBadContent("2 3 3\n1 1 4\n2 1 1\n2 2 3\n",
                     ":2: the matrix is not square: 2 rows, 3 columns");
}

TEST(BadMatrixFile, ZeroSize)
{
    expectBadContent("0 0 0\n", ":2: the number of rows '0' is outside the range 1 to 2147483646");
}

TEST(BadMatrixFile, NegativeSize)
{
    expectBadContent("-2 -2 3\n", ":2: the number of rows should be a whole number, not '-2'");
}

TEST(BadMatrixFile, NegativeNumberOfEntries)
{
    expectBadContent("2 2 -3\n", ":2: the number of entries should be a whole number, not '-3'");
}

TEST(BadMatrixFile, FractionalSize)
{
    expectBadContent("2.5 2 3\n", ":2: the number of rows should be a whole number, not '2.5'");
}

TEST(BadMatrixFile, HugeSize)
{
    expectBadContent(
        "99999999999999999999999 2 3\n",
        ":2: the number of rows '99999999999999999999999' is outside the range 1 to 2147483646");
}

TEST(BadMatrixFile, MoreEntriesThanPlaces)
{
    expectBadContent("2 2 4\n", ":2: the number of entries '4' is outside the range 0 to 3");
}

TEST(BadMatrixFile, HugeNumberOfEntriesIsNotTakenAtItsWord)
{
    expectBadContent("2147483646 2147483646 2305843005992468481\n1 1 4\n",
                     ":4: the file ends after 1 of 2305843005992468481 entries");
}

TEST(BadMatrixFile, HugeSizeWithFewEntriesIsNotTakenAtItsWord)
{
    expectBadContent("2147483646 2147483646 5\n1 1 4\n",
                     ":2: 5 entries leave some of the 2147483646 rows empty: the matrix is "
                     "singular");
}

TEST(BadMatrixFile, OneOfAKindIsNamedSo)
{
    expectBadContent("1 1 0\n", ":2: 0 entries leave the row empty: the matrix is singular");
    expectBadContent("3 3 1\n1 1 4\n",
                     ":2: 1 entry leaves some of the 3 rows empty: the matrix is singular");
    expectBadContent("1 1 1\n", ":3: the file ends after 0 of 1 entry");
    expectBadContent("1 1 1\n1 1 4\n1 1 4\n",
                     ":4: there is more after the 1 entry that the header declares");
    expectBadContent("1 2 1\n1 1 4\n", ":2: the matrix is not square: 1 row, 2 columns");
}

TEST(BadMatrixFile, SizesWithTooManyNumbers)
{
    expectBadContent("2 2 3 1\n1 1 4\n2 1 1\n2 2 3\n", ":2: unexpected '1' at the end of the line");
}

TEST(BadMatrixFile, NoEntries)
{
    expectBadContent("2 2 3\n", ":3: the file ends after 0 of 3 entries");
}

TEST(BadMatrixFile, LastEntryMissing)
{
    expectBadContent("2 2 3\n1 1 4\n2 1 1\n", ":5: the file ends after 2 of 3 entries");
}

TEST(BadMatrixFile, LastEntryCutOff)
{
    expectBadContent("2 2 3\n1 1 4\n2 1 1\n2 2", ":5: the value is missing");
}

TEST(BadMatrixFile, ColumnMissing)
{
    expectBadContent("2 2 3\n1\n", ":3: the column is missing");
}

TEST(BadMatrixFile, TooManyEntries)
{
    expectBadContent("2 2 2\n1 1 4\n2 1 1\n2 2 3\n",
                     ":5: there is more after the 2 entries that the header declares");
}

TEST(BadMatrixFile, WordsAfterTheEntries)
{
    expectBadContent("2 2 2\n1 1 4\n2 2 3\n\nend\n",
                     ":6: there is more after the 2 entries that the header declares");
}

TEST(BadMatrixFile, EntryWithTooManyNumbers)
{
    expectBadContent("2 2 2\n1 1 4 0\n2 2 3\n", ":3: unexpected '0' at the end of the line");
}

TEST(BadMatrixFile, RowZero)
{
    expectBadContent("2 2 2\n0 1 4\n2 2 3\n", ":3: the row '0' is outside the range 1 to 2");
}

TEST(BadMatrixFile, RowBeyondTheSize)
{
    expectBadContent("2 2 2\n1 1 4\n3 2 3\n", ":4: the row '3' is outside the range 1 to 2");
}

TEST(BadMatrixFile, ColumnBeyondTheSize)
{
    expectBadContent("2 2 2\n1 1 4\n2 4294967297 3\n",
                     ":4: the column '4294967297' is outside the range 1 to 2");
}

TEST(BadMatrixFile, NegativeColumn)
{
    expectBadContent("2 2 2\n1 -1 4\n2 2 3\n", ":3: the column should be a whole number, not '-1'");
}

TEST(BadMatrixFile, FractionalRow)
{
    expectBadContent("2 2 2\n1.0 1 4\n2 2 3\n", ":3: the row should be a whole number, not '1.0'");
}

TEST(BadMatrixFile, RowBeyondTheOnlyOne)
{
    expectBadContent("1 1 1\n2 1 4\n", ":3: the row should be 1, not '2'");
}

TEST(BadMatrixFile, PlaceGivenTwice)
{
    expectBadContent("2 2 3\n2 2 4\n1 1 1\n2 2 4\n",
                     ":5: the entry (2, 2) was given before, in line 3");
}

TEST(BadMatrixFile, BothTrianglesGiven)
{
    expectBadContent("2 2 3\n1 1 4\n1 2 1\n2 1 1\n",
                     ":5: the entry (2, 1) was given before, in line 4");
}

TEST(BadMatrixFile, ValueThatIsNoNumber)
{
    expectBadContent("2 2 2\n1 1 four\n2 2 3\n", ":3: the value should be a number, not 'four'");
}

TEST(BadMatrixFile, ValueWithTwoSigns)
{
    expectBadContent("2 2 2\n1 1 +-4\n2 2 3\n", ":3: the value should be a number, not '+-4'");
}

TEST(BadMatrixFile, ValueWithAFortranExponent)
{
    expectBadContent("2 2 2\n1 1 4.0D0\n2 2 3\n", ":3: the value should be a number, not '4.0D0'");
}

TEST(BadMatrixFile, LongUnprintableWordIsShownShort)
{
    expectBadContent("2 2 2\n1 1 \x01" + std::string(1000, 'a') + "\n2 2 3\n",
                     ":3: the value should be a number, not '?" + std::string(39, 'a') + "...'");
}

TEST(BadMatrixFile, NotANumber)
{
    expectBadContent("2 2 2\n1 1 4\n2 2 NaN\n", ":4: the value 'NaN' is not finite");
}

TEST(BadMatrixFile, Infinity)
{
    expectBadContent("2 2 2\n1 1 -inf\n2 2 3\n", ":3: the value '-inf' is not finite");
}

TEST(BadMatrixFile, ValueTooLargeForADouble)
{
    expectBadContent("2 2 2\n1 1 1e400\n2 2 3\n",
                     ":3: the value '1e400' is outside the range of double precision");
}

TEST(BadMatrixFile, FractionInAnIntegerFile)
{
    expectBadMatrix("%%MatrixMarket matrix coordinate integer symmetric\n2 2 2\n1 1 4\n2 2 3.5\n",
                    ":4: the value '3.5' is not whole, though the header says integer");
}

} // namespace cli
