#ifndef KYRORVEL_DETAIL_FATAL_MESSAGES_H
#define KYRORVEL_DETAIL_FATAL_MESSAGES_H

// Every fatal condition of the library writes one of these to standard error and calls
// kyr::abort().

namespace kyrOrvel {
namespace detail {

constexpr char kNotEnoughMemory[] = "Not enough memory, ";
constexpr char kNotEnabled[] = "Not enabled";

} // namespace detail
} // namespace kyrOrvel

#endif
