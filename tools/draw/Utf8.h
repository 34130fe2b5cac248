#ifndef ORVEL_UTF8_H
#define ORVEL_UTF8_H

#include <cstddef>
#include <string>

namespace orvel {

/// The bytes of the letter of UTF-8 that begins at a place, or 0 if none does.
std::size_t lengthOfLetter(const std::string& text, std::size_t at);

/// What a font can show of a text from outside: control characters, and what is no UTF-8, become
/// question marks.
std::string printable(std::string text);

} // namespace orvel

#endif
