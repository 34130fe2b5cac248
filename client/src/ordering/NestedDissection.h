#ifndef KYRORVEL_CLIENT_NESTED_DISSECTION_H
#define KYRORVEL_CLIENT_NESTED_DISSECTION_H

#include "ConstraintSpace.h"

namespace kyrOrvel {
namespace client {

/// Orders the block graph by nested dissection, blocks weighted by their sizes (METIS; Karypis,
/// Kumar 1998 SIAM J. Sci. Comput. 20(1) 359-392), several times where the factorization takes much
/// longer than that. The seeds are fixed, so the same pattern gives the same order. InvalidInput in
/// a build without METIS.
Status nestedDissection(const GraphToOrder& graph, std::vector<unsigned int>& order);

} // namespace client
} // namespace kyrOrvel

#endif
