#include <kyr/Prime>

#include <cstdint>

namespace kyr {

namespace {

bool isPrime(std::uint64_t n)
{
    if (n < 4)
        return n >= 2;
    if (n % 2 == 0)
        return false;
    for (std::uint64_t d = 3; d * d <= n; d += 2)
        if (n % d == 0)
            return false;
    return true;
}

} // namespace

unsigned int nextPrime(unsigned int n)
{
    std::uint64_t candidate = n;
    while (!isPrime(candidate))
        ++candidate;
    return candidate <= UINT32_MAX ? static_cast<unsigned int>(candidate) : 0;
}

} // namespace kyr
