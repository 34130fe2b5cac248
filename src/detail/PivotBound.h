#ifndef KYRORVEL_DETAIL_PIVOT_BOUND_H
#define KYRORVEL_DETAIL_PIVOT_BOUND_H

#include <cstddef>

namespace kyrOrvel {
namespace detail {

/// Replaces pivot i by its signed bound where it falls short of that; bounds may be null.
template <class T> inline void boundPivot(T* pivots, const T* bounds, std::size_t i)
{
    if (bounds && (bounds[i] < 0 ? pivots[i] > bounds[i] : pivots[i] < bounds[i]))
        pivots[i] = bounds[i];
}

} // namespace detail
} // namespace kyrOrvel

#endif
