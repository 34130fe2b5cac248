// The manual page and the shell completion know what the command knows.

#include "cli/Orvel.h"

#include <regex>
#include <set>

namespace cli {

namespace {

const std::vector<std::string> kSubcommands = {"demo",  "solve", "info", "check",
                                               "bench", "scene", "plot", "replay"};

/// All options of all subcommands.
std::set<std::string> options()
{
    std::set<std::string> found;
    const std::regex option("\\n  (?:-h,)?(--[a-z-]+)");
    for (const std::string& subcommand : kSubcommands) {
        const std::string help = expectDone({subcommand, "--help"});
        for (std::sregex_iterator i(help.begin(), help.end(), option), end; i != end; ++i)
            found.insert((*i)[1]);
    }
    EXPECT_GT(found.size(), 10u);
    return found;
}

} // namespace

TEST(Manual, ExplainsEverySubcommandAndOption)
{
    std::string page = support::contentOf(ORVEL_SOURCES "/docs/orvel.1");
    page = std::regex_replace(page, std::regex("\\\\-"), "-");
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
