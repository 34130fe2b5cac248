#ifndef KYRORVEL_CLIENT_PIVOT_CHECK_H
#define KYRORVEL_CLIENT_PIVOT_CHECK_H

#include <kyrOrvelClient/Status>

#include <kyrOrvel/Orvel>

#include <vector>

namespace kyrOrvel {
namespace client {

/// The first pivot of a factorization that cannot be trusted.
///
/// A pivot is a difference: d(i) = A(i, i) - Σ L(i, q)²·d(q). It fails when it is not finite; when
/// it is zero or so much smaller than the sum of the magnitudes of those terms that only rounding
/// noise can be left; or when it is below the machine epsilon times the largest such sum of its
/// block, so that no digit of it counts beside the block's others.
template <class T> class PivotCheck {
public:
    /// Makes room for blocks of up to this size.
    void reserve(unsigned int largestBlock) { m_scales.resize(largestBlock); }

    /// @param order          order[k]: the user's number of the block at position k
    /// @param canOrderLater  asks for more: a failure leads to a better order, not to a report
    /// O(scalars of the factor); allocates nothing when all is well.
    Status run(const OrvelData<T>& data, const std::vector<unsigned int>& order,
               bool canOrderLater);

private:
    void computeScales(const OrvelData<T>& data, unsigned int r);

    std::vector<T> m_scales; ///< per row of the block at hand: sum of the magnitudes of its terms
};

} // namespace client
} // namespace kyrOrvel

#endif
