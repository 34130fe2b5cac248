#ifndef KYRORVEL_DETAIL_PIVOT_BOUND_H
#define KYRORVEL_DETAIL_PIVOT_BOUND_H

#include "BoundedPivot.h"

#include <kyrOrvel/Orvel>

#include <cstddef>

namespace kyrOrvel {
namespace detail {

/// Keeps the pivots of one block row to the bounds that a system asks for, if it does.
template <class T> class PivotBound {
public:
    /// @param offset  of the block row's first scalar
    PivotBound(const OrvelData<T>& data, std::size_t offset)
        : m_bounds(data.pivotBounds ? data.pivotBounds + offset : nullptr),
          m_keepSigns(data.pivotsKeepSigns != 0)
    {
    }

    /// Replaces pivot i of the row where it falls short of its bound.
    void apply(T* pivots, std::size_t i) const
    {
        if (!m_bounds)
            return;
        pivots[i] = boundedPivot(pivots[i], m_bounds[i], m_keepSigns);
    }

private:
    const T* m_bounds;
    bool m_keepSigns;
};

} // namespace detail
} // namespace kyrOrvel

#endif
