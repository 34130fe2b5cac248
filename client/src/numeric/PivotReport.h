#ifndef KYRORVEL_CLIENT_PIVOT_REPORT_H
#define KYRORVEL_CLIENT_PIVOT_REPORT_H

#include "PivotCheck.h"

#include <kyrOrvelClient/Status>

namespace kyrOrvel {
namespace client {

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
