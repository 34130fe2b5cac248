#include "cli/Orvel.h"

namespace cli {

namespace {

/// Two bodies of one scalar and one joint of two rows that say the same.
constexpr char kTwiceTheSame[] = "%%MatrixMarket matrix coordinate real symmetric\n"
                                 "4 4 6\n"
                                 "1 1 2\n"
                                 "2 2 2\n"
                                 "3 1 1\n"
                                 "3 2 1\n"
                                 "4 1 1\n"
                                 "4 2 1\n";

/// Boxes on one platform, the last body, with four contacts each: soft ones are best eliminated
/// before the bodies.
std::string writeBoxes(const support::Folder& folder, int boxes)
{
    const int platform = boxes + 1;
    const int rows = platform + 4 * boxes;
    std::string blocks =
        "blocks " + std::to_string(rows) + " firstTrailing " + std::to_string(platform);
    std::string matrix = kHeader + std::to_string(rows) + " " + std::to_string(rows) + " " +
                         std::to_string(platform + 8 * boxes) + "\n";
    for (int row = 1; row <= rows; ++row) {
        blocks += " 1";
        const std::string begin = std::to_string(row) + " ";
        if (row <= platform)
            matrix += begin + std::to_string(row) + " 1\n";
        else
            matrix += begin + std::to_string((row - platform + 3) / 4) + " 1\n" + begin +
                      std::to_string(platform) + " -1\n";
    }
    folder.write("m.blocks", blocks);
    return folder.write("m.mtx", matrix);
}

/// A body with one joint.
constexpr char kJoint[] = "%%MatrixMarket matrix coordinate real symmetric\n"
                          "2 2 2\n"
                          "1 1 2\n"
                          "2 1 4\n";

} // namespace

TEST(Check, CertifiesTheOrderAndCountsTheSigns)
{
    const support::Folder folder;
    const std::string file = folder.write("m.mtx", kJoint);
    EXPECT_EQ(expectDone({"check", file}),
              file + "\n"
                     "  scalars                      2\n"
                     "  blocks                       2  1 ordinary, 1 trailing, sizes 1 to 1\n"
                     "                                  blocks found by structure\n"
                     "  order                certified  of the structure alone: it forces no "
                     "pivot to be zero\n"
                     "  positive pivots              1\n"
                     "  negative pivots              1\n"
                     "  signs                 expected  positive in ordinary blocks, negative in "
                     "trailing ones\n"
                     "  smallest pivot        2.00e+00\n"
                     "  largest pivot        -8.00e+00\n"
                     "  rank                      full  every row counts\n");
}

TEST(Check, TellsOfAMatrixThatIsDefinite)
{
    const support::Folder folder;
    const std::string report = expectDone({"check", folder.write("m.mtx", kSmallMatrix)});
    EXPECT_NE(
        report.find("\n  signs                 expected  all positive: the matrix is definite\n"),
        std::string::npos)
        << report;
}

// [1 2; 2 1] has a pivot of -3.
TEST(Check, FindsNegativePivotsOfOrdinaryBlocks)
{
    const support::Folder folder;
    const std::string file =
        folder.write("m.mtx", std::string(kHeader) + "2 2 3\n1 1 1\n2 1 2\n2 2 1\n");
    const std::string report = expectDone({"check", file});
    const std::string lines = linesFrom(report, "  positive");
    EXPECT_EQ(lines.substr(0, lines.find("  smallest")),
              "  positive pivots              1\n"
              "  negative pivots              1\n"
              "  signs               unexpected  1 negative in ordinary blocks; the first in row "
              "2, of block 0\n");
}

// A body of mass -2 and one of 4, with a joint each, and the second joint a little too stiff: the
// pivots are -2, 4, 1/2 and 1 - 1/4.
TEST(Check, AcceptsTheSignsThatSolveAccepts)
{
    const support::Folder folder;
    folder.write("m.blocks", "blocks 4 firstTrailing 2\n1 1 1 1\n");
    const std::string file =
        folder.write("m.mtx", std::string(kHeader) + "4 4 5\n1 1 -2\n2 2 4\n3 1 1\n4 2 1\n4 4 1\n");
    expectDone({"solve", file});
    const std::string report = expectDone({"check", file});
    EXPECT_NE(report.find("  signs               unexpected  1 negative in ordinary blocks, 2 "
                          "positive in trailing ones; the first in row "),
              std::string::npos)
        << report;
}

TEST(Check, CountsUnexpectedSignsInJson)
{
    const support::Folder folder;
    const std::string file =
        folder.write("m.mtx", std::string(kHeader) + "2 2 3\n1 1 1\n2 1 2\n2 2 1\n");
    EXPECT_NE(expectDone({"check", file, "--json"})
                  .find("  \"signs\": \"unexpected\",\n"
                        "  \"negativeInOrdinaryBlocks\": 1,\n"
                        "  \"positiveInTrailingBlocks\": 0,\n"),
              std::string::npos);
}

// Two joints that say the same, and a third one on a body of negative mass.
TEST(Check, NamesARedundantRowBesideUnexpectedSigns)
{
    const support::Folder folder;
    folder.write("m.blocks", "blocks 5 firstTrailing 2\n1 1 1 1 1\n");
    const std::string file =
        folder.write("m.mtx", std::string(kHeader) + "5 5 5\n1 1 2\n2 2 -2\n3 1 1\n4 1 1\n5 2 1\n");
    const support::CommandResult result = orvel({"check", file});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_NE(result.out.find(" depends on row "), std::string::npos) << result.out;
    EXPECT_EQ((result.out + result.err).find("allow any signs"), std::string::npos) << result.out;
}

TEST(Check, NamesRedundantRowsAndWhatTheyDependOn)
{
    const support::Folder folder;
    const std::string file = folder.write("m.mtx", kTwiceTheSame);
    const support::CommandResult result = orvel({"check", file});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(linesFrom(result.out, "  rank"),
              "  rank                 deficient  Singular\n"
              "                                  row 4, of block 2, depends on row 3; a "
              "compliance of 3e-08 would do\n");
    EXPECT_NE(result.err.find("(row 4 of the matrix, counted from 1)"), std::string::npos);
}

// The third joint is the difference of the first two.
TEST(Check, NamesSeveralRowsThatOneDependsOn)
{
    const support::Folder folder;
    const std::string file = folder.write("m.mtx", std::string(kHeader) + "6 6 9\n"
                                                                          "1 1 2\n2 2 2\n3 3 2\n"
                                                                          "4 1 1\n4 2 -1\n"
                                                                          "5 2 1\n5 3 -1\n"
                                                                          "6 1 1\n6 3 -1\n");
    const support::CommandResult result = orvel({"check", file});
    EXPECT_NE(result.out.find(" depends on rows "), std::string::npos) << result.out;
}

TEST(Check, NamesRedundantRowsInJson)
{
    const support::Folder folder;
    const std::string file = folder.write("m.mtx", kTwiceTheSame);
    const support::CommandResult result = orvel({"check", file, "--json"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(linesFrom(result.out, "  \"redundant\"").substr(0, 46),
              "  \"redundant\": [\n    {\n      \"status\": \"Singul");
}

TEST(Check, ProposesAComplianceThatWillDo)
{
    const support::Folder folder;
    const std::string report =
        expectDone({"check", folder.write("m.mtx", kTwiceTheSame), "--compliance", "3e-08"});
    EXPECT_NE(report.find("  rank                      full  "), std::string::npos) << report;
}

// By the pattern of the file alone contacts that come first would have zero pivots.
TEST(Check, CertifiesAnOrderThatNeedsTheCompliance)
{
    const support::Folder folder;
    const std::string file = writeBoxes(folder, 20);
    EXPECT_NE(expectDone({"info", file, "--compliance", "1"}).find("all of them soft"),
              std::string::npos);
    const std::string report = expectDone({"check", file, "--compliance", "1"});
    EXPECT_NE(report.find("  order                certified"), std::string::npos) << report;
}

TEST(Check, LooksForRedundantRowsWithTheCompliance)
{
    const support::Folder folder;
    const std::string file = folder.write("m.mtx", kTwiceTheSame);
    const support::CommandResult result = orvel({"check", file, "--compliance", "1e-20"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_NE(result.out.find("depends on row 3; a compliance of 3e-08 would do"),
              std::string::npos)
        << result.out;
}

TEST(Check, RefusesAnOrderWithAZeroPivot)
{
    const support::Folder folder;
    const std::string file = folder.write("m.mtx", std::string(kHeader) + "3 3 2\n"
                                                                          "1 1 1\n"
                                                                          "3 3 1\n");
    const support::CommandResult result = orvel({"check", file, "--ordering", "natural"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_NE(result.out.find("  order                  refused"), std::string::npos) << result.out;
}

TEST(Check, RefusesAnOrderingThatItDoesNotKnow)
{
    const support::Folder folder;
    const std::string file = folder.write("m.mtx", kJoint);
    expectUsageError({"check", file, "--ordering", "alphabetic"},
                     "--ordering: 'alphabetic' is none of automatic, constraint-aware, symamd, "
                     "nested-dissection, natural or best",
                     "orvel check");
}

TEST(Check, RefusesAFileThatIsNotThere)
{
    expectRefused({"check", "/nowhere.mtx"}, "/nowhere.mtx: No such file or directory");
}

} // namespace cli
