#ifndef KYRORVEL_TESTS_SUPPORT_BITS_H
#define KYRORVEL_TESTS_SUPPORT_BITS_H

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstring>

namespace support {

/// Whether two scalars have the same bits. Every NaN equals every NaN: which of two NaN operands
/// an instruction passes on is the compiler's choice.
template <class T> bool sameBits(T a, T b)
{
    if (std::isnan(a) || std::isnan(b))
        return std::isnan(a) && std::isnan(b);
    return std::memcmp(&a, &b, sizeof(T)) == 0;
}

/// Success when n scalars have the same bits; else names the first that differs.
template <class T>
testing::AssertionResult sameBits(const T* actual, const T* expected, std::size_t n)
{
    for (std::size_t i = 0; i < n; ++i)
        if (!sameBits(actual[i], expected[i]))
            return testing::AssertionFailure()
                   << "element " << i << " of " << n << ": " << std::hexfloat << actual[i]
                   << ", expected " << expected[i];
    return testing::AssertionSuccess();
}

} // namespace support

#endif
