// The help of every subcommand, to the letter.

#include "cli/Orvel.h"

namespace cli {

namespace {

// What several subcommands have in common.

const std::string kExitCodes =
    "\n"
    "Exit codes: 0 done, 1 the matrix cannot be solved, 2 wrong usage or bad files.\n";

const std::string kOptions = "\n"
                             "Options:\n"
                             "  -h,--help                   Print this help message and exit\n";

const std::string kMatrix =
    "\n"
    "Positionals:\n"
    "  FILE Excludes: --scene      Matrix Market file: coordinate, real or integer, symmetric; - "
    "is standard input\n" +
    kOptions +
    "  --blocks FILE Excludes: --find-blocks --scene\n"
    "                              file with the block sizes; by default FILE with the ending "
    ".blocks, if there is one\n"
    "  --find-blocks Excludes: --blocks --scene\n"
    "                              find blocks by structure even if there is such a file\n"
    "  --scene KIND [SIZE] ... Excludes: FILE --blocks --find-blocks\n"
    "                              instead of FILE a system that is built in, by the words that "
    "orvel scene takes\n";

const std::string kOrdering =
    "  --ordering NAME=automatic   automatic, constraint-aware, symamd, nested-dissection, "
    "natural or best\n";

const std::string kCompliance =
    "  --compliance C=0            subtracted from the diagonal of every trailing block, so that "
    "redundant constraints do no harm; 0 or more\n";

const std::string kSolver = kOrdering +
                            "  --threads N=1               threads to factor on, 1 to 255; no bit "
                            "depends on it\n"
                            "  --float                     factor in single precision\n";

const std::string kRefine =
    "  --refine N=5                refinement steps at the most, 0 to 100; a factor in single "
    "precision is always corrected\n";

const std::string kJson = "  --json                      report as a JSON object\n";

void expectHelp(const std::string& subcommand, const std::string& usage, const std::string& rest)
{
    EXPECT_EQ(linesFrom(expectDone({subcommand, "--help"}), "Usage"),
              "Usage: orvel " + subcommand + " [OPTIONS]" + usage + "\n" + rest);
}

} // namespace

TEST(Help, ListsTheSubcommandsAndExitCodes)
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

TEST(Help, OfDemoListsItsOptions)
{
    expectHelp("demo", "",
               kOptions +
                   "  --segments N=60             pieces of each rope, 2 to 100000\n"
                   "  --picture FILE              draw the bridge and its system as SVG\n" +
                   kJson + "\nExample: orvel demo --segments 100 --picture bridge.svg\n" +
                   kExitCodes);
}

TEST(Help, OfSolveListsItsOptions)
{
    expectHelp("solve", " [FILE]",
               kMatrix +
                   "  --rhs FILE                  right-hand side: Matrix Market array or plain "
                   "numbers; by default that of the scene, or A times ones\n"
                   "  --out FILE                  write the solution as a Matrix Market array\n" +
                   kSolver + kCompliance + kRefine + kJson +
                   "\nExample: orvel solve bridge.mtx --rhs bridge.rhs --out x.mtx\n" + kExitCodes);
}

TEST(Help, OfInfoListsItsOptions)
{
    expectHelp("info", " [FILE]",
               kMatrix + kOrdering + kCompliance + kJson +
                   "\nExample: orvel info bridge.mtx --json\n" + kExitCodes);
}

TEST(Help, OfCheckListsItsOptions)
{
    expectHelp("check", " [FILE]",
               kMatrix + kOrdering + kCompliance + kJson + "\nExample: orvel check frame.mtx\n" +
                   kExitCodes);
}

TEST(Help, OfBenchListsItsOptions)
{
    expectHelp("bench", " [FILE]",
               kMatrix +
                   "  --ordering NAME=automatic Excludes: --peers\n"
                   "                              automatic, constraint-aware, symamd, "
                   "nested-dissection, natural or best\n"
                   "  --threads N=1 Excludes: --peers\n"
                   "                              threads to factor on, 1 to 255; no bit "
                   "depends on it\n"
                   "  --float Excludes: --peers   factor in single precision\n"
                   "  --compliance C=0 Excludes: --peers\n"
                   "                              subtracted from the diagonal of every trailing "
                   "block, so that redundant constraints do no harm; 0 or more\n"
                   "  --seconds S=1               to spend, about; 0.001 to 3600\n"
                   "  --peers Excludes: --ordering --threads --float --compliance\n"
                   "                              beside other solvers, those that the command was "
                   "built with, one thread each\n" +
                   kJson + "\nExample: orvel bench --scene net 60\n" + kExitCodes);
}

TEST(Help, OfSceneListsItsKindsAndOptions)
{
    expectHelp(
        "scene", " KIND [SIZE...]",
        "\n"
        "Positionals:\n"
        "  KIND REQUIRED               what to make; see below\n"
        "  SIZE ...                    its sizes; see below\n" +
            kOptions +
            "  --output FILE               write the matrix as a Matrix Market file, with the "
            "block sizes and the right-hand side beside it in files with the endings .blocks and "
            ".rhs; - is standard output, for the matrix alone\n"
            "  --solve                     solve it and report as orvel solve does\n" +
            kSolver + kRefine + kJson +
            "\n"
            "Kinds and their sizes:\n"
            "  rope SEGMENTS=60            a hanging rope of ball joints; 1 to 100000\n"
            "  chain LINKS=60              a hanging chain of ball joints and hinges; 1 to 100000\n"
            "  bridge SEGMENTS=60          a rope bridge with planks; 2 to 100000\n"
            "  ragdolls RAGDOLLS=20        a heap of ragdolls; 1 to 5000\n"
            "  net KNOTS=20                a square net; 2 to 300\n"
            "  wall WIDTH=20 HEIGHT=10     a brick wall with friction; 1 to 300, 1 to 300\n"
            "  tracks SHOES=80             a tank on its two tracks; 20 to 50000\n"
            "  lattice NODES=8             an elastic lattice, definite; 1 to 50\n"
            "  posegraph POSES=2500        a robot's pose graph, definite; 1 to 100000\n"
            "  elasticity NODES=10         an elastic cube of hexahedra, definite; 2 to 50\n"
            "\nExample: orvel scene wall 30 20 --output wall.mtx\n" +
            kExitCodes);
}

TEST(Help, OfPlotListsItsOptions)
{
    expectHelp(
        "plot", " [FILE]",
        kMatrix + "  --what KIND=all             pattern, factor, tree, pivots, timeline or all\n" +
            kOrdering +
            "  --threads N=1               threads to factor on, 1 to 255; the tree shows which "
            "owns what\n" +
            kCompliance +
            "  --output FILE               picture to write: .svg, .png or .pdf; by default text "
            "in the terminal\n"
            "  --text                      draw text in the terminal, at most 80 columns wide, as "
            "well\n"
            "  --json                      say what was drawn as a JSON object\n"
            "\nExample: orvel plot --scene bridge 20 --what factor --output factor.svg\n" +
            kExitCodes);
}

TEST(Help, OfReplayListsItsOptions)
{
    expectHelp("replay", " FILE",
               "\n"
               "Positionals:\n"
               "  FILE REQUIRED               capture of a system\n" +
                   kOptions +
                   "  --shrink FILE               write the smallest part that fails alike: as "
                   ".mtx with .blocks beside it, or by any other name as a capture\n" +
                   kJson +
                   "\nExample: orvel replay failed.capture --shrink small.mtx\n"
                   "\nExit codes: 0 the same as captured, 1 something differs, 2 wrong usage or "
                   "bad files.\n");
}

} // namespace cli
