#ifndef ORVEL_AXIS_H
#define ORVEL_AXIS_H

#include <cstdint>
#include <string>
#include <vector>

namespace orvel {

/// A number with its digits in groups of three, from five digits on.
std::string grouped(std::uint64_t n);

/// A count of operations: all digits of up to seven, three of more.
std::string amount(std::uint64_t n);

/// A count of things: "1 node", "20 nodes".
std::string counted(std::uint64_t n, const char* one, const char* many);

/// Round numbers from 0 up to last, `most` of them at the most, evenly spaced.
std::vector<std::uint64_t> ticksUpTo(std::uint64_t last, unsigned int most);

/// The distance of round marks 1, 2 or 5 times a power of ten, of which at most `most` fit into
/// `extent`.
double roundStep(double extent, unsigned int most);

} // namespace orvel

#endif
