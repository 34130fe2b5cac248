#include "Readers.h"

#include "io/ParseText.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <numeric>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

namespace fuzz {

using kyrOrvel::client::BlockPartition;
using kyrOrvel::client::ScalarMatrix;
using kyrOrvel::client::Status;
using kyrOrvel::client::StatusCode;

void require(bool holds, const char* what)
{
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

void requireExplained(const Status& status)
{
    require(status.ok() == status.message.empty(), "a failure has a message");
    if (status.ok())
        return;
    require(status.code == StatusCode::InvalidInput, "a failure is InvalidInput");
    require(status.message.compare(0, sizeof kPath - 1, kPath) == 0, "it names the path");
    require(status.message.find('\n') == std::string::npos, "its message is one line");
}

namespace {

constexpr unsigned int kDimension = 12;

std::string_view textOf(const std::uint8_t* data, std::size_t size)
{
    return {reinterpret_cast<const char*>(data), size};
}

/// Every row once, every block with its rows.
void requirePartition(const BlockPartition& partition, unsigned int dimension)
{
    const auto rows = std::accumulate(partition.sizes.begin(), partition.sizes.end(), 0u);
    require(rows == dimension, "the blocks hold all rows");
    require(partition.rows.size() == dimension, "every row has a place");
    require(partition.firstTrailing <= partition.sizes.size(), "trailing blocks are at the end");
    std::vector<bool> seen(dimension, false);
    for (const unsigned int row : partition.rows) {
        require(row < dimension && !seen[row], "every row has one place");
        seen[row] = true;
    }
}

void requireLowerTriangle(const ScalarMatrix& matrix)
{
    const ScalarMatrix::Entry* before = nullptr;
    for (const ScalarMatrix::Entry& entry : matrix.entries) {
        require(entry.column <= entry.row && entry.row < matrix.dimension, "lower triangle");
        require(std::isfinite(entry.value), "values are finite");
        require(!before ||
                    std::tie(before->row, before->column) < std::tie(entry.row, entry.column),
                "sorted, no place twice");
        before = &entry;
    }
}

} // namespace

void readMatrix(const std::uint8_t* data, std::size_t size)
{
    ScalarMatrix matrix;
    const Status status = kyrOrvel::client::parseMatrixMarket(kPath, textOf(data, size), matrix);
    requireExplained(status);
    if (!status.ok())
        return;
    requireLowerTriangle(matrix);
    const BlockPartition partition = kyrOrvel::client::findBlocks(matrix);
    requirePartition(partition, matrix.dimension);
    require(kyrOrvel::client::toBlockMatrix(matrix, partition).dimension() == matrix.dimension,
            "the matrix by blocks has all rows");
}

void readBlocks(const std::uint8_t* data, std::size_t size)
{
    BlockPartition partition;
    const Status status =
        kyrOrvel::client::parseBlocks(kPath, textOf(data, size), kDimension, partition);
    requireExplained(status);
    if (status.ok())
        requirePartition(partition, kDimension);
}

void readVector(const std::uint8_t* data, std::size_t size)
{
    std::vector<double> values;
    const Status status =
        kyrOrvel::client::parseVector(kPath, textOf(data, size), kDimension, values);
    requireExplained(status);
    if (!status.ok())
        return;
    require(values.size() == kDimension, "as many values as rows");
    require(std::all_of(values.begin(), values.end(), [](double v) { return std::isfinite(v); }),
            "values are finite");
}

} // namespace fuzz
