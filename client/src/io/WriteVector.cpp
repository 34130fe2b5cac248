#include <kyrOrvelClient/MatrixFiles>

#include "../OutOfMemory.h"
#include "ExactNumber.h"
#include "WholeFile.h"

namespace kyrOrvel {
namespace client {

namespace {

std::string arrayText(const std::vector<double>& vector)
{
    std::string text = "%%MatrixMarket matrix array real general\n";
    text += std::to_string(vector.size()) + " 1\n";
    for (const double v : vector) {
        appendExact(text, v);
        text += '\n';
    }
    return text;
}

} // namespace

Status writeVector(const std::string& path, const std::vector<double>& vector)
{
    return guardMemory([&] { return writeWholeFile(path, arrayText(vector)); });
}

} // namespace client
} // namespace kyrOrvel
