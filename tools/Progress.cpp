#include "Progress.h"

#include "draw/Utf8.h"

#include <fmt/core.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>

#include <sys/ioctl.h>
#include <unistd.h>

namespace orvel {

namespace {

constexpr char kErase[] = "\r\x1b[K";

/// A line that wraps could not be erased.
std::size_t widthOfTerminal()
{
    winsize size = {};
    const bool known = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? size.ws_col : 80;
}

/// The beginning that fits, by bytes, of which a letter has one at least.
std::string cut(const std::string& text, std::size_t width)
{
    std::size_t end = 0;
    while (end < text.size() && end + lengthOfLetter(text, end) < width)
        end += lengthOfLetter(text, end);
    return text.substr(0, end);
}

} // namespace

Progress::Progress(const std::string& what) : m_shown(isatty(STDERR_FILENO) == 1)
{
    now(what);
}

Progress::~Progress()
{
    if (m_shown)
        std::fputs(kErase, stderr);
}

void Progress::now(const std::string& what)
{
    m_what = what;
    m_percent = -1;
    show(what + " ...");
}

void Progress::share(double done)
{
    const int percent = std::clamp(static_cast<int>(100 * done), 0, 100);
    if (percent == m_percent)
        return;
    m_percent = percent;
    soFar(fmt::format("{} %", percent));
}

void Progress::soFar(const std::string& words)
{
    show(m_what + ": " + words);
}

void Progress::show(const std::string& text)
{
    if (!m_shown)
        return;
    const std::string line = kErase + cut(printable("orvel: " + text), widthOfTerminal());
    std::fputs(line.c_str(), stderr);
    std::fflush(stderr);
}

} // namespace orvel
