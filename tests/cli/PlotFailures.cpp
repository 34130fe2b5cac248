#include "cli/PlotInput.h"

#include "support/Xml.h"

namespace cli {

namespace {

constexpr char kSingularMessage[] =
    "the pivot of row 0 of block 1 is 0: the row is zero or depends on rows eliminated before it; "
    "remove what is redundant or give the block a diagonal (a compliance); it depends on block 0 "
    "(row 2 of the matrix, counted from 1)";

constexpr char kLooseMessage[] =
    "trailing block 1 couples to no other block and has no diagonal block: the matrix is singular "
    "whatever its values; couple it to an ordinary block, give it a diagonal block (a compliance), "
    "or leave it out (it begins at row 2 of the matrix, counted from 1)";

} // namespace

TEST(PlotFailure, UnknownKindIsRefusedWithTheKnownOnes)
{
    expectUsageError({"plot", "a.mtx", "--what", "graph"},
                     "--what: 'graph' is none of pattern, factor, tree, pivots, timeline or all",
                     "orvel plot");
}

TEST(PlotFailure, UnknownOrderingIsRefusedWithTheKnownOnes)
{
    expectUsageError({"plot", "a.mtx", "--ordering", "random"},
                     "--ordering: 'random' is none of automatic, constraint-aware, symamd, "
                     "nested-dissection, natural or best",
                     "orvel plot");
}

TEST(PlotFailure, ThreadsOutsideTheRangeAreRefused)
{
    for (const std::string threads : {"0", "256", "-1", "many"})
        expectUsageError({"plot", "a.mtx", "--threads", threads},
                         "--threads: '" + threads + "' is not a whole number from 1 to 255",
                         "orvel plot");
}

// Before the matrix is read: it is not there.
TEST(PlotFailure, UnknownEndingIsRefusedWithTheKnownOnes)
{
    for (const std::string name : {"a.gif", "a", "svg", ".svg", "a.svg/b", "a.svg.gz"})
        expectRefused({"plot", "missing.mtx", "--output", name},
                      name + ": a picture's name ends in .svg, .png or .pdf");
}

TEST(PlotFailure, TimelineInTheTerminalIsRefused)
{
    const std::string message =
        "a timeline is not drawn as text; name a picture with --output, and leave out --text";
    expectRefused({"plot", "missing.mtx", "--what", "timeline"}, message);
    expectRefused({"plot", "missing.mtx", "--what", "timeline", "--text", "--output", "a.svg"},
                  message);
}

TEST(PlotFailure, MissingMatrixIsRefused)
{
    const support::Folder folder;
    const std::string matrix = folder.path("missing.mtx");
    expectRefused({"plot", matrix, "--output", folder.path("a.svg")},
                  matrix + ": No such file or directory");
    EXPECT_EQ(folder.numFiles(), 0u);
}

TEST(PlotFailure, MissingFolderOfThePictureIsReported)
{
    const support::Folder folder;
    const std::string picture = folder.path("missing/a.png");
    expectRefused({"plot", folder.write("m.mtx", kJoint), "--output", picture, "--text"},
                  picture + ": No such file or directory");
    EXPECT_EQ(folder.numFiles(), 1u);
}

TEST(PlotFailure, FolderInThePlaceOfThePictureStays)
{
    const support::Folder folder;
    const std::string picture = folder.path("a.png");
    std::filesystem::create_directory(picture);
    expectRefused({"plot", folder.write("m.mtx", kJoint), "--output", picture},
                  picture + ": Is a directory");
    EXPECT_EQ(folder.numFiles(), 2u);
}

TEST(PlotFailure, SingularMatrixIsDrawnAndReported)
{
    for (const std::string kind : {"pivots", "timeline", "all"}) {
        SCOPED_TRACE(kind);
        const support::Folder folder;
        folder.write("m.blocks", kTwoBlocks);
        const std::string matrix = folder.write("m.mtx", kSingular);
        const std::string picture = folder.path("a.svg");
        const support::CommandResult result =
            orvel({"plot", matrix, "--what", kind, "--output", picture});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.out, "Picture: " + picture + "\n");
        EXPECT_EQ(result.err, "orvel: " + matrix + ": " + kSingularMessage + "\n");
        EXPECT_TRUE(support::isWellFormed(support::contentOf(picture)));
    }
}

// Pivots are not asked for by these.
TEST(PlotFailure, SingularMatrixHasAPatternAFactorAndATree)
{
    const support::Folder folder;
    folder.write("m.blocks", kTwoBlocks);
    const std::string matrix = folder.write("m.mtx", kSingular);
    for (const std::string kind : {"pattern", "factor", "tree"})
        expectDone({"plot", matrix, "--what", kind, "--output", folder.path("a.svg")});
}

TEST(PlotFailure, MatrixWithoutAnOrderHasAPatternStill)
{
    for (const std::string kind : {"pattern", "all"}) {
        SCOPED_TRACE(kind);
        const support::Folder folder;
        const std::string matrix = folder.write("m.mtx", kLooseJoint);
        const std::string picture = folder.path("a.svg");
        const support::CommandResult result =
            orvel({"plot", matrix, "--what", kind, "--output", picture});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.out, "Picture: " + picture + "\n");
        EXPECT_EQ(result.err, "orvel: " + matrix + ": " + kLooseMessage + "\n");
        EXPECT_TRUE(support::isWellFormed(support::contentOf(picture)));
    }
}

TEST(PlotFailure, WhatNeedsAnOrderLeavesNoFileWithoutOne)
{
    for (const std::string kind : {"factor", "tree", "pivots", "timeline"}) {
        SCOPED_TRACE(kind);
        const support::Folder folder;
        const std::string matrix = folder.write("m.mtx", kLooseJoint);
        const std::string picture = folder.write("a.svg", "untouched");
        expectFailure({"plot", matrix, "--what", kind, "--output", picture}, 1,
                      matrix + ": " + kLooseMessage);
        EXPECT_EQ(support::contentOf(picture), "untouched");
        EXPECT_EQ(folder.numFiles(), 2u);
    }
}

// The reader is gone before the text comes, which is longer than standard output holds back.
TEST(PlotFailure, BrokenPipeIsReported)
{
    const support::CommandResult result = support::runCommand(
        "/bin/bash",
        {"-c", "trap '' PIPE; { sleep 0.2; '" ORVEL_PROGRAM "' plot --scene wall 10 10; } | :; "
               "exit ${PIPESTATUS[0]}"},
        "");
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.err, "orvel: standard output: Broken pipe\n");
}

TEST(PlotFailure, FullDeviceAsStandardOutputIsReported)
{
    const support::Folder folder;
    const support::CommandResult result =
        orvel({"plot", folder.write("m.mtx", kJoint)}, "/dev/full");
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.err, "orvel: standard output: No space left on device\n");
}

} // namespace cli
