#include "cli/Orvel.h"

#include <sstream>

namespace cli {

// Rows 1 and 2 couple to each other and to the same others, so do 4 and 5, which have no diagonal:
// three blocks. L has the blocks of A. Of the estimate w·(h(h+1)/2 + hw/2) + w³/6 for w columns
// over h rows, the first block has 2·(3 + 2) + 1 operations, the last one 1.
//
// X X . X X
// X X . X X
// . . X . .
// X X . . .
// X X . . .
TEST(Info, BlocksAreFoundByStructure)
{
    const support::Folder folder;
    const std::string matrix = folder.write("m.mtx", std::string(kHeader) + "5 5 8\n"
                                                                            "1 1 2\n2 1 1\n2 2 2\n"
                                                                            "3 3 1\n"
                                                                            "4 1 1\n4 2 1\n"
                                                                            "5 1 1\n5 2 -1\n");
    EXPECT_EQ(expectDone({"info", matrix}),
              matrix + "\n"
                       "  scalars                      5\n"
                       "  blocks                       3  2 ordinary, 1 trailing, sizes 1 to 2\n"
                       "                                  blocks found by structure\n"
                       "  entries                      8  lower triangle\n"
                       "  blocks of A                  4  lower triangle\n"
                       "  blocks of L                  4  0 of them fill-in\n"
                       "  scalars of L                13\n"
                       "  operations                  12  multiply-subtract pairs, about\n"
                       "  ordering                        minimum fill, trailing blocks behind "
                       "the ordinary blocks that they couple to\n");
}

// X X . X    A ring of four: whichever goes first joins its two neighbours. The columns of L have
// X X X .    2, 2, 1 and 0 rows below their diagonal, by the estimate 3 + 1, 3 + 1, 1 and 0
// . X X X    operations.
// X . X X
TEST(Info, FillInIsCounted)
{
    const support::Folder folder;
    const std::string matrix =
        folder.write("m.mtx", std::string(kHeader) + "4 4 8\n"
                                                     "1 1 4\n2 2 4\n3 3 4\n4 4 4\n"
                                                     "2 1 1\n3 2 1\n4 3 1\n4 1 1\n");
    EXPECT_EQ(expectDone({"info", matrix}),
              matrix + "\n"
                       "  scalars                      4\n"
                       "  blocks                       4  4 ordinary, 0 trailing, sizes 1 to 1\n"
                       "                                  blocks found by structure\n"
                       "  entries                      8  lower triangle\n"
                       "  blocks of A                  8  lower triangle\n"
                       "  blocks of L                  9  1 of them fill-in\n"
                       "  scalars of L                 9\n"
                       "  operations                   9  multiply-subtract pairs, about\n"
                       "  ordering                        minimum fill\n");
}

TEST(Info, SidecarIsUsed)
{
    const support::Folder folder;
    const std::string matrix = folder.write("m.mtx", kSmallMatrix);
    const std::string blocks = folder.write("m.blocks", "blocks 2 firstTrailing 1\n1 1\n");
    EXPECT_EQ(expectDone({"info", matrix}),
              matrix +
                  "\n"
                  "  scalars                      2\n"
                  "  blocks                       2  1 ordinary, 1 trailing, sizes 1 to 1\n"
                  "                                  blocks from " +
                  blocks +
                  "\n"
                  "  entries                      3  lower triangle\n"
                  "  blocks of A                  3  lower triangle\n"
                  "  blocks of L                  3  0 of them fill-in\n"
                  "  scalars of L                 3\n"
                  "  operations                   1  multiply-subtract pairs, about\n"
                  "  ordering                        minimum fill, trailing blocks behind "
                  "the ordinary blocks that they couple to\n");
}

TEST(Info, FoundBlocksEndAt64Rows)
{
    const support::Folder folder;
    std::ostringstream text;
    text << kHeader << "70 70 2485\n";
    for (int r = 1; r <= 70; ++r)
        for (int c = 1; c <= r; ++c)
            text << r << ' ' << c << (r == c ? " 99\n" : " 1\n");
    const std::string report = expectDone({"info", folder.write("m.mtx", text.str())});
    const std::string blocks = linesFrom(report, "  blocks ");
    EXPECT_EQ(blocks.substr(0, blocks.find('\n')),
              "  blocks                       2  2 ordinary, 0 trailing, sizes 6 to 64");
}

// An order that the values refuse is not used, and by the pattern alone it would be: info tells of
// the other one.
TEST(Info, FactorIsThatOfSolve)
{
    const std::vector<std::string> scene = {"--scene", "tracks", "20", "--ordering", "best"};
    std::vector<std::string> info = {"info"};
    std::vector<std::string> solve = {"solve"};
    info.insert(info.end(), scene.begin(), scene.end());
    solve.insert(solve.end(), scene.begin(), scene.end());
    const std::string described = linesFrom(expectDone(info), "  blocks of A");
    const std::string solved = linesFrom(expectDone(solve), "  blocks of A");
    EXPECT_EQ(described, solved.substr(0, described.size()));
}

// Whether the values can be factored does not matter: these two rows are the same.
TEST(Info, SingularValuesDoNotMatter)
{
    const support::Folder folder;
    const std::string matrix =
        folder.write("m.mtx", std::string(kHeader) + "2 2 3\n1 1 1\n2 1 1\n2 2 1\n");
    expectDone({"info", matrix});
}

TEST(Info, EmptyRowIsANumericalFailure)
{
    const support::Folder folder;
    const std::string matrix = folder.write("m.mtx", std::string(kHeader) + "2 2 1\n1 1 1\n");
    const support::CommandResult result = orvel({"info", matrix});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.out, matrix + "\n"
                                   "  scalars                      2\n"
                                   "  blocks                       2  1 ordinary, 1 trailing, "
                                   "sizes 1 to 1\n"
                                   "                                  blocks found by structure\n"
                                   "  entries                      1  lower triangle\n");
    EXPECT_EQ(result.err.find("orvel: " + matrix + ": trailing block 1 couples to no other block"),
              0u)
        << result.err;
}

} // namespace cli
