#include "Commands.h"
#include "Compliance.h"
#include "MatrixInput.h"
#include "Report.h"
#include "Solution.h"

#include <kyrOrvelClient/MatrixFiles>

#include <cstddef>
#include <string>
#include <vector>

namespace orvel {

using kyrOrvel::client::BlockPartition;
using kyrOrvel::client::Status;

namespace {

/// The right-hand side in block order: from the file, of the scene, or A·(1, ..., 1).
Status readRightHandSide(const SolveOptions& options, const MatrixInput& input,
                         std::vector<double>& b)
{
    const std::size_t n = input.matrix.dimension();
    b.resize(n);
    if (options.rightHandSide.empty() && !input.rightHandSide.empty()) {
        b = input.rightHandSide;
        return {};
    }
    if (options.rightHandSide.empty()) {
        const std::vector<double> ones(n, 1.0);
        CompliantMatrix(input.matrix, options.solver).get().multiply(ones.data(), b.data());
        return {};
    }
    std::vector<double> byRow;
    Status status =
        kyrOrvel::client::readVector(options.rightHandSide, static_cast<unsigned int>(n), byRow);
    for (std::size_t i = 0; status.ok() && i < n; ++i)
        b[i] = byRow[input.partition.rows[i]];
    return status;
}

std::string describeRightHandSide(const SolveOptions& options, const MatrixInput& input)
{
    if (!options.rightHandSide.empty())
        return options.rightHandSide;
    return input.rightHandSide.empty() ? "A times ones" : "of the scene";
}

Status writeSolution(const std::string& path, const BlockPartition& partition,
                     const std::vector<double>& x)
{
    std::vector<double> byRow(x.size());
    for (std::size_t i = 0; i < x.size(); ++i)
        byRow[partition.rows[i]] = x[i];
    return kyrOrvel::client::writeVector(path, byRow);
}

} // namespace

int runSolve(const SolveOptions& options)
{
    std::string refusal = refusalOf(options.solver);
    if (!refusal.empty())
        return refuse(refusal);
    MatrixInput input;
    Status status = readInput(options.input, input);
    if (!status.ok())
        return refuse(status.message);
    input.files.push_back(options.rightHandSide);
    refusal = refusalToReplace(options.out, input.files);
    if (!refusal.empty())
        return refuse(refusal);
    std::vector<double> b;
    status = readRightHandSide(options, input, b);
    if (!status.ok())
        return refuse(status.message);

    Report report(options.json);
    Solution solution;
    status = computeSolution(input.matrix, b, options.solver, solution);
    if (!status.ok())
        return reportFailure(report, input, status);
    if (!options.out.empty()) {
        status = writeSolution(options.out, input.partition, solution.x);
        if (!status.ok())
            return refuse(status.message);
    }

    reportInput(report, input);
    reportCompliance(report, input.matrix, options.solver);
    const std::string rightHandSide = describeRightHandSide(options, input);
    report.line("rightHandSide", rightHandSide, "right-hand side", "", rightHandSide);
    reportSolution(report, solution);
    if (!options.out.empty())
        report.file("solution", "Solution", options.out);
    report.finish();
    return kDone;
}

} // namespace orvel
