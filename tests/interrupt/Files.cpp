// The command ended by a signal while it writes: no file is half written, none is left beside.

#include "support/Files.h"
#include "support/Command.h"

#include <gtest/gtest.h>

#include <csignal>
#include <string>
#include <vector>

namespace {

struct Interruption {
    int signal;
    const char* at;
    bool named; ///< on a file system without unnamed files
};

/// Runs the command with INTERPOSED, which interrupts it.
support::CommandResult interrupt(const Interruption& how, const std::vector<std::string>& arguments)
{
    std::vector<std::string> all = {"LD_PRELOAD=" INTERPOSED,
                                    "INTERRUPT_SIGNAL=" + std::to_string(how.signal),
                                    std::string("INTERRUPT_AT=") + how.at};
    if (how.named)
        all.emplace_back("INTERRUPT_NAMED=1");
    all.emplace_back(ORVEL_PROGRAM);
    all.insert(all.end(), arguments.begin(), arguments.end());
    return support::runCommand("/usr/bin/env", all);
}

/// The command ends by the signal.
void expectEnded(const Interruption& how, const std::vector<std::string>& arguments)
{
    const support::CommandResult result = interrupt(how, arguments);
    EXPECT_EQ(result.exitCode, -how.signal) << result.err;
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "");
}

/// A signal with half of a file written, on both kinds of file systems.
class InterruptedFile : public testing::TestWithParam<Interruption> {};

std::string nameOf(const testing::TestParamInfo<Interruption>& info)
{
    return std::to_string(info.param.signal) + (info.param.named ? "named" : "unnamed");
}

constexpr Interruption kHalfWritten[] = {{SIGINT, "write", false},  {SIGINT, "write", true},
                                         {SIGTERM, "write", false}, {SIGTERM, "write", true},
                                         {SIGHUP, "write", false},  {SIGHUP, "write", true}};

} // namespace

INSTANTIATE_TEST_SUITE_P(Signals, InterruptedFile, testing::ValuesIn(kHalfWritten), nameOf);

TEST_P(InterruptedFile, OfASceneIsNotThere)
{
    const support::Folder folder;
    expectEnded(GetParam(), {"scene", "rope", "5", "--output", folder.path("m.mtx")});
    EXPECT_EQ(folder.numFiles(), 0u);
}

TEST_P(InterruptedFile, OfAPictureIsNotThere)
{
    const support::Folder folder;
    for (const char* const name : {"a.svg", "a.png", "a.pdf"})
        expectEnded(GetParam(), {"plot", "--scene", "rope", "5", "--output", folder.path(name)});
    expectEnded(GetParam(), {"demo", "--picture", folder.path("bridge.svg")});
    EXPECT_EQ(folder.numFiles(), 0u);
}

TEST_P(InterruptedFile, OfASolutionLeavesTheOneBefore)
{
    const support::Folder folder;
    const std::string out = folder.write("x.mtx", "what was here before");
    expectEnded(GetParam(), {"solve", "--scene", "rope", "5", "--out", out});
    EXPECT_EQ(support::contentOf(out), "what was here before");
    EXPECT_EQ(folder.numFiles(), 1u);
}

// Too late to stop: the program ends once the file is in its place.
TEST(InterruptedMove, EndsWithTheFileWhole)
{
    for (const bool named : {false, true}) {
        const support::Folder folder;
        const std::string out = folder.write("x.mtx", "what was here before");
        expectEnded({SIGINT, "rename", named}, {"solve", "--scene", "rope", "1", "--out", out});
        EXPECT_EQ(support::contentOf(out).substr(0, 14), "%%MatrixMarket");
        EXPECT_EQ(folder.numFiles(), 1u);
    }
}

// What the tests above count on.
TEST(InterruptedMove, WithoutASignalTheSameIsWritten)
{
    std::string before;
    for (const bool named : {false, true}) {
        const support::Folder folder;
        const std::string out = folder.path("x.mtx");
        EXPECT_EQ(
            interrupt({SIGINT, "never", named}, {"solve", "--scene", "rope", "1", "--out", out})
                .exitCode,
            0);
        EXPECT_EQ(folder.numFiles(), 1u);
        const std::string content = support::contentOf(out);
        EXPECT_TRUE(before.empty() || before == content);
        before = content;
    }
}
