#include "Solution.h"

#include <fmt/core.h>

#include <string>

namespace orvel {

using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::Signs;
using kyrOrvel::client::Status;
using kyrOrvel::client::StatusCode;

namespace {

constexpr int kMaxRefinements = 5;

/// Half of the digits of double precision; a factorization that suits its matrix keeps nearly all.
constexpr double kLargestBackwardError = 1e-8;

Status inaccurate(double backwardError)
{
    Status status;
    status.code = StatusCode::Inaccurate;
    status.message =
        fmt::format("the solution is inaccurate, its backward error is {:.1e}: small pivots have "
                    "magnified the rounding errors; scale the rows to comparable sizes or give "
                    "the trailing blocks a diagonal (a compliance)",
                    backwardError);
    return status;
}

} // namespace

Status computeSolution(const BlockMatrix<double>& A, const std::vector<double>& b,
                       Solution& solution)
{
    solution.x.resize(A.dimension());
    BlockLDLT<double> solver;
    solver.setSigns(Signs::Any); // matrices come from anywhere
    double* const x = solution.x.data();
    if (solver.compute(A).ok() && solver.solve(b.data(), x).ok())
        solver.refine(b.data(), x, kMaxRefinements, &solution.refinements);
    if (!solver.info().ok())
        return solver.info();
    solution.analysis = solver.analysis();
    solution.accuracy = accuracyOf(A, b, solution.x);
    // Not a number is not accurate either.
    if (!(solution.accuracy.backwardError <= kLargestBackwardError))
        return inaccurate(solution.accuracy.backwardError);
    return {};
}

void printSolution(const Solution& solution)
{
    printAnalysis(solution.analysis);
    printLine("refinements", std::to_string(solution.refinements));
    printAccuracy(solution.accuracy);
}

} // namespace orvel
