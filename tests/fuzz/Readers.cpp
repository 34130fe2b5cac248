#include "Readers.h"

#include <kyrOrvelClient/MatrixFiles>

#include <cstdio>
#include <cstdlib>
#include <numeric>
#include <string>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

namespace fuzz {

namespace {

using namespace kyrOrvel::client;

/// A file in memory.
class MemoryFile {
public:
    MemoryFile(const std::uint8_t* data, std::size_t size) : m_descriptor(memfd_create("fuzz", 0))
    {
        expect(m_descriptor >= 0 && write(m_descriptor, data, size) == ssize_t(size));
    }
    ~MemoryFile() { close(m_descriptor); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    std::string path() const { return "/proc/self/fd/" + std::to_string(m_descriptor); }

    static void expect(bool condition)
    {
        if (!condition)
            std::abort();
    }

private:
    int m_descriptor;
};

constexpr unsigned int kDimension = 12;

/// A failure says why and where; a success says nothing.
void expectExplained(const Status& status)
{
    MemoryFile::expect(status.ok() == status.message.empty());
    MemoryFile::expect(status.ok() || status.code == StatusCode::InvalidInput ||
                       status.code == StatusCode::NotFinite ||
                       status.code == StatusCode::TooLarge ||
                       status.code == StatusCode::OutOfMemory);
}

/// Every row once, every block with its rows.
void expectPartition(const BlockPartition& partition, unsigned int dimension)
{
    MemoryFile::expect(std::accumulate(partition.sizes.begin(), partition.sizes.end(), 0u) ==
                       dimension);
    std::vector<bool> seen(dimension, false);
    for (const unsigned int row : partition.rows) {
        MemoryFile::expect(row < dimension && !seen[row]);
        seen[row] = true;
    }
}

} // namespace

void readMatrix(const std::uint8_t* data, std::size_t size)
{
    const MemoryFile file(data, size);
    ScalarMatrix matrix;
    const Status status = readMatrixMarket(file.path(), matrix);
    expectExplained(status);
    if (!status.ok() || matrix.dimension > 1000)
        return;
    for (const auto& entry : matrix.entries)
        MemoryFile::expect(entry.column <= entry.row && entry.row < matrix.dimension);
    const BlockPartition partition = findBlocks(matrix);
    expectPartition(partition, matrix.dimension);
    MemoryFile::expect(toBlockMatrix(matrix, partition).dimension() == matrix.dimension);
}

void readBlocks(const std::uint8_t* data, std::size_t size)
{
    const MemoryFile file(data, size);
    BlockPartition partition;
    const Status status = kyrOrvel::client::readBlocks(file.path(), kDimension, partition);
    expectExplained(status);
    if (status.ok())
        expectPartition(partition, kDimension);
}

void readVector(const std::uint8_t* data, std::size_t size)
{
    const MemoryFile file(data, size);
    std::vector<double> values;
    const Status status = kyrOrvel::client::readVector(file.path(), kDimension, values);
    expectExplained(status);
    MemoryFile::expect(!status.ok() || values.size() == kDimension);
}

} // namespace fuzz
