// Matrix Market files. One that is taken is a sorted lower triangle, and can be divided into
// blocks.

#include "Fuzz.h"

#include "io/ParseText.h"

#include <cmath>
#include <numeric>
#include <string_view>

using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::BlockPartition;
using kyrOrvel::client::ScalarMatrix;
using kyrOrvel::client::Status;

namespace {

void requireLowerTriangle(const ScalarMatrix& matrix)
{
    const ScalarMatrix::Entry* before = nullptr;
    for (const ScalarMatrix::Entry& entry : matrix.entries) {
        fuzz::require(entry.row < matrix.dimension && entry.column <= entry.row, "lower triangle");
        fuzz::require(std::isfinite(entry.value), "finite values");
        fuzz::require(!before || before->row < entry.row ||
                          (before->row == entry.row && before->column < entry.column),
                      "sorted, no place twice");
        before = &entry;
    }
}

void requireBlocks(const ScalarMatrix& matrix)
{
    const BlockPartition partition = kyrOrvel::client::findBlocks(matrix);
    const auto rows = std::accumulate(partition.sizes.begin(), partition.sizes.end(), 0u);
    fuzz::require(rows == matrix.dimension, "the blocks hold every row");
    fuzz::require(partition.rows.size() == matrix.dimension, "every row has a place");
    const BlockMatrix<double> A = kyrOrvel::client::toBlockMatrix(matrix, partition);
    fuzz::require(A.dimension() == matrix.dimension, "the matrix by blocks is as large");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    ScalarMatrix matrix;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const Status status = kyrOrvel::client::parseMatrixMarket(fuzz::kPath, text, matrix);
    if (!status.ok()) {
        fuzz::requireRefusal(status);
        return 0;
    }
    requireLowerTriangle(matrix);
    requireBlocks(matrix);
    return 0;
}
