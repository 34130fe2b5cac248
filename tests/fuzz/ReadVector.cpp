// Vectors; the first byte is their length.

#include "Fuzz.h"

#include "io/ParseText.h"

#include <algorithm>
#include <cmath>
#include <string_view>
#include <vector>

using kyrOrvel::client::Status;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const unsigned int dimension = data[0];
    const std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);
    std::vector<double> vector;
    const Status status = kyrOrvel::client::parseVector(fuzz::kPath, text, dimension, vector);
    if (!status.ok()) {
        fuzz::requireRefusal(status);
        return 0;
    }
    fuzz::require(vector.size() == dimension, "as many values as rows");
    fuzz::require(
        std::all_of(vector.begin(), vector.end(), [](double v) { return std::isfinite(v); }),
        "finite values");
    return 0;
}
