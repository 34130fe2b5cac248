// The manual page and the shell completion know what the command knows.

#include "cli/Orvel.h"

#include <set>
#include <sstream>

namespace cli {

namespace {

const std::vector<std::string> kSubcommands = {"demo",  "solve", "info", "check",
                                               "bench", "scene", "plot", "replay"};

/// All options of all subcommands.
std::set<std::string> options()
{
    std::set<std::string> found;
    for (const std::string& subcommand : kSubcommands) {
        std::istringstream help(expectDone({subcommand, "--help"}));
        for (std::string line; std::getline(help, line);) {
            const std::size_t at = line.find("--");
            if (at == 2 || line.rfind("  -h,--", 0) == 0)
                found.insert(line.substr(at, line.find(' ', at) - at));
        }
    }
    EXPECT_GT(found.size(), 10u);
    return found;
}

} // namespace

TEST(Manual, ExplainsEverySubcommandAndOption)
{
    std::string page = support::contentOf(ORVEL_SOURCES "/docs/orvel.1");
    for (std::size_t at = 0; (at = page.find("\\-", at)) != std::string::npos;)
        page.erase(at, 1);
    for (const std::string& subcommand : kSubcommands)
        EXPECT_NE(page.find("\n.B" + std::string(subcommand == "demo" ? " " : "I ") + subcommand),
                  std::string::npos)
            << subcommand;
    for (const std::string& option : options())
        EXPECT_NE(page.find(option), std::string::npos) << option;
}

TEST(Completion, KnowsEverySubcommandAndOption)
{
    const std::string script = support::contentOf(ORVEL_SOURCES "/tools/completion/orvel");
    for (const std::string& subcommand : kSubcommands)
        EXPECT_NE(script.find(subcommand), std::string::npos) << subcommand;
    for (const std::string& option : options())
        EXPECT_NE(script.find(option), std::string::npos) << option;
}

TEST(Completion, OffersWhatASubcommandTakes)
{
    const support::CommandResult result = support::runCommand(
        "/bin/bash",
        {"-c", "source '" ORVEL_SOURCES "/tools/completion/orvel'; COMP_WORDS=(orvel plot --w); "
               "COMP_CWORD=2; _orvel; echo ${COMPREPLY[@]}"},
        "");
    EXPECT_EQ(result.out, "--what\n");
    EXPECT_EQ(result.err, "");
}

} // namespace cli
