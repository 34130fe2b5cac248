#include "cli/Orvel.h"

namespace cli {

namespace {

/// Wrong usage: what is wrong, and where to read on.
void expectUsageError(const std::vector<std::string>& arguments, const std::string& what)
{
    expectRefused(arguments, what + "; 'orvel --help' shows the usage");
}

} // namespace

TEST(CommandLine, VersionIsPrinted)
{
    EXPECT_EQ(expectDone({"--version"}), "orvel " ORVEL_VERSION "\n");
}

TEST(CommandLine, NoSubcommandIsRefused)
{
    expectUsageError({}, "A subcommand is required");
}

TEST(CommandLine, UnknownSubcommandIsNamed)
{
    expectUsageError({"factor"}, "unexpected 'factor'");
}

TEST(CommandLine, UnknownOptionIsNamed)
{
    expectUsageError({"--fast"}, "unexpected '--fast'");
}

TEST(CommandLine, UnknownOptionOfASubcommandIsNamed)
{
    expectUsageError({"solve", "a.mtx", "--fast"}, "unexpected '--fast'");
}

TEST(CommandLine, OptionOfAnotherSubcommandIsNamed)
{
    expectUsageError({"info", "a.mtx", "--rhs", "b"}, "unexpected '--rhs'");
}

TEST(CommandLine, SolveWithoutAFileIsRefused)
{
    expectUsageError({"solve"}, "FILE or --scene is required");
}

TEST(CommandLine, InfoWithoutAFileIsRefused)
{
    expectUsageError({"info"}, "FILE or --scene is required");
}

TEST(CommandLine, SecondFileIsNamed)
{
    expectUsageError({"solve", "a.mtx", "b.mtx"}, "unexpected 'b.mtx'");
}

TEST(CommandLine, TwoSubcommandsAreRefused)
{
    expectUsageError({"demo", "info"}, "unexpected 'info'");
}

TEST(CommandLine, OptionWithoutItsValueIsRefused)
{
    expectUsageError({"solve", "a.mtx", "--out"}, "--out: 1 required FILE missing");
}

TEST(CommandLine, BlocksAndFindBlocksExcludeEachOther)
{
    expectUsageError({"solve", "a.mtx", "--blocks", "b", "--find-blocks"},
                     "--blocks excludes --find-blocks");
}

TEST(CommandLine, SegmentsBelowTheRangeAreRefused)
{
    expectUsageError({"demo", "--segments", "1"}, "--segments: Value 1 not in range 2 to 100000");
}

TEST(CommandLine, SegmentsAboveTheRangeAreRefused)
{
    expectUsageError({"demo", "--segments", "100001"},
                     "--segments: Value 100001 not in range 2 to 100000");
}

TEST(CommandLine, NegativeSegmentsAreRefused)
{
    expectUsageError({"demo", "--segments", "-3"}, "--segments: Value -3 not in range 2 to 100000");
}

TEST(CommandLine, SegmentsThatAreNoNumberAreRefused)
{
    expectUsageError({"demo", "--segments", "many"},
                     "--segments: Value many not in range 2 to 100000");
}

TEST(CommandLine, FullDeviceAsStandardOutputIsReported)
{
    const support::CommandResult result = orvel({"--help"}, "/dev/full");
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.err, "orvel: standard output: No space left on device\n");
}

} // namespace cli
