#include "WholeFile.h"

#include "EndingHeldBack.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <unistd.h>

namespace kyrOrvel {
namespace client {

namespace {

constexpr std::size_t kPiece = 1 << 20;
constexpr mode_t kMode = 0666; // less what the user masks

/// 0, or the error number of what went wrong.
///
/// @param ending  null, or looked at between pieces: EINTR if the program is asked to end
int writeBytes(int file, const std::string& bytes, const EndingHeldBack* ending = nullptr)
{
    std::size_t done = 0;
    while (done < bytes.size()) {
        if (ending && ending->isAskedFor())
            return EINTR;
        const ssize_t written = write(file, &bytes[done], std::min(kPiece, bytes.size() - done));
        if (written >= 0)
            done += static_cast<std::size_t>(written);
        else if (errno != EINTR)
            return errno;
    }
    return 0;
}

/// Opens a file, writes it and closes it; 0, or an error number.
int writeFile(const std::string& path, const std::string& content,
              const EndingHeldBack* ending = nullptr)
{
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kMode);
    if (file < 0)
        return errno;
    const int error = writeBytes(file, content, ending);
    if (close(file) != 0 && error == 0)
        return errno;
    return error;
}

/// A name beside a file that no other program uses.
std::string temporaryBeside(const std::string& path)
{
    return path + ".part" + std::to_string(getpid());
}

/// Moves a file to its place, or removes it; 0, or an error number.
int moveOrRemove(const std::string& temporary, const std::string& path)
{
    const int error = std::rename(temporary.c_str(), path.c_str()) == 0 ? 0 : errno;
    if (error != 0)
        unlink(temporary.c_str());
    return error;
}

/// Makes the file beside its place, then moves it there, or removes it, before the program may end.
int replaceByNamedFile(const std::string& path, const std::string& content)
{
    const std::string temporary = temporaryBeside(path);
    const EndingHeldBack ending;
    const int error = writeFile(temporary, content, &ending);
    if (error == 0)
        return moveOrRemove(temporary, path);
    unlink(temporary.c_str());
    return error;
}

#ifdef O_TMPFILE

int openUnnamedFile(const std::string& path)
{
    const std::string folder = std::filesystem::path(path).parent_path().string();
    return open(folder.empty() ? "." : folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, kMode);
}

bool giveName(int file, const std::string& path)
{
    const std::string unnamed = "/proc/self/fd/" + std::to_string(file);
    return linkat(AT_FDCWD, unnamed.c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0;
}

/// A name cannot be taken over from another file but by moving a named one.
///
/// @return 0, or an error number; EOPNOTSUPP where an unnamed file can be given no name
int putInPlace(int file, const std::string& path)
{
    if (giveName(file, path))
        return 0;
    const std::string temporary = temporaryBeside(path);
    const EndingHeldBack ending;
    unlink(temporary.c_str());
    return giveName(file, temporary) ? moveOrRemove(temporary, path) : EOPNOTSUPP;
}

/// Makes the file without a name, so that nothing is left of it however the program ends.
int replaceByUnnamedFile(const std::string& path, const std::string& content)
{
    const int file = openUnnamedFile(path);
    if (file < 0) // kernels and file systems that know no such files say so in several ways
        return errno == EISDIR || errno == EINVAL || errno == ENOENT ? EOPNOTSUPP : errno;
    int error = writeBytes(file, content);
    if (error == 0)
        error = putInPlace(file, path);
    close(file);
    return error;
}

#else

int replaceByUnnamedFile(const std::string&, const std::string&)
{
    return EOPNOTSUPP;
}

#endif

int replaceFile(const std::string& path, const std::string& content)
{
    const int error = replaceByUnnamedFile(path, content);
    return error == EOPNOTSUPP ? replaceByNamedFile(path, content) : error;
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
    const int error =
        isDeviceOrPipe(path) ? writeFile(path, content) : replaceFile(followLinks(path), content);
    if (error == 0)
        return {};
    return {StatusCode::InvalidInput, path + ": " + std::strerror(error), kNone, kNone};
}

} // namespace client
} // namespace kyrOrvel
