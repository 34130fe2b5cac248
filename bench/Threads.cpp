// Multifrontal factorization on threads against one thread: a table per scene, and the cost of
// waking workers. Arguments: beginnings of scene names, to measure those alone; --timeline FILE
// draws the last scene measured on two threads as SVG.

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
bool prepare(BlockLDLT<double>& solver, const Scene& scene, Factorization how, unsigned int threads)
{
    solver.setFactorization(how);
    if (solver.setThreads(threads).ok() && solver.compute(scene.matrix).ok())
        return true;
    std::printf("%s\n", solver.info().message.c_str());
    return false;
}

double boundFor(const Scene& scene, unsigned int owners)
{
    BlockLDLT<double> solver;
    if (!prepare(solver, scene, Factorization::Multifrontal, owners))
        return 0;
    return static_cast<double>(solver.analysis().work) /
           static_cast<double>(solver.analysis().makespan);
}

void benchmarkScene(const char* name, const Scene& scene)
{
    BlockLDLT<double> serial;
    BlockLDLT<double> one;
    BlockLDLT<double> two;
    BlockLDLT<double> automatic;
    if (!prepare(serial, scene, Factorization::Serial, 1) ||
        !prepare(one, scene, Factorization::Multifrontal, 1) ||
        !prepare(two, scene, Factorization::Multifrontal, 2) ||
        !prepare(automatic, scene, Factorization::Automatic, 2))
        return;
    // Interleaved, so that a change of the machine's speed meets all alike; the least of each, as
    // whatever else the machine does only ever adds.
    double times[4] = {1e30, 1e30, 1e30, 1e30};
    BlockLDLT<double>* const solvers[4] = {&serial, &one, &two, &automatic};
    for (int round = 0; round < kRounds; ++round)
        for (int s = 0; s < 4; ++s)
            times[s] = std::min(times[s], leastOf([&] { solvers[s]->factorize(scene.matrix); }));
    std::printf("%-16s %8zu %9.3f %9.3f %9.3f %6.2f %9.3f %-6s", name, scene.matrix.dimension(),
                times[0], times[1], times[2], times[1] / times[2], times[3],
                automatic.analysis().multifrontal ? "mf" : "serial");
    for (const unsigned int owners : {2u, 4u, 8u, 16u, 32u})
        std::printf(" %6.2f", boundFor(scene, owners));
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
    if (!prepare(solver, scene, Factorization::Multifrontal, 2) ||
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
    {"lattice 6", makeLattice, 6},
    {"lattice 8", makeLattice, 8},
    {"lattice 12", makeLattice, 12},
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
    std::vector<std::string> beginnings;
    for (int i = 1; i < argc; ++i) {
        if (std::string(argv[i]) == "--timeline" && i + 1 < argc)
            timeline = argv[++i];
        else
            beginnings.emplace_back(argv[i]);
    }
    benchmarkForkJoin(1);
    benchmarkForkJoin(2);
    std::printf("\n%-16s %8s %9s %9s %9s %6s %9s %-6s %s\n", "scene", "scalars", "serial ms",
                "1 thr ms", "2 thr ms", "gain", "auto ms", "auto",
                "bound for 2, 4, 8, 16, 32 owners");
    const NamedScene* last = nullptr;
    for (const NamedScene& scene : kScenes)
        if (isWanted(scene.name, beginnings)) {
            benchmarkScene(scene.name, scene.make(scene.size));
            last = &scene;
        }
    return last && !timeline.empty() ? writeRun(timeline.c_str(), last->make(last->size)) : 0;
}
