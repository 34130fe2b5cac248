#include "Commands.h"
#include "MatrixInput.h"
#include "Report.h"

#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/MatrixFiles>

#include <fmt/core.h>

#include <cstddef>
#include <string>
#include <vector>

namespace orvel {

using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::BlockPartition;
using kyrOrvel::client::Signs;
using kyrOrvel::client::Status;

namespace {

constexpr int kMaxRefinements = 5;

/// Half of the digits of double precision; a factorization that suits its matrix keeps nearly all.
constexpr double kLargestBackwardError = 1e-8;

/// The right-hand side in block order: from the file, or A·(1, ..., 1).
Status readRightHandSide(const SolveOptions& options, const MatrixInput& input,
                         std::vector<double>& b)
{
    const std::size_t n = input.matrix.dimension();
    b.resize(n);
    if (options.rightHandSide.empty()) {
        const std::vector<double> ones(n, 1.0);
        input.matrix.multiply(ones.data(), b.data());
        return {};
    }
    std::vector<double> byRow;
    Status status =
        kyrOrvel::client::readVector(options.rightHandSide, input.scalars.dimension, byRow);
    for (std::size_t i = 0; status.ok() && i < n; ++i)
        b[i] = byRow[input.partition.rows[i]];
    return status;
}

Status writeSolution(const std::string& path, const BlockPartition& partition,
                     const std::vector<double>& x)
{
    std::vector<double> byRow(x.size());
    for (std::size_t i = 0; i < x.size(); ++i)
        byRow[partition.rows[i]] = x[i];
    return kyrOrvel::client::writeVector(path, byRow);
}

int inaccurate(const std::string& matrix, double backwardError)
{
    printError(
        fmt::format("{}: the solution is inaccurate, its backward error is {:.1e}: small "
                    "pivots have magnified the rounding errors; scale the rows to comparable "
                    "sizes or give the trailing blocks a diagonal (a compliance)",
                    matrix, backwardError));
    return kNumericalFailure;
}

int badInput(const Status& status)
{
    printError(status.message);
    return kBadInput;
}

} // namespace

int runSolve(const SolveOptions& options)
{
    MatrixInput input;
    Status status = readInput(options.input, input);
    if (!status.ok())
        return badInput(status);
    std::vector<double> b;
    status = readRightHandSide(options, input, b);
    if (!status.ok())
        return badInput(status);

    const BlockMatrix<double>& A = input.matrix;
    std::vector<double> x(A.dimension());
    BlockLDLT<double> solver;
    solver.setSigns(Signs::Any); // files come from anywhere
    int refinements = 0;
    if (solver.compute(A).ok() && solver.solve(b.data(), x.data()).ok())
        solver.refine(b.data(), x.data(), kMaxRefinements, &refinements);
    if (!solver.info().ok()) {
        printError(describeFailure(options.input, input, solver.info()));
        return kNumericalFailure;
    }
    const Accuracy accuracy = accuracyOf(A, b, x);
    if (!(accuracy.backwardError <= kLargestBackwardError)) // not a number is not accurate either
        return inaccurate(options.input.matrix, accuracy.backwardError);
    if (!options.out.empty()) {
        status = writeSolution(options.out, input.partition, x);
        if (!status.ok())
            return badInput(status);
    }

    fmt::print("{}\n", options.input.matrix);
    printMatrix(A);
    printLine("", "", "blocks " + input.blockSource);
    printAnalysis(solver.analysis());
    printLine("refinements", std::to_string(refinements));
    printAccuracy(accuracy);
    if (!options.out.empty())
        fmt::print("Solution: {}\n", options.out);
    return kDone;
}

} // namespace orvel
