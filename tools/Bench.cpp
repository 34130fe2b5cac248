#include "Commands.h"
#include "Compliance.h"
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

constexpr int kMeasurements = 3;
constexpr std::size_t kFewestRuns = 5;
constexpr std::size_t kMostRuns = 10000;

struct Times {
    double median = 0; ///< milliseconds
    double least = 0;
    std::size_t runs = 0;
};

/// Repeats a step for some time.
///
/// @param done  how many of the measurements have been made before this one
/// @param step  returns the milliseconds that count of it
template <class Step> Times repeat(double seconds, int done, Progress& progress, Step step)
{
    std::vector<double> times;
    double total = 0;
    while (times.size() < kFewestRuns || (total < 1000 * seconds && times.size() < kMostRuns)) {
        total += timeOf([&] { times.push_back(step()); });
        progress.share((done + std::min(total / (1000 * seconds), 1.0)) / kMeasurements);
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

/// The milliseconds of an analysis as compute makes it, which looks at the values.
template <class T>
double analyse(const kyrOrvel::client::BlockMatrix<T>& A, const SolverOptions& options)
{
    const auto solver = makeSolver<T>(options);
    solver->compute(A);
    return 1000 * solver->statistics().analysisSeconds;
}

/// What was measured of a solver.
struct Measurements {
    kyrOrvel::client::Analysis analysis;
    Times analyse;
    Times factor;
    Times solve;
};

template <class T>
Status measure(const MatrixInput& input, const BenchOptions& options, Measurements& found)
{
    Progress progress("measuring");
    const kyrOrvel::client::BlockMatrix<T> A = convert<T>(input.matrix);
    auto solver = makeSolver<T>(options.solver);
    std::vector<T> x(A.dimension(), T(1));
    std::vector<T> b(A.dimension());
    A.multiply(x.data(), b.data());
    if (!solver->compute(A).ok() || !solver->solve(b.data(), x.data()).ok())
        return solver->info();
    const double each = options.seconds / kMeasurements;
    const auto factorize = [&] { solver->factorize(A); };
    const auto solve = [&] { solver->solve(b.data(), x.data()); };
    found.analyse = repeat(each, 0, progress, [&] { return analyse(A, options.solver); });
    found.factor = repeat(each, 1, progress, [&] { return timeOf(factorize); });
    found.solve = repeat(each, 2, progress, [&] { return timeOf(solve); });
    if (solver->info().ok())
        found.analysis = solver->analysis();
    return solver->info();
}

void reportMeasurements(Report& report, const SolverOptions& options, const Measurements& found)
{
    reportAnalysis(report, found.analysis);
    const std::string precision = options.singlePrecision ? "float" : "double";
    report.line("precision", precision, "precision", precision);
    report.line("threads", options.threads, "threads", std::to_string(options.threads));
    reportTimes(report, "analyse", "analyse", found.analyse);
    if (found.analysis.orderedAgain)
        report.line(nullptr, {}, "", "", "without the order that pivots asked for later");
    report.detail("orderedAgain", found.analysis.orderedAgain);
    reportTimes(report, "refactor", "refactor", found.factor);
    reportTimes(report, "solve", "solve", found.solve);
    const double speed =
        2e-6 * static_cast<double>(found.analysis.operations) / found.factor.median;
    report.line("gigaflops", speed, "GFLOP/s", fmt::format("{:.2f}", speed),
                "two for each pair, of the refactorization");
}

} // namespace

int runBench(const BenchOptions& options)
{
    if (options.peers && !hasPeers())
        return refuse("--peers: the command was built without other solvers; configure it with "
                      "-DKYRORVEL_BENCH_PEERS=ON");
    if (options.peers)
        preparePeers();
    const std::string refusal = refusalOf(options.solver);
    if (!refusal.empty())
        return refuse(refusal);
    MatrixInput input;
    Status status = readInput(options.input, input);
    if (!status.ok())
        return refuse(status.message);
    if (options.peers)
        return benchPeers(options, input);
    Measurements found;
    status = options.solver.singlePrecision ? measure<float>(input, options, found)
                                            : measure<double>(input, options, found);
    Report report(options.json);
    if (!status.ok())
        return reportFailure(report, input, status);
    report.heading(input.name);
    reportMatrix(report, input.matrix);
    reportCompliance(report, input.matrix, options.solver);
    reportMeasurements(report, options.solver, found);
    report.finish();
    return kDone;
}

} // namespace orvel
