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
              "  check                       certify the order, count signs, find redundant "
              "constraints\n"
              "  bench                       measure analysis, refactorization and solve\n"
              "  scene                       make a system that is built in; write it or solve "
              "it\n"
              "  plot                        draw pattern, factor, tree, pivots or timeline\n"
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
              "  --json                      report as a JSON object\n"
              "\n"
              "Example: orvel demo --segments 100 --picture bridge.svg\n"
              "\n"
              "Exit codes: 0 done, 1 the matrix cannot be solved, 2 wrong usage or bad files.\n");
}

TEST(CommandLine, HelpOfSolveListsItsOptions)
{
    EXPECT_EQ(linesFrom(expectDone({"solve", "--help"}), "Usage"),
              "Usage: orvel solve [OPTIONS] FILE\n"
              "\n"
              "Positionals:\n"
              "  FILE REQUIRED               Matrix Market file: coordinate, real or integer, "
              "symmetric; - is standard input\n"
              "\n"
              "Options:\n"
              "  -h,--help                   Print this help message and exit\n"
              "  --blocks FILE Excludes: --find-blocks\n"
              "                              file with the block sizes; by default FILE with "
              "the ending .blocks, if there is one\n"
              "  --find-blocks Excludes: --blocks\n"
              "                              find blocks by structure even if there is such a "
              "file\n"
              "  --rhs FILE                  right-hand side: Matrix Market array or plain "
              "numbers; by default A times ones\n"
              "  --out FILE                  write the solution as a Matrix Market array\n"
              "  --ordering NAME=automatic   automatic, constraint-aware, symamd, "
              "nested-dissection, natural or best\n"
              "  --threads N=1               threads to factor on, 1 to 255; from 2 on "
              "multifrontal\n"
              "  --float                     factor in single precision\n"
              "  --refine N=5                refinement steps at the most, 0 to 100; a factor "
              "in single precision is always corrected\n"
              "  --json                      report as a JSON object\n"
              "\n"
              "Example: orvel solve bridge.mtx --rhs bridge.rhs --out x.mtx\n"
              "\n"
              "Exit codes: 0 done, 1 the matrix cannot be solved, 2 wrong usage or bad files.\n");
}

TEST(CommandLine, HelpOfSceneListsItsKindsAndOptions)
{
    EXPECT_EQ(linesFrom(expectDone({"scene", "--help"}), "Usage"),
              "Usage: orvel scene [OPTIONS] KIND [SIZE...]\n"
              "\n"
              "Positionals:\n"
              "  KIND REQUIRED               what to make; see below\n"
              "  SIZE ...                    its sizes; see below\n"
              "\n"
              "Options:\n"
              "  -h,--help                   Print this help message and exit\n"
              "  --output FILE               write the matrix as a Matrix Market file, with "
              "the block sizes and the right-hand side beside it in files with the endings "
              ".blocks and .rhs; - is standard output, for the matrix alone\n"
              "  --solve                     solve it and report as orvel solve does\n"
              "  --ordering NAME=automatic   automatic, constraint-aware, symamd, "
              "nested-dissection, natural or best\n"
              "  --threads N=1               threads to factor on, 1 to 255; from 2 on "
              "multifrontal\n"
              "  --float                     factor in single precision\n"
              "  --refine N=5                refinement steps at the most, 0 to 100; a factor "
              "in single precision is always corrected\n"
              "  --json                      report as a JSON object\n"
              "\n"
              "Kinds and their sizes:\n"
              "  rope SEGMENTS=60            a hanging rope of ball joints; 1 to 100000\n"
              "  chain LINKS=60              a hanging chain of ball joints and hinges; 1 to "
              "100000\n"
              "  bridge SEGMENTS=60          a rope bridge with planks; 2 to 100000\n"
              "  ragdolls RAGDOLLS=20        a heap of ragdolls; 1 to 5000\n"
              "  net KNOTS=20                a square net; 2 to 300\n"
              "  wall WIDTH=20 HEIGHT=10     a brick wall with friction; 1 to 300, 1 to 300\n"
              "  tracks SHOES=80             a tank on its two tracks; 20 to 50000\n"
              "  lattice NODES=8             an elastic lattice, definite; 1 to 50\n"
              "  posegraph POSES=2500        a robot's pose graph, definite; 1 to 100000\n"
              "  elasticity NODES=10         an elastic cube of hexahedra, definite; 2 to 50\n"
              "\n"
              "Example: orvel scene wall 30 20 --output wall.mtx\n"
              "\n"
              "Exit codes: 0 done, 1 the matrix cannot be solved, 2 wrong usage or bad files.\n");
}

TEST(CommandLine, HelpOfCheckListsItsOptions)
{
    EXPECT_EQ(linesFrom(expectDone({"check", "--help"}), "Usage"),
              "Usage: orvel check [OPTIONS] FILE\n"
              "\n"
              "Positionals:\n"
              "  FILE REQUIRED               Matrix Market file: coordinate, real or integer, "
              "symmetric; - is standard input\n"
              "\n"
              "Options:\n"
              "  -h,--help                   Print this help message and exit\n"
              "  --blocks FILE Excludes: --find-blocks\n"
              "                              file with the block sizes; by default FILE with "
              "the ending .blocks, if there is one\n"
              "  --find-blocks Excludes: --blocks\n"
              "                              find blocks by structure even if there is such a "
              "file\n"
              "  --ordering NAME=automatic   automatic, constraint-aware, symamd, "
              "nested-dissection, natural or best\n"
              "  --json                      report as a JSON object\n"
              "\n"
              "Example: orvel check frame.mtx\n"
              "\n"
              "Exit codes: 0 done, 1 the matrix cannot be solved, 2 wrong usage or bad files.\n");
}

TEST(CommandLine, HelpOfBenchListsItsOptions)
{
    EXPECT_EQ(linesFrom(expectDone({"bench", "--help"}), "Usage"),
              "Usage: orvel bench [OPTIONS] FILE\n"
              "\n"
              "Positionals:\n"
              "  FILE REQUIRED               Matrix Market file: coordinate, real or integer, "
              "symmetric; - is standard input\n"
              "\n"
              "Options:\n"
              "  -h,--help                   Print this help message and exit\n"
              "  --blocks FILE Excludes: --find-blocks\n"
              "                              file with the block sizes; by default FILE with "
              "the ending .blocks, if there is one\n"
              "  --find-blocks Excludes: --blocks\n"
              "                              find blocks by structure even if there is such a "
              "file\n"
              "  --ordering NAME=automatic   automatic, constraint-aware, symamd, "
              "nested-dissection, natural or best\n"
              "  --threads N=1               threads to factor on, 1 to 255; from 2 on "
              "multifrontal\n"
              "  --float                     factor in single precision\n"
              "  --seconds S=1               to spend, about; 0.001 to 3600\n"
              "  --json                      report as a JSON object\n"
              "\n"
              "Example: orvel scene net 60 --output net.mtx && orvel bench net.mtx\n"
              "\n"
              "Exit codes: 0 done, 1 the matrix cannot be solved, 2 wrong usage or bad files.\n");
}

TEST(CommandLine, HelpOfInfoListsItsOptions)
{
    EXPECT_EQ(linesFrom(expectDone({"info", "--help"}), "Usage"),
              "Usage: orvel info [OPTIONS] FILE\n"
              "\n"
              "Positionals:\n"
              "  FILE REQUIRED               Matrix Market file: coordinate, real or integer, "
              "symmetric; - is standard input\n"
              "\n"
              "Options:\n"
              "  -h,--help                   Print this help message and exit\n"
              "  --blocks FILE Excludes: --find-blocks\n"
              "                              file with the block sizes; by default FILE with "
              "the ending .blocks, if there is one\n"
              "  --find-blocks Excludes: --blocks\n"
              "                              find blocks by structure even if there is such a "
              "file\n"
              "  --ordering NAME=automatic   automatic, constraint-aware, symamd, "
              "nested-dissection, natural or best\n"
              "  --json                      report as a JSON object\n"
              "\n"
              "Example: orvel info bridge.mtx --json\n"
              "\n"
              "Exit codes: 0 done, 1 the matrix cannot be solved, 2 wrong usage or bad files.\n");
}

TEST(CommandLine, HelpOfPlotListsItsOptions)
{
    EXPECT_EQ(linesFrom(expectDone({"plot", "--help"}), "Usage"),
              "Usage: orvel plot [OPTIONS] FILE\n"
              "\n"
              "Positionals:\n"
              "  FILE REQUIRED               Matrix Market file: coordinate, real or integer, "
              "symmetric; - is standard input\n"
              "\n"
              "Options:\n"
              "  -h,--help                   Print this help message and exit\n"
              "  --blocks FILE Excludes: --find-blocks\n"
              "                              file with the block sizes; by default FILE with "
              "the ending .blocks, if there is one\n"
              "  --find-blocks Excludes: --blocks\n"
              "                              find blocks by structure even if there is such a "
              "file\n"
              "  --what KIND=all             pattern, factor, tree, pivots, timeline or all\n"
              "  --ordering NAME=automatic   automatic, constraint-aware, symamd, "
              "nested-dissection, natural or best\n"
              "  --threads N=1               threads to factor on, 1 to 255; the tree shows "
              "which owns what\n"
              "  --output FILE               picture to write: .svg, .png or .pdf; by default "
              "text in the terminal\n"
              "  --text                      draw text in the terminal, at most 80 columns "
              "wide, as well\n"
              "\n"
              "Example: orvel plot bridge.mtx --what factor --output factor.svg\n"
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
              "Example: orvel replay failed.capture --shrink small.mtx\n"
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
