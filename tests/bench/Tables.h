#ifndef KYRORVEL_TESTS_BENCH_TABLES_H
#define KYRORVEL_TESTS_BENCH_TABLES_H

#include "compare/Table.h"

#include <string>

namespace tables {

/// A contender that takes that long for every step.
inline bench::Result solved(const std::string& contender, double milliseconds)
{
    bench::Result result;
    result.contender = contender;
    result.solved = true;
    result.milliseconds.fill(milliseconds);
    result.factorScalars = 40;
    result.operations = 1e6;
    result.residual = 1e-15;
    return result;
}

inline bench::Result unsolved(const std::string& contender, double residual)
{
    bench::Result result;
    result.contender = contender;
    result.milliseconds.fill(3);
    result.operations = 5;
    result.residual = residual;
    return result;
}

} // namespace tables

#endif
