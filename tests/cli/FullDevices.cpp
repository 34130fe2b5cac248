// A disk that is full, wherever a subcommand writes.

#include "cli/Orvel.h"

namespace cli {

namespace {

const std::vector<std::vector<std::string>> kReports = {
    {"demo"},
    {"solve", "--scene", "rope", "3"},
    {"info", "--scene", "rope", "3"},
    {"check", "--scene", "rope", "3"},
    {"bench", "--scene", "rope", "3", "--seconds", "0.001"},
    {"scene", "rope", "3", "--solve"},
    {"plot", "--scene", "rope", "3"}};

void expectFullOutput(const std::vector<std::string>& arguments)
{
    const support::CommandResult result = orvel(arguments, "/dev/full");
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.err, "orvel: standard output: No space left on device\n");
}

} // namespace

TEST(FullDevice, AsStandardOutputIsReportedByEverySubcommand)
{
    for (const std::vector<std::string>& report : kReports) {
        SCOPED_TRACE(report[0]);
        expectFullOutput(report);
    }
}

TEST(FullDevice, AsStandardOutputIsReportedForJson)
{
    const support::Folder folder;
    for (std::vector<std::string> report : kReports) {
        SCOPED_TRACE(report[0]);
        report.emplace_back("--json");
        if (report[0] == "plot")
            report.insert(report.end(), {"--output", folder.path("a.svg")});
        expectFullOutput(report);
    }
}

// More than standard output holds back: it fails before the end.
TEST(FullDevice, AsStandardOutputIsReportedForLongTexts)
{
    expectFullOutput({"plot", "--scene", "wall", "10", "10"});
    expectFullOutput({"scene", "wall", "10", "10", "--output", "-"});
}

TEST(FullDevice, AsStandardErrorLeavesTheExitCode)
{
    const support::CommandResult result = support::runCommand(
        "/bin/sh", {"-c", "'" ORVEL_PROGRAM "' info missing.mtx 2> /dev/full"}, "");
    EXPECT_EQ(result.exitCode, 2);
}

TEST(FullDevice, AsTheFileIsReportedWithItsName)
{
    const support::Folder folder;
    for (const char* const name : {"a.svg", "a.png", "a.pdf", "m"}) {
        SCOPED_TRACE(name);
        const std::string file = folder.path(name);
        std::filesystem::create_symlink("/dev/full", file);
        const std::string message = file + ": No space left on device";
        if (file.back() == 'm')
            expectRefused({"scene", "rope", "3", "--output", file}, message);
        else
            expectRefused({"plot", "--scene", "rope", "3", "--output", file}, message);
        expectRefused({"demo", "--picture", file}, message);
        EXPECT_TRUE(std::filesystem::is_symlink(file));
    }
    EXPECT_EQ(folder.numFiles(), 4u);
}

} // namespace cli
