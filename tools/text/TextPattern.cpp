#include "TextPattern.h"

#include <fmt/core.h>

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace orvel {

namespace {

// A sign of braille has two dots across and four down.
constexpr unsigned int kDotsAcross = 2;
constexpr unsigned int kDotsDown = 4;
constexpr unsigned int kDotBits[kDotsDown][kDotsAcross] = {
    {0x01, 0x08}, {0x02, 0x10}, {0x04, 0x20}, {0x40, 0x80}};

constexpr char kShades[] = {'.', ':', '+', '*', '#'}; // for one block, and more
constexpr unsigned int kNumShades = 5;

/// U+2800 and up in UTF-8.
std::string braille(unsigned int bits)
{
    return {static_cast<char>(0xE2), static_cast<char>(0xA0 + (bits >> 6)),
            static_cast<char>(0x80 + (bits & 0x3F))};
}

} // namespace

TextPattern::TextPattern(unsigned int rows, unsigned int columns, Letters letters)
    : m_rows(rows), m_letters(letters), m_exact(rows <= columns - kNumbers)
{
    const unsigned int room = columns - kNumbers;
    if (m_exact) {
        m_spread = 2 * rows <= room ? 2 : 1;
        m_columns = rows;
        m_lines = rows;
        m_signs.assign(std::size_t(rows) * rows, letters.ofNothing());
    } else {
        m_columns = room;
        m_lines = (room + 1) / 2; // signs are twice as high as they are wide
        m_counts.assign(std::size_t(cellsDown()) * cellsAcross(), 0);
    }
}

unsigned int TextPattern::cellsDown() const
{
    return m_letters.utf8 ? m_lines * kDotsDown : m_lines;
}

unsigned int TextPattern::cellsAcross() const
{
    return m_letters.utf8 ? m_columns * kDotsAcross : m_columns;
}

void TextPattern::block(unsigned int r, unsigned int c, BlockKind kind)
{
    if (m_exact) {
        m_signs[std::size_t(r) * m_rows + c] = m_letters.ofBlock(kind);
        return;
    }
    const std::uint64_t down = std::uint64_t(r) * cellsDown() / m_rows;
    const std::uint64_t across = std::uint64_t(c) * cellsAcross() / m_rows;
    ++m_counts[down * cellsAcross() + across];
}

std::uint64_t TextPattern::countIn(unsigned int down, unsigned int across) const
{
    return m_counts[std::size_t(down) * cellsAcross() + across];
}

std::string TextPattern::lineOfSigns(unsigned int row) const
{
    std::string line;
    for (unsigned int c = 0; c < m_columns; ++c) {
        line += m_signs[std::size_t(row) * m_rows + c];
        line.append(m_spread - 1, ' ');
    }
    return line;
}

std::string TextPattern::lineOfDots(unsigned int row) const
{
    std::string line;
    for (unsigned int c = 0; c < m_columns; ++c) {
        unsigned int bits = 0;
        for (unsigned int i = 0; i < kDotsDown; ++i)
            for (unsigned int j = 0; j < kDotsAcross; ++j)
                if (countIn(row * kDotsDown + i, c * kDotsAcross + j) > 0)
                    bits |= kDotBits[i][j];
        line += braille(bits);
    }
    return line;
}

std::string TextPattern::lineOfShades(unsigned int row) const
{
    const auto most = static_cast<double>(*std::max_element(m_counts.begin(), m_counts.end()));
    std::string line;
    for (unsigned int c = 0; c < m_columns; ++c) {
        const auto count = static_cast<double>(countIn(row, c));
        if (count == 0) {
            line += ' ';
            continue;
        }
        const double share = most <= 1 ? 0 : std::log(count) / std::log(most);
        line += kShades[std::min(static_cast<unsigned int>(share * kNumShades), kNumShades - 1)];
    }
    return line;
}

std::vector<std::string> TextPattern::lines() const
{
    std::vector<std::string> result;
    for (unsigned int row = 0; row < m_lines; ++row) {
        const std::uint64_t first = (std::uint64_t(row) * m_rows + m_lines - 1) / m_lines;
        std::string line = fmt::format("{:>{}} ", first, kNumbers - 1);
        line += m_exact ? lineOfSigns(row) : m_letters.utf8 ? lineOfDots(row) : lineOfShades(row);
        result.push_back(line);
    }
    return result;
}

std::string sideBySide(const TextPattern& left, const std::string& leftTitle,
                       const TextPattern* right, const std::string& rightTitle)
{
    constexpr unsigned int kHalf = kTextWidth / 2;
    const std::string indent(TextPattern::kNumbers, ' ');
    std::string text = indent + leftTitle;
    if (right)
        text += std::string(kHalf - leftTitle.size(), ' ') + rightTitle;
    text += "\n";
    const std::vector<std::string> leftLines = left.lines();
    const std::vector<std::string> rightLines = right ? right->lines() : std::vector<std::string>();
    for (std::size_t i = 0; i < leftLines.size(); ++i) {
        std::string line = leftLines[i];
        if (right)
            line += std::string(kHalf - left.width(), ' ') + rightLines[i];
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + "\n";
    }
    return text;
}

} // namespace orvel
