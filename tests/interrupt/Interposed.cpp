// Preloaded into the command: sends it a signal at a certain step of writing a file, and may take
// away the kernel's unnamed files. The environment says which:
//
//     INTERRUPT_SIGNAL  number of the signal
//     INTERRUPT_AT      "write": with half of the first bytes written to a regular file;
//                       "rename": before the file is moved to its place
//     INTERRUPT_NAMED   set: there are no unnamed files

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

template <class Function> Function original(const char* name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

/// Whether the signal is due at this step; it is sent once.
bool isDue(const char* step)
{
    static bool sent = false;
    const char* const at = std::getenv("INTERRUPT_AT");
    if (sent || !at || std::strcmp(at, step) != 0)
        return false;
    sent = true;
    return true;
}

void sendSignal()
{
    raise(std::atoi(std::getenv("INTERRUPT_SIGNAL")));
}

bool isRegularFile(int file)
{
    struct stat information = {};
    return fstat(file, &information) == 0 && S_ISREG(information.st_mode);
}

int openWith(const char* name, const char* path, int flags, mode_t mode)
{
    if ((flags & O_TMPFILE) == O_TMPFILE && std::getenv("INTERRUPT_NAMED")) {
        errno = EOPNOTSUPP;
        return -1;
    }
    return original<int (*)(const char*, int, ...)>(name)(path, flags, mode);
}

} // namespace

extern "C" {

ssize_t write(int file, const void* bytes, size_t size)
{
    const auto writeSome = original<ssize_t (*)(int, const void*, size_t)>("write");
    if (!isRegularFile(file) || !isDue("write"))
        return writeSome(file, bytes, size);
    const ssize_t written = writeSome(file, bytes, (size + 1) / 2);
    sendSignal();
    return written;
}

int rename(const char* from, const char* to) noexcept
{
    if (isDue("rename"))
        sendSignal();
    return original<int (*)(const char*, const char*)>("rename")(from, to);
}

int open(const char* path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = va_arg(arguments, mode_t);
    va_end(arguments);
    return openWith("open", path, flags, mode);
}

int open64(const char* path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = va_arg(arguments, mode_t);
    va_end(arguments);
    return openWith("open64", path, flags, mode);
}
}
