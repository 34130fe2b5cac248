#ifndef KYRORVEL_CLIENT_NUMBER_TEXT_H
#define KYRORVEL_CLIENT_NUMBER_TEXT_H

#include <locale>
#include <sstream>
#include <string>

namespace kyrOrvel {
namespace client {

/// A stream to write text in that is the same in every locale. Where there is no memory it throws;
/// streams keep that to themselves otherwise, and the text is cut off.
inline std::ostringstream plainStream()
{
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text.exceptions(std::ios::badbit);
    return text;
}

/// A number in three digits, for messages.
inline std::string numberText(double v)
{
    std::ostringstream text = plainStream();
    text.precision(3);
    text << v;
    return text.str();
}

} // namespace client
} // namespace kyrOrvel

#endif
