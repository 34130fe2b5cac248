#include "Solution.h"

#include "Compliance.h"
#include "Configure.h"
#include "Progress.h"

#include <kyrOrvelClient/MixedLDLT>

#include <fmt/core.h>

#include <string>

namespace orvel {

using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::MixedLDLT;
using kyrOrvel::client::Status;
using kyrOrvel::client::StatusCode;

namespace {

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

Status solveInDouble(const BlockMatrix<double>& A, const std::vector<double>& b,
                     const SolverOptions& options, Solution& solution, Progress& progress)
{
    BlockLDLT<double> solver;
    configure(solver, options);
    double* const x = solution.x.data();
    solver.compute(A);
    progress.now("solving");
    if (solver.info().ok() && solver.solve(b.data(), x).ok() && options.refinements > 0)
        solver.refine(b.data(), x, options.refinements, &solution.refinements);
    if (solver.info().ok())
        solution.analysis = solver.analysis();
    return solver.info();
}

Status solveInFloat(const BlockMatrix<double>& A, const std::vector<double>& b,
                    const SolverOptions& options, Solution& solution, Progress& progress)
{
    MixedLDLT solver;
    configure(solver.factorSolver(), options);
    solution.factorization = solver.compute(A);
    progress.now("solving");
    if (solver.info().ok() && solver.solve(b.data(), solution.x.data()).ok()) {
        solution.analysis = solver.factorSolver().analysis();
        solution.refinements = solver.statistics().refinementSteps;
        solution.regularizedPivots = solver.statistics().regularizedPivots;
        solution.corrected = true;
    }
    return solver.info();
}

} // namespace

Status computeSolution(const BlockMatrix<double>& A, const std::vector<double>& b,
                       const SolverOptions& options, Solution& solution)
{
    Progress progress("analysing and factoring");
    solution.x.resize(A.dimension());
    Status status = options.singlePrecision ? solveInFloat(A, b, options, solution, progress)
                                            : solveInDouble(A, b, options, solution, progress);
    if (!status.ok())
        return status;
    solution.accuracy = accuracyOf(CompliantMatrix(A, options).get(), b, solution.x);
    // Not a number is not accurate either.
    if (!(solution.accuracy.backwardError <= kLargestBackwardError))
        return inaccurate(solution.accuracy.backwardError);
    return {};
}

namespace {

/// Of a factor in float: the pivots that it could not use. A singular matrix has some, and may be
/// solved all the same.
void reportRegularized(Report& report, const Solution& solution)
{
    const Status& status = solution.factorization;
    report.detail("regularizedPivots", solution.regularizedPivots);
    if (solution.regularizedPivots == 0)
        return;
    report.line("regularizedPivots", solution.regularizedPivots, "regularized pivots",
                std::to_string(solution.regularizedPivots), status.message);
    report.detail("regularized", describeStatus(status));
}

} // namespace

void reportSolution(Report& report, const Solution& solution)
{
    reportAnalysis(report, solution.analysis);
    if (solution.corrected)
        reportRegularized(report, solution);
    report.line("refinements", solution.refinements, "refinements",
                std::to_string(solution.refinements),
                solution.corrected ? "corrections in double of a factor in float" : "");
    reportAccuracy(report, solution.accuracy);
}

} // namespace orvel
