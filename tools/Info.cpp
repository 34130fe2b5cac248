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
    if (!status.ok())
        return refuse(status.message);
    Report report(options.json);
    reportInput(report, input);
    report.line("entries", input.entries, "entries", std::to_string(input.entries),
                "lower triangle");
    BlockLDLT<double> solver;
    solver.setOrdering(orderingOf(options.ordering));
    {
        const Progress progress("analysing");
        solver.analyzePattern(input.matrix);
    }
    if (!solver.info().ok())
        return reportFailure(report, input, solver.info());
    reportAnalysis(report, solver.analysis());
    report.finish();
    return kDone;
}

} // namespace orvel
