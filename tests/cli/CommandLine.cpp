#include "cli/Orvel.h"

namespace cli {

TEST(CommandLine, VersionIsPrinted)
{
    EXPECT_EQ(expectDone({"--version"}), "orvel " ORVEL_VERSION "\n");
}

TEST(CommandLine, NoSubcommandIsRefused)
{
    expectUsageError({}, "A subcommand is required", "orvel");
}

TEST(CommandLine, UnknownSubcommandIsNamed)
{
    expectUsageError({"factor"}, "unexpected 'factor'", "orvel");
}

TEST(CommandLine, UnknownOptionIsNamed)
{
    expectUsageError({"--fast"}, "unexpected '--fast'", "orvel");
}

TEST(CommandLine, UnknownOptionOfASubcommandIsNamed)
{
    expectUsageError({"solve", "a.mtx", "--fast"}, "unexpected '--fast'", "orvel solve");
}

TEST(CommandLine, OptionOfAnotherSubcommandIsNamed)
{
    expectUsageError({"info", "a.mtx", "--rhs", "b"}, "unexpected '--rhs'", "orvel info");
}

TEST(CommandLine, SolveWithoutAFileIsRefused)
{
    expectUsageError({"solve"}, "FILE or --scene is required", "orvel solve");
}

TEST(CommandLine, InfoWithoutAFileIsRefused)
{
    expectUsageError({"info"}, "FILE or --scene is required", "orvel info");
}

TEST(CommandLine, SecondFileIsNamed)
{
    expectUsageError({"solve", "a.mtx", "b.mtx"}, "unexpected 'b.mtx'", "orvel solve");
}

TEST(CommandLine, TwoSubcommandsAreRefused)
{
    expectUsageError({"demo", "info"}, "unexpected 'info'", "orvel demo");
}

TEST(CommandLine, OptionWithoutItsValueIsRefused)
{
    expectUsageError({"solve", "a.mtx", "--out"}, "--out needs a value", "orvel solve");
}

TEST(CommandLine, OptionGivenTwiceIsRefused)
{
    expectUsageError({"solve", "a.mtx", "--threads", "2", "--threads", "3"},
                     "--threads is given more than once", "orvel solve");
}

TEST(CommandLine, FlagWithAValueIsRefused)
{
    expectUsageError({"solve", "a.mtx", "--json=x"}, "--json takes no value", "orvel solve");
}

TEST(CommandLine, BlocksAndFindBlocksExcludeEachOther)
{
    expectUsageError({"solve", "a.mtx", "--blocks", "b", "--find-blocks"},
                     "--blocks excludes --find-blocks", "orvel solve");
}

TEST(CommandLine, SegmentsBelowTheRangeAreRefused)
{
    expectUsageError({"demo", "--segments", "1"},
                     "--segments: '1' is not a whole number from 2 to 100000", "orvel demo");
}

TEST(CommandLine, SegmentsAboveTheRangeAreRefused)
{
    expectUsageError({"demo", "--segments", "100001"},
                     "--segments: '100001' is not a whole number from 2 to 100000", "orvel demo");
}

TEST(CommandLine, NegativeSegmentsAreRefused)
{
    expectUsageError({"demo", "--segments", "-3"},
                     "--segments: '-3' is not a whole number from 2 to 100000", "orvel demo");
}

TEST(CommandLine, SegmentsThatAreNoNumberAreRefused)
{
    expectUsageError({"demo", "--segments", "many"},
                     "--segments: 'many' is not a whole number from 2 to 100000", "orvel demo");
}

TEST(CommandLine, FullDeviceAsStandardOutputIsReported)
{
    const support::CommandResult result = orvel({"--help"}, "/dev/full");
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.err, "orvel: standard output: No space left on device\n");
}

} // namespace cli
