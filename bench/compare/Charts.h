#ifndef KYRORVEL_BENCH_CHARTS_H
#define KYRORVEL_BENCH_CHARTS_H

#include "peers/Measurement.h"

#include <string>
#include <utility>
#include <vector>

namespace bench {

using Table = std::vector<std::pair<std::string, std::vector<Result>>>; ///< per input

/// A performance profile (Dolan, Moré 2002): for each contender the share of inputs on which it
/// takes at most t times as long as the fastest, over t.
std::string profileOf(const Table& table, Step step, const std::string& title);

/// Per input a bar for each contender: how many times as long as the first one it takes.
std::string barsOf(const Table& table, Step step, const std::string& title);

} // namespace bench

#endif
