#include <kyrOrvelClient/MatrixFiles>

#include "WholeFile.h"

#include <cstdio>

namespace kyrOrvel {
namespace client {

Status writeVector(const std::string& path, const std::vector<double>& vector)
{
    std::string text = "%%MatrixMarket matrix array real general\n";
    text += std::to_string(vector.size()) + " 1\n";
    char line[32];
    for (const double v : vector) {
        std::snprintf(line, sizeof line, "%.17g\n", v);
        text += line;
    }
    return writeWholeFile(path, text);
}

} // namespace client
} // namespace kyrOrvel
