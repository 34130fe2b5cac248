// Analysis, factorization and solve of rope bridges through the client layer, one thread.

#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/Scenes>

#include <benchmark/benchmark.h>

#include <vector>

namespace {

using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::Scene;

Scene sceneFor(const benchmark::State& state)
{
    return kyrOrvel::client::makeRopeBridge(static_cast<unsigned int>(state.range(0)));
}

void describe(benchmark::State& state, const BlockLDLT<double>& solver)
{
    if (!solver.info().ok())
        state.SkipWithError(solver.info().message.c_str());
    state.counters["L blocks"] = static_cast<double>(solver.analysis().factorBlocks);
}

void analyze(benchmark::State& state)
{
    const Scene scene = sceneFor(state);
    BlockLDLT<double> solver;
    for (auto _ : state)
        solver.analyzePattern(scene.matrix);
    describe(state, solver);
}

void factorize(benchmark::State& state)
{
    const Scene scene = sceneFor(state);
    BlockLDLT<double> solver;
    solver.compute(scene.matrix);
    for (auto _ : state)
        solver.factorize(scene.matrix);
    describe(state, solver);
}

void solve(benchmark::State& state)
{
    const Scene scene = sceneFor(state);
    BlockLDLT<double> solver;
    solver.compute(scene.matrix);
    std::vector<double> x(scene.matrix.dimension());
    for (auto _ : state)
        solver.solve(scene.rightHandSide.data(), x.data());
    describe(state, solver);
}

BENCHMARK(analyze)->Arg(10)->Arg(60)->Arg(1000)->Unit(benchmark::kMicrosecond);
BENCHMARK(factorize)->Arg(10)->Arg(60)->Arg(1000)->Unit(benchmark::kMicrosecond);
BENCHMARK(solve)->Arg(10)->Arg(60)->Arg(1000)->Unit(benchmark::kMicrosecond);

} // namespace
