#include "WholeFile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include <unistd.h>

namespace kyrOrvel {
namespace client {

namespace {

/// 0, or the error number of what went wrong.
int writeContent(const std::string& path, const std::string& content)
{
    std::FILE* const file = std::fopen(path.c_str(), "wb");
    if (!file)
        return errno;
    errno = 0;
    const bool written = std::fwrite(content.data(), 1, content.size(), file) == content.size() &&
                         std::fflush(file) == 0;
    const int writeError = errno;
    if (std::fclose(file) != 0 && written)
        return errno;
    return written ? 0 : writeError;
}

/// Makes the file beside its place, then moves it there; 0, or an error number.
int replaceFile(const std::string& path, const std::string& content)
{
    const std::string temporary = path + ".part" + std::to_string(getpid());
    int error = writeContent(temporary, content);
    if (error == 0 && std::rename(temporary.c_str(), path.c_str()) != 0)
        error = errno;
    if (error != 0)
        std::remove(temporary.c_str());
    return error;
}

/// Such a thing, as /dev/null, is written to; a file must not take its place.
bool isDeviceOrPipe(const std::string& path)
{
    std::error_code ignored;
    return std::filesystem::is_other(path, ignored);
}

/// The file that a symbolic link stands for: the link stays, the file behind it is replaced.
std::string followLinks(const std::string& path)
{
    std::error_code error;
    const std::filesystem::path target = std::filesystem::canonical(path, error);
    return error ? path : target.string();
}

} // namespace

Status writeWholeFile(const std::string& path, const std::string& content)
{
    const int error = isDeviceOrPipe(path) ? writeContent(path, content)
                                           : replaceFile(followLinks(path), content);
    if (error == 0)
        return {};
    return {StatusCode::InvalidInput, path + ": " + std::strerror(error), kNone, kNone};
}

} // namespace client
} // namespace kyrOrvel
