// A scene by its name, where a file could be.

#include "cli/Orvel.h"

namespace cli {

namespace {

/// The report that a subcommand makes of a scene, and of the file that `orvel scene` writes of it,
/// from a line on.
void expectSameAsFile(const std::vector<std::string>& scene, std::vector<std::string> command,
                      const std::string& from)
{
    const support::Folder folder;
    const std::string matrix = folder.path("m.mtx");
    std::vector<std::string> write = {"scene"};
    write.insert(write.end(), scene.begin(), scene.end());
    write.insert(write.end(), {"--output", matrix});
    expectDone(write);
    std::vector<std::string> ofFile = command;
    ofFile.insert(ofFile.begin() + 1, matrix);
    command.emplace_back("--scene");
    command.insert(command.end(), scene.begin(), scene.end());

    EXPECT_EQ(linesFrom(expectDone(command), from), linesFrom(expectDone(ofFile), from));
}

} // namespace

TEST(SceneInput, IsNamedWithItsSizes)
{
    EXPECT_EQ(expectDone({"info", "--scene", "posegraph", "1"}),
              "posegraph 1\n"
              "  scalars                      6\n"
              "  blocks                       1  1 ordinary, 0 trailing, sizes 6 to 6\n"
              "                                  blocks of the scene\n"
              "  entries                     21  lower triangle\n"
              "  blocks of A                  1  lower triangle\n"
              "  blocks of L                  1  0 of them fill-in\n"
              "  scalars of L                36\n"
              "  operations                  36  multiply-subtract pairs, about\n"
              "  ordering                        minimum fill\n");
}

TEST(SceneInput, IsWhatAFileOfItWouldBe)
{
    expectSameAsFile({"wall", "4", "3"}, {"info"}, "  entries");
    expectSameAsFile({"chain", "4"}, {"check"}, "  order");
    expectSameAsFile({"net", "4"}, {"plot", "--what", "factor"}, "Factor");
}

TEST(SceneInput, HasItsRightHandSide)
{
    EXPECT_EQ(linesFrom(expectDone({"solve", "--scene", "chain", "3"}), "  blocks of A"),
              linesFrom(expectDone({"scene", "chain", "3", "--solve"}), "  blocks of A"));
}

TEST(SceneInput, MayBeGivenAnotherRightHandSide)
{
    const support::Folder folder;
    const std::string b = folder.write("b", "10000 0 0 250000 0 0");
    const std::string x = folder.path("x");
    expectDone({"solve", "--scene", "posegraph", "1", "--rhs", b, "--out", x});
    EXPECT_EQ(support::contentOf(x),
              "%%MatrixMarket matrix array real general\n6 1\n1\n0\n0\n1\n0\n0\n");
}

TEST(SceneInput, IsMeasured)
{
    EXPECT_EQ(expectDone({"bench", "--seconds", "0.001", "--scene", "rope", "2"}).substr(0, 7),
              "rope 2\n");
}

TEST(SceneInput, NamesThePicture)
{
    const support::Folder folder;
    const std::string picture = folder.path("a.svg");
    EXPECT_EQ(expectDone({"plot", "--scene", "rope", "2", "--output", picture}),
              "Picture: " + picture + "\n");
}

// The ordering by fill-in alone meets a pivot that the geometry makes zero.
TEST(SceneInput, ThatFailsIsNamedWithTheRow)
{
    const support::CommandResult result =
        orvel({"solve", "--scene", "bridge", "4", "--ordering", "symamd"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err.find("orvel: bridge 4: the pivot of row 1 of block 16 is "), 0u)
        << result.err;
    EXPECT_NE(result.err.find(" (row 83 of the matrix, counted from 1)\n"), std::string::npos)
        << result.err;
}

TEST(SceneInput, UnknownKindsAndSizesAreRefused)
{
    for (const char* const command : {"solve", "info", "check", "bench", "plot"}) {
        expectRefused({command, "--scene", "castle"},
                      "KIND: 'castle' is none of rope, chain, bridge, ragdolls, net, wall, tracks, "
                      "lattice, posegraph, elasticity; 'orvel scene --help' lists the kinds and "
                      "their sizes");
        expectRefused({command, "--scene", "rope", "0"},
                      "SEGMENTS: '0' is not a whole number from 1 to 100000; 'orvel scene --help' "
                      "lists the kinds and their sizes");
        expectRefused({command, "--scene", "rope", "2", "3"},
                      "SIZE: a scene of kind rope has 1 size, not 2; 'orvel scene --help' lists "
                      "the kinds and their sizes");
        expectRefused({command, "--scene", "wall", "2", "3", "4", "5"},
                      "SIZE: a scene of kind wall has 2 sizes, not 4; 'orvel scene --help' lists "
                      "the kinds and their sizes");
    }
}

TEST(SceneInput, AndAFileAreTooMuch)
{
    expectUsageError({"plot", "m.mtx", "--scene", "rope"}, "FILE excludes --scene", "orvel plot");
    expectUsageError({"solve", "--scene", "rope", "--find-blocks"},
                     "--find-blocks excludes --scene", "orvel solve");
}

} // namespace cli
