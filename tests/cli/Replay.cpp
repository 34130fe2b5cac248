#include "cli/Orvel.h"
#include "support/BlockSystems.h"

#include <kyrOrvelClient/Capture>

#include <limits>

using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::Capture;
using kyrOrvel::client::CapturedSystem;
using kyrOrvel::client::writeCapture;

namespace cli {

namespace {

// 4 . . 1 1 .     Blocks 3 and 4 are the same joint.
// . 4 . . . 1
// . . 4 1 1 1
// 1 . 1 . . .
// 1 . 1 . . .
// . 1 1 . . .
BlockMatrix<double> doubledJoint()
{
    return support::scalarMatrix<double>(
        {{4}, {0, 4}, {0, 0, 4}, {1, 0, 1, 0}, {1, 0, 1, 0, 0}, {0, 1, 1, 0, 0, 0}}, 3);
}

/// A capture of a factorization, and a solve if that succeeds.
template <class T>
std::string capturedFile(const support::Folder& folder, const BlockMatrix<T>& A,
                         const std::vector<T>& b)
{
    BlockLDLT<T> solver;
    std::vector<T> x(A.dimension());
    if (solver.compute(A).ok())
        solver.solve(b.data(), x.data());
    EXPECT_TRUE(writeCapture(folder.path("c"), solver, A, b.data(), x.data()).ok());
    return folder.path("c");
}

std::string singularFile(const support::Folder& folder)
{
    return capturedFile(folder, doubledJoint(), std::vector<double>(6, 1));
}

/// [4 2; 2 5]·(1.5, 1) = (8, 8).
template <class T> std::string solvedFile(const support::Folder& folder)
{
    return capturedFile(folder, support::scalarMatrix<T>({{4}, {2, 5}}), std::vector<T>{8, 8});
}

/// The file with the first value of the matrix changed after the fact.
std::string changedFile(const support::Folder& folder, double value)
{
    Capture capture;
    EXPECT_TRUE(kyrOrvel::client::readCapture(solvedFile<double>(folder), capture).ok());
    *std::get<CapturedSystem<double>>(capture.system).matrix.block(0, 0) = value;
    EXPECT_TRUE(writeCapture(folder.path("c"), capture).ok());
    return folder.path("c");
}

constexpr char kSingular[] =
    "the pivot of row 0 of block 4 is 0: the row is zero or depends on rows eliminated before it; "
    "remove what is redundant or give the block a diagonal (a compliance); it depends on block 3; "
    "a compliance of 1.49e-08 would do";

// L = [1 .; 0.5 1], D = (4, 4), x = (1.5, 1); the hashes are FNV-1a over their bits.
constexpr char kPatternHash[] = "4d8fa9deb1339705";
constexpr char kLHash[] = "3f0b4ffa86bb41c8";
constexpr char kDHash[] = "236ed81c056d80e5";
constexpr char kXHash[] = "5878668f91410e9d";

/// The report of a system of 2 rows that was solved.
std::string reportOfTwo(const std::string& file, const std::string& parts)
{
    return file +
           "\n"
           "  scalars                      2  double\n"
           "  blocks                       2  2 ordinary, 0 trailing\n"
           "  status                      Ok  as captured\n"
           "  order                     same\n" +
           parts;
}

/// A member of an object in JSON: an object with members of text, or null without quotes.
std::string member(const std::string& name, const std::string& result, const std::string& captured,
                   const std::string& replayed)
{
    return "  \"" + name + "\": {\n    \"result\": \"" + result +
           "\",\n    \"captured\": " + captured + ",\n    \"replayed\": " + replayed + "\n  },\n";
}

std::string sameHash(const std::string& name, const std::string& hash)
{
    return member(name, "same", '"' + hash + '"', '"' + hash + '"');
}

std::string notCompared(const std::string& name)
{
    return member(name, "not compared", "null", "null");
}

/// A status in JSON.
std::string statusJson(const std::string& code, const std::string& block, const std::string& row,
                       const std::string& id, const std::string& message)
{
    return "{\n      \"code\": \"" + code + "\",\n      \"block\": " + block +
           ",\n      \"row\": " + row + ",\n      \"id\": " + id + ",\n      \"message\": \"" +
           message + "\"\n    }";
}

/// Fails with exit code 1 and an empty standard error; returns its standard output.
std::string expectDifferent(const std::vector<std::string>& arguments)
{
    const support::CommandResult result = orvel(arguments);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "");
    return result.out;
}

} // namespace

TEST(Replay, SolvedSystemIsTheSame)
{
    const support::Folder folder;
    const std::string file = solvedFile<double>(folder);
    EXPECT_EQ(expectDone({"replay", file}),
              reportOfTwo(file, std::string() + "  pattern of L              same  " +
                                    kPatternHash + "\n" + "  L                         same  " +
                                    kLHash + "\n" + "  D                         same  " + kDHash +
                                    "\n" + "  x                         same  " + kXHash + "\n"));
}

TEST(Replay, FloatSystemIsTheSame)
{
    const support::Folder folder;
    const std::string report = expectDone({"replay", solvedFile<float>(folder)});
    EXPECT_EQ(linesFrom(report, "  scalars").substr(0, 39),
              "  scalars                      2  float");
}

TEST(Replay, FailureThatIsTheSameIsNoFailure)
{
    const support::Folder folder;
    const std::string file = singularFile(folder);
    EXPECT_EQ(expectDone({"replay", file}),
              file +
                  "\n"
                  "  scalars                      6  double\n"
                  "  blocks                       6  3 ordinary, 3 trailing\n"
                  "  status                Singular  as captured\n"
                  "                                  " +
                  kSingular +
                  "\n"
                  "  order                     same\n"
                  "  pattern of L      not compared\n"
                  "  L                 not compared\n"
                  "  D                 not compared\n"
                  "  x                 not compared\n");
}

// [8 2; 2 5]: L = [1 .; 0.25 1], D = (8, 4.5), x = (2/3, 4/3).
TEST(Replay, DifferentValuesAreNamed)
{
    const support::Folder folder;
    const std::string file = changedFile(folder, 8);
    EXPECT_EQ(
        expectDifferent({"replay", file}),
        reportOfTwo(
            file,
            std::string() + "  pattern of L              same  " + kPatternHash + "\n" +
                "  L                      differs  81ea3d1b01fdbab8, captured: " + kLHash + "\n" +
                "  D                      differs  98b753e3d0159707, captured: " + kDHash + "\n" +
                "  x                      differs  340397304dccf796, captured: " + kXHash + "\n"));
}

// [0.8 2; 2 5] is singular up to rounding.
TEST(Replay, DifferentStatusIsNamed)
{
    const support::Folder folder;
    const std::string report = expectDifferent({"replay", changedFile(folder, 0.8)});
    EXPECT_EQ(linesFrom(report, "  status").substr(0, 46),
              "  status                Singular  captured: Ok");
}

TEST(Replay, JsonHoldsTheSame)
{
    const support::Folder folder;
    const std::string file = solvedFile<double>(folder);
    const std::string status = statusJson("Ok", "null", "null", "0", "");
    EXPECT_EQ(expectDone({"replay", file, "--json"}),
              "{\n  \"input\": \"" + file +
                  "\",\n"
                  "  \"precision\": \"double\",\n"
                  "  \"scalars\": 2,\n"
                  "  \"blocks\": 2,\n"
                  "  \"ordinaryBlocks\": 2,\n"
                  "  \"trailingBlocks\": 0,\n"
                  "  \"same\": true,\n" +
                  member("status", "same", status, status) + "  \"order\": \"same\",\n" +
                  sameHash("pattern", kPatternHash) + sameHash("L", kLHash) +
                  sameHash("D", kDHash) + sameHash("x", kXHash) + "  \"shrunk\": null\n}\n");
}

TEST(Replay, JsonOfAFailureHoldsWhatWasLeftOfIt)
{
    const support::Folder folder;
    const std::string file = singularFile(folder);
    const std::string out = folder.path("small");
    const std::string status = statusJson("Singular", "4", "0", "4", kSingular);
    EXPECT_EQ(linesFrom(expectDone({"replay", file, "--json", "--shrink", out}), "  \"same\""),
              "  \"same\": true,\n" + member("status", "same", status, status) +
                  "  \"order\": \"same\",\n" + notCompared("pattern") + notCompared("L") +
                  notCompared("D") + notCompared("x") + "  \"shrunk\": {\n    \"file\": \"" + out +
                  "\",\n    \"blocksFile\": null,\n    \"ids\": [\n      0,\n      2,\n      3,\n"
                  "      4\n    ],\n    \"tried\": 11\n  }\n}\n");
}

TEST(Replay, QuotesInAFileNameAreEscapedInJson)
{
    const support::Folder folder;
    const std::string file = folder.path("a\"b\\c\n");
    std::filesystem::rename(solvedFile<double>(folder), file);
    const std::string named = "  \"input\": \"" + folder.path(R"(a\"b\\c\n)") + "\"";
    EXPECT_EQ(
        linesFrom(expectDone({"replay", file, "--json"}), "  \"input\"").substr(0, named.size()),
        named);
}

TEST(ReplayShrink, MatrixAndBlocksAreThoseThatFail)
{
    const support::Folder folder;
    const std::string file = singularFile(folder);
    const std::string matrix = folder.path("small.mtx");
    const std::string blocks = folder.path("small.blocks");
    const std::string report = expectDone({"replay", file, "--shrink", matrix});
    EXPECT_EQ(linesFrom(report, "  shrunk to"),
              "  shrunk to                    4  blocks, the smallest of 11 systems tried\n"
              "                                  ids 0 2 3 4\n"
              "Shrunk matrix: " +
                  matrix + ", blocks: " + blocks + "\n");
    EXPECT_EQ(support::contentOf(matrix), std::string(kHeader) + "4 4 6\n"
                                                                 "1 1 4\n2 2 4\n"
                                                                 "3 1 1\n3 2 1\n"
                                                                 "4 1 1\n4 2 1\n");
    EXPECT_EQ(support::contentOf(blocks), "blocks 4 firstTrailing 2\n1 1 1 1\n");
    EXPECT_EQ(orvel({"solve", matrix}).exitCode, 1);
}

TEST(ReplayShrink, OtherNameMakesACaptureToReplay)
{
    const support::Folder folder;
    const std::string small = folder.path("small.capture");
    const std::string report = expectDone({"replay", singularFile(folder), "--shrink", small});
    EXPECT_EQ(linesFrom(report, "Shrunk"), "Shrunk capture: " + small + "\n");
    EXPECT_EQ(linesFrom(expectDone({"replay", small}), "  blocks").substr(0, 57),
              "  blocks                       4  2 ordinary, 2 trailing\n");
}

TEST(ReplayShrink, SystemThatDidNotFailIsRefused)
{
    const support::Folder folder;
    const std::string file = solvedFile<double>(folder);
    expectRefused({"replay", file, "--shrink", folder.path("s.mtx")},
                  file + ": the system captured did not fail: nothing to shrink");
    EXPECT_EQ(folder.numFiles(), 1u);
}

TEST(ReplayShrink, SystemThatDoesNotFailAgainIsANumericalFailure)
{
    const support::Folder folder;
    Capture capture;
    ASSERT_TRUE(kyrOrvel::client::readCapture(singularFile(folder), capture).ok());
    *std::get<CapturedSystem<double>>(capture.system).matrix.block(4, 1) = 1;
    ASSERT_TRUE(writeCapture(folder.path("c"), capture).ok());
    expectFailure({"replay", folder.path("c"), "--shrink", folder.path("s.mtx")}, 1,
                  folder.path("c") +
                      ": the system does not fail as captured: its status is Ok, and was "
                      "Singular");
    EXPECT_EQ(folder.numFiles(), 1u);
}

TEST(ReplayShrink, OneBlockIsNamedSo)
{
    const support::Folder folder;
    BlockMatrix<double> A = doubledJoint();
    *A.block(1, 1) = std::numeric_limits<double>::quiet_NaN();
    const std::string file = capturedFile(folder, A, std::vector<double>(6, 1));
    const std::string report = expectDone({"replay", file, "--shrink", folder.path("s.capture")});
    EXPECT_NE(report.find("  shrunk to                    1  block, the smallest of "),
              std::string::npos)
        << report;
}

TEST(ReplayShrink, CaptureItselfIsKept)
{
    const support::Folder folder;
    const std::string file = singularFile(folder);
    const std::string before = support::contentOf(file);

    expectRefused({"replay", file, "--shrink", file},
                  file + ": it is read, and would be lost; name another file");

    EXPECT_EQ(support::contentOf(file), before);
}

TEST(ReplayShrink, NotANumberNeedsACapture)
{
    const support::Folder folder;
    BlockMatrix<double> A = doubledJoint();
    *A.block(1, 1) = std::numeric_limits<double>::quiet_NaN();
    const std::string file = capturedFile(folder, A, std::vector<double>(6, 1));
    const std::string out = folder.path("s.mtx");
    expectRefused({"replay", file, "--shrink", out},
                  out + ": block (0, 0) holds an infinity or NaN in row 0, which no file can hold; "
                        "a name without the ending .mtx makes a capture");
    EXPECT_EQ(folder.numFiles(), 1u);
    expectDone({"replay", file, "--shrink", folder.path("s.capture")});
}

TEST(BadCapture, Missing)
{
    const support::Folder folder;
    const std::string file = folder.path("c");
    expectRefused({"replay", file}, file + ": No such file or directory");
}

TEST(BadCapture, Directory)
{
    const support::Folder folder;
    expectRefused({"replay", folder.path("")}, folder.path("") + ": Is a directory");
}

TEST(BadCapture, WithoutPermission)
{
    if (geteuid() == 0)
        GTEST_SKIP() << "the superuser may read everything";
    const support::Folder folder;
    const std::string file = solvedFile<double>(folder);
    std::filesystem::permissions(file, std::filesystem::perms::none);
    expectRefused({"replay", file}, file + ": Permission denied");
}

TEST(BadCapture, BinaryGarbage)
{
    const support::Folder folder;
    const std::string file = folder.write("c", std::string(100, '\x7f'));
    expectRefused({"replay", file}, file + ": not a capture: the file should begin with "
                                           "'orvelcap'");
}

TEST(BadCapture, CutOff)
{
    const support::Folder folder;
    const std::string bytes = support::contentOf(solvedFile<double>(folder));
    const std::string file = folder.write("c", bytes.substr(0, bytes.size() - 1));
    const support::CommandResult result = orvel({"replay", file});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "orvel: " + file + ": the capture is cut off: the file has " +
                              std::to_string(bytes.size() - 1) + " of at least " +
                              std::to_string(bytes.size()) + " bytes\n");
}

TEST(BadCapture, OtherFile)
{
    const support::Folder folder;
    const std::string file = folder.write("m.mtx", kSmallMatrix);
    expectRefused({"replay", file}, file + ": not a capture: the file should begin with "
                                           "'orvelcap'");
}

TEST(BadCapture, Empty)
{
    const support::Folder folder;
    const std::string file = folder.write("c", "");
    expectRefused({"replay", file},
                  file + ": the capture is cut off: the file has 0 of at least 32 bytes");
}

TEST(BadCapture, Damaged)
{
    const support::Folder folder;
    std::string bytes = support::contentOf(solvedFile<double>(folder));
    ++bytes[bytes.size() / 2];
    const std::string file = folder.write("damaged", bytes);
    expectRefused({"replay", file}, file + ": the capture is damaged: its checksum differs");
}

TEST(BadCapture, ShrunkToAFullDevice)
{
    const support::Folder folder;
    std::filesystem::create_symlink("/dev/full", folder.path("s"));
    expectRefused({"replay", singularFile(folder), "--shrink", folder.path("s")},
                  folder.path("s") + ": No space left on device");
}

TEST(BadCapture, FullDeviceAsStandardOutputIsReported)
{
    const support::Folder folder;
    for (const std::string option : {"", "--json"}) {
        std::vector<std::string> arguments = {"replay", solvedFile<double>(folder)};
        if (!option.empty())
            arguments.push_back(option);
        const support::CommandResult result = orvel(arguments, "/dev/full");
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_EQ(result.err, "orvel: standard output: No space left on device\n");
    }
}

TEST(BadCapture, ShrunkToAFolderThatIsMissing)
{
    const support::Folder folder;
    const std::string out = folder.path("none/s.mtx");
    expectRefused({"replay", singularFile(folder), "--shrink", out},
                  out + ": No such file or directory");
    EXPECT_EQ(folder.numFiles(), 1u);
}

} // namespace cli
