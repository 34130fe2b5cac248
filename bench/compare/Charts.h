#ifndef KYRORVEL_BENCH_CHARTS_H
#define KYRORVEL_BENCH_CHARTS_H

#include "Table.h"

#include <string>

namespace bench {

/// A performance profile (Dolan, Moré 2002): for each contender the share of inputs on which it
/// takes at most t times as long as the fastest, over t up to 64.
std::string profileOf(const Table& table, Step step, const std::string& title);

/// Per input a bar for each contender: how many times as long as the first one it takes. Bars end
/// at 64 times.
std::string barsOf(const Table& table, Step step, const std::string& title);

} // namespace bench

#endif
