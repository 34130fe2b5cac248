#ifndef KYRORVEL_CLIENT_STRUCTURAL_RANK_H
#define KYRORVEL_CLIENT_STRUCTURAL_RANK_H

#include "Ordering.h"

namespace kyrOrvel {
namespace client {

/// The first block in `order` that meets a pivot which is zero whatever the values, or kNone.
///
/// Eliminating k blocks without zero pivots needs leading matrices of full structural rank: an
/// assignment of every scalar row to a scalar column of its own, through stored blocks (Duff,
/// Erisman, Reid 1986, Direct Methods for Sparse Matrices, chapter 6). It is kept up block by
/// block: each new block first takes its own diagonal, where it has one, and what is missing is
/// found by augmenting paths that move other rows aside. Blocks count as full, so units are moved
/// in bulk.
///
/// O(blocks) on most systems; O(blocks · rows) at worst.
unsigned int firstStructurallyZeroPivot(const OrderingInput& input,
                                        const std::vector<unsigned int>& order);

} // namespace client
} // namespace kyrOrvel

#endif
