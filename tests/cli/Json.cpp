// What every subcommand says with --json is JSON, whatever happens, with numbers as numbers.

#include "cli/Orvel.h"

#include <nlohmann/json.hpp>

namespace cli {

namespace {

using Json = nlohmann::json;

/// The command's standard output as JSON.
Json jsonOf(std::vector<std::string> arguments, int exitCode = 0)
{
    arguments.emplace_back("--json");
    const support::CommandResult result = orvel(arguments);
    EXPECT_EQ(result.exitCode, exitCode) << result.err;
    EXPECT_TRUE(Json::accept(result.out)) << result.out;
    return Json::parse(result.out, nullptr, false);
}

void expectNumbers(const Json& object, const std::vector<std::string>& keys)
{
    for (const std::string& key : keys) {
        ASSERT_TRUE(object.contains(key)) << key << " in " << object;
        EXPECT_TRUE(object[key].is_number()) << key << ": " << object[key];
    }
}

const std::vector<std::string> kMatrixNumbers = {
    "scalars", "blocks", "ordinaryBlocks", "trailingBlocks", "smallestBlock", "largestBlock"};
const std::vector<std::string> kFactorNumbers = {"matrixBlocks", "factorBlocks", "fillBlocks",
                                                 "factorScalars", "operations"};

/// [1 1; 1 1]
const std::string kSingular = std::string(kHeader) + "2 2 3\n1 1 1\n2 1 1\n2 2 1\n";

} // namespace

TEST(Json, OfEverySubcommandHasTheFiguresOfTheMatrixAsNumbers)
{
    const support::Folder folder;
    const std::vector<std::string> scene = {"--scene", "rope", "3"};
    for (const std::vector<std::string>& command : std::vector<std::vector<std::string>>{
             {"demo", "--segments", "3"},
             {"scene", "rope", "3", "--solve"},
             {"solve", "--scene", "rope", "3"},
             {"info", "--scene", "rope", "3"},
             {"bench", "--seconds", "0.001", "--scene", "rope", "3"},
             {"plot", "--output", folder.path("a.svg"), "--scene", "rope", "3"}}) {
        SCOPED_TRACE(command[0]);
        const Json json = jsonOf(command);
        expectNumbers(json, kMatrixNumbers);
        expectNumbers(json, kFactorNumbers);
    }
    expectNumbers(jsonOf({"check", "--scene", "rope", "3"}), kMatrixNumbers);
}

TEST(Json, OfAPlotSaysWhatWasDrawn)
{
    const support::Folder folder;
    const std::string picture = folder.path("a.svg");
    const Json json = jsonOf({"plot", "--scene", "rope", "3", "--output", picture});
    EXPECT_EQ(json["input"], "rope 3");
    EXPECT_EQ(json["picture"], picture);
    EXPECT_EQ(json["drawn"], Json({"pattern", "factor", "tree", "pivots", "timeline"}));
    EXPECT_EQ(json["scalars"], 27);
    EXPECT_EQ(json["blocks"], 6);
    EXPECT_EQ(json["matrixBlocks"], 11);
    EXPECT_EQ(json["fillBlocks"], 0);
    EXPECT_EQ(json["tree"]["height"], 6);
    EXPECT_EQ(json["tree"]["leaves"], 1);
    EXPECT_EQ(json["pivots"]["positive"], 18);
    EXPECT_EQ(json["pivots"]["negative"], 9);
}

TEST(Json, OfATreeHasTheOperationsOfTheFactorization)
{
    const support::Folder folder;
    folder.write("m.blocks", "blocks 2 firstTrailing 2\n1 1");
    const Json json =
        jsonOf({"plot", folder.write("m.mtx", kSmallMatrix), "--output", folder.path("a.svg")});
    EXPECT_EQ(json["operations"], 1);
    EXPECT_EQ(json["tree"]["operations"], 1);
}

// Pictures of trees of nothing: by nodes, and by shares of the width.
TEST(Json, OfATreeWithoutOperationsHasNone)
{
    for (const unsigned int rows : {2u, 5000u}) {
        const support::Folder folder;
        std::string matrix = kHeader + std::to_string(rows) + " " + std::to_string(rows) + " " +
                             std::to_string(rows) + "\n";
        for (unsigned int row = 1; row <= rows; ++row)
            matrix += std::to_string(row) + " " + std::to_string(row) + " 1\n";
        const Json json = jsonOf({"plot", folder.write("m.mtx", matrix), "--what", "tree",
                                  "--output", folder.path("a.svg")});
        EXPECT_EQ(json["tree"]["operations"], 0);
    }
}

TEST(Json, OfAPlotSaysNoMoreThanWasLookedAt)
{
    const support::Folder folder;
    const Json json = jsonOf(
        {"plot", "--scene", "rope", "3", "--what", "pattern", "--output", folder.path("a.svg")});
    EXPECT_EQ(json["drawn"], Json({"pattern"}));
    EXPECT_FALSE(json.contains("pivots"));
}

// By the pattern alone the order would be another one.
TEST(Json, OfAPlotHasTheOperationsOfSolve)
{
    const support::Folder folder;
    const std::vector<std::string> scene = {"--scene", "tracks", "20", "--ordering", "best"};
    const auto jsonFor = [&](std::vector<std::string> command) {
        command.insert(command.end(), scene.begin(), scene.end());
        return jsonOf(command);
    };
    const Json operations = jsonFor({"solve"})["operations"];
    for (const char* const kind : {"pattern", "factor", "tree", "all"}) {
        SCOPED_TRACE(kind);
        const Json json = jsonFor({"plot", "--output", folder.path("a.svg"), "--what", kind});
        EXPECT_EQ(json["operations"], operations);
    }
}

TEST(Json, OfAPlotLeavesNoRoomForText)
{
    const support::Folder folder;
    const std::string message = "--json leaves no room on standard output for text; name a picture "
                                "with --output, and leave out --text";
    expectRefused({"plot", "--scene", "rope", "3", "--json"}, message);
    expectRefused(
        {"plot", "--scene", "rope", "3", "--json", "--text", "--output", folder.path("a.svg")},
        message);
    EXPECT_EQ(folder.numFiles(), 0u);
}

TEST(Json, OfAFailureHasItsStatus)
{
    const support::Folder folder;
    const std::string file = folder.write("m.mtx", kSingular);
    for (const std::vector<std::string>& command : std::vector<std::vector<std::string>>{
             {"solve", file},
             {"check", file},
             {"bench", file},
             {"plot", file, "--output", folder.path("a.svg")},
             {"scene", "bridge", "4", "--solve", "--ordering", "symamd"}}) {
        SCOPED_TRACE(command[0]);
        const Json failure = jsonOf(command, 1)["failure"];
        EXPECT_EQ(failure["status"], "Singular");
        expectNumbers(failure, {"block", "row"});
    }
}

// The second pivot is 1 - 1e200²/1e-200. What is infinite has no number in JSON: it is counted.
TEST(Json, OfPivotsThatOverflowIsValidStill)
{
    const support::Folder folder;
    const std::string matrix =
        folder.write("m.mtx", std::string(kHeader) + "2 2 3\n1 1 1e-200\n2 1 1e200\n2 2 1\n");
    folder.write("m.blocks", "blocks 2 firstTrailing 2\n1 1\n");
    const Json json =
        jsonOf({"plot", matrix, "--ordering", "natural", "--output", folder.path("a.svg")}, 1);
    EXPECT_EQ(json["pivots"]["notFinite"], 1);
    expectNumbers(json["pivots"]["largest"], {"value", "block", "row"});
}

TEST(Json, OfANameInNoEncodingIsValidStill)
{
    const support::Folder folder;
    const std::string file = folder.write("\xff\xfe.mtx", kSmallMatrix);
    for (const char* const command : {"solve", "info", "check", "bench"})
        EXPECT_TRUE(jsonOf({command, file})["input"].is_string());
}

} // namespace cli
