// The serial factorization by its plain definition and by the faster ways that have the same bits,
// and one solve. Least of several runs, in milliseconds.

#include "detail/FactorPath.h"

#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/Scenes>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

namespace {

using namespace kyrOrvel::client;
using kyrOrvel::detail::FactorPath;
using kyrOrvel::detail::FactorSchedule;
using Clock = std::chrono::steady_clock;

template <class Step> double leastOf(Step step)
{
    constexpr double kEnough = 300; // milliseconds
    double least = 1e30;
    double total = 0;
    for (int run = 0; run < 5 || (total < kEnough && run < 1000); ++run) {
        const Clock::time_point start = Clock::now();
        step();
        const double time = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
        least = std::min(least, time);
        total += time;
    }
    return least;
}

void measure(const char* name, const Scene& scene)
{
    std::printf("%-14s %8zu", name, scene.matrix.dimension());
    BlockLDLT<double> solver;
    solver.setFactorization(Factorization::Serial);
    if (!solver.compute(scene.matrix).ok()) {
        std::printf(" %s\n", solver.info().message.c_str());
        return;
    }
    for (const FactorSchedule schedule : {FactorSchedule::Rows, FactorSchedule::Panels}) {
        setFactorSchedule(schedule);
        for (const FactorPath path :
             {FactorPath::Plain, FactorPath::Baseline, FactorPath::Avx2, FactorPath::Avx512}) {
            if (path == FactorPath::Plain && schedule == FactorSchedule::Panels)
                continue;
            if (!isAvailable(path)) {
                std::printf("         -");
                continue;
            }
            setFactorPath(path);
            std::printf(" %9.3f", leastOf([&] { solver.factorize(scene.matrix); }));
            std::fflush(stdout);
        }
    }
    setFactorSchedule(FactorSchedule::Automatic);
    std::vector<double> x(scene.matrix.dimension());
    std::printf(" %9.4f\n", leastOf([&] { solver.solve(scene.rightHandSide.data(), x.data()); }));
    std::fflush(stdout);
}

} // namespace

int main()
{
    std::printf("%-14s %8s %9s | %29s | %29s | %9s\n", "", "", "", "by rows", "by panels", "");
    std::printf("%-14s %8s %9s", "scene", "scalars", "plain");
    for (int schedule = 0; schedule < 2; ++schedule)
        std::printf(" %9s %9s %9s", "baseline", "AVX2", "AVX-512");
    std::printf(" %9s\n", "solve");
    measure("rope 20", makeRope(20));
    measure("rope 1000", makeRope(1000));
    measure("rope 10000", makeRope(10000));
    measure("bridge 60", makeRopeBridge(60));
    measure("bridge 2000", makeRopeBridge(2000));
    measure("ragdolls 10", makeRagdollPile(10));
    measure("ragdolls 100", makeRagdollPile(100));
    measure("net 30", makeNet(30));
    measure("net 60", makeNet(60));
    measure("lattice 8", makeLattice(8));
    measure("lattice 12", makeLattice(12));
    measure("lattice 16", makeLattice(16));
    return 0;
}
