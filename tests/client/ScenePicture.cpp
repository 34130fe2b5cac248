#include "support/BlockSystems.h"
#include "support/Files.h"

#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/Pictures>
#include <kyrOrvelClient/Scenes>

#include <gtest/gtest.h>

#include <cctype>
#include <cstddef>
#include <string>
#include <vector>

using kyrOrvel::client::Analysis;
using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::makeRopeBridge;
using kyrOrvel::client::Scene;
using kyrOrvel::client::Status;
using kyrOrvel::client::StatusCode;
using kyrOrvel::client::writeScenePicture;

namespace {

std::size_t count(const std::string& text, const std::string& part)
{
    std::size_t n = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++n;
    return n;
}

/// Whether every element of an XML text is closed, in the right order, attributes are quoted, and
/// nothing follows the root.
testing::AssertionResult isWellFormed(const std::string& text)
{
    std::vector<std::string> open;
    bool rootSeen = false;
    std::size_t at = 0;
    while (at < text.size()) {
        if (text[at] != '<') {
            if (open.empty() && !std::isspace(static_cast<unsigned char>(text[at])))
                return testing::AssertionFailure() << "text outside the root at " << at;
            if (text[at] == '&')
                return testing::AssertionFailure() << "an entity at " << at;
            ++at;
            continue;
        }
        const std::size_t end = text.find('>', at);
        if (end == std::string::npos)
            return testing::AssertionFailure() << "a tag without end at " << at;
        const std::string tag = text.substr(at + 1, end - at - 1);
        at = end + 1;
        if (tag.empty() || tag.find('<') != std::string::npos || count(tag, "\"") % 2 != 0)
            return testing::AssertionFailure() << "a broken tag <" << tag << ">";
        if (tag[0] == '/') {
            if (open.empty() || open.back() != tag.substr(1))
                return testing::AssertionFailure() << "<" << tag << "> closes nothing";
            open.pop_back();
            continue;
        }
        if (open.empty() && rootSeen)
            return testing::AssertionFailure() << "a second root <" << tag << ">";
        rootSeen = true;
        if (tag.back() != '/')
            open.push_back(tag.substr(0, tag.find(' ')));
    }
    if (!open.empty())
        return testing::AssertionFailure() << "<" << open.back() << "> is left open";
    return testing::AssertionSuccess();
}

/// The picture of a scene.
std::string pictureOf(const Scene& scene, const BlockLDLT<double>& solver)
{
    const support::Folder folder;
    const std::string path = folder.path("a.svg");
    const Status status = writeScenePicture(path, scene, solver);
    EXPECT_TRUE(status.ok()) << status.message;
    EXPECT_EQ(folder.numFiles(), 1u);
    return support::contentOf(path);
}

TEST(ScenePicture, ShowsEveryBodyAndEveryBlock)
{
    const Scene scene = makeRopeBridge(6);
    BlockLDLT<double> solver;
    ASSERT_TRUE(solver.compute(scene.matrix).ok());
    const Analysis& analysis = solver.analysis();

    const std::string picture = pictureOf(scene, solver);

    EXPECT_TRUE(isWellFormed(picture));
    EXPECT_EQ(picture.compare(0, 5, "<svg "), 0);
    EXPECT_EQ(count(picture, "<line "), scene.bodies.size());
    // A is drawn whole: its stored diagonal blocks once, all others twice.
    std::size_t shapes = 0;
    for (unsigned int r = 0; r < scene.matrix.numBlockRows(); ++r)
        for (const auto& entry : scene.matrix.row(r))
            shapes += entry.column == r ? 1 : 2;
    const std::size_t background = 1;
    const std::size_t frames = 2;
    const std::size_t keys = 3;
    EXPECT_EQ(count(picture, "<rect "),
              background + frames + keys + scene.anchors.size() + shapes + analysis.factorBlocks);
    EXPECT_EQ(count(picture, "fill=\"#b9bec6\""), 1 + analysis.factorBlocks - analysis.matrixBlocks)
        << "fill-in, and its key";
    EXPECT_EQ(count(picture, "nan"), 0u);
    EXPECT_EQ(count(picture, "inf"), 0u);
}

TEST(ScenePicture, NamesTheCounts)
{
    const Scene scene = makeRopeBridge(2);
    BlockLDLT<double> solver;
    ASSERT_TRUE(solver.compute(scene.matrix).ok());
    const Analysis& analysis = solver.analysis();

    const std::string picture = pictureOf(scene, solver);

    EXPECT_EQ(count(picture,
                    ">A as assembled: " + std::to_string(analysis.matrixBlocks) + " blocks</text>"),
              1u);
    EXPECT_EQ(count(picture, ">L: " + std::to_string(analysis.factorBlocks) + " blocks, " +
                                 std::to_string(analysis.factorBlocks - analysis.matrixBlocks) +
                                 " of them fill-in</text>"),
              1u);
    for (const char* key : {">body</text>", ">joint</text>", ">fill-in</text>"})
        EXPECT_EQ(count(picture, key), 1u) << key;
}

TEST(ScenePicture, IsTheSameEveryTime)
{
    const Scene scene = makeRopeBridge(3);
    BlockLDLT<double> solver;
    ASSERT_TRUE(solver.compute(scene.matrix).ok());

    EXPECT_EQ(pictureOf(scene, solver), pictureOf(scene, solver));
}

TEST(ScenePicture, OfAnAnalysedMatrixNeedsNoFactor)
{
    const Scene scene = makeRopeBridge(3);
    BlockLDLT<double> solver;
    ASSERT_TRUE(solver.analyzePattern(scene.matrix).ok());

    EXPECT_TRUE(isWellFormed(pictureOf(scene, solver)));
}

TEST(ScenePicture, WithoutBodiesShowsTheMatrixAlone)
{
    Scene scene;
    scene.matrix = support::scalarMatrix<double>({{2}, {1, 2}});
    BlockLDLT<double> solver;
    ASSERT_TRUE(solver.compute(scene.matrix).ok());

    const std::string picture = pictureOf(scene, solver);

    EXPECT_TRUE(isWellFormed(picture));
    EXPECT_EQ(count(picture, "<line "), 0u);
    EXPECT_EQ(count(picture, "nan"), 0u);
}

TEST(ScenePicture, OfAnEmptyMatrixIsWellFormed)
{
    const Scene scene;
    BlockLDLT<double> solver;
    ASSERT_TRUE(solver.compute(scene.matrix).ok());

    const std::string picture = pictureOf(scene, solver);

    EXPECT_TRUE(isWellFormed(picture));
    EXPECT_EQ(count(picture, "nan"), 0u);
}

// A body without extent has no size to scale by.
TEST(ScenePicture, OfBodiesInOnePointHasFiniteNumbers)
{
    Scene scene;
    scene.matrix = support::scalarMatrix<double>({{2}});
    scene.bodies = {{{{1, 1, 1}, {1, 1, 1}}}};
    scene.anchors = {{1, 1, 1}};
    BlockLDLT<double> solver;
    ASSERT_TRUE(solver.compute(scene.matrix).ok());

    const std::string picture = pictureOf(scene, solver);

    EXPECT_EQ(count(picture, "nan"), 0u);
    EXPECT_EQ(count(picture, "inf"), 0u);
}

TEST(ScenePicture, SolverOfAnotherMatrixIsRefused)
{
    const Scene scene = makeRopeBridge(3);
    const support::Folder folder;
    const std::string path = folder.path("a.svg");
    BlockLDLT<double> solver;

    const Status fresh = writeScenePicture(path, scene, solver);
    ASSERT_TRUE(solver.compute(support::scalarMatrix<double>({{2}})).ok());
    const Status other = writeScenePicture(path, scene, solver);

    EXPECT_EQ(fresh.code, StatusCode::InvalidInput);
    EXPECT_EQ(fresh.message, path + ": the solver has not analysed this scene's matrix");
    EXPECT_EQ(other.message, fresh.message);
    EXPECT_EQ(folder.numFiles(), 0u);
}

TEST(ScenePicture, PathInNoFolderIsReportedAndLeavesNothing)
{
    const Scene scene = makeRopeBridge(2);
    BlockLDLT<double> solver;
    ASSERT_TRUE(solver.compute(scene.matrix).ok());
    const support::Folder folder;
    const std::string path = folder.path("none/a.svg");

    const Status status = writeScenePicture(path, scene, solver);

    EXPECT_EQ(status.code, StatusCode::InvalidInput);
    EXPECT_EQ(status.message, path + ": No such file or directory");
    EXPECT_EQ(folder.numFiles(), 0u);
}

} // namespace
