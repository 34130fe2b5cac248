#ifndef KYRORVEL_CLIENT_FOUR_SUMS_H
#define KYRORVEL_CLIENT_FOUR_SUMS_H

#include <cmath>
#include <cstddef>

namespace kyrOrvel {
namespace client {

/// Four running sums, so that they do not wait for each other: sums over small blocks take a third
/// of the time. The same order, and so the same bits, on every processor.
template <class T> class FourSums {
public:
    void clear() { *this = FourSums(); }

    /// Adds |v(q)²·d(q)| for n scalars.
    void addWeightedSquares(const T* v, const T* d, std::size_t n)
    {
        std::size_t q = 0;
        for (; q + 4 <= n; q += 4)
            for (std::size_t lane = 0; lane < 4; ++lane)
                addWeightedSquare(lane, v[q + lane], d[q + lane]);
        for (; q < n; ++q)
            addWeightedSquare(q % 4, v[q], d[q]);
    }

    /// Adds v(q)²·d(q)·sign for the n scalars for which that is positive.
    void addPositiveTerms(const T* v, const T* d, T sign, std::size_t n)
    {
        std::size_t q = 0;
        for (; q + 4 <= n; q += 4)
            for (std::size_t lane = 0; lane < 4; ++lane)
                addPositiveTerm(lane, v[q + lane], d[q + lane], sign);
        for (; q < n; ++q)
            addPositiveTerm(q % 4, v[q], d[q], sign);
    }

    /// Adds n scalars times zero: the total stays zero as long as all are finite.
    void addTimesZero(const T* v, std::size_t n)
    {
        std::size_t q = 0;
        for (; q + 4 <= n; q += 4)
            for (std::size_t lane = 0; lane < 4; ++lane)
                m_lanes[lane] += v[q + lane] * T(0);
        for (; q < n; ++q)
            m_lanes[q % 4] += v[q] * T(0);
    }

    T total() const { return (m_lanes[0] + m_lanes[2]) + (m_lanes[1] + m_lanes[3]); }

private:
    void addWeightedSquare(std::size_t lane, T v, T d) { m_lanes[lane] += std::abs(v * (v * d)); }

    void addPositiveTerm(std::size_t lane, T v, T d, T sign)
    {
        const T term = v * (v * d) * sign;
        m_lanes[lane] += term > 0 ? term : T(0);
    }

    T m_lanes[4] = {};
};

} // namespace client
} // namespace kyrOrvel

#endif
