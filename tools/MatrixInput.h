#ifndef ORVEL_MATRIX_INPUT_H
#define ORVEL_MATRIX_INPUT_H

#include "Commands.h"
#include "Report.h"

#include <kyrOrvelClient/MatrixFiles>
#include <kyrOrvelClient/Status>

#include <cstddef>
#include <string>
#include <vector>

namespace orvel {

/// A matrix from a file or of a scene, by blocks.
struct MatrixInput {
    std::string name;        ///< the file's, the scene's, or "standard input"
    std::size_t entries = 0; ///< given, of the lower triangle
    kyrOrvel::client::BlockPartition partition;
    kyrOrvel::client::BlockMatrix<double> matrix;
    std::vector<std::string> files;    ///< that were read; none for a scene
    std::string blockSource;           ///< where the blocks come from, for the report
    std::vector<double> rightHandSide; ///< of a scene, else empty
};

kyrOrvel::client::Status readInput(const MatrixOptions& options, MatrixInput& input);

/// The lines of a report about the input.
void reportInput(Report& report, const MatrixInput& input);

/// The line of the file, counted from 1, that is this row of a block; of a whole block, its first.
std::size_t rowOf(const MatrixInput& input, unsigned int block, unsigned int row);

/// Ends a report with a numerical failure: in JSON, and on standard error with the row of the file
/// that it is about.
int reportFailure(Report& report, const MatrixInput& input, const kyrOrvel::client::Status& status);

} // namespace orvel

#endif
