#include "TextFile.h"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>

#include <sys/stat.h>

namespace kyrOrvel {
namespace client {

namespace {

constexpr std::size_t kReadSize = 1 << 20;
constexpr std::size_t kShownWord = 40;

bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\r';
}

/// A word as it may stand in a message: short and printable.
std::string shown(std::string_view word)
{
    std::string text;
    for (const char c : word.substr(0, kShownWord))
        text += c >= ' ' && c <= '~' ? c : '?';
    return "'" + text + (word.size() > kShownWord ? "..." : "") + "'";
}

Status systemError(const std::string& path, int error)
{
    return {StatusCode::InvalidInput, path + ": " + std::strerror(error), kNone, kNone};
}

} // namespace

Status fileError(const std::string& path, std::size_t line, const std::string& what)
{
    return {StatusCode::InvalidInput, path + ":" + std::to_string(line) + ": " + what, kNone,
            kNone};
}

Status readTextFile(const std::string& path, std::string& text)
{
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"),
                                                               &std::fclose);
    if (!file)
        return systemError(path, errno);
    struct stat information = {};
    if (fstat(fileno(file.get()), &information) == 0 && S_ISDIR(information.st_mode))
        return systemError(path, EISDIR);
    std::string content;
    for (;;) {
        const std::size_t size = content.size();
        content.resize(size + kReadSize);
        const std::size_t got = std::fread(&content[size], 1, kReadSize, file.get());
        content.resize(size + got);
        if (got < kReadSize)
            break;
    }
    if (std::ferror(file.get()))
        return systemError(path, errno);
    text = std::move(content);
    return {};
}

std::string_view TextScanner::takeLine()
{
    const std::size_t end = std::min(m_text.find('\n', m_position), m_text.size());
    const std::string_view line = m_text.substr(m_position, end - m_position);
    m_position = std::min(end + 1, m_text.size());
    if (end < m_text.size())
        ++m_line;
    return line;
}

void TextScanner::skipBlanks()
{
    while (m_position < m_text.size() && isBlank(m_text[m_position]))
        ++m_position;
}

bool TextScanner::skipToWord()
{
    for (;;) {
        skipBlanks();
        if (atEnd())
            return false;
        if (m_text[m_position] != '\n')
            return true;
        ++m_position;
        ++m_line;
    }
}

bool TextScanner::skipToContent()
{
    while (skipToWord()) {
        if (m_text[m_position] != '%')
            return true;
        takeLine();
    }
    return false;
}

std::string_view TextScanner::takeWord()
{
    skipBlanks();
    const std::size_t begin = m_position;
    while (m_position < m_text.size() && !isBlank(m_text[m_position]) && m_text[m_position] != '\n')
        ++m_position;
    return m_text.substr(begin, m_position - begin);
}

Status TextScanner::endLine()
{
    const std::string_view word = takeWord();
    if (!word.empty())
        return error("unexpected " + shown(word) + " at the end of the line");
    takeLine();
    return {};
}

Status TextScanner::takeCount(const char* what, unsigned long low, unsigned long high,
                              unsigned long& value)
{
    const std::string_view word = takeWord();
    if (word.empty())
        return error(std::string("the ") + what + " is missing");
    const char* const end = word.data() + word.size();
    unsigned long parsed = 0;
    const auto result = std::from_chars(word.data(), end, parsed);
    const bool isNumber = result.ptr == end && result.ec != std::errc::invalid_argument;
    if (!isNumber)
        return error(std::string("the ") + what + " should be a whole number, not " + shown(word));
    const bool inRange = result.ec == std::errc() && parsed >= low && parsed <= high;
    if (!inRange && low == high)
        return error(std::string("the ") + what + " should be " + std::to_string(low) + ", not " +
                     shown(word));
    if (!inRange)
        return error(std::string("the ") + what + " " + shown(word) + " is outside the range " +
                     std::to_string(low) + " to " + std::to_string(high));
    value = parsed;
    return {};
}

Status TextScanner::takeScalar(const char* what, bool integer, double& value)
{
    const std::string_view word = takeWord();
    if (word.empty())
        return error(std::string("the ") + what + " is missing");
    const char* const end = word.data() + word.size();
    const bool plus = word[0] == '+' && word.substr(0, 2) != "+-"; // from_chars takes no plus
    const char* const begin = word.data() + (plus ? 1 : 0);
    double parsed = 0;
    const auto result = std::from_chars(begin, end, parsed);
    if (result.ptr != end || result.ec == std::errc::invalid_argument)
        return error(std::string("the ") + what + " should be a number, not " + shown(word));
    if (result.ec != std::errc())
        return error(std::string("the ") + what + " " + shown(word) +
                     " is outside the range of double precision");
    if (!std::isfinite(parsed))
        return error(std::string("the ") + what + " " + shown(word) + " is not finite");
    if (integer && parsed != std::trunc(parsed))
        return error(std::string("the ") + what + " " + shown(word) +
                     " is not whole, though the header says integer");
    value = parsed;
    return {};
}

Status TextScanner::error(const std::string& what) const
{
    return fileError(m_path, m_line, what);
}

} // namespace client
} // namespace kyrOrvel
