#include "Peers.h"

#include "ConvertMatrix.h"
#include "Progress.h"
#include "Report.h"
#include "Solution.h"

#include <peers/Measurement.h>
#include <peers/OneThread.h>

#include <fmt/core.h>

#include <vector>

namespace orvel {

using kyrOrvel::client::Status;

namespace {

/// For the zeros on the diagonals of trailing blocks.
constexpr double kCompliance = 1e-2;

bench::Input inputOf(const MatrixInput& given)
{
    bench::Input input;
    input.name = given.name;
    input.matrix = convert<double>(given.matrix);
    bench::complete(input, bench::Entries::Nonzero, kCompliance);
    const std::vector<double> ones(input.matrix.dimension(), 1.0);
    input.rightHandSide.resize(ones.size());
    input.matrix.multiply(ones.data(), input.rightHandSide.data());
    return input;
}

/// What this library says of the system, which is not quite the one given.
Status trySolving(const bench::Input& input)
{
    Solution ignored;
    return computeSolution(input.matrix, input.rightHandSide, {}, ignored);
}

Json rowOf(const bench::Result& result)
{
    Json row = {{"solver", result.contender}, {"solved", result.solved}};
    if (result.solved) {
        row["analyse"] = result.milliseconds[bench::kAnalyze];
        row["refactor"] = result.milliseconds[bench::kFactorize];
        row["solve"] = result.milliseconds[bench::kSolve];
        row["factorScalars"] = result.factorScalars;
        row["relativeResidual"] = result.residual;
    }
    return row;
}

void printTable(const std::vector<bench::Result>& results)
{
    print(fmt::format("  {:<26} {:>10} {:>10} {:>10} {:>11} {:>9}\n", "ms", "analyse", "refactor",
                      "solve", "nnz(L)", "residual"));
    for (const bench::Result& result : results) {
        if (!result.solved) {
            print(fmt::format("  {:<26} {:>10}\n", result.contender, "not solved"));
            continue;
        }
        const auto& ms = result.milliseconds;
        print(fmt::format("  {:<26} {:>10.4f} {:>10.4f} {:>10.4f} {:>11.0f} {:>9.1e}\n",
                          result.contender, ms[bench::kAnalyze], ms[bench::kFactorize],
                          ms[bench::kSolve], result.factorScalars, result.residual));
    }
}

} // namespace

bool hasPeers()
{
    return true;
}

void preparePeers()
{
    bench::useOneThread();
}

int benchPeers(const BenchOptions& options, const MatrixInput& given)
{
    const bench::Input input = inputOf(given);
    Report report(options.json);
    const Status status = trySolving(input);
    if (!status.ok())
        return reportFailure(report, given, status);
    std::vector<bench::Result> results;
    {
        const Progress progress("measuring");
        results = bench::measure(input, bench::allContenders(), options.seconds);
    }
    reportInput(report, given);
    report.line("compliance", kCompliance, "compliance", fmt::format("{}", kCompliance),
                "where the diagonal of a trailing block is zero, for all");
    report.line("threads", 1, "threads", "1", "each; medians, by turns");
    if (!options.json)
        printTable(results);
    Json rows = Json::array();
    for (const bench::Result& result : results)
        rows.push_back(rowOf(result));
    report.detail("solvers", rows);
    report.finish();
    return kDone;
}

} // namespace orvel
