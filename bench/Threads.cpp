// Factorizations on threads against one thread: a line per scene, and the cost of waking workers.
// Arguments: beginnings of scene names, to measure those alone; --dissect orders by nested
// dissection; --timeline FILE draws the last scene's multifrontal run on two threads as SVG.

#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/Pictures>
#include <kyrOrvelClient/Scenes>

#include <kyr/ThreadTask>
#include <kyrOrvel/FactorTrace>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

namespace {

using namespace kyrOrvel::client;
using Clock = std::chrono::steady_clock;

constexpr int kRounds = 8;
constexpr int kRunsPerRound = 3;

template <class Step> double timeOf(Step step)
{
    const Clock::time_point start = Clock::now();
    step();
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

/// Least wall-clock time in milliseconds of a few calls, after one to warm up.
template <class Step> double leastOf(Step step)
{
    step();
    double least = 1e30;
    for (int i = 0; i < kRunsPerRound; ++i)
        least = std::min(least, timeOf(step));
    return least;
}

/// Median wall-clock time in milliseconds of several calls.
template <class Step> double medianOf(Step step, std::size_t runs)
{
    std::vector<double> times;
    while (times.size() < runs)
        times.push_back(timeOf(step));
    std::nth_element(times.begin(), times.begin() + runs / 2, times.end());
    return times[runs / 2];
}

/// Prepares a solver; the first factorization settles the order of the blocks.
bool prepare(BlockLDLT<double>& solver, const Scene& scene, Ordering ordering, Factorization how,
             unsigned int threads)
{
    solver.setOrdering(ordering);
    solver.setFactorization(how);
    if (solver.setThreads(threads).ok() && solver.compute(scene.matrix).ok())
        return true;
    std::printf("%s\n", solver.info().message.c_str());
    return false;
}

double boundFor(const Scene& scene, Ordering ordering, unsigned int owners)
{
    BlockLDLT<double> solver;
    if (!prepare(solver, scene, ordering, Factorization::Multifrontal, owners))
        return 0;
    return static_cast<double>(solver.analysis().work) /
           static_cast<double>(solver.analysis().makespan);
}

void benchmarkScene(const char* name, const Scene& scene, Ordering ordering)
{
    struct Way {
        Factorization factorization;
        unsigned int threads;
        BlockLDLT<double> solver;
        double least = 1e30; ///< milliseconds
    };
    Way ways[5] = {{Factorization::Serial, 1, {}},
                   {Factorization::Parallel, 2, {}},
                   {Factorization::Automatic, 2, {}},
                   {Factorization::Multifrontal, 1, {}},
                   {Factorization::Multifrontal, 2, {}}};
    for (Way& way : ways)
        if (!prepare(way.solver, scene, ordering, way.factorization, way.threads))
            return;
    // Interleaved, so that a change of the machine's speed meets all alike; the least of each, as
    // whatever else the machine does only ever adds.
    for (int round = 0; round < kRounds; ++round)
        for (Way& way : ways)
            way.least = std::min(way.least, leastOf([&] { way.solver.factorize(scene.matrix); }));
    const auto& [serial, parallel, automatic, one, two] = ways;
    std::printf("%-16s %8zu %9.3f %9.3f %6.2f %9.3f %4u %9.3f %9.3f %6.2f", name,
                scene.matrix.dimension(), serial.least, parallel.least,
                serial.least / parallel.least, automatic.least, automatic.solver.analysis().threads,
                one.least, two.least, one.least / two.least);
    for (const unsigned int owners : {2u, 4u, 8u, 16u, 32u})
        std::printf(" %6.2f", boundFor(scene, ordering, owners));
    std::printf("\n");
    std::fflush(stdout);
}

void nothing()
{
}

void benchmarkForkJoin(unsigned int workers)
{
    const kyr::Callback none{false, {}};
    const kyr::Callback empty{true, &nothing};
    auto* const task = new kyr::ThreadTask("nothing", none, empty);
    task->ref();
    task->setNumThreads(workers);
    const double time = medianOf([&] { task->execute(true); }, 2001);
    std::printf("fork and join, %u workers: %.1f us\n", workers, 1000 * time);
    task->unref();
}

int writeRun(const char* path, const Scene& scene)
{
    BlockLDLT<double> solver;
    kyrOrvel::FactorTrace trace;
    solver.setTrace(&trace);
    if (!prepare(solver, scene, Ordering::Automatic, Factorization::Multifrontal, 2) ||
        !solver.factorize(scene.matrix).ok())
        return 1;
    const Status status = writeTimeline(path, trace);
    if (!status.ok())
        std::printf("%s\n", status.message.c_str());
    return status.ok() ? 0 : 1;
}

struct NamedScene {
    const char* name;
    Scene (*make)(unsigned int);
    unsigned int size;
};

const NamedScene kScenes[] = {
    {"rope 200", makeRope, 200},
    {"rope 20000", makeRope, 20000},
    {"bridge 2000", makeRopeBridge, 2000},
    {"ragdolls 10", makeRagdollPile, 10},
    {"ragdolls 200", makeRagdollPile, 200},
    {"net 10", makeNet, 10},
    {"net 30", makeNet, 30},
    {"net 60", makeNet, 60},
    {"net 100", makeNet, 100},
    {"lattice 6", makeLattice, 6},
    {"lattice 8", makeLattice, 8},
    {"lattice 12", makeLattice, 12},
    {"pose graph 2500", makePoseGraph, 2500},
    {"elasticity 12", makeElasticity, 12},
};

bool isWanted(const std::string& name, const std::vector<std::string>& beginnings)
{
    return beginnings.empty() ||
           std::any_of(beginnings.begin(), beginnings.end(),
                       [&](const std::string& b) { return name.compare(0, b.size(), b) == 0; });
}

} // namespace

int main(int argc, char** argv)
{
    std::string timeline;
    Ordering ordering = Ordering::Automatic;
    std::vector<std::string> beginnings;
    for (int i = 1; i < argc; ++i) {
        if (std::string(argv[i]) == "--timeline" && i + 1 < argc)
            timeline = argv[++i];
        else if (std::string(argv[i]) == "--dissect")
            ordering = Ordering::NestedDissection;
        else
            beginnings.emplace_back(argv[i]);
    }
    benchmarkForkJoin(1);
    benchmarkForkJoin(2);
    std::printf("\nfactorization, ms%35s %14s %27s bound for 2, 4, 8, 16, 32 owners\n", "parallel",
                "automatic", "multifrontal");
    std::printf("%-16s %8s %9s %9s %6s %9s %4s %9s %9s %6s\n", "scene", "scalars", "1 thread",
                "2 threads", "gain", "2 threads", "on", "1 thread", "2 threads", "gain");
    const NamedScene* last = nullptr;
    for (const NamedScene& scene : kScenes)
        if (isWanted(scene.name, beginnings)) {
            benchmarkScene(scene.name, scene.make(scene.size), ordering);
            last = &scene;
        }
    return last && !timeline.empty() ? writeRun(timeline.c_str(), last->make(last->size)) : 0;
}
