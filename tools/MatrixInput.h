#ifndef ORVEL_MATRIX_INPUT_H
#define ORVEL_MATRIX_INPUT_H

#include "Commands.h"

#include <kyrOrvelClient/MatrixFiles>
#include <kyrOrvelClient/Status>

#include <string>

namespace orvel {

/// A matrix from a file, by blocks.
struct MatrixInput {
    kyrOrvel::client::ScalarMatrix scalars;
    kyrOrvel::client::BlockPartition partition;
    kyrOrvel::client::BlockMatrix<double> matrix;
    std::string blockSource; ///< where the blocks come from, for the report
};

/// The file's name, or "standard input".
std::string nameOf(const MatrixOptions& options);

kyrOrvel::client::Status readInput(const MatrixOptions& options, MatrixInput& input);

/// A numerical failure, with the row of the file that it is about.
std::string describeFailure(const MatrixOptions& options, const MatrixInput& input,
                            const kyrOrvel::client::Status& status);

} // namespace orvel

#endif
