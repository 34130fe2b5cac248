#include "Axis.h"

#include <fmt/core.h>

#include <algorithm>
#include <cmath>

namespace orvel {

std::string grouped(std::uint64_t n)
{
    std::string digits = std::to_string(n);
    if (digits.size() < 5)
        return digits;
    for (std::size_t at = digits.size(); at > 3;) {
        at -= 3;
        digits.insert(at, "\u2009"); // a thin space
    }
    return digits;
}

std::string amount(std::uint64_t n)
{
    return n < 10000000 ? grouped(n) : fmt::format("{:.3g}", static_cast<double>(n));
}

std::string counted(std::uint64_t n, const char* one, const char* many)
{
    return grouped(n) + " " + (n == 1 ? one : many);
}

double roundStep(double extent, unsigned int most)
{
    const double least = extent / std::max(most, 1u);
    const double power = std::pow(10, std::floor(std::log10(least)));
    for (const double factor : {1.0, 2.0, 5.0})
        if (factor * power >= least * (1 - 1e-9))
            return factor * power;
    return 10 * power;
}

std::vector<std::uint64_t> ticksUpTo(std::uint64_t last, unsigned int most)
{
    std::vector<std::uint64_t> ticks = {0};
    if (last == 0)
        return ticks;
    const auto step = std::max<std::uint64_t>(
        1, static_cast<std::uint64_t>(std::llround(roundStep(static_cast<double>(last), most))));
    for (std::uint64_t tick = step; tick <= last; tick += step)
        ticks.push_back(tick);
    return ticks;
}

} // namespace orvel
