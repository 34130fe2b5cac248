#include "cli/Orvel.h"

#include <sstream>
#include <string>

namespace cli {

namespace {

/// The report with all that depends on the machine or on the ordering masked: the values of these
/// lines, each twelve characters wide, the fill-in, and how the order came about.
std::string masked(const std::string& report)
{
    const char* const names[] = {"blocks of L",       "scalars of L",  "operations", "analyse",
                                 "factor, first",     "factor, again", "solve",      "refinements",
                                 "relative residual", "backward error"};
    std::istringstream lines(report);
    std::string text;
    for (std::string line; std::getline(lines, line);) {
        for (const std::string name : names)
            if (line.compare(2, name.size(), name) == 0)
                line.replace(20, 12, "############");
        if (line.find("fill-in") != std::string::npos)
            line.replace(34, line.find(" of them") - 34, "#");
        if (line.find("ordering") != std::string::npos)
            line = line.substr(0, line.find(" fill"));
        text += line + "\n";
    }
    return text;
}

} // namespace

// Two ropes of 60 pieces and a plank at each of the 59 inner links: 179 bodies of 6 scalars. Each
// rope has 61 joints, each plank 2: 240 joints of 3 scalars, each with two blocks, but for the
// 4 at the cliffs with one. 179 + 240 diagonal blocks and 476 more.
TEST(Demo, ReportShowsSizesFillTimesAndResidual)
{
    EXPECT_EQ(masked(expectDone({"demo"})),
              "Rope bridge: 179 bodies, 240 joints, one time step\n"
              "  scalars                   1794\n"
              "  blocks                     419  179 ordinary, 240 trailing, sizes 3 to 6\n"
              "  blocks of A                895  lower triangle\n"
              "  blocks of L       ############  # of them fill-in\n"
              "  scalars of L      ############\n"
              "  operations        ############  multiply-subtract pairs, about\n"
              "  ordering                        minimum\n"
              "  analyse           ############\n"
              "  factor, first     ############  memory and, if need be, a safer ordering\n"
              "  factor, again     ############  as in every further step\n"
              "  solve             ############\n"
              "  refinements       ############\n"
              "  relative residual ############  |b - A x| / |b|\n"
              "  backward error    ############  |b - A x| / (|A| |x| + |b|)\n");
}

TEST(Demo, ResidualIsNearMachinePrecision)
{
    const std::string report = expectDone({"demo"});
    const double residual = numberAfter(report, "  relative residual");
    EXPECT_GE(residual, 0);
    EXPECT_LT(residual, 1e-13);
    EXPECT_LT(numberAfter(report, "  backward error"), 1e-15);
}

TEST(Demo, FillInIsWhatTheFactorHasBeyondTheMatrix)
{
    const std::string report = expectDone({"demo"});
    const std::string factor = linesFrom(report, "  blocks of L");
    const double fill = std::stod(factor.substr(factor.find("  ", 32)));
    EXPECT_EQ(numberAfter(report, "  blocks of L") - fill, 895);
}

TEST(Demo, ResultsRepeatExactly)
{
    const std::string first = linesFrom(expectDone({"demo"}), "  refinements");
    EXPECT_EQ(linesFrom(expectDone({"demo"}), "  refinements"), first);
}

TEST(Demo, SmallestBridgeHasTwoSegments)
{
    const std::string report = expectDone({"demo", "--segments", "2"});
    EXPECT_EQ(report.substr(0, report.find('\n')),
              "Rope bridge: 5 bodies, 8 joints, one time step");
    EXPECT_LT(numberAfter(report, "  relative residual"), 1e-13);
}

TEST(Demo, LongBridgeIsSolved)
{
    const std::string report = expectDone({"demo", "--segments", "3000"});
    EXPECT_EQ(report.substr(0, report.find('\n')),
              "Rope bridge: 8999 bodies, 12000 joints, one time step");
    EXPECT_LT(numberAfter(report, "  backward error"), 1e-15);
}

TEST(Demo, PictureIsWrittenAndNamedLast)
{
    const support::Folder folder;
    const std::string picture = folder.path("bridge.svg");
    const std::string report = expectDone({"demo", "--segments", "4", "--picture", picture});
    EXPECT_EQ(linesFrom(report, "Picture"), "Picture: " + picture + "\n");
    const std::string svg = support::contentOf(picture);
    EXPECT_EQ(svg.substr(0, 5), "<svg ");
    EXPECT_EQ(svg.substr(svg.size() - 7), "</svg>\n");
    EXPECT_EQ(folder.numFiles(), 1u);
}

TEST(Demo, PictureInAMissingFolderIsRefused)
{
    const support::Folder folder;
    const std::string picture = folder.path("missing/bridge.svg");
    expectRefused({"demo", "--picture", picture}, picture + ": No such file or directory");
    EXPECT_EQ(folder.numFiles(), 0u);
}

TEST(Demo, FullDeviceAsStandardOutputIsReported)
{
    const support::CommandResult result = orvel({"demo"}, "/dev/full");
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.err, "orvel: standard output: No space left on device\n");
}

} // namespace cli
