// Options that several subcommands share.

#include "cli/Orvel.h"

#include <cstddef>
#include <sstream>

namespace cli {

namespace {

/// A mass of 2 on a rod of slope 4: x = (1, 2) for b = (10, 4).
constexpr char kJoint[] = "%%MatrixMarket matrix coordinate real symmetric\n"
                          "2 2 2\n"
                          "1 1 2\n"
                          "2 1 4\n";

/// Two joints between the same two bodies that say the same; the right-hand side A·(1, ..., 1)
/// agrees with both.
constexpr char kSameJointTwice[] = "%%MatrixMarket matrix coordinate real symmetric\n"
                                   "4 4 6\n"
                                   "1 1 4\n"
                                   "2 2 4\n"
                                   "3 1 1\n"
                                   "3 2 -1\n"
                                   "4 1 1\n"
                                   "4 2 -1\n";

constexpr char kReplaced[] = "1 pivot was too small or of the wrong sign and replaced, the first "
                             "in row 1 of block 2; solutions are refined";

} // namespace

TEST(Options, SolveReportsInJson)
{
    const support::Folder folder;
    const std::string file = folder.write("m.mtx", kSmallMatrix);
    EXPECT_EQ(expectDone({"solve", file, "--json"}),
              "{\n"
              "  \"input\": \"" +
                  file +
                  "\",\n"
                  "  \"scalars\": 2,\n"
                  "  \"blocks\": 1,\n"
                  "  \"ordinaryBlocks\": 1,\n"
                  "  \"trailingBlocks\": 0,\n"
                  "  \"smallestBlock\": 2,\n"
                  "  \"largestBlock\": 2,\n"
                  "  \"blockSource\": \"found by structure\",\n"
                  "  \"compliance\": 0.0,\n"
                  "  \"rightHandSide\": \"A times ones\",\n"
                  "  \"matrixBlocks\": 1,\n"
                  "  \"factorBlocks\": 1,\n"
                  "  \"fillBlocks\": 0,\n"
                  "  \"factorScalars\": 4,\n"
                  "  \"operations\": 1,\n"
                  "  \"ordering\": \"minimum fill\",\n"
                  "  \"refinements\": 0,\n"
                  "  \"relativeResidual\": 0.0,\n"
                  "  \"backwardError\": 0.0\n"
                  "}\n");
}

TEST(Options, FailuresAreReportedInJsonToo)
{
    const support::Folder folder;
    const std::string file = folder.write("m.mtx", std::string(kHeader) + "2 2 3\n"
                                                                          "1 1 1\n"
                                                                          "2 1 1\n"
                                                                          "2 2 1\n");
    const support::CommandResult result = orvel({"solve", file, "--json"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_NE(result.out.find("\"status\": \"Singular\""), std::string::npos) << result.out;
    EXPECT_EQ(result.err.substr(0, 7), "orvel: ");
}

TEST(Options, EveryOrderingSolves)
{
    const support::Folder folder;
    const std::string file = folder.write("m.mtx", kJoint);
    for (const char* ordering : {"automatic", "constraint-aware", "symamd", "natural", "best"})
        EXPECT_LT(
            numberAfter(expectDone({"solve", file, "--ordering", ordering}), "  backward error"),
            1e-15)
            << ordering;
}

TEST(Options, ThreadsAndSinglePrecisionSolveToTheSameAccuracy)
{
    const support::Folder folder;
    const std::string file = folder.path("net.mtx");
    expectDone({"scene", "net", "5", "--output", file});
    for (const std::vector<std::string>& options :
         {std::vector<std::string>{"--threads", "2"}, {"--float"}, {"--float", "--threads", "2"}}) {
        std::vector<std::string> arguments = {"solve", file};
        arguments.insert(arguments.end(), options.begin(), options.end());
        EXPECT_LT(numberAfter(expectDone(arguments), "  backward error"), 1e-12);
    }
}

TEST(Options, SinglePrecisionTellsOfPivotsThatItReplaced)
{
    const support::Folder folder;
    const std::string file = folder.write("m.mtx", kSameJointTwice);
    const std::string report = expectDone({"solve", file, "--float"});
    EXPECT_EQ(linesFrom(report, "  regularized").substr(0, 34 + sizeof kReplaced),
              std::string("  regularized pivots           1  ") + kReplaced + "\n");
}

TEST(Options, SinglePrecisionTellsOfPivotsThatItReplacedInJson)
{
    const support::Folder folder;
    const std::string file = folder.write("m.mtx", kSameJointTwice);
    const std::string report = expectDone({"solve", file, "--float", "--json"});
    EXPECT_NE(report.find("  \"regularizedPivots\": 1,\n"
                          "  \"regularized\": {\n"
                          "    \"status\": \"Regularized\",\n"
                          "    \"message\": \"" +
                          std::string(kReplaced) +
                          "\",\n"
                          "    \"block\": 2,\n"
                          "    \"row\": 1\n"
                          "  },\n"),
              std::string::npos)
        << report;
}

TEST(Options, SinglePrecisionReplacesNoPivotWithoutNeed)
{
    const std::string report = expectDone({"solve", "--scene", "rope", "2", "--float", "--json"});
    EXPECT_NE(report.find("  \"regularizedPivots\": 0,\n  \"refinements\""), std::string::npos)
        << report;
}

TEST(Options, NoRefinementIsMadeWhereNoneIsWanted)
{
    const support::Folder folder;
    const std::string file = folder.path("net.mtx");
    expectDone({"scene", "net", "5", "--output", file});
    EXPECT_EQ(numberAfter(expectDone({"solve", file, "--refine", "0"}), "  refinements"), 0);
}

TEST(Options, NumbersOutOfRangeAreRefused)
{
    for (const auto& [option, value, range] :
         {std::tuple{"--threads", "0", "1 to 255"}, std::tuple{"--threads", "256", "1 to 255"},
          std::tuple{"--refine", "-1", "0 to 100"}, std::tuple{"--refine", "101", "0 to 100"}})
        expectUsageError({"solve", "m.mtx", option, value},
                         std::string(option) + ": '" + value + "' is not a whole number from " +
                             range,
                         "orvel solve");
}

TEST(Options, EmptyFileNamesAreRefused)
{
    for (const auto& [subcommand, file, option] :
         {std::tuple{"solve", "m.mtx", "--rhs"}, std::tuple{"solve", "m.mtx", "--out"},
          std::tuple{"solve", "m.mtx", "--blocks"}, std::tuple{"replay", "m", "--shrink"},
          std::tuple{"plot", "m.mtx", "--output"}, std::tuple{"scene", "rope", "--output"}})
        expectUsageError({subcommand, file, option, ""},
                         std::string(option) + ": the file's name is empty",
                         std::string("orvel ") + subcommand);
    expectUsageError({"demo", "--picture", ""}, "--picture: the file's name is empty",
                     "orvel demo");
    expectUsageError({"solve", ""}, "FILE: the file's name is empty", "orvel solve");
    expectUsageError({"replay", ""}, "FILE: the file's name is empty", "orvel replay");
}

TEST(Options, SecondsThatAreNoNumberAreRefused)
{
    for (const std::string seconds : {"0,5", "nan", "", "1 s", "0"})
        expectUsageError({"bench", "m.mtx", "--seconds", seconds},
                         "--seconds: '" + seconds + "' is not a number from 0.001 to 3600",
                         "orvel bench");
}

TEST(Options, ComplianceThatIsNoneIsRefused)
{
    for (const std::string compliance : {"-1", "inf", "nan", "1e999", "soft", ""})
        expectUsageError({"solve", "m.mtx", "--compliance", compliance},
                         "--compliance: '" + compliance + "' is not a finite number of 0 or more",
                         "orvel solve");
}

TEST(Options, ComplianceBeyondSinglePrecisionIsRefused)
{
    for (const char* const subcommand : {"solve", "bench"})
        expectRefused({subcommand, "m.mtx", "--float", "--compliance", "1e+39"},
                      "--compliance: 1e+39 is beyond single precision");
}

// The right-hand side is that of ones with the compliance, too.
TEST(Options, ComplianceSolvesWhatIsSingular)
{
    const support::Folder folder;
    const std::string file = folder.write("m.mtx", kSameJointTwice);
    for (const std::vector<std::string>& options : {std::vector<std::string>{"--compliance", "0.1"},
                                                    {"--compliance", "1e-08"},
                                                    {"--compliance", "0.1", "--float"}}) {
        std::vector<std::string> command = {"solve", file, "--out", folder.path("x")};
        command.insert(command.end(), options.begin(), options.end());
        const std::string report = expectDone(command);
        EXPECT_LT(numberAfter(report, "  backward error"), 1e-12);
        std::istringstream lines(support::contentOf(folder.path("x")));
        std::string line;
        for (int skipped = 0; skipped < 2; ++skipped)
            std::getline(lines, line);
        for (double x = 0; lines >> x;)
            EXPECT_NEAR(x, 1, 1e-6);
    }
}

// [2 4; 4 -4] times (1, 2) is (10, -4).
TEST(Options, ComplianceIsSubtracted)
{
    const support::Folder folder;
    expectDone({"solve", folder.write("m.mtx", kJoint), "--compliance", "4", "--rhs",
                folder.write("b", "10 -4"), "--out", folder.path("x")});
    EXPECT_EQ(linesFrom(support::contentOf(folder.path("x")), "2 1"), "2 1\n1\n2\n");
}

TEST(Options, ComplianceIsReported)
{
    const support::Folder folder;
    const std::string file = folder.write("m.mtx", kJoint);
    for (const char* const subcommand : {"solve", "info", "check", "bench"})
        EXPECT_NE(expectDone({subcommand, file, "--compliance", "1e-06"})
                      .find("\n  compliance               1e-06  of every trailing block\n"),
                  std::string::npos)
            << subcommand;
}

TEST(Options, ComplianceIsReportedInJson)
{
    const support::Folder folder;
    const std::string file = folder.write("m.mtx", kJoint);
    for (const std::vector<std::string>& command :
         std::vector<std::vector<std::string>>{{"solve", file},
                                               {"info", file},
                                               {"check", file},
                                               {"bench", file},
                                               {"plot", file, "--output", folder.path("a.svg")}}) {
        std::vector<std::string> arguments = command;
        arguments.insert(arguments.end(), {"--compliance", "1e-06", "--json"});
        EXPECT_NE(expectDone(arguments).find("\n  \"compliance\": 1e-06,\n"), std::string::npos)
            << command[0];
    }
}

TEST(Options, ComplianceWithoutTrailingBlocksIsOfNone)
{
    const support::Folder folder;
    EXPECT_NE(expectDone({"solve", folder.write("m.mtx", kSmallMatrix), "--compliance", "1"})
                  .find("  of no block: none is trailing\n"),
              std::string::npos);
}

TEST(Options, EmptyStandardInputIsNamed)
{
    const support::CommandResult result =
        support::runCommand("/bin/sh", {"-c", "'" ORVEL_PROGRAM "' solve - < /dev/null"}, "");
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.err, "orvel: standard input:1: not a Matrix Market file: the first line "
                          "should be '%%MatrixMarket matrix coordinate real symmetric'\n");
}

TEST(Options, DashReadsStandardInput)
{
    const support::Folder folder;
    const std::string file = folder.write("m.mtx", kSmallMatrix);
    const support::CommandResult result =
        support::runCommand("/bin/sh", {"-c", "'" ORVEL_PROGRAM "' solve - < '" + file + "'"}, "");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out.substr(0, 15), "standard input\n");
    EXPECT_LT(numberAfter(result.out, "  backward error"), 1e-15);
}

} // namespace cli
