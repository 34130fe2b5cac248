// What a person at a terminal sees while a command works, and that nobody else does.

#include "cli/Orvel.h"
#include "cli/PlotInput.h"

#include <cstdlib>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace cli {

namespace {

constexpr char kErase[] = "\r\x1b[K";

/// A terminal that nobody sits at.
class Terminal {
public:
    Terminal() : m_master(posix_openpt(O_RDWR | O_NOCTTY))
    {
        EXPECT_TRUE(m_master >= 0 && grantpt(m_master) == 0 && unlockpt(m_master) == 0);
        m_slave = open(ptsname(m_master), O_RDWR | O_NOCTTY); // keeps what is written to it
        EXPECT_GE(m_slave, 0);
    }
    ~Terminal()
    {
        close(m_slave);
        close(m_master);
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    /// What the command writes to it as its standard error; a few kilobytes.
    std::string show(const std::string& arguments) const
    {
        const std::string command = "'" ORVEL_PROGRAM "' " + arguments + " 2>" + ptsname(m_master);
        const support::CommandResult result = support::runCommand("/bin/sh", {"-c", command});
        EXPECT_EQ(result.err, "");
        std::string shown;
        pollfd waiting = {m_master, POLLIN, 0};
        while (poll(&waiting, 1, 0) == 1) {
            char buffer[4096];
            const ssize_t got = read(m_master, buffer, sizeof buffer);
            if (got <= 0)
                break;
            shown.append(buffer, static_cast<std::size_t>(got));
        }
        return shown;
    }

private:
    int m_master;
    int m_slave;
};

/// Whether there are pseudo-terminals; a bare system may have none.
bool hasTerminals()
{
    const int master = posix_openpt(O_RDWR | O_NOCTTY);
    const bool usable = master >= 0 && grantpt(master) == 0 && unlockpt(master) == 0 &&
                        ptsname(master) && access(ptsname(master), W_OK) == 0;
    close(master);
    return usable;
}

class Progress : public testing::Test {
protected:
    void SetUp() override
    {
        if (!hasTerminals())
            GTEST_SKIP() << "there are no pseudo-terminals here";
    }
};

} // namespace

TEST_F(Progress, NamesThePhasesAndErasesThem)
{
    EXPECT_EQ(Terminal().show("info --scene rope 3"),
              std::string(kErase) + "orvel: making rope 3 ..." + kErase + kErase +
                  "orvel: analysing and factoring ..." + kErase);
    EXPECT_EQ(Terminal().show("scene rope 3 --solve"), std::string(kErase) +
                                                           "orvel: analysing and factoring ..." +
                                                           kErase + "orvel: solving ..." + kErase);
}

// 79999 entries: the share is told at the 65536th.
TEST_F(Progress, OfReadingIsTheShareOfBytes)
{
    const support::Folder folder;
    const std::string matrix = writeChain(folder, 40000);
    ASSERT_EQ(chdir(std::filesystem::path(matrix).parent_path().c_str()), 0);
    const std::string shown = Terminal().show("info chain.mtx");
    ASSERT_EQ(chdir("/"), 0);
    EXPECT_EQ(shown, std::string(kErase) + "orvel: reading chain.mtx ..." + kErase +
                         "orvel: reading chain.mtx: 81 %" + kErase +
                         "orvel: dividing into blocks ..." + kErase + kErase +
                         "orvel: analysing and factoring ..." + kErase);
}

TEST_F(Progress, OfMeasuringEndsWithAllOfIt)
{
    const std::string shown = Terminal().show("bench --scene rope 3 --seconds 0.001");
    const std::string end = std::string(kErase) + "orvel: measuring: 100 %" + kErase;
    ASSERT_GE(shown.size(), end.size());
    EXPECT_EQ(shown.substr(shown.size() - end.size()), end);
}

// 80 columns, of which the last stays free.
TEST_F(Progress, IsCutAtTheEdgeOfTheTerminal)
{
    const std::string name(100, 'a');
    EXPECT_EQ(Terminal().show("info " + name),
              std::string(kErase) + "orvel: reading " + std::string(79 - 15, 'a') + kErase +
                  "orvel: " + name + ": No such file or directory\r\n");
}

TEST(ProgressInAPipe, IsNotShown)
{
    for (const std::vector<std::string>& command : std::vector<std::vector<std::string>>{
             {"info", "--scene", "rope", "3"},
             {"bench", "--scene", "rope", "3", "--seconds", "0.001"},
             {"solve", "--scene", "rope", "3"},
             {"plot", "--scene", "rope", "3"}})
        EXPECT_EQ(orvel(command).err, "");
}

} // namespace cli
