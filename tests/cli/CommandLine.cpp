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

TEST(CommandLine, HelpListsTheSubcommandsAndExitCodes)
{
    EXPECT_EQ(expectDone({"--help"}),
              "Solves sparse symmetric systems of small dense blocks: A = L D L^T.\n"
              "Usage: orvel [OPTIONS] SUBCOMMAND\n"
              "\n"
              "Options:\n"
              "  -h,--help                   Print this help message and exit\n"
              "  --version                   Display program version information and exit\n"
              "\n"
              "Subcommands:\n"
              "  demo                        solve one time step of a rope bridge, built in\n"
              "  solve                       solve a system from a file\n"
              "  info                        show structure, ordering and fill-in\n"
              "  replay                      solve a captured system again and compare, to the "
              "bit\n"
              "\n"
              "Exit codes: 0 done, 1 the matrix cannot be solved, 2 wrong usage or bad files.\n");
}

TEST(CommandLine, HelpOfDemoListsItsOptions)
{
    EXPECT_EQ(linesFrom(expectDone({"demo", "--help"}), "Usage"),
              "Usage: orvel demo [OPTIONS]\n"
              "\n"
              "Options:\n"
              "  -h,--help                   Print this help message and exit\n"
              "  --segments N=60             pieces of each rope, 2 to 100000\n"
              "  --picture FILE              draw the bridge and its system as SVG\n"
              "\n"
              "Exit codes: 0 done, 1 the matrix cannot be solved, 2 wrong usage or bad files.\n");
}

TEST(CommandLine, HelpOfSolveListsItsOptions)
{
    EXPECT_EQ(
        linesFrom(expectDone({"solve", "--help"}), "Usage"),
        "Usage: orvel solve [OPTIONS] FILE\n"
        "\n"
        "Positionals:\n"
        "  FILE REQUIRED               Matrix Market file: coordinate, real or integer, "
        "symmetric\n"
        "\n"
        "Options:\n"
        "  -h,--help                   Print this help message and exit\n"
        "  --blocks FILE Excludes: --find-blocks\n"
        "                              file with the block sizes; by default FILE with the "
        "ending .blocks, if there is one\n"
        "  --find-blocks Excludes: --blocks\n"
        "                              find blocks by structure even if there is such a file\n"
        "  --rhs FILE                  right-hand side: Matrix Market array or plain numbers; "
        "by default A times ones\n"
        "  --out FILE                  write the solution as a Matrix Market array\n"
        "\n"
        "Exit codes: 0 done, 1 the matrix cannot be solved, 2 wrong usage or bad files.\n");
}

TEST(CommandLine, HelpOfReplayListsItsOptions)
{
    EXPECT_EQ(linesFrom(expectDone({"replay", "--help"}), "Usage"),
              "Usage: orvel replay [OPTIONS] FILE\n"
              "\n"
              "Positionals:\n"
              "  FILE REQUIRED               capture of a system\n"
              "\n"
              "Options:\n"
              "  -h,--help                   Print this help message and exit\n"
              "  --shrink FILE               write the smallest part that fails alike: as .mtx "
              "with .blocks beside it, or by any other name as a capture\n"
              "  --json                      report as JSON\n"
              "\n"
              "Exit codes: 0 the same as captured, 1 something differs, 2 wrong usage or bad "
              "files.\n");
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
    expectUsageError({"solve"}, "FILE is required");
}

TEST(CommandLine, InfoWithoutAFileIsRefused)
{
    expectUsageError({"info"}, "FILE is required");
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
