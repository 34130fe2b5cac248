#include "Commands.h"
#include "Configure.h"
#include "ConvertMatrix.h"
#include "MatrixInput.h"
#include "Peers.h"
#include "Progress.h"
#include "Report.h"

#include <kyrOrvelClient/BlockLDLT>

#include <fmt/core.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <vector>

namespace orvel {

using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::Status;

namespace {

constexpr std::size_t kFewestRuns = 5;
constexpr std::size_t kMostRuns = 10000;

struct Times {
    double median = 0; ///< milliseconds
    double least = 0;
    std::size_t runs = 0;
};

/// Repeats a step for some time.
template <class Step> Times repeat(double seconds, Step step)
{
    std::vector<double> times;
    double total = 0;
    while (times.size() < kFewestRuns || (total < 1000 * seconds && times.size() < kMostRuns)) {
        times.push_back(timeOf(step));
        total += times.back();
    }
    std::sort(times.begin(), times.end());
    return {times[times.size() / 2], times.front(), times.size()};
}

void reportTimes(Report& report, const char* key, const char* label, const Times& times)
{
    report.line(key, {{"median", times.median}, {"least", times.least}, {"runs", times.runs}},
                label, fmt::format("{:.4f} ms", times.median),
                fmt::format("median of {}; least {:.4f} ms", times.runs, times.least));
}

template <class T> std::unique_ptr<BlockLDLT<T>> makeSolver(const SolverOptions& options)
{
    auto solver = std::make_unique<BlockLDLT<T>>();
    configure(*solver, options);
    return solver;
}

template <class T>
Status measure(const MatrixInput& input, const BenchOptions& options, Report& report)
{
    const kyrOrvel::client::BlockMatrix<T> A = convert<T>(input.matrix);
    auto solver = makeSolver<T>(options.solver);
    std::vector<T> x(A.dimension(), T(1));
    std::vector<T> b(A.dimension());
    A.multiply(x.data(), b.data());
    if (!solver->compute(A).ok() || !solver->solve(b.data(), x.data()).ok())
        return solver->info();
    const double share = options.seconds / 3;
    const Times analyse = repeat(share, [&] { makeSolver<T>(options.solver)->analyzePattern(A); });
    const Times factor = repeat(share, [&] { solver->factorize(A); });
    const Times solve = repeat(share, [&] { solver->solve(b.data(), x.data()); });
    if (!solver->info().ok())
        return solver->info();
    report.heading(input.name);
    reportMatrix(report, input.matrix);
    reportAnalysis(report, solver->analysis());
    report.line("precision", sizeof(T) == sizeof(float) ? "float" : "double", "precision",
                sizeof(T) == sizeof(float) ? "float" : "double");
    report.line("threads", options.solver.threads, "threads",
                std::to_string(options.solver.threads));
    reportTimes(report, "analyse", "analyse", analyse);
    reportTimes(report, "refactor", "refactor", factor);
    reportTimes(report, "solve", "solve", solve);
    const double speed = 2e-6 * static_cast<double>(solver->analysis().operations) / factor.median;
    report.line("gigaflops", speed, "GFLOP/s", fmt::format("{:.2f}", speed),
                "two for each pair, of the refactorization");
    report.finish();
    return {};
}

} // namespace

int runBench(const BenchOptions& options)
{
    if (options.peers && !hasPeers())
        return refuse("--peers: the command was built without other solvers; configure it with "
                      "-DKYRORVEL_BENCH_PEERS=ON");
    if (options.peers)
        preparePeers();
    MatrixInput input;
    Status status = readInput(options.input, input);
    if (!status.ok())
        return refuse(status.message);
    if (options.peers)
        return benchPeers(options, input);
    Report report(options.json);
    {
        const Progress progress("measuring");
        status = options.solver.singlePrecision ? measure<float>(input, options, report)
                                                : measure<double>(input, options, report);
    }
    return status.ok() ? kDone : reportFailure(report, input, status);
}

} // namespace orvel
