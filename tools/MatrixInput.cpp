#include "MatrixInput.h"

#include "Progress.h"

#include <fmt/core.h>

#include <filesystem>

namespace orvel {

using kyrOrvel::client::BlockPartition;
using kyrOrvel::client::ScalarMatrix;
using kyrOrvel::client::Status;

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

} // namespace

Status readInput(const MatrixOptions& options, MatrixInput& input)
{
    const bool standardInput = options.matrix == "-";
    input.name = standardInput ? "standard input" : options.matrix;
    const Progress progress("reading " + input.name);
    ScalarMatrix scalars;
    Status status =
        kyrOrvel::client::readMatrixMarket(standardInput ? "/dev/stdin" : options.matrix, scalars);
    if (!status.ok())
        return status;
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
    report.detail("input", input.name);
    report.detail("failure", describeStatus(status));
    report.finish();
    printError(describeFailure(input, status));
    return kNumericalFailure;
}

} // namespace orvel
