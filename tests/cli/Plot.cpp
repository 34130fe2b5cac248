#include "cli/PlotInput.h"

#include "support/Xml.h"

#include <cstring>

namespace cli {

namespace {

using support::count;

// Colours as SVG has them.
constexpr char kOrdinary[] = "fill:rgb(0%,44.705882%,69.803922%)";
constexpr char kCoupling[] = "fill:rgb(0%,61.960784%,45.098039%)";
constexpr char kTrailing[] = "fill:rgb(83.529412%,36.862745%,0%)";
constexpr char kHollow[] = "stroke:rgb(83.529412%,36.862745%,0%)";
constexpr char kFillIn[] = "fill:rgb(68%,68%,68%)";
constexpr char kIdle[] = "fill:rgb(90%,90%,90%)";

/// Draws a picture and returns the content of its file; the command succeeds and names the file.
std::string picture(const support::Folder& folder, const std::string& matrix,
                    const std::string& name, std::vector<std::string> options)
{
    const std::string path = folder.path(name);
    options.insert(options.begin(), {"plot", matrix, "--output", path});
    const std::size_t before = folder.numFiles();
    EXPECT_EQ(expectDone(options), "Picture: " + path + "\n");
    EXPECT_EQ(folder.numFiles(), before + 1);
    return support::contentOf(path);
}

/// A picture as SVG, which is well formed.
std::string svg(const std::string& matrixText, std::vector<std::string> options)
{
    const support::Folder folder;
    const std::string text =
        picture(folder, folder.write("m.mtx", matrixText), "a.svg", std::move(options));
    EXPECT_TRUE(support::isWellFormed(text));
    return text;
}

/// A big-endian number of four bytes.
unsigned int numberAt(const std::string& bytes, std::size_t at)
{
    unsigned int value = 0;
    for (std::size_t i = 0; i < 4; ++i)
        value = value << 8 | static_cast<unsigned char>(bytes.at(at + i));
    return value;
}

} // namespace

// Twice two ordinary blocks and four couplings, and a key for each; both joints are hollow, their
// diagonal being zero.
TEST(Plot, PatternHasAShapeForEachBlock)
{
    const std::string text = svg(kJoint, {"--what", "pattern"});
    EXPECT_EQ(count(text, kOrdinary), 2 * 2 + 1u);
    EXPECT_EQ(count(text, kCoupling), 2 * 4 + 1u);
    EXPECT_EQ(count(text, kTrailing), 1u);
    EXPECT_EQ(count(text, kHollow), 2 + 1u);
}

TEST(Plot, FactorHasItsFillInApart)
{
    const std::string text = svg(kRing, {"--what", "factor", "--ordering", "natural"});
    EXPECT_EQ(count(text, kOrdinary), 8 + 1u);
    EXPECT_EQ(count(text, kFillIn), 1 + 1u);
}

TEST(Plot, FactorShowsTheBlocksOfJoints)
{
    const std::string text = svg(kJoint, {"--what", "factor", "--ordering", "natural"});
    EXPECT_EQ(count(text, kOrdinary), 2 + 1u);
    EXPECT_EQ(count(text, kCoupling), 2 + 1u);
    EXPECT_EQ(count(text, kTrailing), 1 + 1u);
    EXPECT_EQ(count(text, kFillIn), 1u); // the key
}

// The pivots of the two bodies and of the joint, a bar for each size, and two keys.
TEST(Plot, PivotsAreDrawnByKind)
{
    const std::string text = svg(kJoint, {"--what", "pivots"});
    EXPECT_EQ(count(text, kOrdinary), 2 + 2 + 1u);
    EXPECT_EQ(count(text, kTrailing), 1 + 1 + 1u);
}

// Natural order: both bodies are leaves below the joint. With two threads and two leaves of the
// same work each thread has one, and a key.
TEST(Plot, TreeShowsTheOwnersOfItsNodes)
{
    const std::string text =
        svg(kJoint, {"--what", "tree", "--ordering", "natural", "--threads", "2"});
    const std::string second = "fill:rgb(90.196078%,62.352941%,0%)";
    EXPECT_EQ(count(text, kOrdinary) + count(text, second), 3 + 2u);
    EXPECT_GE(count(text, kOrdinary), 2u);
    EXPECT_GE(count(text, second), 2u);
}

TEST(Plot, TimelineHasALanePerThread)
{
    const std::string text = svg(kRing, {"--what", "timeline", "--threads", "3"});
    EXPECT_EQ(count(text, kIdle), 3 + 1u);
}

TEST(Plot, ManyBlocksBecomeShadesOfCells)
{
    const support::Folder folder;
    const std::string text =
        picture(folder, writeChain(folder, 2001), "a.svg", {"--what", "pattern"});
    EXPECT_TRUE(support::isWellFormed(text));
    EXPECT_EQ(count(text, kOrdinary), 1u); // the key
    EXPECT_GE(count(text, "<image "), 2u);
}

TEST(Plot, TwoThousandRowsStillHaveAShapeForEachBlock)
{
    const support::Folder folder;
    const std::string text =
        picture(folder, writeChain(folder, 2000), "a.svg", {"--what", "pattern"});
    EXPECT_EQ(count(text, kOrdinary), 2 * (2000 + 2 * 1999) + 1u);
    EXPECT_EQ(count(text, "<image "), 0u);
}

TEST(Plot, DeepTreeBecomesAProfile)
{
    const support::Folder folder;
    const std::string text = picture(folder, writeChain(folder, 400), "a.svg",
                                     {"--what", "tree", "--ordering", "natural"});
    EXPECT_TRUE(support::isWellFormed(text));
    EXPECT_GE(count(text, "<image "), 2u); // itself, and the shades of its key
}

TEST(Plot, PngHasTwoPixelsForOneOfThePage)
{
    const support::Folder folder;
    const std::string bytes = picture(folder, folder.write("m.mtx", kJoint), "a.png", {});
    EXPECT_EQ(bytes.compare(0, 8, "\x89PNG\r\n\x1a\n"), 0);
    EXPECT_EQ(numberAt(bytes, 16), 1920u);
    EXPECT_EQ(bytes.substr(bytes.size() - 8, 4), "IEND");
}

TEST(Plot, PdfHasAPageForEachKind)
{
    const support::Folder folder;
    const std::string bytes = picture(folder, folder.write("m.mtx", kJoint), "a.pdf", {});
    EXPECT_EQ(bytes.compare(0, 5, "%PDF-"), 0);
    EXPECT_EQ(bytes.substr(bytes.size() - 6), "%%EOF\n");
    EXPECT_EQ(count(bytes, "/Count 5"), 1u);
}

TEST(Plot, EndingsMayBeInCapitals)
{
    const support::Folder folder;
    const std::string matrix = folder.write("m.mtx", kJoint);
    EXPECT_EQ(picture(folder, matrix, "a.PNG", {"--what", "tree"}).substr(1, 3), "PNG");
    EXPECT_EQ(picture(folder, matrix, "a.Pdf", {"--what", "tree"}).substr(0, 4), "%PDF");
}

TEST(Plot, SameInputGivesTheSameFile)
{
    const support::Folder folder;
    const std::string matrix = folder.write("m.mtx", kRing);
    for (const std::string kind : {"pattern", "factor", "tree", "pivots"}) {
        SCOPED_TRACE(kind);
        EXPECT_EQ(picture(folder, matrix, kind + "1.svg", {"--what", kind}),
                  picture(folder, matrix, kind + "2.svg", {"--what", kind}));
    }
}

TEST(Plot, NameThatIsNoUtf8IsDrawn)
{
    const support::Folder folder;
    const std::string matrix = folder.write("m\xff\xc3\n<&>\".mtx", kJoint);
    EXPECT_TRUE(support::isWellFormed(picture(folder, matrix, "a.svg", {"--what", "pattern"})));
}

TEST(Plot, BlocksOptionIsUsed)
{
    const support::Folder folder;
    const std::string blocks = folder.write("other", "blocks 1 firstTrailing 1 4");
    const std::string text = picture(folder, folder.write("m.mtx", kRing), "a.svg",
                                     {"--what", "factor", "--blocks", blocks});
    EXPECT_EQ(count(text, kOrdinary), 1 + 1u);
}

TEST(Plot, ExistingPictureIsReplaced)
{
    const support::Folder folder;
    const std::string path = folder.write("a.svg", std::string(1000000, '.'));
    expectDone({"plot", folder.write("m.mtx", kJoint), "--output", path, "--what", "tree"});
    EXPECT_TRUE(support::isWellFormed(support::contentOf(path)));
    EXPECT_EQ(folder.numFiles(), 2u);
}

TEST(Plot, EmptyBlocksAreDrawn)
{
    const support::Folder folder;
    folder.write("m.blocks", "blocks 5 firstTrailing 3\n0 1 1 1 0");
    const std::string matrix =
        folder.write("m.mtx", std::string(kHeader) + "3 3 5\n1 1 4\n2 2 4\n3 3 -4\n3 1 1\n3 2 1\n");
    const support::CommandResult result = orvel({"plot", matrix, "--output", folder.path("a.svg")});
    EXPECT_GE(result.exitCode, 0);
    EXPECT_LE(result.exitCode, 1) << result.err;
    EXPECT_TRUE(support::isWellFormed(support::contentOf(folder.path("a.svg"))));
}

} // namespace cli
