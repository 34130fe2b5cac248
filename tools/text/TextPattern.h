#ifndef ORVEL_TEXT_PATTERN_H
#define ORVEL_TEXT_PATTERN_H

#include "Letters.h"

#include <string>
#include <vector>

namespace orvel {

/// A square pattern as lines of text: a sign for each block, or where they are too many a dot of
/// braille for a few, or without Unicode a sign for how many there are.
class TextPattern {
public:
    /// @param rows     of the pattern
    /// @param columns  of text that may be used, line numbers included
    TextPattern(unsigned int rows, unsigned int columns, Letters letters);

    void block(unsigned int r, unsigned int c, BlockKind kind);

    bool hasASignPerBlock() const { return m_exact; }

    /// Every line of the same width.
    std::vector<std::string> lines() const;
    unsigned int width() const { return kNumbers + m_spread * m_columns; } ///< of a line

    static constexpr unsigned int kNumbers = 7; ///< columns of the line numbers

private:
    std::string lineOfSigns(unsigned int row) const;
    std::string lineOfDots(unsigned int row) const;
    std::string lineOfShades(unsigned int row) const;
    unsigned int cellsDown() const;
    unsigned int cellsAcross() const;
    std::uint64_t countIn(unsigned int down, unsigned int across) const;

    unsigned int m_rows;
    Letters m_letters;
    bool m_exact;
    unsigned int m_spread = 1; ///< columns of text from one sign to the next
    unsigned int m_columns;    ///< signs in a line
    unsigned int m_lines;
    std::vector<const char*> m_signs;    ///< exact: by rows, then columns
    std::vector<std::uint64_t> m_counts; ///< else: of cells, likewise
};

/// Two patterns side by side, or the first alone, under their titles.
std::string sideBySide(const TextPattern& left, const std::string& leftTitle,
                       const TextPattern* right, const std::string& rightTitle);

} // namespace orvel

#endif
