#ifndef KYRORVEL_DETAIL_BOUNDED_PIVOT_H
#define KYRORVEL_DETAIL_BOUNDED_PIVOT_H

namespace kyrOrvel {
namespace detail {

/// A pivot, or what replaces it where it falls short of its bound. Static: also compiled for newer
/// processors, in sources whose functions must not be shared.
template <class T> static inline T boundedPivot(T pivot, T bound, bool keepSign)
{
    const T size = bound < 0 ? -bound : bound;
    if (keepSign) {
        if (pivot == 0)
            return bound;
        if (pivot < 0)
            return pivot > -size ? -size : pivot;
        return pivot < size ? size : pivot;
    }
    return (bound < 0 ? pivot > bound : pivot < bound) ? bound : pivot;
}

} // namespace detail
} // namespace kyrOrvel

#endif
