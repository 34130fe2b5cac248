#include "Commands.h"
#include "MatrixInput.h"
#include "Orderings.h"
#include "Progress.h"
#include "Report.h"

#include <kyrOrvelClient/BlockLDLT>

namespace orvel {

using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::Status;

int runInfo(const InfoOptions& options)
{
    MatrixInput input;
    const Status status = readInput(options.input, input);
    if (!status.ok()) {
        printError(status.message);
        return kBadInput;
    }
    Report report(options.json);
    report.heading(nameOf(options.input));
    reportMatrix(report, input.matrix);
    report.line("blockSource", input.blockSource, "", "", "blocks " + input.blockSource);
    report.line("entries", input.scalars.entries.size(), "entries",
                std::to_string(input.scalars.entries.size()), "lower triangle");
    BlockLDLT<double> solver;
    solver.setOrdering(orderingOf(options.ordering));
    {
        const Progress progress("analysing");
        solver.analyzePattern(input.matrix);
    }
    if (!solver.info().ok()) {
        report.detail("failure", describeStatus(solver.info()));
        report.finish();
        printError(describeFailure(options.input, input, solver.info()));
        return kNumericalFailure;
    }
    reportAnalysis(report, solver.analysis());
    report.finish();
    return kDone;
}

} // namespace orvel
