#ifndef KYRORVEL_CLIENT_RANDOM_NUMBERS_H
#define KYRORVEL_CLIENT_RANDOM_NUMBERS_H

#include <cstdint>

namespace kyrOrvel {
namespace client {

/// Numbers without pattern, the same everywhere: a linear congruential generator of 64 bits (the
/// constants are Knuth's) that gives its upper half.
class RandomNumbers {
public:
    /// Uniform in [-1, 1), a multiple of 2⁻³¹.
    double next()
    {
        m_state = m_state * 6364136223846793005u + 1442695040888963407u;
        return static_cast<double>(m_state >> 32) / 2147483648.0 - 1.0;
    }

private:
    std::uint64_t m_state = 1;
};

} // namespace client
} // namespace kyrOrvel

#endif
