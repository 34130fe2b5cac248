#ifndef ORVEL_LETTERS_H
#define ORVEL_LETTERS_H

#include "../draw/BlockPattern.h"

#include <string>
#include <string_view>

namespace orvel {

constexpr unsigned int kTextWidth = 80; ///< columns of a terminal, at least

/// Whether the terminal shows UTF-8, by the locale of the environment.
bool terminalTakesUtf8();

/// The signs to draw with, each one column wide.
struct Letters {
    bool utf8;

    const char* ofBlock(BlockKind kind) const;
    const char* ofNothing() const { return utf8 ? "·" : "."; }
    const char* ofBar(bool trailing) const;
    const char* branch(bool last) const; ///< before a child, three columns
    const char* trunk(bool last) const;  ///< before that child's children, three columns
};

/// Breaks a line at spaces into lines that fit the width; what follows the first is indented.
std::string wrapped(std::string_view words);

/// Without the thin spaces that numbers are grouped by in pictures.
std::string plainDigits(std::string words);

} // namespace orvel

#endif
