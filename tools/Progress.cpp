#include "Progress.h"

#include <fmt/core.h>

#include <cstdio>

#include <unistd.h>

namespace orvel {

Progress::Progress(const std::string& what) : m_shown(isatty(STDERR_FILENO) == 1)
{
    if (m_shown) {
        fmt::print(stderr, "orvel: {} ...", what);
        std::fflush(stderr);
    }
}

Progress::~Progress()
{
    if (m_shown)
        std::fputs("\r\x1b[K", stderr);
}

} // namespace orvel
