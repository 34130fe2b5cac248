#ifndef KYRORVEL_DETAIL_PERMUTATION_OPERATIONS_H
#define KYRORVEL_DETAIL_PERMUTATION_OPERATIONS_H

#include <kyrOrvel/Permutation>

namespace kyrOrvel {
namespace detail {

/// Brings Pi in step with P.
inline void computeInverse(Permutation& perm)
{
    for (unsigned int k = 0; k < perm.size; ++k)
        perm.Pi[perm.P[k]] = k;
}

/// Makes both directions the identity over the capacity, as far as they are allocated.
inline void resetToIdentity(Permutation& perm)
{
    for (unsigned int i = 0; i < perm.capacity; ++i) {
        if (perm.P)
            perm.P[i] = i;
        if (perm.Pi)
            perm.Pi[i] = i;
    }
}

/// Whether a block belongs to the trailing class; indices compare as signed words.
inline bool isTrailing(unsigned int block, unsigned long firstTrailing)
{
    return static_cast<int>(block) >= static_cast<int>(firstTrailing);
}

} // namespace detail
} // namespace kyrOrvel

#endif
