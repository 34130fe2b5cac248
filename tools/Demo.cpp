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
        if (!status.ok()) {
            printError(status.message);
            return kBadInput;
        }
    }

    fmt::print("Rope bridge: {} bodies, {} joints, one time step\n", A.firstTrailing(),
               A.numBlockRows() - A.firstTrailing());
    printMatrix(A);
    printAnalysis(solver.analysis());
    printLine("analyse", milliseconds(analyze));
    printLine("factor, first", milliseconds(first), "memory and, if need be, a safer ordering");
    printLine("factor, again", milliseconds(again), "as in every further step");
    printLine("solve", milliseconds(solve));
    printLine("refinements", std::to_string(refinements));
    printAccuracy(accuracyOf(A, b, x));

    if (!options.picture.empty())
        fmt::print("Picture: {}\n", options.picture);
    return kDone;
}

} // namespace orvel
