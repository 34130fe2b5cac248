#include <kyrOrvelClient/MatrixFiles>

#include "../OutOfMemory.h"
#include "WholeFile.h"

#include <charconv>

namespace kyrOrvel {
namespace client {

namespace {

constexpr int kDigits = 17; ///< enough to tell any two doubles apart

/// The digits do not depend on the locale, as those of printf would.
std::string arrayText(const std::vector<double>& vector)
{
    std::string text = "%%MatrixMarket matrix array real general\n";
    text += std::to_string(vector.size()) + " 1\n";
    char number[32];
    for (const double v : vector) {
        const auto end =
            std::to_chars(number, number + sizeof number, v, std::chars_format::general, kDigits);
        text.append(number, end.ptr) += '\n';
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
