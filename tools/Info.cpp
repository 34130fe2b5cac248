#include "Commands.h"
#include "MatrixInput.h"
#include "Report.h"

#include <kyrOrvelClient/BlockLDLT>

#include <fmt/core.h>

namespace orvel {

using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::Status;

int runInfo(const MatrixOptions& options)
{
    MatrixInput input;
    const Status status = readInput(options, input);
    if (!status.ok()) {
        printError(status.message);
        return kBadInput;
    }
    fmt::print("{}\n", options.matrix);
    printMatrix(input.matrix);
    printLine("", "", "blocks " + input.blockSource);
    printLine("entries", std::to_string(input.scalars.entries.size()), "lower triangle");
    BlockLDLT<double> solver;
    if (!solver.analyzePattern(input.matrix).ok()) {
        printError(describeFailure(options, input, solver.info()));
        return kNumericalFailure;
    }
    printAnalysis(solver.analysis());
    return kDone;
}

} // namespace orvel
