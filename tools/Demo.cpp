#include "Commands.h"
#include "Report.h"

#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/Pictures>
#include <kyrOrvelClient/Scenes>

#include <fmt/core.h>

namespace orvel {

using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::Scene;
using kyrOrvel::client::Status;

namespace {

constexpr int kMaxRefinements = 3;

int fail(const Status& status)
{
    printError(status.message);
    return kNumericalFailure;
}

std::string milliseconds(double time)
{
    return fmt::format("{:.3f} ms", time);
}

} // namespace

int runDemo(const DemoOptions& options)
{
    const Scene scene = kyrOrvel::client::makeRopeBridge(options.segments);
    const BlockMatrix<double>& A = scene.matrix;
    const std::vector<double>& b = scene.rightHandSide;
    std::vector<double> x(A.dimension());

    BlockLDLT<double> solver;
    const double analyze = timeOf([&] { solver.analyzePattern(A); });
    if (!solver.info().ok())
        return fail(solver.info());
    const double first = timeOf([&] { solver.factorize(A); });
    if (!solver.info().ok())
        return fail(solver.info());
    const double again = timeOf([&] { solver.factorize(A); });
    const double solve = timeOf([&] { solver.solve(b.data(), x.data()); });
    int refinements = 0;
    if (solver.info().ok())
        solver.refine(b.data(), x.data(), kMaxRefinements, &refinements);
    if (!solver.info().ok())
        return fail(solver.info());

    if (!options.picture.empty()) {
        const Status status = kyrOrvel::client::writeScenePicture(options.picture, scene, solver);
        if (!status.ok())
            return refuse(status.message);
    }

    Report report(options.json);
    report.heading(fmt::format("Rope bridge: {} bodies, {} joints, one time step",
                               A.firstTrailing(), A.numBlockRows() - A.firstTrailing()));
    reportMatrix(report, A);
    reportAnalysis(report, solver.analysis());
    report.line("analyseMilliseconds", analyze, "analyse", milliseconds(analyze));
    report.line("firstFactorMilliseconds", first, "factor, first", milliseconds(first),
                "memory and, if need be, a safer ordering");
    report.line("factorMilliseconds", again, "factor, again", milliseconds(again),
                "as in every further step");
    report.line("solveMilliseconds", solve, "solve", milliseconds(solve));
    report.line("refinements", refinements, "refinements", std::to_string(refinements));
    reportAccuracy(report, accuracyOf(A, b, x));
    if (!options.picture.empty())
        report.file("picture", "Picture", options.picture);
    report.finish();
    return kDone;
}

} // namespace orvel
