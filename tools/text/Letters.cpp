#include "Letters.h"

#include <cstddef>
#include <cstring>

#include <langinfo.h>
#include <locale.h>

namespace orvel {

bool terminalTakesUtf8()
{
    // A locale of its own: the program's stays "C", so that no number is written another way.
    const locale_t locale = newlocale(LC_CTYPE_MASK, "", nullptr);
    if (locale == nullptr)
        return false;
    const bool utf8 = std::strcmp(nl_langinfo_l(CODESET, locale), "UTF-8") == 0;
    freelocale(locale);
    return utf8;
}

const char* Letters::ofBlock(BlockKind kind) const
{
    switch (kind) {
    case kOrdinary:
        return utf8 ? "■" : "o";
    case kTrailing:
        return utf8 ? "▲" : "t";
    case kZeroDiagonal:
        return utf8 ? "△" : "0";
    case kCoupling:
        return utf8 ? "●" : "c";
    case kFill:
        break;
    }
    return utf8 ? "□" : "+";
}

const char* Letters::ofBar(bool trailing) const
{
    if (trailing)
        return utf8 ? "▒" : "=";
    return utf8 ? "█" : "#";
}

const char* Letters::branch(bool last) const
{
    if (!utf8)
        return last ? "`- " : "|- ";
    return last ? "└─ " : "├─ ";
}

const char* Letters::trunk(bool last) const
{
    if (last)
        return "   ";
    return utf8 ? "│  " : "|  ";
}

std::string wrapped(std::string_view words)
{
    std::string text;
    std::size_t room = kTextWidth;
    while (words.size() > room) {
        std::size_t end = words.rfind(' ', room);
        if (end == std::string_view::npos || end == 0)
            end = words.find(' ', room);
        if (end == std::string_view::npos)
            break;
        text += words.substr(0, end);
        text += "\n  ";
        words.remove_prefix(end + 1);
        room = kTextWidth - 2;
    }
    text += words;
    return text + "\n";
}

std::string plainDigits(std::string words)
{
    const std::string thinSpace = "\u2009";
    for (std::size_t at = words.find(thinSpace); at != std::string::npos;
         at = words.find(thinSpace, at))
        words.erase(at, thinSpace.size());
    return words;
}

} // namespace orvel
