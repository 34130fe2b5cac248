#include "MatrixInput.h"

#include "Progress.h"

#include <fmt/core.h>

#include <filesystem>

namespace orvel {

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

} // namespace

std::string nameOf(const MatrixOptions& options)
{
    return options.matrix == "-" ? "standard input" : options.matrix;
}

Status readInput(const MatrixOptions& options, MatrixInput& input)
{
    const bool standardInput = options.matrix == "-";
    const Progress progress("reading " + nameOf(options));
    Status status = kyrOrvel::client::readMatrixMarket(
        standardInput ? "/dev/stdin" : options.matrix, input.scalars);
    if (!status.ok())
        return status;
    std::string blocks = options.blocks;
    if (blocks.empty() && !options.findBlocks && !standardInput)
        blocks = sidecarOf(options.matrix);
    if (blocks.empty()) {
        input.partition = kyrOrvel::client::findBlocks(input.scalars);
        input.blockSource = "found by structure";
    } else {
        status = kyrOrvel::client::readBlocks(blocks, input.scalars.dimension, input.partition);
        if (!status.ok())
            return status;
        input.blockSource = "from " + blocks;
    }
    input.matrix = kyrOrvel::client::toBlockMatrix(input.scalars, input.partition);
    return {};
}

std::string describeFailure(const MatrixOptions& options, const MatrixInput& input,
                            const Status& status)
{
    std::string text = nameOf(options) + ": " + status.message;
    if (status.block == kyrOrvel::kNone)
        return text;
    const bool wholeBlock = status.row == kyrOrvel::kNone;
    const std::size_t row = input.matrix.blockOffset(status.block) + (wholeBlock ? 0 : status.row);
    if (row < input.partition.rows.size())
        text += fmt::format(wholeBlock ? " (it begins at row {} of the matrix, counted from 1)"
                                       : " (row {} of the matrix, counted from 1)",
                            input.partition.rows[row] + 1);
    return text;
}

} // namespace orvel
