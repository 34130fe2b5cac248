#ifndef KYRORVEL_CLIENT_COUNTED_TEXT_H
#define KYRORVEL_CLIENT_COUNTED_TEXT_H

#include <cstdint>
#include <string>

namespace kyrOrvel {
namespace client {

/// "1 block", "2 blocks", for messages.
inline std::string countedText(std::uint64_t count, const char* one, const char* many)
{
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

} // namespace client
} // namespace kyrOrvel

#endif
