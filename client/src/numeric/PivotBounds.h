#ifndef KYRORVEL_CLIENT_PIVOT_BOUNDS_H
#define KYRORVEL_CLIENT_PIVOT_BOUNDS_H

#include <kyrOrvel/Orvel>

#include <vector>

namespace kyrOrvel {
namespace client {

/// Signed bounds for the pivots of data.matrix, positive for ordinary and negative for trailing
/// blocks: `share` times what the pivot is expected to be about. That is the diagonal for an
/// ordinary row, and Σ g²/m over the row's couplings, m the coupled diagonal, for a trailing one.
/// Rows for which that is zero take the largest of the others.
///
/// @param order,firstTrailing  as for PivotCheck
/// @param bounds               receives one bound per scalar row, in elimination order
/// O(values of the matrix).
template <class T>
void computePivotBounds(const OrvelData<T>& data, const std::vector<unsigned int>& order,
                        unsigned int firstTrailing, T share, std::vector<T>& bounds);

} // namespace client
} // namespace kyrOrvel

#endif
