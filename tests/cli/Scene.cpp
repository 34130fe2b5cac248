#include "cli/Orvel.h"

#include <filesystem>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace cli {

namespace {

/// Every kind at a small size.
const std::vector<std::vector<std::string>> kSmallScenes = {
    {"rope", "3"},   {"chain", "3"},   {"bridge", "3"},    {"ragdolls", "5"},   {"net", "3"},
    {"wall", "3 2"}, {"tracks", "21"}, {"posegraph", "9"}, {"elasticity", "3"}, {"lattice", "3"}};

/// {"scene", KIND, SIZE..., further arguments}
std::vector<std::string> sceneArguments(const std::vector<std::string>& scene,
                                        const std::vector<std::string>& further)
{
    std::vector<std::string> arguments = {"scene", scene[0]};
    std::size_t begin = 0;
    for (std::size_t end = 0; end != std::string::npos; begin = end + 1) {
        end = scene[1].find(' ', begin);
        arguments.push_back(scene[1].substr(begin, end - begin));
    }
    arguments.insert(arguments.end(), further.begin(), further.end());
    return arguments;
}

/// A kind or sizes that there are not.
void expectSceneRefused(std::vector<std::string> arguments, const std::string& what)
{
    arguments.insert(arguments.begin(), "scene");
    expectRefused(arguments, what + "; 'orvel scene --help' lists the kinds and their sizes");
}

} // namespace

TEST(Scene, AloneIsNamedWithItsSizes)
{
    EXPECT_EQ(expectDone({"scene", "wall", "2", "3"}),
              "wall 2 3\n"
              "  scalars                     90\n"
              "  blocks                      23  7 ordinary, 16 trailing, sizes 3 to 6\n");
}

TEST(Scene, SizesThatAreNotGivenAreTheUsualOnes)
{
    const auto firstLine = [](const std::vector<std::string>& arguments) {
        const std::string report = expectDone(arguments);
        return report.substr(0, report.find('\n'));
    };
    EXPECT_EQ(firstLine({"scene", "tracks"}), "tracks 80");
    EXPECT_EQ(firstLine({"scene", "wall"}), "wall 20 10");
    EXPECT_EQ(firstLine({"scene", "wall", "4"}), "wall 4 10");
}

TEST(Scene, SolveReportsAsForAFile)
{
    EXPECT_EQ(expectDone({"scene", "posegraph", "1", "--solve"}),
              "posegraph 1\n"
              "  scalars                      6\n"
              "  blocks                       1  1 ordinary, 0 trailing, sizes 6 to 6\n"
              "  blocks of A                  1  lower triangle\n"
              "  blocks of L                  1  0 of them fill-in\n"
              "  scalars of L                36\n"
              "  operations                  36  multiply-subtract pairs, about\n"
              "  ordering                        minimum fill\n"
              "  refinements                  0\n"
              "  relative residual      6.9e-19  |b - A x| / |b|\n"
              "  backward error         2.1e-19  |b - A x| / (|A| |x| + |b|)\n");
}

// One pose, anchored to 10 mm and 2 mrad: weights of 10⁴ and 25·10⁴.
TEST(Scene, OutputToStandardOutputIsTheMatrixAlone)
{
    EXPECT_EQ(expectDone({"scene", "posegraph", "1", "--output", "-"}),
              std::string(kHeader) + "6 6 21\n"
                                     "1 1 10000\n"
                                     "2 1 0\n2 2 10000\n"
                                     "3 1 0\n3 2 0\n3 3 10000\n"
                                     "4 1 0\n4 2 0\n4 3 0\n4 4 250000\n"
                                     "5 1 0\n5 2 0\n5 3 0\n5 4 0\n5 5 250000\n"
                                     "6 1 0\n6 2 0\n6 3 0\n6 4 0\n6 5 0\n6 6 250000\n");
}

TEST(Scene, OutputHasItsBlocksAndRightHandSideBesideIt)
{
    const support::Folder folder;
    const std::string matrix = folder.path("hanging.rope.mtx");
    EXPECT_EQ(expectDone({"scene", "rope", "2", "--output", matrix}),
              "rope 2\n"
              "  scalars                     18\n"
              "  blocks                       4  2 ordinary, 2 trailing, sizes 3 to 6\n"
              "Matrix: " +
                  matrix + "\nBlocks: " + folder.path("hanging.rope.blocks") +
                  "\nRight-hand side: " + folder.path("hanging.rope.rhs") + "\n");
    EXPECT_EQ(folder.numFiles(), 3u);
    EXPECT_EQ(support::contentOf(matrix), expectDone({"scene", "rope", "2", "--output", "-"}));
    EXPECT_EQ(support::contentOf(folder.path("hanging.rope.blocks")),
              "blocks 4 firstTrailing 2\n6 6 3 3\n");
    // 0.3 kg fall with 9.81 m/s² for 1/60 s.
    const std::string weight = "0\n-0.049050000000000003\n0\n0\n0\n0\n";
    EXPECT_EQ(support::contentOf(folder.path("hanging.rope.rhs")),
              "%%MatrixMarket matrix array real general\n18 1\n" + weight + weight +
                  "0\n0\n0\n0\n0\n0\n");
}

// The file holds the same bits, so the solver takes the same way.
TEST(Scene, OutputIsSolvedAsTheSceneIs)
{
    for (const std::vector<std::string>& scene : kSmallScenes) {
        SCOPED_TRACE(scene[0]);
        const support::Folder folder;
        const std::string matrix = folder.path("m.mtx");
        const std::string report = expectDone(sceneArguments(scene, {"--solve"}));
        EXPECT_EQ(report.substr(0, report.find('\n')), scene[0] + " " + scene[1]);
        EXPECT_LT(numberAfter(report, "  backward error"), 1e-15);
        EXPECT_GE(numberAfter(report, "  backward error"), 0);

        expectDone(sceneArguments(scene, {"--output", matrix}));

        EXPECT_EQ(linesFrom(expectDone({"solve", matrix, "--rhs", folder.path("m.rhs")}),
                            "  blocks of A"),
                  linesFrom(report, "  blocks of A"));
    }
}

TEST(Scene, OutputAndSolveNameTheFilesLast)
{
    const support::Folder folder;
    const std::string matrix = folder.path("m.mtx");
    const std::string report = expectDone({"scene", "chain", "2", "--solve", "--output", matrix});
    EXPECT_EQ(linesFrom(report, "Matrix"), "Matrix: " + matrix +
                                               "\nBlocks: " + folder.path("m.blocks") +
                                               "\nRight-hand side: " + folder.path("m.rhs") + "\n");
    EXPECT_LT(numberAfter(report, "  backward error"), 1e-15);
}

TEST(Scene, OutputToAPipeHasNothingBesideIt)
{
    const support::Folder folder;
    const std::string pipe = folder.path("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const int reader = open(pipe.c_str(), O_RDWR | O_NONBLOCK); // so that writing does not wait
    ASSERT_GE(reader, 0);

    const std::string report = expectDone({"scene", "rope", "1", "--output", pipe});

    close(reader);
    EXPECT_EQ(linesFrom(report, "Matrix"), "Matrix: " + pipe + "\n");
    EXPECT_EQ(folder.numFiles(), 1u);
}

TEST(Scene, OutputInAMissingFolderIsRefused)
{
    const support::Folder folder;
    expectRefused({"scene", "rope", "--output", folder.path("none/m.mtx")},
                  folder.path("none/m.blocks") + ": No such file or directory");
    EXPECT_EQ(folder.numFiles(), 0u);
}

TEST(Scene, OutputThatIsAFolderIsRefused)
{
    const support::Folder folder;
    std::filesystem::create_directory(folder.path("m.mtx"));
    expectRefused({"scene", "rope", "--output", folder.path("m.mtx")},
                  folder.path("m.mtx") + ": Is a directory");
}

TEST(Scene, OutputWithTheEndingOfAFileBesideItIsRefused)
{
    const support::Folder folder;
    for (const char* const name : {"m.blocks", "m.rhs"})
        expectRefused({"scene", "rope", "--output", folder.path(name)},
                      folder.path(name) +
                          ": a file beside the matrix has that ending; choose another, as .mtx");
    EXPECT_EQ(folder.numFiles(), 0u);
}

// The ordering by fill-in alone meets a pivot that the geometry makes zero.
TEST(Scene, ThatCannotBeSolvedSoIsANumericalFailure)
{
    const support::CommandResult result =
        orvel({"scene", "bridge", "4", "--solve", "--ordering", "symamd"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err.find("orvel: bridge 4: the pivot of row 1 of block 16 is "), 0u)
        << result.err;
    EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << result.err;
}

TEST(Scene, ThatCannotBeSolvedIsWrittenNevertheless)
{
    const support::Folder folder;
    const support::CommandResult result = orvel({"scene", "bridge", "4", "--solve", "--ordering",
                                                 "symamd", "--output", folder.path("m.mtx")});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(folder.numFiles(), 3u);
}

TEST(Scene, StandardOutputIsForOneOfMatrixAndReport)
{
    expectRefused({"scene", "rope", "--output", "-", "--solve"},
                  "--output - leaves no room on standard output for the report of --solve");
}

TEST(Scene, UnknownKindIsNamedAmongTheKnown)
{
    expectSceneRefused({"castle"}, "KIND: 'castle' is none of rope, chain, bridge, ragdolls, net, "
                                   "wall, tracks, lattice, posegraph, elasticity");
}

TEST(Scene, NoKindIsRefused)
{
    expectUsageError({"scene"}, "KIND is required", "orvel scene");
}

TEST(Scene, MoreSizesThanTheKindHasAreRefused)
{
    expectSceneRefused({"net", "3", "4"}, "SIZE: a scene of kind net has 1 size, not 2");
    expectSceneRefused({"wall", "3", "4", "5"}, "SIZE: a scene of kind wall has 2 sizes, not 3");
}

TEST(Scene, SizesOutsideTheRangeAreRefusedByName)
{
    expectSceneRefused({"rope", "0"}, "SEGMENTS: '0' is not a whole number from 1 to 100000");
    expectSceneRefused({"tracks", "19"}, "SHOES: '19' is not a whole number from 20 to 50000");
    expectSceneRefused({"elasticity", "51"}, "NODES: '51' is not a whole number from 2 to 50");
    expectSceneRefused({"wall", "3", "301"}, "HEIGHT: '301' is not a whole number from 1 to 300");
}

TEST(Scene, SizesThatAreNoNumbersAreRefused)
{
    for (const std::string size : {"many", "-3", "4294967297", "99999999999999999999", "2.5", ""})
        expectSceneRefused({"rope", size},
                           "SEGMENTS: '" + size + "' is not a whole number from 1 to 100000");
}

// More than a buffer holds, so that some of it fails before the end.
TEST(Scene, FullDeviceAsStandardOutputIsReported)
{
    for (const char* const size : {"1", "1000"}) {
        const support::CommandResult result =
            orvel({"scene", "rope", size, "--output", "-"}, "/dev/full");
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_EQ(result.err, "orvel: standard output: No space left on device\n");
    }
}

} // namespace cli
