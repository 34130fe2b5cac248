#ifndef KYRORVEL_CLIENT_PIVOT_RANGE_H
#define KYRORVEL_CLIENT_PIVOT_RANGE_H

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

namespace kyrOrvel {
namespace client {

/// What all pivots of a factorization have in common.
template <class T> struct PivotRange {
    bool known = false; ///< whether all have the signs expected, and all is finite
    T smallest = 0;     ///< magnitude
    T largest = 0;      ///< magnitude
    T largestScale = 0;
    T leastMargin = 0; ///< of what a pivot's magnitude is beyond a share of its scale
};

/// The range of n pivots, n > 0. Four running extrema of each kind, so that they do not wait for
/// each other.
///
/// @param scales  per pivot: the sum of the magnitudes of its terms
/// @param signs   per pivot: 1 or -1, as is expected of it; or null if nothing is
template <class T>
PivotRange<T> findRange(const T* pivots, const T* scales, const T* signs, std::size_t n, T share)
{
    constexpr std::size_t kLanes = 4;
    constexpr T kMost = std::numeric_limits<T>::max();
    T smallest[kLanes] = {kMost, kMost, kMost, kMost};
    T largest[kLanes] = {};
    T largestScale[kLanes] = {};
    T leastMargin[kLanes] = {kMost, kMost, kMost, kMost};
    T zero[kLanes] = {}; // as long as all is finite
    const auto add = [&](std::size_t lane, std::size_t i) {
        const T magnitude = signs ? pivots[i] * signs[i] : std::abs(pivots[i]);
        const T margin = magnitude - share * scales[i];
        smallest[lane] = magnitude < smallest[lane] ? magnitude : smallest[lane];
        largest[lane] = largest[lane] < magnitude ? magnitude : largest[lane];
        largestScale[lane] = largestScale[lane] < scales[i] ? scales[i] : largestScale[lane];
        leastMargin[lane] = margin < leastMargin[lane] ? margin : leastMargin[lane];
        zero[lane] += margin * 0;
    };
    std::size_t i = 0;
    for (; i + kLanes <= n; i += kLanes)
        for (std::size_t lane = 0; lane < kLanes; ++lane)
            add(lane, i + lane);
    for (; i < n; ++i)
        add(0, i);
    PivotRange<T> range{true, smallest[0], largest[0], largestScale[0], leastMargin[0]};
    for (std::size_t lane = 0; lane < kLanes; ++lane) {
        range.known = range.known && zero[lane] == 0;
        range.smallest = std::min(range.smallest, smallest[lane]);
        range.largest = std::max(range.largest, largest[lane]);
        range.largestScale = std::max(range.largestScale, largestScale[lane]);
        range.leastMargin = std::min(range.leastMargin, leastMargin[lane]);
    }
    range.known = range.known && range.smallest > 0;
    return range;
}

} // namespace client
} // namespace kyrOrvel

#endif
