#ifndef KYRORVEL_BENCH_MEASUREMENT_H
#define KYRORVEL_BENCH_MEASUREMENT_H

#include "Solver.h"

#include <array>
#include <string>
#include <vector>

namespace bench {

enum Step { kAnalyze, kFactorize, kSolve, kSteps };

/// What one contender made of one input.
struct Result {
    std::string contender;
    bool solved = false;                          ///< all steps done, residual small
    std::array<double, kSteps> milliseconds = {}; ///< medians
    double factorScalars = 0;
    double operations = 0; ///< multiply-subtracts; 0 if unknown
    double residual = 0;
};

/// GFLOP/s of a refactorization, two per multiply-subtract; 0 if unknown.
inline double gflopsOf(const Result& result)
{
    const double milliseconds = result.milliseconds[kFactorize];
    return result.solved && milliseconds > 0 ? 2e-6 * result.operations / milliseconds : 0;
}

/// What a contender finds in the caches. Never what the one before it left there: some contenders
/// read many times as much as others, and slow down whoever comes next.
enum class Caches {
    Warm, ///< its own data: the first run of a turn does not count, unless it is long
    Cold  ///< nothing: they are cleared before every analysis and factorization
};

/// Lets all contenders take turns until the time is used up, each at least three times, very slow
/// ones once.
///
/// @param seconds  to spend on the input, about
std::vector<Result> measure(const Input& input, const std::vector<Contender>& contenders,
                            double seconds, Caches caches = Caches::Warm);

/// GFLOP/s of the processor's dgemm, two per multiply-add; 0 without one.
double measureDgemm();

} // namespace bench

#endif
