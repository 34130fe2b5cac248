#include "cli/Orvel.h"

namespace cli {

TEST(Bench, ReportsTheTimesOfAllSteps)
{
    const support::Folder folder;
    const std::string file = folder.write("m.mtx", kSmallMatrix);
    for (const std::string precision : {"double", "float"}) {
        std::vector<std::string> arguments = {"bench", file, "--seconds", "0.001"};
        if (precision == "float")
            arguments.push_back("--float");
        const std::string out = expectDone(arguments);
        EXPECT_NE(out.find("\n  precision         " + std::string(12 - precision.size(), ' ') +
                           precision + "\n"),
                  std::string::npos)
            << out;
        for (const char* step : {"  analyse", "  refactor", "  solve"})
            EXPECT_GT(numberAfter(out, step), 0) << out;
    }
}

TEST(Bench, ReportsInJson)
{
    const support::Folder folder;
    const std::string file = folder.write("m.mtx", kSmallMatrix);
    const std::string out = expectDone({"bench", file, "--seconds", "0.001", "--json"});
    for (const char* key : {"\"analyse\"", "\"refactor\"", "\"solve\"", "\"gigaflops\""})
        EXPECT_NE(out.find(key), std::string::npos) << key << " in " << out;
}

TEST(Bench, OfASingularMatrixFails)
{
    const support::Folder folder;
    const std::string file = folder.write("m.mtx", std::string(kHeader) + "2 2 3\n"
                                                                          "1 1 1\n"
                                                                          "2 1 1\n"
                                                                          "2 2 1\n");
    const support::CommandResult result = orvel({"bench", file});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err.substr(0, 7), "orvel: ");
}

} // namespace cli
