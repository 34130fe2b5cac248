#ifndef KYRORVEL_TESTS_SUPPORT_XML_H
#define KYRORVEL_TESTS_SUPPORT_XML_H

#include <gtest/gtest.h>

#include <cctype>
#include <cstddef>
#include <string>
#include <vector>

namespace support {

/// How often a part stands in a text.
inline std::size_t count(const std::string& text, const std::string& part)
{
    std::size_t n = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++n;
    return n;
}

/// Whether every element of an XML text is closed, in the right order, attributes are quoted, and
/// nothing follows the root. A declaration may stand before it.
inline testing::AssertionResult isWellFormed(const std::string& text)
{
    std::vector<std::string> open;
    bool rootSeen = false;
    std::size_t at = text.compare(0, 5, "<?xml") == 0 ? text.find("?>") + 2 : 0;
    while (at < text.size()) {
        if (text[at] != '<') {
            if (open.empty() && !std::isspace(static_cast<unsigned char>(text[at])))
                return testing::AssertionFailure() << "text outside the root at " << at;
            if (text[at] == '&')
                return testing::AssertionFailure() << "an entity at " << at;
            ++at;
            continue;
        }
        const std::size_t end = text.find('>', at);
        if (end == std::string::npos)
            return testing::AssertionFailure() << "a tag without end at " << at;
        const std::string tag = text.substr(at + 1, end - at - 1);
        at = end + 1;
        if (tag.empty() || tag.find('<') != std::string::npos || count(tag, "\"") % 2 != 0)
            return testing::AssertionFailure() << "a broken tag <" << tag << ">";
        if (tag[0] == '/') {
            if (open.empty() || open.back() != tag.substr(1))
                return testing::AssertionFailure() << "<" << tag << "> closes nothing";
            open.pop_back();
            continue;
        }
        if (open.empty() && rootSeen)
            return testing::AssertionFailure() << "a second root <" << tag << ">";
        rootSeen = true;
        if (tag.back() != '/')
            open.push_back(tag.substr(0, tag.find(' ')));
    }
    if (!open.empty())
        return testing::AssertionFailure() << "<" << open.back() << "> is left open";
    return testing::AssertionSuccess();
}

} // namespace support

#endif
