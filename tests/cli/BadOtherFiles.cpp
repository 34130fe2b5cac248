#include "cli/Orvel.h"

namespace cli {

namespace {

/// A sidecar that does not fit [4 1; 1 3].
void expectBadSidecar(const std::string& content, const std::string& message)
{
    const support::Folder folder;
    const std::string matrix = folder.write("m.mtx", kSmallMatrix);
    const std::string blocks = folder.write("m.blocks", content);
    expectRefusedByAll(matrix, blocks + message);
    expectRefused({"solve", matrix, "--out", folder.path("x.mtx")}, blocks + message);
    EXPECT_EQ(folder.numFiles(), 2u);
}

/// A right-hand side that does not fit it.
void expectBadRightHandSide(const std::string& content, const std::string& message)
{
    const support::Folder folder;
    const std::string matrix = folder.write("m.mtx", kSmallMatrix);
    const std::string b = folder.write("b", content);
    expectRefused({"solve", matrix, "--rhs", b, "--out", folder.path("x.mtx")}, b + message);
    EXPECT_EQ(folder.numFiles(), 2u);
}

void expectBadArray(const std::string& content, const std::string& message)
{
    expectBadRightHandSide("%%MatrixMarket matrix array real general\n" + content, message);
}

/// An --out path that cannot be written, below a folder of its own.
void expectBadOutPath(const support::Folder& folder, const std::string& name,
                      const std::string& reason)
{
    const std::string matrix = folder.write("m.mtx", kSmallMatrix);
    const std::size_t files = folder.numFiles();
    const std::string out = folder.path(name);
    expectRefused({"solve", matrix, "--out", out}, out + ": " + reason);
    EXPECT_EQ(folder.numFiles(), files);
}

} // namespace

TEST(BadSidecar, Empty)
{
    expectBadSidecar("", ":1: 'blocks' is missing: the file should begin with "
                         "'blocks N firstTrailing F'");
}

TEST(BadSidecar, BinaryGarbage)
{
    expectBadSidecar(std::string("\x7f\0\x01\xff\n", 5),
                     ":1: 'blocks' is missing: the file should begin with "
                     "'blocks N firstTrailing F'");
}

TEST(BadSidecar, SomethingElse)
{
    expectBadSidecar("\n1 1\n", ":2: 'blocks' is missing: the file should begin with "
                                "'blocks N firstTrailing F'");
}

TEST(BadSidecar, NumberOfBlocksMissing)
{
    expectBadSidecar("blocks", ":1: the number of blocks is missing");
}

TEST(BadSidecar, NoBlocks)
{
    expectBadSidecar("blocks 0 firstTrailing 0\n",
                     ":1: the number of blocks '0' is outside the range 1 to 2147483646");
}

TEST(BadSidecar, NegativeNumberOfBlocks)
{
    expectBadSidecar("blocks -1 firstTrailing 0\n",
                     ":1: the number of blocks should be a whole number, not '-1'");
}

TEST(BadSidecar, FirstTrailingMissing)
{
    expectBadSidecar("blocks 2\n1 1\n", ":2: 'firstTrailing' is missing: the file should begin "
                                        "with 'blocks N firstTrailing F'");
}

TEST(BadSidecar, FirstTrailingBeyondTheBlocks)
{
    expectBadSidecar("blocks 2 firstTrailing 3\n1 1\n",
                     ":1: the first trailing block '3' is outside the range 0 to 2");
}

TEST(BadSidecar, FewerSizesThanBlocks)
{
    expectBadSidecar("blocks 1 firstTrailing 1\n", ":2: the file ends after 0 of 1 block size");
    expectBadSidecar("blocks 2 firstTrailing 2\n1\n", ":3: the file ends after 1 of 2 block sizes");
}

TEST(BadSidecar, MoreSizesThanBlocks)
{
    expectBadSidecar("blocks 2 firstTrailing 2\n1\n1\n1\n",
                     ":4: there is more after the 2 block sizes");
}

TEST(BadSidecar, HugeNumberOfBlocksIsNotTakenAtItsWord)
{
    expectBadSidecar("blocks 2147483646 firstTrailing 0\n1 1\n",
                     ":3: the file ends after 2 of 2147483646 block sizes");
}

TEST(BadSidecar, SizeThatIsNoNumber)
{
    expectBadSidecar("blocks 2 firstTrailing 2\n1 one\n",
                     ":2: the block size should be a whole number, not 'one'");
}

TEST(BadSidecar, BlockLargerThanTheMatrix)
{
    expectBadSidecar("blocks 1 firstTrailing 1\n3\n",
                     ":2: the block size '3' is outside the range 0 to 2");
}

TEST(BadSidecar, SizesBelowTheMatrix)
{
    expectBadSidecar("blocks 2 firstTrailing 2\n1 0",
                     ":2: the block sizes add up to 1, but the matrix has 2 rows");
}

TEST(BadSidecar, SizesBeyondTheMatrix)
{
    expectBadSidecar("blocks 2 firstTrailing 2\n1 2",
                     ":2: the block sizes add up to 3, but the matrix has 2 rows");
}

TEST(BadSidecar, DirectoryInItsPlace)
{
    const support::Folder folder;
    const std::string matrix = folder.write("m.mtx", kSmallMatrix);
    const std::string blocks = folder.path("m.blocks");
    std::filesystem::create_directory(blocks);
    expectRefusedByAll(matrix, blocks + ": Is a directory");
}

TEST(BadSidecar, FileOfTheBlocksOptionMissing)
{
    const support::Folder folder;
    const std::string matrix = folder.write("m.mtx", kSmallMatrix);
    const std::string blocks = folder.path("other");
    expectRefused({"solve", matrix, "--blocks", blocks}, blocks + ": No such file or directory");
}

TEST(BadRightHandSide, Missing)
{
    const support::Folder folder;
    const std::string matrix = folder.write("m.mtx", kSmallMatrix);
    const std::string b = folder.path("b");
    expectRefused({"solve", matrix, "--rhs", b}, b + ": No such file or directory");
}

TEST(BadRightHandSide, Directory)
{
    const support::Folder folder;
    const std::string matrix = folder.write("m.mtx", kSmallMatrix);
    expectRefused({"solve", matrix, "--rhs", folder.path("")},
                  folder.path("") + ": Is a directory");
}

TEST(BadRightHandSide, WithoutPermission)
{
    if (geteuid() == 0)
        GTEST_SKIP() << "the superuser may read everything";
    const support::Folder folder;
    const std::string b = folder.write("b", "6 7");
    std::filesystem::permissions(b, std::filesystem::perms::none);
    expectRefused({"solve", folder.write("m.mtx", kSmallMatrix), "--rhs", b},
                  b + ": Permission denied");
}

TEST(BadRightHandSide, BinaryGarbage)
{
    expectBadRightHandSide(std::string("\x7f\0\x01\xff 6 7", 8),
                           ":1: the value should be a number, not '???"
                           "?'");
}

TEST(BadRightHandSide, Empty)
{
    expectBadRightHandSide("", ":1: the file ends after 0 of 2 values");
}

TEST(BadRightHandSide, TooShort)
{
    expectBadRightHandSide("6\n", ":2: the file ends after 1 of 2 values");
}

TEST(BadRightHandSide, TooLong)
{
    expectBadRightHandSide("6\n7\n8\n", ":3: there is more after the 2 values");
}

TEST(BadRightHandSide, ValueThatIsNoNumber)
{
    expectBadRightHandSide("6\n7,5\n", ":2: the value should be a number, not '7,5'");
}

TEST(BadRightHandSide, NotANumber)
{
    expectBadRightHandSide("6 nan\n", ":1: the value 'nan' is not finite");
}

TEST(BadRightHandSide, BannerOfSomethingElse)
{
    expectBadRightHandSide("%% a comment\n6 7\n",
                           ":1: not a Matrix Market file: the first line should be "
                           "'%%MatrixMarket matrix array real general'");
}

TEST(BadRightHandSide, SparseVector)
{
    expectBadRightHandSide(
        "%%MatrixMarket matrix coordinate real general\n2 1 1\n1 1 6\n",
        ":1: a vector should be 'array real general', not 'coordinate real general'");
}

TEST(BadRightHandSide, ComplexArray)
{
    expectBadRightHandSide(
        "%%MatrixMarket matrix array complex general\n2 1\n6 0\n7 0\n",
        ":1: a vector should be 'array real general', not 'array complex general'");
}

TEST(BadRightHandSide, ArrayWithoutSizes)
{
    expectBadArray("", ":2: the file ends before the line with the sizes");
}

TEST(BadRightHandSide, ArrayOfAnotherLength)
{
    expectBadArray("3 1\n6\n7\n8\n", ":2: the number of rows should be 2, not '3'");
}

TEST(BadRightHandSide, ArrayOfTwoColumns)
{
    expectBadArray("2 2\n6\n7\n8\n9\n", ":2: the number of columns should be 1, not '2'");
}

TEST(BadRightHandSide, ArrayCutOff)
{
    expectBadArray("2 1\n6\n", ":4: the file ends after 1 of 2 values");
}

TEST(BadRightHandSide, ArrayWithTwoValuesInALine)
{
    expectBadArray("2 1\n6 7\n", ":3: unexpected '7' at the end of the line");
}

TEST(BadRightHandSide, ArrayWithTooManyValues)
{
    expectBadArray("2 1\n6\n7\n8\n", ":5: there is more after the 2 values");
}

TEST(BadRightHandSide, FractionInAnIntegerArray)
{
    expectBadRightHandSide("%%MatrixMarket matrix array integer general\n2 1\n6\n7.5\n",
                           ":4: the value '7.5' is not whole, though the header says integer");
}

TEST(BadOutPath, FolderMissing)
{
    expectBadOutPath(support::Folder(), "missing/x.mtx", "No such file or directory");
}

TEST(BadOutPath, FolderIsAFile)
{
    expectBadOutPath(support::Folder(), "m.mtx/x.mtx", "Not a directory");
}

TEST(BadOutPath, Directory)
{
    const support::Folder folder;
    std::filesystem::create_directory(folder.path("x"));
    expectBadOutPath(folder, "x", "Is a directory");
}

TEST(BadOutPath, FullDevice)
{
    const support::Folder folder;
    std::filesystem::create_symlink("/dev/full", folder.path("x"));
    expectBadOutPath(folder, "x", "No space left on device");
    EXPECT_TRUE(std::filesystem::is_symlink(folder.path("x")));
}

} // namespace cli
