#ifndef KYRORVEL_TESTS_MULTIFRONTAL_SOAK_H
#define KYRORVEL_TESTS_MULTIFRONTAL_SOAK_H

#include <cstdlib>

namespace support {

/// How many factorizations the soak tests do; more with the environment variable KYRORVEL_SOAK.
inline unsigned int soakRuns()
{
    const char* const runs = std::getenv("KYRORVEL_SOAK");
    return runs ? static_cast<unsigned int>(std::strtoul(runs, nullptr, 10)) : 2000;
}

} // namespace support

#endif
