#include "Commands.h"
#include "Report.h"
#include "SceneKinds.h"
#include "Solution.h"

#include <kyrOrvelClient/MatrixFiles>

#include <filesystem>
#include <string>
#include <vector>

namespace orvel {

using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::Scene;
using kyrOrvel::client::Status;

namespace {

/// The files that a scene is written to; those beside the matrix may be left out.
struct Files {
    std::string matrix;
    std::string blocks;
    std::string rightHandSide;
};

/// Files have others beside them, devices and pipes have not.
Files filesOf(const std::string& output)
{
    const std::filesystem::path matrix = output;
    std::error_code ignored;
    if (output.empty() || std::filesystem::is_other(matrix, ignored))
        return {output, "", ""};
    return {output, std::filesystem::path(matrix).replace_extension(".blocks").string(),
            std::filesystem::path(matrix).replace_extension(".rhs").string()};
}

/// The matrix comes last: where it is, the files beside it are there, too.
Status writeFiles(const Files& files, const Scene& scene)
{
    Status status;
    if (!files.blocks.empty())
        status = kyrOrvel::client::writeBlocks(files.blocks, scene.matrix);
    if (status.ok() && !files.rightHandSide.empty())
        status = kyrOrvel::client::writeVector(files.rightHandSide, scene.rightHandSide);
    if (status.ok() && !files.matrix.empty())
        status = kyrOrvel::client::writeMatrixMarket(files.matrix, scene.matrix);
    return status;
}

int printMatrixMarket(const BlockMatrix<double>& A)
{
    std::string text;
    const Status status = kyrOrvel::client::matrixMarketText(A, text);
    if (!status.ok())
        return refuse(status.message);
    print(text);
    return kDone;
}

void reportFiles(Report& report, const Files& files)
{
    if (!files.matrix.empty())
        report.file("matrix", "Matrix", files.matrix);
    if (!files.blocks.empty())
        report.file("blockFile", "Blocks", files.blocks);
    if (!files.rightHandSide.empty())
        report.file("rightHandSide", "Right-hand side", files.rightHandSide);
}

} // namespace

int runScene(const SceneOptions& options)
{
    SceneKind kind;
    const std::string wrong = findScene(options.kind, options.sizes, kind);
    if (!wrong.empty())
        return refuse(wrong);
    if (options.output == "-" && options.solve)
        return refuse("--output - leaves no room on standard output for the report of --solve");
    const Files files = filesOf(options.output == "-" ? "" : options.output);
    if (!files.matrix.empty() &&
        (files.matrix == files.blocks || files.matrix == files.rightHandSide))
        return refuse(files.matrix +
                      ": a file beside the matrix has that ending; choose another, as .mtx");

    const Scene scene = kind.make();
    if (options.output == "-")
        return printMatrixMarket(scene.matrix);
    Status status = writeFiles(files, scene);
    if (!status.ok())
        return refuse(status.message);
    Solution solution;
    if (options.solve)
        status = computeSolution(scene.matrix, scene.rightHandSide, options.solver, solution);
    Report report(options.json);
    if (!status.ok())
        return reportFailure(report, kind.name, status, kind.name + ": " + status.message);
    report.heading(kind.name);
    reportMatrix(report, scene.matrix);
    if (options.solve)
        reportSolution(report, solution);
    reportFiles(report, files);
    report.finish();
    return kDone;
}

} // namespace orvel
