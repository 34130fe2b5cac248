#ifndef KYRORVEL_CLIENT_NUMBER_TEXT_H
#define KYRORVEL_CLIENT_NUMBER_TEXT_H

#include <locale>
#include <sstream>
#include <string>

namespace kyrOrvel {
namespace client {

/// A number in three digits, for messages; the same in every locale.
inline std::string numberText(double v)
{
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text.precision(3);
    text << v;
    return text.str();
}

} // namespace client
} // namespace kyrOrvel

#endif
