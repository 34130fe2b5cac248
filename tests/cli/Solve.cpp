#include "cli/Orvel.h"

#include <filesystem>
#include <sstream>

#include <sys/stat.h>

namespace cli {

namespace {

constexpr char kArrayHeader[] = "%%MatrixMarket matrix array real general\n";

/// One joint over two bodies, the joint first in the file. For (2, 8, 2) the solution is (2, 3, 1),
/// without any rounding.
///
///     . X X
///     X X .
///     X . X
constexpr char kJointFirst[] = "%%MatrixMarket matrix coordinate real symmetric\n"
                               "3 3 4\n"
                               "2 1 1\n"
                               "2 2 2\n"
                               "3 1 -1\n"
                               "3 3 4\n";

/// Solves and returns what was written to --out.
std::string solution(const support::Folder& folder, std::vector<std::string> arguments)
{
    const std::string out = folder.path("x.mtx");
    arguments.insert(arguments.begin(), "solve");
    arguments.insert(arguments.end(), {"--out", out});
    const std::string report = expectDone(arguments);
    EXPECT_EQ(linesFrom(report, "Solution"), "Solution: " + out + "\n");
    return support::contentOf(out);
}

/// The solution of [4 1; 1 3] with a right-hand side file of this content.
std::string smallSolution(const std::string& rightHandSide)
{
    const support::Folder folder;
    const std::string matrix = folder.write("m.mtx", kSmallMatrix);
    return solution(folder, {matrix, "--rhs", folder.write("b", rightHandSide)});
}

const std::string kOneTwo = std::string(kArrayHeader) + "2 1\n1\n2\n";

/// The line of a report that begins with "  blocks ", and the one after it.
std::string blockLines(const std::string& report)
{
    const std::string rest = linesFrom(report, "  blocks ");
    return rest.substr(0, rest.find('\n', rest.find('\n') + 1));
}

} // namespace

TEST(Solve, ReportShowsSizesFillAndAccuracy)
{
    const support::Folder folder;
    const std::string matrix = folder.write("m.mtx", kSmallMatrix);
    EXPECT_EQ(expectDone({"solve", matrix}),
              matrix + "\n"
                       "  scalars                      2\n"
                       "  blocks                       1  1 ordinary, 0 trailing, sizes 2 to 2\n"
                       "                                  blocks found by structure\n"
                       "  right-hand side                 A times ones\n"
                       "  blocks of A                  1  lower triangle\n"
                       "  blocks of L                  1  0 of them fill-in\n"
                       "  scalars of L                 4\n"
                       "  operations                   1  multiply-subtract pairs, about\n"
                       "  ordering                        minimum fill\n"
                       "  refinements                  0\n"
                       "  relative residual      0.0e+00  |b - A x| / |b|\n"
                       "  backward error         0.0e+00  |b - A x| / (|A| |x| + |b|)\n");
    EXPECT_EQ(folder.numFiles(), 1u);
}

TEST(Solve, WithoutRightHandSideTheSolutionIsAllOnes)
{
    const support::Folder folder;
    EXPECT_EQ(solution(folder, {folder.write("m.mtx", kSmallMatrix)}),
              std::string(kArrayHeader) + "2 1\n1\n1\n");
}

TEST(Solve, RightHandSideIsReported)
{
    const support::Folder folder;
    const std::string matrix = folder.write("m.mtx", kSmallMatrix);
    const std::string b = folder.write("b", "6 7");
    const std::string label = "  right-hand side                 ";
    for (const auto& [command, shown] :
         {std::pair{std::vector<std::string>{"solve", matrix, "--rhs", b}, b},
          std::pair{std::vector<std::string>{"solve", "--scene", "rope", "3"},
                    std::string("of the scene")}}) {
        const std::string lines = linesFrom(expectDone(command), label);
        EXPECT_EQ(lines.substr(0, lines.find('\n')), label + shown);
    }
}

TEST(Solve, RightHandSideIsReportedInJson)
{
    const support::Folder folder;
    const std::string b = folder.write("b", "6 7");
    EXPECT_NE(expectDone({"solve", folder.write("m.mtx", kSmallMatrix), "--rhs", b, "--json"})
                  .find("  \"rightHandSide\": \"" + b + "\",\n"),
              std::string::npos);
}

TEST(Solve, RightHandSideMayBePlainNumbers)
{
    EXPECT_EQ(smallSolution("6 7"), kOneTwo);
}

TEST(Solve, PlainNumbersMayStandOnManyLines)
{
    EXPECT_EQ(smallSolution("\r\n 6\r\n\r\n\t7.0\r\n"), kOneTwo);
}

TEST(Solve, RightHandSideMayBeAMatrixMarketArray)
{
    EXPECT_EQ(smallSolution(std::string(kArrayHeader) + "% a comment\n2 1\n6\n7e0\n"), kOneTwo);
}

TEST(Solve, RightHandSideMayBeAnArrayOfIntegers)
{
    EXPECT_EQ(smallSolution("%%MatrixMarket matrix array integer general\n2 1\n6\n7\n"), kOneTwo);
}

TEST(Solve, ZeroRightHandSideHasTheZeroSolution)
{
    EXPECT_EQ(smallSolution("0 0"), std::string(kArrayHeader) + "2 1\n0\n0\n");
}

TEST(Solve, SolutionIsReadBackAsARightHandSide)
{
    const support::Folder folder;
    const std::string matrix = folder.write("m.mtx", kSmallMatrix);
    const std::string product = folder.path("b.mtx"); // A times (1, 2)
    folder.write("identity.mtx", std::string(kHeader) + "2 2 2\n1 1 1\n2 2 1\n");
    folder.write("b", "6 7");
    expectDone({"solve", folder.path("identity.mtx"), "--rhs", folder.path("b"), "--out", product});
    EXPECT_EQ(solution(folder, {matrix, "--rhs", product}), kOneTwo);
}

TEST(Solve, SolutionHasSeventeenDigits)
{
    const support::Folder folder;
    const std::string matrix = folder.write("m.mtx", std::string(kHeader) + "1 1 1\n1 1 3\n");
    const std::string b = folder.write("b", "1");
    EXPECT_EQ(solution(folder, {matrix, "--rhs", b}),
              std::string(kArrayHeader) + "1 1\n0.33333333333333331\n");
}

TEST(Solve, IntegerFieldIsRead)
{
    const support::Folder folder;
    const std::string matrix =
        folder.write("m.mtx", "%%MatrixMarket matrix coordinate integer symmetric\n"
                              "2 2 3\n1 1 4\n2 1 1\n2 2 3\n");
    EXPECT_EQ(solution(folder, {matrix, "--rhs", folder.write("b", "6 7")}), kOneTwo);
}

TEST(Solve, LineEndsCommentsCaseAndOrderDoNotMatter)
{
    const support::Folder folder;
    const std::string matrix =
        folder.write("m.mtx", "%%matrixmarket MATRIX Coordinate REAL Symmetric\r\n"
                              "% a comment\r\n\r\n  2\t2 3\r\n"
                              "1 2 +1.0E0\r\n% another\r\n2 2 3\r\n1 1 4 \r\n\r\n% the end");
    EXPECT_EQ(solution(folder, {matrix, "--rhs", folder.write("b", "6 7")}), kOneTwo);
}

TEST(Solve, RowsWithoutDiagonalBecomeTrailing)
{
    const support::Folder folder;
    const std::string report = expectDone({"solve", folder.write("m.mtx", kJointFirst)});
    EXPECT_EQ(blockLines(report),
              "  blocks                       3  2 ordinary, 1 trailing, sizes 1 to 1\n"
              "                                  blocks found by structure");
}

TEST(Solve, VectorsKeepTheOrderOfTheFile)
{
    const support::Folder folder;
    const std::string matrix = folder.write("m.mtx", kJointFirst);
    EXPECT_EQ(solution(folder, {matrix, "--rhs", folder.write("b", "2 8 2")}),
              std::string(kArrayHeader) + "3 1\n2\n3\n1\n");
}

TEST(Solve, ExplicitZeroDiagonalCountsAsNone)
{
    const support::Folder folder;
    const std::string matrix =
        folder.write("m.mtx", std::string(kHeader) + "3 3 5\n1 1 0\n2 1 1\n2 2 2\n3 1 -1\n3 3 4\n");
    EXPECT_EQ(blockLines(expectDone({"solve", matrix})),
              "  blocks                       3  2 ordinary, 1 trailing, sizes 1 to 1\n"
              "                                  blocks found by structure");
}

TEST(Solve, SidecarGivesTheBlocks)
{
    const support::Folder folder;
    const std::string matrix = folder.write("m.mtx", kSmallMatrix);
    const std::string blocks = folder.write("m.blocks", "blocks\n2\nfirstTrailing 2 1\n\n1\n");
    EXPECT_EQ(blockLines(expectDone({"solve", matrix})),
              "  blocks                       2  2 ordinary, 0 trailing, sizes 1 to 1\n"
              "                                  blocks from " +
                  blocks);
}

TEST(Solve, SidecarOfAFileWithoutEndingAddsOne)
{
    const support::Folder folder;
    const std::string matrix = folder.write("matrix", kSmallMatrix);
    const std::string blocks = folder.write("matrix.blocks", "blocks 1 firstTrailing 1 2");
    EXPECT_EQ(blockLines(expectDone({"solve", matrix})),
              "  blocks                       1  1 ordinary, 0 trailing, sizes 2 to 2\n"
              "                                  blocks from " +
                  blocks);
}

TEST(Solve, FindBlocksIgnoresTheSidecar)
{
    const support::Folder folder;
    const std::string matrix = folder.write("m.mtx", kSmallMatrix);
    folder.write("m.blocks", "not a block file");
    EXPECT_EQ(blockLines(expectDone({"solve", matrix, "--find-blocks"})),
              "  blocks                       1  1 ordinary, 0 trailing, sizes 2 to 2\n"
              "                                  blocks found by structure");
}

TEST(Solve, BlocksOptionComesBeforeTheSidecar)
{
    const support::Folder folder;
    const std::string matrix = folder.write("m.mtx", kSmallMatrix);
    folder.write("m.blocks", "not a block file");
    const std::string blocks = folder.write("other", "blocks 3 firstTrailing 2\n1 0 1");
    EXPECT_EQ(blockLines(expectDone({"solve", matrix, "--blocks", blocks})),
              "  blocks                       3  2 ordinary, 1 trailing, sizes 0 to 1\n"
              "                                  blocks from " +
                  blocks);
}

// The extreme ends of the range of doubles, where squares overflow and vanish.
TEST(Solve, ScaleOfTheMatrixDoesNotMatter)
{
    for (const std::string exponent : {"e290", "e-290"}) {
        SCOPED_TRACE(exponent);
        const support::Folder folder;
        std::string text = std::string(kHeader) + "3 3 5\n";
        for (const std::string entry : {"1 1 3.1", "2 1 1.3", "2 2 2.7", "3 1 0.17", "3 3 7.3"})
            text += entry + exponent + "\n";
        const std::string report = expectDone({"solve", folder.write("m.mtx", text)});
        EXPECT_LT(numberAfter(report, "  relative residual"), 1e-15);
        EXPECT_LT(numberAfter(report, "  backward error"), 1e-15);
    }
}

TEST(Solve, ExistingOutFileIsReplaced)
{
    const support::Folder folder;
    const std::string matrix = folder.write("m.mtx", kSmallMatrix);
    folder.write("x.mtx", "what was here before, and longer than what comes after it: " +
                              std::string(1000, '.'));
    EXPECT_EQ(solution(folder, {matrix}), std::string(kArrayHeader) + "2 1\n1\n1\n");
    EXPECT_EQ(folder.numFiles(), 2u);
}

TEST(Solve, OutFileThatIsReadIsRefusedAndKept)
{
    const support::Folder folder;
    const std::string matrix = folder.write("m.mtx", kSmallMatrix);
    const std::string rhs = folder.write("b.mtx", "3 3\n");
    const std::string blocks = folder.write("m.blocks", "blocks 2 firstTrailing 2\n1\n1\n");
    std::filesystem::create_symlink(matrix, folder.path("link"));
    for (const std::string& out : {matrix, rhs, blocks, folder.path("link")}) {
        expectRefused({"solve", matrix, "--rhs", rhs, "--out", out},
                      out + ": it is read, and would be lost; name another file");
        EXPECT_EQ(support::contentOf(matrix), kSmallMatrix);
        EXPECT_EQ(support::contentOf(rhs), "3 3\n");
        EXPECT_EQ(support::contentOf(blocks), "blocks 2 firstTrailing 2\n1\n1\n");
    }
}

TEST(Solve, LinkAsOutFileStaysALink)
{
    const support::Folder folder;
    const std::string matrix = folder.write("m.mtx", kSmallMatrix);
    const std::string target = folder.write("target", "old");
    std::filesystem::create_symlink(target, folder.path("x.mtx"));
    const std::string expected = std::string(kArrayHeader) + "2 1\n1\n1\n";
    EXPECT_EQ(solution(folder, {matrix}), expected);
    EXPECT_TRUE(std::filesystem::is_symlink(folder.path("x.mtx")));
    EXPECT_EQ(support::contentOf(target), expected);
}

TEST(Solve, PipeAsOutFileIsWrittenTo)
{
    const support::Folder folder;
    const std::string matrix = folder.write("m.mtx", kSmallMatrix);
    const std::string pipe = folder.path("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const int reader = open(pipe.c_str(), O_RDWR | O_NONBLOCK); // holds it open for the command
    ASSERT_GE(reader, 0);
    expectDone({"solve", matrix, "--out", pipe});
    char text[100];
    const ssize_t got = read(reader, text, sizeof text);
    close(reader);
    ASSERT_GT(got, 0);
    EXPECT_EQ(std::string(text, static_cast<std::size_t>(got)),
              std::string(kArrayHeader) + "2 1\n1\n1\n");
    EXPECT_TRUE(std::filesystem::is_fifo(pipe));
}

} // namespace cli
