#include "cli/PlotInput.h"

#include <sstream>

namespace cli {

namespace {

std::string textOf(const std::string& matrixText, const char* locale,
                   std::vector<std::string> options, const std::string& blocks = "")
{
    const Locale environment(locale);
    const support::Folder folder;
    if (!blocks.empty())
        folder.write("m.blocks", blocks);
    options.insert(options.begin(), {"plot", folder.write("m.mtx", matrixText)});
    return expectDone(options);
}

/// The widest line of a text of UTF-8, in letters.
std::size_t widestLine(const std::string& text)
{
    std::istringstream lines(text);
    std::size_t widest = 0;
    for (std::string line; std::getline(lines, line);) {
        std::size_t letters = 0;
        for (const char c : line)
            letters += (static_cast<unsigned char>(c) & 0xC0) != 0x80 ? 1 : 0;
        widest = std::max(widest, letters);
    }
    return widest;
}

std::string repeated(const char* sign, int times)
{
    std::string text;
    for (int i = 0; i < times; ++i)
        text += sign;
    return text;
}

} // namespace

// The pivots are 2, 4 and -(1/2 + 1/4).
TEST(PlotText, SmallSystemIsDrawnBlockByBlock)
{
    EXPECT_EQ(textOf(kJoint, "C.UTF-8", {"--ordering", "natural"}),
              "3 block rows: 2 ordinary, 1 trailing; 3 scalar rows; 5 blocks of A, 5 of L, fill\n"
              "  ratio 1.00; nnz(L) 5\n"
              "order: as numbered\n"
              "\n"
              "Block pattern of A\n"
              "       as given                                in elimination order\n"
              "     0 ■ · ●                                 0 ■ · ●\n"
              "     1 · ■ ●                                 1 · ■ ●\n"
              "     2 ● ● △                                 2 ● ● △\n"
              "       ■ ordinary  ● coupling  ▲ trailing  △ zero diagonal\n"
              "\n"
              "Factor L and its fill-in\n"
              "       in elimination order\n"
              "     0 ■ · ·\n"
              "     1 · ■ ·\n"
              "     2 ● ● ▲\n"
              "       ■ ordinary  ● coupling  ▲ trailing  □ fill-in\n"
              "\n"
              "Elimination tree\n"
              "3 nodes, 2 leaves, 2 levels, 1 root; operations: 2, 50 % of them on the longest\n"
              "  way from leaf to root\n"
              "position: block, share of the operations\n"
              "2: trailing block 2, 0 %\n"
              "├─ 1: ordinary block 1, 50 %\n"
              "└─ 0: ordinary block 0, 50 %\n"
              "\n"
              "Pivots\n"
              "3 pivots: 2 positive, 1 negative, 0 zero; smallest -0.75 (block 2, row 0),\n"
              "  largest 4 (block 1, row 0)\n"
              "    1e+00 to 1e+01  " +
                  repeated("█", 44) +
                  " 2\n"
                  "                 0  0\n"
                  "  -1e-01 to -1e+00  " +
                  repeated("▒", 22) +
                  " 1\n"
                  "                    █ ordinary  ▒ trailing\n");
}

TEST(PlotText, OtherLocalesGetPlainSigns)
{
    EXPECT_EQ(textOf(kRing, "C", {"--ordering", "natural", "--what", "factor"}),
              "4 block rows: 4 ordinary, 0 trailing; 4 scalar rows; 8 blocks of A, 9 of L, fill\n"
              "  ratio 1.12; nnz(L) 9\n"
              "order: as numbered\n"
              "\n"
              "Factor L and its fill-in\n"
              "       in elimination order\n"
              "     0 o . . .\n"
              "     1 o o . .\n"
              "     2 . o o .\n"
              "     3 o + o o\n"
              "       o ordinary  + fill-in\n");
}

TEST(PlotText, UnknownLocaleGetsPlainSigns)
{
    const std::vector<std::string> options = {"--what", "tree"};
    EXPECT_EQ(textOf(kRing, "no_SUCH.UTF-8", options), textOf(kRing, "C", options));
}

// Rows 0 and 1 couple to nothing else: two trees, of two nodes and of one.
TEST(PlotText, ForestIsListedTreeByTree)
{
    const std::string text =
        textOf(std::string(kHeader) + "3 3 4\n1 1 1\n2 2 1\n3 3 2\n3 1 1\n", "C",
               {"--what", "tree", "--ordering", "natural"}, "blocks 3 firstTrailing 3\n1 1 1");
    EXPECT_EQ(linesFrom(text, "position"), "position: block, share of the operations\n"
                                           "2: ordinary block 1, 0 %\n"
                                           "1: ordinary block 2, 0 %\n"
                                           "`- 0: ordinary block 0, 100 %\n");
}

// 1 .
// . 1
TEST(PlotText, SystemWithoutOperationsHasATreeOfNone)
{
    const std::string text = textOf(std::string(kHeader) + "2 2 2\n1 1 1\n2 2 1\n", "C",
                                    {"--what", "tree"}, "blocks 2 firstTrailing 2\n1 1");
    EXPECT_EQ(linesFrom(text, "2 nodes"), "2 nodes, 2 leaves, 1 level, 2 roots; operations: 0, "
                                          "0 % of them on the longest\n"
                                          "  way from leaf to root\n"
                                          "position: block, share of the operations\n"
                                          "1: ordinary block 1, 0 %\n"
                                          "0: ordinary block 0, 0 %\n");
}

// As many zeros as make a matrix singular are named.
TEST(PlotText, UnusablePivotsAreNamed)
{
    const support::Folder folder;
    folder.write("m.blocks", kTwoBlocks);
    const Locale environment("C");
    const support::CommandResult result =
        orvel({"plot", folder.write("m.mtx", kSingular), "--what", "pivots"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(linesFrom(result.out, "Pivots"),
              "Pivots\n"
              "2 pivots: 1 positive, 0 negative, 1 zero; smallest 1 (block 0, row 0), largest 1\n"
              "  (block 0, row 0)\n"
              "    1e+00 to 1e+01  ############################################ 1\n"
              "                 0  ############################################ 1\n"
              "                    # ordinary\n"
              "zero: 0 in block 1, row 0\n");
}

// Pivots of 1 and 1e-15 in blocks of the same kind.
TEST(PlotText, TinyPivotsAreNamed)
{
    const std::string text = textOf(std::string(kHeader) + "2 2 2\n1 1 1\n2 2 1e-15\n", "C",
                                    {"--what", "pivots"}, "blocks 2 firstTrailing 2\n1 1");
    EXPECT_EQ(linesFrom(text, "tiny"), "tiny: 1e-15 in block 1, row 0\n");
}

TEST(PlotText, LevelsWithoutOperationsHaveNoBars)
{
    std::string matrix = std::string(kHeader) + "50 50 50\n";
    for (int row = 1; row <= 50; ++row)
        matrix += std::to_string(row) + " " + std::to_string(row) + " 1\n";
    EXPECT_EQ(linesFrom(textOf(matrix, "C", {"--what", "tree"}), " from depth"),
              " from depth      nodes  operations\n"
              "          0         50      0.0 %\n");
}

TEST(PlotText, ChainOfManyBlocksIsADiagonal)
{
    const support::Folder folder;
    const std::string matrix = writeChain(folder, 3200);
    const Locale environment("C");
    const std::string text = linesFrom(
        expectDone({"plot", matrix, "--what", "pattern", "--ordering", "natural"}), "     0 ");
    std::istringstream lines(text);
    std::string line;
    for (int row = 0; row < 16; ++row) {
        ASSERT_TRUE(std::getline(lines, line));
        EXPECT_EQ(std::stoi(line), 200 * row);
        EXPECT_EQ(line.substr(7 + 2 * static_cast<std::size_t>(row), 2), "##") << line;
    }
    EXPECT_FALSE(std::getline(lines, line)) << line;
}

TEST(PlotText, NoLineIsWiderThanATerminal)
{
    for (const char* const locale : {"C", "C.UTF-8"})
        for (const unsigned int n : {2u, 16u, 17u, 32u, 33u, 40u, 73u, 74u, 1000u}) {
            SCOPED_TRACE(std::string(locale) + ", " + std::to_string(n));
            const support::Folder folder;
            const std::string matrix = writeChain(folder, n);
            const Locale environment(locale);
            EXPECT_LE(widestLine(expectDone({"plot", matrix})), 80u);
            EXPECT_LE(widestLine(expectDone({"plot", matrix, "--ordering", "natural"})), 80u);
        }
}

TEST(PlotText, PictureAndTextMayBeHadTogether)
{
    const support::Folder folder;
    const std::string matrix = folder.write("m.mtx", kJoint);
    const std::string picture = folder.path("a.pdf");
    const std::string text = expectDone({"plot", matrix, "--what", "tree"});
    EXPECT_EQ(expectDone({"plot", matrix, "--what", "tree", "--text", "--output", picture}),
              text + "Picture: " + picture + "\n");
    EXPECT_EQ(folder.numFiles(), 2u);
}

TEST(PlotText, WithoutAPictureTextAddsNothing)
{
    const support::Folder folder;
    const std::string matrix = folder.write("m.mtx", kJoint);
    EXPECT_EQ(expectDone({"plot", matrix, "--text"}), expectDone({"plot", matrix}));
}

} // namespace cli
