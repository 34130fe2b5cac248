#ifndef KYRORVEL_CLIENT_PIVOT_REPORT_H
#define KYRORVEL_CLIENT_PIVOT_REPORT_H

#include "PivotCheck.h"

#include <kyrOrvelClient/Status>

#include <cstddef>
#include <vector>

namespace kyrOrvel {
namespace client {

/// Blocks that a message names of those that one depends on; Status::dependsOn holds all.
constexpr std::size_t kNamedDependencies = 5;

/// The blocks of dependencies other than the block's own, each once, the weightiest first.
std::vector<unsigned int> blocksOf(const std::vector<Dependency>& dependencies, unsigned int own);

/// The status that tells a failure's place, reason and remedy. For a singular matrix one back-solve
/// finds the rows that the failed one depends on.
///
/// @param order,firstTrailing  as for PivotCheck
template <class T>
Status reportPivot(const PivotFailure<T>& failure, const OrvelData<T>& data,
                   const std::vector<unsigned int>& order, unsigned int firstTrailing,
                   PivotCheck<T>& check);

/// The status of a factorization whose pivots were kept to bounds.
template <class T>
Status reportBounded(const PivotCheck<T>& check, const std::vector<unsigned int>& order);

} // namespace client
} // namespace kyrOrvel

#endif
