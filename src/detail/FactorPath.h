#ifndef KYRORVEL_DETAIL_FACTOR_PATH_H
#define KYRORVEL_DETAIL_FACTOR_PATH_H

#include "FactorTasks.h"

#include <kyrOrvel/Export>

namespace kyrOrvel {
namespace detail {

/// The ways to factor, to solve and to update fronts. All give the same bits.
enum class FactorPath {
    Plain,    ///< block by block, as the order of operations is defined
    Baseline, ///< by rows or panels, compiled for every processor of the architecture
    Avx2,     ///< the same for AVX2
    Avx512    ///< the same for AVX-512
};

/// How the paths that are not plain go through a matrix. All give the same bits.
enum class FactorSchedule {
    Automatic, ///< what is faster for the pattern
    Rows,      ///< row by row, where blocks are small enough for it
    Panels,    ///< panel by panel
    WidePanels ///< by panels of the width that is meant for large factors
};

/// The fastest that the processor can run; found once.
FactorPath bestFactorPath();

/// Whether the processor can run a path, and this build has it.
KYRORVEL_EXPORT bool isAvailable(FactorPath path);

/// Which path factorizations, solves and fronts take from now on, in all threads; for tests and
/// measurements.
KYRORVEL_EXPORT void setFactorPath(FactorPath path);

FactorPath factorPath();

/// Which schedule factorizations take from now on, in all threads; for tests and measurements.
KYRORVEL_EXPORT void setFactorSchedule(FactorSchedule schedule);

FactorSchedule factorSchedule();

/// How solves read the factors from now on, in all threads; for tests and measurements.
KYRORVEL_EXPORT void setSolveReading(SolveReading reading);

SolveReading solveReading();

/// The functions of the path in use, or null for the plain one.
template <class T> const FactorFunctions<T>* factorFunctions();

} // namespace detail
} // namespace kyrOrvel

#endif
