#ifndef KYRORVEL_CLIENT_EXACT_NUMBER_H
#define KYRORVEL_CLIENT_EXACT_NUMBER_H

#include <charconv>
#include <string>

namespace kyrOrvel {
namespace client {

/// Appends a number with 17 significant digits, enough to tell any two doubles apart. The text does
/// not depend on the locale, as that of printf would.
inline void appendExact(std::string& text, double v)
{
    constexpr int kDigits = 17;
    char number[32];
    const auto end =
        std::to_chars(number, number + sizeof number, v, std::chars_format::general, kDigits);
    text.append(number, end.ptr);
}

} // namespace client
} // namespace kyrOrvel

#endif
