// Block partitions; the first byte is the dimension of the matrix.

#include "Fuzz.h"

#include "io/ParseText.h"

#include <numeric>
#include <string_view>

using kyrOrvel::client::BlockPartition;
using kyrOrvel::client::Status;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const unsigned int dimension = data[0];
    const std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);
    BlockPartition partition;
    const Status status = kyrOrvel::client::parseBlocks(fuzz::kPath, text, dimension, partition);
    if (!status.ok()) {
        fuzz::requireRefusal(status);
        return 0;
    }
    const auto rows = std::accumulate(partition.sizes.begin(), partition.sizes.end(), 0u);
    fuzz::require(rows == dimension, "the sizes add up");
    fuzz::require(partition.firstTrailing <= partition.sizes.size(), "trailing blocks at the end");
    fuzz::require(partition.rows.size() == dimension, "every row has a place");
    return 0;
}
