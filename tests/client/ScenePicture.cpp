#include "support/BlockSystems.h"
#include "support/Files.h"
#include "support/Xml.h"

#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/Pictures>
#include <kyrOrvelClient/Scenes>

#include <gtest/gtest.h>

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
using support::count;
using support::isWellFormed;

namespace {

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
