#ifndef KYRORVEL_CLIENT_NOISE_SHARE_H
#define KYRORVEL_CLIENT_NOISE_SHARE_H

#include <cmath>
#include <limits>

namespace kyrOrvel {
namespace client {

/// The share of its terms that a pivot has to keep. Where exact arithmetic gives zero, rounding
/// leaves a few machine epsilons of them at first, and more the longer the way to the pivot: up to
/// some hundred were seen on random systems with dependent constraints.
template <class T> constexpr T kNoiseShare = 512 * std::numeric_limits<T>::epsilon();

/// What pivots of soft blocks, and of what these couple to, keep of their terms in any order: more
/// than half of the digits. Refinement brings back the rest.
template <class T> T softShare()
{
    return std::sqrt(kNoiseShare<T>);
}

} // namespace client
} // namespace kyrOrvel

#endif
