#include "PlotReport.h"

#include "Compliance.h"
#include "draw/PivotFigures.h"
#include "draw/TreeFigures.h"

namespace orvel {

namespace {

Json treeOf(const PlotSubject& subject)
{
    const TreeFigures tree = treeFiguresOf(subject);
    return {{"nodes", tree.numNodes()},     {"leaves", tree.numLeaves},
            {"roots", tree.numRoots},       {"height", tree.height},
            {"operations", tree.totalWork}, {"operationsOnLongestWay", tree.longestWay},
            {"threads", tree.numThreads}};
}

Json describe(const Pivot* pivot)
{
    if (!pivot)
        return nullptr;
    return {{"value", pivot->value}, {"block", pivot->block}, {"row", pivot->row}};
}

Json pivotsOf(const PlotSubject& subject)
{
    const PivotFigures figures = pivotFiguresOf(subject);
    return {{"positive", figures.positive},
            {"negative", figures.negative},
            {"zero", figures.zero},
            {"tiny", figures.tiny},
            {"notFinite", figures.notFinite},
            {"smallest", describe(figures.smallest)},
            {"largest", describe(figures.largest)}};
}

} // namespace

void reportPlot(Report& report, const MatrixInput& input, const PlotSubject& subject,
                const SolverOptions& options, const std::vector<std::string>& drawn)
{
    reportInput(report, input);
    reportCompliance(report, input.matrix, options);
    report.detail("entries", input.entries);
    if (subject.analysed) {
        reportAnalysis(report, subject.analysis());
        report.detail("tree", treeOf(subject));
    }
    if (subject.factored)
        report.detail("pivots", pivotsOf(subject));
    report.detail("drawn", drawn);
}

} // namespace orvel
