#include "Utf8.h"

#include <algorithm>

namespace orvel {

std::size_t lengthOfLetter(const std::string& text, std::size_t at)
{
    const auto byte = [&](std::size_t i) -> unsigned int {
        return at + i < text.size() ? static_cast<unsigned char>(text[at + i]) : 0;
    };
    const unsigned int first = byte(0);
    if (first < 0x80)
        return 1;
    const std::size_t length = first < 0xC2 ? 0 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    for (std::size_t i = 1; i < length; ++i)
        if ((byte(i) & 0xC0u) != 0x80)
            return 0;
    // Too long a form of a letter, half of a UTF-16 pair, and beyond the last letter.
    const bool refused = (first == 0xE0 && byte(1) < 0xA0) || (first == 0xED && byte(1) >= 0xA0) ||
                         (first == 0xF0 && byte(1) < 0x90) || (first == 0xF4 && byte(1) >= 0x90) ||
                         first > 0xF4;
    return refused ? 0 : length;
}

std::string printable(std::string text)
{
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t length = lengthOfLetter(text, i);
        const auto first = static_cast<unsigned char>(text[i]);
        if (length == 0 || first < 0x20 || first == 0x7F)
            text[i] = '?';
        i += std::max<std::size_t>(length, 1);
    }
    return text;
}

} // namespace orvel
