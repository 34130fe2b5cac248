// This library and its peers on the same systems in the same run, one thread each.

#include "Charts.h"
#include "Csv.h"

#include "peers/Measurement.h"
#include "peers/OneThread.h"

#include <kyrOrvelClient/MatrixFiles>
#include <kyrOrvelClient/Scenes>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

namespace bench {

namespace {

using namespace kyrOrvel::client;

struct NamedScene {
    const char* name;
    std::function<Scene()> make;
};

const std::vector<NamedScene>& scenes()
{
    static const std::vector<NamedScene> all = {
        {"rope 20", [] { return makeRope(20); }},
        {"rope 1000", [] { return makeRope(1000); }},
        {"rope 10000", [] { return makeRope(10000); }},
        {"chain 20", [] { return makeChain(20); }},
        {"chain 1000", [] { return makeChain(1000); }},
        {"chain 10000", [] { return makeChain(10000); }},
        {"chain 100000", [] { return makeChain(100000); }},
        {"bridge 60", [] { return makeRopeBridge(60); }},
        {"bridge 1000", [] { return makeRopeBridge(1000); }},
        {"ragdolls 10", [] { return makeRagdollPile(10); }},
        {"ragdolls 100", [] { return makeRagdollPile(100); }},
        {"wall 10x10", [] { return makeWall(10, 10); }},
        {"wall 30x20", [] { return makeWall(30, 20); }},
        {"tracks 80", [] { return makeTracks(80); }},
        {"net 10", [] { return makeNet(10); }},
        {"net 30", [] { return makeNet(30); }},
        {"net 60", [] { return makeNet(60); }},
        {"net 100", [] { return makeNet(100); }},
        {"pose graph 2500", [] { return makePoseGraph(2500); }},
        {"lattice 8", [] { return makeLattice(8); }},
        {"lattice 12", [] { return makeLattice(12); }},
        {"lattice 16", [] { return makeLattice(16); }},
        {"lattice 20", [] { return makeLattice(20); }},
        {"elasticity 12", [] { return makeElasticity(12); }},
        {"elasticity 24", [] { return makeElasticity(24); }},
    };
    return all;
}

struct Options {
    std::vector<std::string> inputs;  ///< beginnings of names, or Matrix Market files
    std::vector<std::string> without; ///< beginnings of names of peers
    double seconds = 3;
    double compliance = 1e-2;
    bool allEntries = false;
    bool cold = false;
    bool list = false;
    std::string csv;
    std::string svg;
};

bool isFile(const std::string& name)
{
    return name.size() > 4 && name.compare(name.size() - 4, 4, ".mtx") == 0;
}

bool readFile(const std::string& path, Input& input)
{
    ScalarMatrix scalars;
    BlockPartition partition;
    Status status = readMatrixMarket(path, scalars);
    const std::string blocks = path.substr(0, path.size() - 4) + ".blocks";
    const bool listed = access(blocks.c_str(), R_OK) == 0;
    if (status.ok() && listed)
        status = readBlocks(blocks, scalars.dimension, partition);
    if (!status.ok()) {
        std::fprintf(stderr, "bench_compare: %s\n", status.message.c_str());
        return false;
    }
    input.matrix = toBlockMatrix(scalars, listed ? partition : findBlocks(scalars));
    input.name = path.substr(path.find_last_of('/') + 1);
    const std::vector<double> ones(input.matrix.dimension(), 1.0);
    input.rightHandSide.resize(ones.size());
    input.matrix.multiply(ones.data(), input.rightHandSide.data());
    return true;
}

/// The first of `own` contenders, and the fastest of the others, in a step.
double ratioOf(const std::vector<Result>& results, std::size_t own, Step step)
{
    double ours = 1e300;
    double peers = 1e300;
    for (std::size_t i = 0; i < results.size(); ++i)
        if (results[i].solved)
            (i < own ? ours : peers) =
                std::min(i < own ? ours : peers, results[i].milliseconds[step]);
    return peers < 1e300 && ours < 1e300 ? peers / ours : 0;
}

void print(const Input& input, const std::vector<Result>& results, std::size_t own, double dgemm)
{
    std::printf("\n%s: %zu scalars in %u blocks\n", input.name.c_str(), input.matrix.dimension(),
                input.matrix.numBlockRows());
    std::printf("  %-26s %10s %10s %10s %9s %8s %9s\n", "ms", "analyse", "refactor", "solve",
                "nnz(L)", "GFLOP/s", "residual");
    for (const Result& result : results) {
        if (result.factorScalars == 0 && !result.solved)
            continue;
        const auto& ms = result.milliseconds;
        std::printf("  %-26s %10.3f %10.3f %10.4f %9.2e", result.contender.c_str(), ms[kAnalyze],
                    ms[kFactorize], ms[kSolve], result.factorScalars);
        if (gflopsOf(result) > 0)
            std::printf(" %8.2f", gflopsOf(result));
        else
            std::printf(" %8s", "-");
        std::printf(" %9.1e%s\n", result.residual, result.solved ? "" : "  not solved");
    }
    std::printf("  fastest peer over ours: analyse %.2f, refactor %.2f, solve %.2f",
                ratioOf(results, own, kAnalyze), ratioOf(results, own, kFactorize),
                ratioOf(results, own, kSolve));
    if (dgemm > 0 && results[0].solved)
        std::printf("; refactor at %.0f %% of dgemm", 100 * gflopsOf(results[0]) / dgemm);
    std::printf("\n");
    std::fflush(stdout);
}

std::string chartFile(const std::string& prefix, const std::string& name, const char* ending)
{
    return prefix + "-" + name + ending;
}

/// The profile and the bars of each step.
std::vector<std::pair<std::string, std::string>> chartsOf(const std::string& prefix,
                                                          const Table& table)
{
    const std::vector<std::pair<Step, std::string>> steps = {
        {kAnalyze, "analyse"}, {kFactorize, "refactor"}, {kSolve, "solve"}};
    std::vector<std::pair<std::string, std::string>> files;
    for (const auto& [step, name] : steps) {
        files.emplace_back(chartFile(prefix, name, "-profile.svg"),
                           profileOf(table, step, "Performance profile: " + name));
        files.emplace_back(chartFile(prefix, name, ".svg"), barsOf(table, step, "Time: " + name));
    }
    return files;
}

/// The files that were asked for, each with its text.
std::vector<std::pair<std::string, std::string>> outputsOf(const Options& options,
                                                           const Table& table, double dgemm)
{
    std::vector<std::pair<std::string, std::string>> files;
    if (!options.svg.empty())
        files = chartsOf(options.svg, table);
    if (!options.csv.empty())
        files.emplace_back(options.csv, csvOf(table, dgemm));
    return files;
}

bool cannotWrite(const std::string& path)
{
    std::fprintf(stderr, "bench_compare: cannot write %s\n", path.c_str());
    return false;
}

/// Whether all files that will be written can be: measurements take minutes.
bool canWriteAll(const Options& options)
{
    for (const auto& [path, text] : outputsOf(options, {}, 0)) {
        const bool isNew = access(path.c_str(), F_OK) != 0;
        if (!std::ofstream(path, std::ios::app))
            return cannotWrite(path);
        if (isNew)
            std::remove(path.c_str());
    }
    return true;
}

bool writeAll(const Options& options, const Table& table, double dgemm)
{
    bool written = true;
    for (const auto& [path, text] : outputsOf(options, table, dgemm)) {
        std::ofstream file(path);
        file << text;
        written = (file.flush() || cannotWrite(path)) && written;
    }
    return written;
}

bool startsWithAny(const std::string& name, const std::vector<std::string>& beginnings)
{
    return std::any_of(beginnings.begin(), beginnings.end(),
                       [&](const std::string& begin) { return name.rfind(begin, 0) == 0; });
}

/// Whether every input is a file or begins the name of a scene.
bool areKnown(const std::vector<std::string>& inputs)
{
    for (const std::string& input : inputs) {
        const bool known =
            std::any_of(scenes().begin(), scenes().end(), [&](const NamedScene& scene) {
                return startsWithAny(scene.name, {input});
            });
        if (known || isFile(input))
            continue;
        std::fprintf(stderr,
                     "bench_compare: '%s' is no Matrix Market file (*.mtx) and begins no scene's "
                     "name; --list names the scenes\n",
                     input.c_str());
        return false;
    }
    return true;
}

/// What it returns where nothing is measured because of how it was called.
constexpr int kMisused = 2;

int run(const Options& options)
{
    if (options.list) {
        for (const NamedScene& scene : scenes())
            std::printf("%s\n", scene.name);
        return 0;
    }
    if (!areKnown(options.inputs) || !canWriteAll(options))
        return kMisused;
    std::vector<Contender> contenders = allContenders();
    const std::size_t own = ownContenders().size();
    contenders.erase(std::remove_if(contenders.begin() + static_cast<std::ptrdiff_t>(own),
                                    contenders.end(),
                                    [&](const Contender& contender) {
                                        return startsWithAny(contender.name, options.without);
                                    }),
                     contenders.end());
    const double dgemm = measureDgemm();
    if (dgemm > 0)
        std::printf("dgemm 256: %.1f GFLOP/s\n", dgemm);
    std::printf(
        "Scalar solvers are given %s; zero diagonals of constraints are -%g for all. Caches are "
        "%s.\n",
        options.allEntries ? "all entries of the blocks" : "the nonzero entries",
        options.compliance, options.cold ? "cold" : "warm");
    Table table;
    bool failed = false;
    const auto measureInput = [&](Input& input) {
        complete(input, options.allEntries ? Entries::All : Entries::Nonzero, options.compliance);
        const std::vector<Result> results =
            measure(input, contenders, options.seconds, options.cold ? Caches::Cold : Caches::Warm);
        print(input, results, own, dgemm);
        failed = failed || !results[0].solved;
        table.push_back({input.name, input.matrix.dimension(), results});
    };
    for (const NamedScene& scene : scenes()) {
        const std::string name = scene.name;
        if (!options.inputs.empty() && !startsWithAny(name, options.inputs))
            continue;
        Scene made = scene.make();
        Input input;
        input.name = name;
        input.matrix = std::move(made.matrix);
        input.rightHandSide = std::move(made.rightHandSide);
        measureInput(input);
    }
    for (const std::string& path : options.inputs)
        if (isFile(path)) {
            Input input;
            if (readFile(path, input))
                measureInput(input);
            else
                failed = true;
        }
    failed = !writeAll(options, table, dgemm) || failed;
    return failed ? 1 : 0;
}

} // namespace

} // namespace bench

int main(int argc, char** argv)
{
    bench::useOneThread();
    bench::Options options;
    CLI::App app("Measures this library and its peers on the same systems, one thread each.");
    app.add_option("INPUT", options.inputs,
                   "beginnings of scenes' names, or Matrix Market files; by default all scenes");
    app.add_option("--budget", options.seconds, "seconds per input")->capture_default_str();
    app.add_option("--compliance", options.compliance, "of constraints whose diagonal is zero")
        ->capture_default_str();
    app.add_flag("--all-entries", options.allEntries,
                 "give scalar solvers the zeros inside blocks too");
    app.add_flag("--cold", options.cold,
                 "clear the caches before every analysis and refactorization");
    app.add_flag("--list", options.list, "list the scenes");
    app.add_option(
        "--without", options.without,
        "leave out peers whose names begin like this: the scalar ones take minutes for a "
        "factorization of the largest inputs");
    app.add_option("--csv", options.csv, "write the figures to this file");
    app.add_option("--svg", options.svg, "write charts to files whose names begin like this");
    CLI11_PARSE(app, argc, argv);
    return bench::run(options);
}
