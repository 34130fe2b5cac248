#ifndef KYRORVEL_DETAIL_ZERO_TEST_H
#define KYRORVEL_DETAIL_ZERO_TEST_H

#include <limits>

namespace kyrOrvel {
namespace detail {

/// The library's one zero test: v lies strictly within the machine epsilon of 0. A NaN does not.
template <class T> bool countsAsZero(T v)
{
    constexpr T epsilon = std::numeric_limits<T>::epsilon();
    return -epsilon < v && v < epsilon;
}

} // namespace detail
} // namespace kyrOrvel

#endif
