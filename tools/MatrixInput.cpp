#include "MatrixInput.h"

#include "Progress.h"
#include "SceneKinds.h"

#include <fmt/core.h>

#include <charconv>
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

Status readFiles(const MatrixOptions& options, MatrixInput& input)
{
    const bool standardInput = options.matrix == "-";
    input.name = standardInput ? "standard input" : options.matrix;
    Progress progress("reading " + input.name);
    ScalarMatrix scalars;
    Status status =
        kyrOrvel::client::readMatrixMarket(standardInput ? "/dev/stdin" : options.matrix, scalars,
                                           [&progress](double share) { progress.share(share); });
    if (!status.ok())
        return status;
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
        input.blockSource = "from " + blocks;
    }
    input.entries = scalars.entries.size();
    input.matrix = kyrOrvel::client::toBlockMatrix(scalars, input.partition);
    return {};
}

Status invalid(const std::string& message)
{
    return {StatusCode::InvalidInput, message, kyrOrvel::kNone, kyrOrvel::kNone};
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
    Sizes sizes;
    for (std::size_t i = 1; i < words.size(); ++i) {
        const char* const end = words[i].data() + words[i].size();
        unsigned int size = 0;
        const auto read = std::from_chars(words[i].data(), end, size);
        if (read.ec != std::errc() || read.ptr != end)
            return invalid("SIZE: '" + words[i] +
                           "' is no whole number; 'orvel scene --help' shows the usage");
        sizes.push_back(size);
    }
    SceneKind kind;
    const std::string wrong = findScene(words[0], sizes, kind);
    if (!wrong.empty())
        return invalid(wrong);
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
