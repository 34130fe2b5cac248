#ifndef KYRORVEL_CLIENT_TEXT_FILE_H
#define KYRORVEL_CLIENT_TEXT_FILE_H

#include <kyrOrvelClient/Status>

#include <cstddef>
#include <string>
#include <string_view>

namespace kyrOrvel {
namespace client {

/// Reads a whole file into memory.
Status readTextFile(const std::string& path, std::string& text);

/// Walks a text word by word and knows the line it is on. Words are separated by blanks, tabs and
/// carriage returns; a line feed ends a line.
class TextScanner {
public:
    TextScanner(std::string path, std::string_view text) : m_path(std::move(path)), m_text(text) {}

    /// The rest of the current line, without its end; moves to the next line.
    std::string_view takeLine();

    /// Moves to the next line that holds a word and does not begin with '%'; false at the end.
    bool skipToContent();

    /// Moves to the next word, on whatever line; false at the end.
    bool skipToWord();

    /// The next word of the current line; empty at its end.
    std::string_view takeWord();

    /// Moves past the end of the current line, which may hold nothing more.
    Status endLine();

    /// The next word of the current line as a number from `low` to `high`.
    Status takeCount(const char* what, unsigned long low, unsigned long high, unsigned long& value);

    /// The next word of the current line as a finite number; `integer` refuses any other.
    Status takeScalar(const char* what, bool integer, double& value);

    Status error(const std::string& what) const;
    std::size_t line() const { return m_line; }
    std::size_t remaining() const { return m_text.size() - m_position; }
    bool atEnd() const { return m_position >= m_text.size(); }

private:
    void skipBlanks();

    std::string m_path;
    std::string_view m_text;
    std::size_t m_position = 0;
    std::size_t m_line = 1;
};

/// An InvalidInput about a place in a file.
Status fileError(const std::string& path, std::size_t line, const std::string& what);

} // namespace client
} // namespace kyrOrvel

#endif
