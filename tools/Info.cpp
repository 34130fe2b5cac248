#include "Commands.h"
#include "Compliance.h"
#include "Configure.h"
#include "MatrixInput.h"
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
    reportCompliance(report, input.matrix, options.solver);
    BlockLDLT<double> solver;
    configure(solver, options.solver);
    {
        // The order that `orvel solve` uses depends on the values, and is known where they fail.
        const Progress progress("analysing and factoring");
        solver.compute(input.matrix);
    }
    if (!hasOrder(solver, input.matrix))
        return reportFailure(report, input, solver.info());
    reportAnalysis(report, solver.analysis());
    report.finish();
    return kDone;
}

} // namespace orvel
