#include "Measurement.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdio>

#ifdef BENCH_HAS_BLAS
extern "C" void dgemm_(const char*, const char*, const int*, const int*, const int*, const double*,
                       const double*, const int*, const double*, const int*, const double*, double*,
                       const int*);
#endif

namespace bench {

namespace {

using Clock = std::chrono::steady_clock;

constexpr double kSmallResidual = 1e-8;
constexpr std::size_t kFewestRounds = 3;
constexpr std::size_t kMostRounds = 1000;
constexpr double kPatience = 5; ///< times the time for an input, then a solver has one turn at most
constexpr double kTurn = 2e-3;  ///< seconds
constexpr double kLongRun = 20e-3; ///< seconds: more is read than caches hold

double millisecondsOf(const std::function<bool()>& step, bool& worked)
{
    const Clock::time_point start = Clock::now();
    worked = step() && worked;
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

double median(std::vector<double>& times)
{
    if (times.empty())
        return 0;
    const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
    std::nth_element(times.begin(), middle, times.end());
    return *middle;
}

/// Fills the caches with memory that no contender uses.
void clearCaches()
{
    constexpr std::size_t kCacheLine = 64;
    constexpr std::size_t kMoreThanTheyHold = std::size_t(128) << 20;
    static std::vector<unsigned char> other(kMoreThanTheyHold);
    for (std::size_t i = 0; i < other.size(); i += kCacheLine)
        ++other[i];
}

/// A contender on an input, with the times that it took.
struct Run {
    std::unique_ptr<Solver> solver;
    std::array<std::vector<double>, kSteps> times;
    std::vector<double> x;
    Caches caches = Caches::Warm;
    bool works = true;
    double spent = 0; ///< seconds

    /// @returns the time that it took, ms
    double step(const Input& input, Step which)
    {
        const auto take = [&]() -> bool {
            switch (which) {
            case kAnalyze:
                return solver->analyze();
            case kFactorize:
                return solver->factorize();
            default:
                return solver->solve(input.rightHandSide, x);
            }
        };
        if (which == kAnalyze)
            solver->forget();
        if (caches == Caches::Cold && which != kSolve)
            clearCaches();
        const double time = millisecondsOf(take, works);
        spent += time / 1000;
        return time;
    }

    /// Takes each step once with cold caches. With warm ones goes on for a while, as the processor
    /// foresees branches after some runs only, and leaves the first run out, unless that is long.
    void turn(const Input& input, const std::vector<Step>& steps)
    {
        const double begin = spent;
        runOnce(input, steps);
        if (caches == Caches::Cold || spent - begin >= kLongRun)
            return;
        for (const Step which : steps)
            times[which].pop_back();
        do
            runOnce(input, steps);
        while (works && spent - begin < kTurn);
    }

    void runOnce(const Input& input, const std::vector<Step>& steps)
    {
        for (const Step which : steps)
            times[which].push_back(works ? step(input, which) : 0); // of no use if one failed
    }
};

} // namespace

std::vector<Result> measure(const Input& input, const std::vector<Contender>& contenders,
                            double seconds, Caches caches)
{
    std::vector<Run> runs(contenders.size());
    for (std::size_t i = 0; i < runs.size(); ++i) {
        if (contenders[i].definiteOnly && !input.definite)
            runs[i].works = false;
        else
            runs[i].solver = contenders[i].make(input);
        runs[i].x.resize(input.rightHandSide.size());
        runs[i].caches = caches;
    }
    // Fresh memory and other orders after a refused pivot are not part of a later step.
    for (Run& run : runs)
        for (const Step first : {kAnalyze, kFactorize})
            if (run.works)
                run.step(input, first);
    // A step of a simulation solves with the factor that it has just made.
    const auto rounds = [&](const std::vector<Step>& steps, double budget) {
        const Clock::time_point start = Clock::now();
        const auto spent = [&] {
            return std::chrono::duration<double>(Clock::now() - start).count();
        };
        for (std::size_t round = 0;
             round < kFewestRounds || (round < kMostRounds && spent() < budget); ++round)
            for (Run& run : runs)
                if (run.works && (round == 0 || run.spent < kPatience * seconds))
                    run.turn(input, steps);
    };
    rounds({kFactorize, kSolve}, seconds);
    for (Run& run : runs)
        run.spent = 0;
    rounds({kAnalyze}, seconds / 2);
    std::vector<Result> results;
    for (std::size_t i = 0; i < runs.size(); ++i) {
        Result result;
        result.contender = contenders[i].name;
        if (runs[i].works) {
            result.residual = relativeResidual(input, runs[i].x);
            result.solved = result.residual < kSmallResidual;
            for (const Step step : {kAnalyze, kFactorize, kSolve})
                result.milliseconds[step] = median(runs[i].times[step]);
            result.factorScalars = runs[i].solver->factorScalars();
            result.operations = runs[i].solver->operations();
        }
        results.push_back(result);
    }
    return results;
}

double measureDgemm()
{
#ifdef BENCH_HAS_BLAS
    constexpr int n = 256;
    const std::vector<double> A(n * n, 1.0);
    const std::vector<double> B(n * n, 1e-3);
    std::vector<double> C(n * n, 0.0);
    const double one = 1;
    double least = 1e30;
    for (int run = 0; run < 50; ++run) {
        bool worked = true;
        least = std::min(least, millisecondsOf(
                                    [&] {
                                        dgemm_("N", "T", &n, &n, &n, &one, A.data(), &n, B.data(),
                                               &n, &one, C.data(), &n);
                                        return true;
                                    },
                                    worked));
    }
    return 2e-6 * n * n * n / least;
#else
    return 0;
#endif
}

} // namespace bench
