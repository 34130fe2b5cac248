#include "MatrixInput.h"

#include "Progress.h"
#include "SceneKinds.h"

#include <fmt/core.h>

#include <filesystem>
#include <numeric>
#include <utility>

namespace orvel {

using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::ScalarMatrix;
using kyrOrvel::client::Scene;
using kyrOrvel::client::Status;
using kyrOrvel::client::StatusCode;

namespace {

/// NAME.blocks beside NAME.mtx, or empty.
std::string sidecarOf(const std::string& matrix)
{
    const std::filesystem::path sidecar =
        std::filesystem::path(matrix).replace_extension(".blocks");
    std::error_code ignored;
    return std::filesystem::exists(sidecar, ignored) ? sidecar.string() : "";
}

/// A numerical failure, with the row of the file that it is about.
std::string describeFailure(const MatrixInput& input, const Status& status)
{
    std::string text = input.name + ": " + status.message;
    // An empty block at the end has no row.
    if (status.block == kyrOrvel::kNone ||
        input.matrix.blockOffset(status.block) >= input.partition.rows.size())
        return text;
    return text + fmt::format(status.row == kyrOrvel::kNone
                                  ? " (it begins at row {} of the matrix, counted from 1)"
                                  : " (row {} of the matrix, counted from 1)",
                              rowOf(input, status.block, status.row));
}

constexpr char kStandardInput[] = "/dev/stdin";

/// A message that begins with the name of a file, with the one that the user gave it.
std::string renamed(const std::string& message, const std::string& file, const std::string& name)
{
    return message.rfind(file, 0) == 0 ? name + message.substr(file.size()) : message;
}

Status readFiles(const MatrixOptions& options, MatrixInput& input)
{
    const bool standardInput = options.matrix == "-";
    input.name = standardInput ? "standard input" : options.matrix;
    Progress progress("reading " + input.name);
    ScalarMatrix scalars;
    const std::string file = standardInput ? kStandardInput : options.matrix;
    Status status = kyrOrvel::client::readMatrixMarket(
        file, scalars, [&progress](double share) { progress.share(share); });
    status.message = renamed(status.message, file, input.name);
    if (!status.ok())
        return status;
    input.files = {file};
    progress.now("dividing into blocks");
    std::string blocks = options.blocks;
    if (blocks.empty() && !options.findBlocks && !standardInput)
        blocks = sidecarOf(options.matrix);
    if (blocks.empty()) {
        input.partition = kyrOrvel::client::findBlocks(scalars);
        input.blockSource = "found by structure";
    } else {
        status = kyrOrvel::client::readBlocks(blocks, scalars.dimension, input.partition);
        if (!status.ok())
            return status;
        input.files.push_back(blocks);
        input.blockSource = "from " + blocks;
    }
    input.entries = scalars.entries.size();
    input.matrix = kyrOrvel::client::toBlockMatrix(scalars, input.partition);
    return {};
}

/// How many entries a file of it has.
std::size_t countEntries(const BlockMatrix<double>& A)
{
    std::size_t count = 0;
    for (unsigned int r = 0; r < A.numBlockRows(); ++r) {
        const std::size_t m = A.blockSize(r);
        for (const auto& entry : A.row(r))
            count += entry.column == r ? m * (m + 1) / 2 : m * A.blockSize(entry.column);
    }
    return count;
}

Status makeScene(const std::vector<std::string>& words, MatrixInput& input)
{
    SceneKind kind;
    const std::string wrong = findScene(words[0], {words.begin() + 1, words.end()}, kind);
    if (!wrong.empty())
        return {StatusCode::InvalidInput, wrong, kyrOrvel::kNone, kyrOrvel::kNone};
    const Progress progress("making " + kind.name);
    Scene scene = kind.make();
    input.name = kind.name;
    input.entries = countEntries(scene.matrix);
    input.partition.sizes = scene.matrix.blockSizes();
    input.partition.firstTrailing = scene.matrix.firstTrailing();
    input.partition.rows.resize(scene.matrix.dimension());
    std::iota(input.partition.rows.begin(), input.partition.rows.end(), 0u);
    input.matrix = std::move(scene.matrix);
    input.rightHandSide = std::move(scene.rightHandSide);
    input.blockSource = "of the scene";
    return {};
}

} // namespace

Status readInput(const MatrixOptions& options, MatrixInput& input)
{
    return options.scene.empty() ? readFiles(options, input) : makeScene(options.scene, input);
}

void reportInput(Report& report, const MatrixInput& input)
{
    report.heading(input.name);
    reportMatrix(report, input.matrix);
    report.line("blockSource", input.blockSource, "", "", "blocks " + input.blockSource);
}

std::size_t rowOf(const MatrixInput& input, unsigned int block, unsigned int row)
{
    const std::size_t scalar = input.matrix.blockOffset(block) + (row == kyrOrvel::kNone ? 0 : row);
    return input.partition.rows[scalar] + std::size_t(1);
}

int reportFailure(Report& report, const MatrixInput& input, const Status& status)
{
    return reportFailure(report, input.name, status, describeFailure(input, status));
}

} // namespace orvel
