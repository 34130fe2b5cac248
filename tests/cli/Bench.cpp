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

// The values refuse the first order that is the best by the pattern.
TEST(Bench, TellsOfAnOrderThatIsNotTheOneTimed)
{
    const std::vector<std::string> bench = {"bench",  "--seconds", "0.001",     "--scene",
                                            "tracks", "20",        "--ordering"};
    const std::string remark = "without the order that pivots asked for later\n";
    for (const auto& [ordering, again] :
         {std::pair{"best", true}, std::pair{"constraint-aware", false}}) {
        SCOPED_TRACE(ordering);
        std::vector<std::string> command = bench;
        command.emplace_back(ordering);
        EXPECT_EQ(expectDone(command).find(remark) != std::string::npos, again);
    }
}

#ifdef ORVEL_HAS_PEERS

TEST(Bench, PeersAreMeasuredBesideThisLibrary)
{
    const std::string out =
        expectDone({"bench", "--scene", "lattice", "2", "--peers", "--seconds", "0.001"});
    EXPECT_EQ(out.find("  ms                            analyse   refactor      solve"),
              out.find("  ms"));
    EXPECT_GT(numberAfter(out, "  kyrOrvel "), 0);
}

TEST(Bench, PeersAreMeasuredInJson)
{
    const std::string out =
        expectDone({"bench", "--scene", "lattice", "2", "--peers", "--seconds", "0.001", "--json"});
    EXPECT_NE(out.find("\"solver\": \"kyrOrvel\",\n      \"solved\": true"), std::string::npos)
        << out;
}

#else

TEST(Bench, PeersThatWereNotBuiltInAreRefused)
{
    expectRefused({"bench", "--scene", "lattice", "2", "--peers"},
                  "--peers: the command was built without other solvers; configure it with "
                  "-DKYRORVEL_BENCH_PEERS=ON");
}

#endif

TEST(Bench, PeersGoWithoutOptionsForThisLibraryAlone)
{
    expectUsageError({"bench", "--scene", "lattice", "2", "--peers", "--float"},
                     "--float excludes --peers", "orvel bench");
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
