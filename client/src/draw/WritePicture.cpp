#include <kyrOrvelClient/Pictures>

#include "../OutOfMemory.h"
#include "../io/WholeFile.h"

namespace kyrOrvel {
namespace client {

Status writePicture(const std::string& path, const std::string& bytes)
{
    return guardMemory([&] { return writeWholeFile(path, bytes); });
}

} // namespace client
} // namespace kyrOrvel
