#ifndef KYRORVEL_BENCH_CSV_H
#define KYRORVEL_BENCH_CSV_H

#include "Table.h"

#include <string>

namespace bench {

/// A line for each contender on each input. What is not known is left empty: all but the residual
/// of one that did not solve the system, speeds of those that do not count their operations.
///
/// @param dgemm  GFLOP/s to compare with, or 0
std::string csvOf(const Table& table, double dgemm);

} // namespace bench

#endif
